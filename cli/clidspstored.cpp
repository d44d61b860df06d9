// corvane-cli dsp stored and dsp factory-reset: the administration page's actions, through the same core and the
// same blocking exchange. The page's questions are answered by --yes; without it the question is printed and
// nothing is sent.
#include "cliapp.h"

#include "clidspargs.h"
#include "core/app/commandplan.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/programs/storedactions.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

namespace {

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

CommandPlan question(const QString &text)
{
    return CommandPlan{{{PlanStep::Confirm, text}}, {}, 0};
}

} // namespace

std::optional<CliDspArgs> CliDspArgs::parseStored(const QStringList &args, QString *error)
{
    CliDspArgs a;
    a.command = Command::Stored;
    if (args.value(0) == QLatin1String("factory-reset")) {
        if (args.size() != 2) {
            *error = QStringLiteral("dsp takes factory-reset DEVICE");
            return std::nullopt;
        }
        a.storedVerb = args.at(0);
        a.device = args.at(1);
        return a;
    }
    struct Shape
    {
        const char *verb;
        int size;
        const char *form;
    };
    static const Shape kShapes[] = {
        {"list", 3, "stored list DEVICE"},
        {"last", 3, "stored last DEVICE"},
        {"save", 5, "stored save DEVICE INDEX NAME"},
        {"load", 4, "stored load DEVICE INDEX"},
        {"delete", 4, "stored delete DEVICE INDEX"},
        {"export", 5, "stored export DEVICE INDEX FILE"},
        {"import", 5, "stored import DEVICE INDEX FILE"},
    };
    const Shape *shape = nullptr;
    for (const Shape &s : kShapes)
        if (args.value(1) == QLatin1String(s.verb))
            shape = &s;
    if (!shape) {
        *error = QStringLiteral("dsp stored takes list, last, save, load, delete, export or import");
        return std::nullopt;
    }
    if (args.size() != shape->size) {
        *error = QStringLiteral("dsp takes %1").arg(QLatin1String(shape->form));
        return std::nullopt;
    }
    a.storedVerb = args.at(1);
    a.device = args.at(2);
    if (shape->size >= 4) {
        bool ok = false;
        a.storedIndex = args.at(3).toInt(&ok);
        if (!ok || a.storedIndex < 0 || a.storedIndex >= StoredActions::kSlots) {
            *error = QStringLiteral("INDEX is a stored configuration from 0 to %1, not \"%2\"")
                         .arg(StoredActions::kSlots - 1)
                         .arg(args.at(3));
            return std::nullopt;
        }
    }
    if (a.storedVerb == QLatin1String("save"))
        a.storedName = args.at(4);
    else if (shape->size == 5)
        a.filePath = args.at(4);
    return a;
}

QString CliDspArgs::storedUsage()
{
    return QStringLiteral(
        "  dsp stored list DEVICE                the eight stored configurations by index (0-7) and the last loaded\n"
        "  dsp stored last DEVICE                the stored configuration last loaded, or -\n"
        "  dsp stored save DEVICE INDEX NAME     store the running configuration at INDEX under NAME\n"
        "  dsp stored load|delete DEVICE INDEX   make INDEX the running configuration, or delete it\n"
        "  dsp stored export DEVICE INDEX FILE   write the stored configuration to a *.dcd file\n"
        "  dsp stored import DEVICE INDEX FILE --yes  store a *.dcd file at INDEX, overwriting it\n"
        "  dsp factory-reset DEVICE --yes        delete every program and stored configuration, then reboot\n");
}

int CliApp::dspStored(const CliDspArgs &a, const QString &address, const QString &devId)
{
    const bool verbose = m_options.verbose;
    const StoredActions::Exchange dsp = [address, verbose](const QString &request) {
        if (verbose)
            QTextStream(stderr) << "sent: " << request << '\n';
        const DspExchange::Result r = DspExchange::run(address, request);
        if (verbose)
            QTextStream(stderr) << "reply: " << (r.ok ? r.reply : r.message) << '\n';
        return r;
    };
    const QString &verb = a.storedVerb;

    if (verb == QLatin1String("list") || verb == QLatin1String("last")) {
        const StoredActions::Listing l = StoredActions::list(dsp);
        if (!l.ok)
            return fail(1, l.failure.message);
        const QString last = StoredActions::lastText(l);
        if (verb == QLatin1String("last"))
            return dspPrint({{QStringLiteral("last"), l.last},
                             {QStringLiteral("name"), l.last < 0 ? QString() : l.names.at(l.last)}},
                            last);
        QJsonArray configs;
        QStringList lines;
        for (int i = 0; i < l.names.size(); ++i) {
            configs.append(QJsonObject{{QStringLiteral("index"), i}, {QStringLiteral("name"), l.names.at(i)}});
            lines << StoredActions::label(i, l.names.at(i));
        }
        lines << QStringLiteral("last: %1").arg(last);
        return dspPrint({{QStringLiteral("configs"), configs}, {QStringLiteral("last"), l.last}},
                        lines.join(QLatin1Char('\n')));
    }

    StoredActions::Outcome o;
    if (verb == QLatin1String("save")) {
        o = StoredActions::save(dsp, a.storedIndex, a.storedName);
    } else if (verb == QLatin1String("load")) {
        o = StoredActions::load(dsp, a.storedIndex);
    } else if (verb == QLatin1String("delete")) {
        o = StoredActions::remove(dsp, a.storedIndex);
    } else if (verb == QLatin1String("export")) {
        o = StoredActions::exportTo(dsp, a.storedIndex, a.filePath);
    } else if (verb == QLatin1String("import")) {
        if (!passSteps(question(StoredActions::importQuestion())))
            return 1;
        o = StoredActions::importFrom(dsp, a.storedIndex, a.filePath);
    } else {
        if (!passSteps(question(StoredActions::factoryQuestion())))
            return 1;
        o = StoredActions::factoryReset(dsp);
    }
    if (!o.ok)
        return fail(1, o.title.isEmpty() ? o.message : QStringLiteral("%1: %2").arg(o.title, o.message));

    QJsonObject json{{QStringLiteral("result"), o.message}};
    if (verb == QLatin1String("factory-reset")) {
        // The restart is the page's second question; --yes answers it too.
        if (!passSteps(question(StoredActions::restartQuestion()))) {
            dspPrint(json, o.message);
            return 1;
        }
        const QJsonObject reboot = StoredActions::rebootRequest(devId);
        const QString reply = exchange(reboot, devId);
        json.insert(QStringLiteral("reboot"), reply.isEmpty() ? QJsonValue() : QJsonValue(reply));
        if (reply.isEmpty())
            return fail(4, QStringLiteral("%1; no reply to %2").arg(o.message, compact(reboot)));
        return dspPrint(json, QStringLiteral("%1\nreboot: %2").arg(o.message, reply));
    }
    return dspPrint(json, o.message);
}
