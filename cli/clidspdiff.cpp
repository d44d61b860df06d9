// corvane-cli dsp diff: two DSP configurations side by side, each a device's running one, a program stored on a
// device or a file. The exit code answers like diff(1): 0 identical, 1 different, 2 trouble.
#include "cliapp.h"

#include "clidspargs.h"
#include "clidspsession.h"
#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "core/devices/devmanager.h"
#include "core/dsp/programs/configdiff.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programfiles.h"
#include "core/protocol/devicelink.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

namespace {

constexpr int kConnectMs = 3000;
constexpr int kIdleMs = 4 * DspController::kReplyTimeoutMs;

bool fileDocument(const QString &path, QJsonObject *config, QString *why)
{
    const std::optional<QByteArray> bytes = ProgramFiles::readFile(path);
    const ConfigDiff::FileRead read = bytes ? ConfigDiff::documentOf(*bytes) : ConfigDiff::FileRead{Tx::ProgFileOpenError, {}};
    if (!read.ok())
        *why = tx(*read.error);
    *config = read.config;
    return read.ok();
}

} // namespace

bool CliApp::dspDiffSource(const QString &source, QObject *sessions, QJsonObject *config, QString *why)
{
    if (QFileInfo::exists(source)) {
        if (fileDocument(source, config, why))
            return true;
        *why = QStringLiteral("%1: %2").arg(source, *why);
        return false;
    }
    // Program names never hold a colon, device names may.
    const int colon = source.lastIndexOf(QLatin1Char(':'));
    const QString device = colon > 0 ? source.left(colon) : source;
    const QString program = colon > 0 ? source.mid(colon + 1) : QString();

    QString devId;
    waitUntil([&] { return !(devId = resolveDevice(device)).isEmpty(); }, m_options.waitMs);
    const auto dev = m_link->registry().findByDevId(devId);
    if (!dev) {
        *why = QStringLiteral("%1 is neither a file nor a device").arg(device);
        return false;
    }
    if (!DeviceModels::isDspCapable(dev->rec.model.str())) {
        *why = QStringLiteral("%1 (%2) has no DSP").arg(device, dev->rec.model.str());
        return false;
    }
    auto *session = sessions->findChild<CliDspSession *>(devId, Qt::FindDirectChildrenOnly);
    if (!session) {
        session = new CliDspSession(m_link, devId, dev->rec.model.str(), sessions);
        session->setObjectName(devId);
        if (m_options.verbose)
            session->setEcho([](const QString &r) { QTextStream(stderr) << "sent: " << r << '\n'; },
                             [](const QString &r) { QTextStream(stderr) << "reply: " << r << '\n'; });
        QString failed;
        if (!session->open(dev->rec.ip, kConnectMs, &failed)) {
            *why = QStringLiteral("DSP of %1: %2").arg(device, failed);
            return false;
        }
    }
    if (program.isEmpty()) {
        *config = QJsonDocument::fromJson(session->controller().document().toJson()).object();
        return true;
    }

    std::optional<QJsonObject> reply;
    session->controller().request(ProgramCommands::getConfigByName(program, QStringLiteral("compare")),
                                  QStringLiteral("compare ") + program,
                                  [&reply](const QJsonObject &r) { reply = r; });
    if (!session->waitIdle(kIdleMs) || !reply || reply->isEmpty()) {
        *why = QStringLiteral("%1 did not answer for program %2").arg(device, program);
        return false;
    }
    const QJsonValue stored = reply->value(QLatin1String("config"));
    if (reply->value(QLatin1String("result")).toString() != QLatin1String("succ") || !stored.isObject()) {
        *why = QStringLiteral("%1 has no program %2 (%3)")
                   .arg(device, program, reply->value(QLatin1String("reason")).toString());
        return false;
    }
    *config = stored.toObject();
    return true;
}

int CliApp::cmdDspDiff(const CliDspArgs &a)
{
    QObject sessions;
    QJsonObject docs[2];
    for (int i = 0; i < 2; ++i) {
        QString why;
        if (!dspDiffSource(a.sources.at(i), &sessions, &docs[i], &why))
            return fail(2, why);
        bool converted = false;
        docs[i] = ConfigDiff::comparable(docs[i], &converted);
        if (converted)
            QTextStream(stderr) << "corvane-cli: " << a.sources.at(i)
                                << " is an older document; compared in its converted form\n";
    }
    const QVector<ConfigDiff::Difference> diffs = ConfigDiff::compare(docs[0], docs[1]);
    if (m_options.json) {
        *m_out << QJsonDocument(ConfigDiff::toJson(diffs)).toJson(QJsonDocument::Compact) << '\n';
    } else if (diffs.isEmpty()) {
        *m_out << "identical\n";
    } else {
        for (const ConfigDiff::Difference &d : diffs)
            *m_out << ConfigDiff::line(d) << '\n';
        *m_out << diffs.size() << (diffs.size() == 1 ? " difference\n" : " differences\n");
    }
    return diffs.isEmpty() ? 0 : 1;
}
