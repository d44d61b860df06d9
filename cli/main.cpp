#include "cliapp.h"

#include "core/app/log.h"

#include <QCoreApplication>
#include <QNetworkProxy>
#include <QTextStream>
#include <cstdint>
#include <cstdio>

int main(int argc, char *argv[])
{
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    QCoreApplication app(argc, argv);
    qRegisterMetaType<uint32_t>("uint32_t");

    CliApp::Options options;
    QString error;
    if (!CliApp::parse(QCoreApplication::arguments(), &options, &error)) {
        QTextStream(stderr) << "corvane-cli: " << error << "\n" << CliApp::usage();
        return 2;
    }
    // Standard output carries the answer; diagnostics go to standard error.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    Log::setOutput(stderr, !options.verbose);

    CliApp cli(options);
    return cli.run();
}
