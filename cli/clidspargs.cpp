#include "clidspargs.h"

#include <QFileInfo>

#include <cmath>

namespace {

QString kindNames()
{
    QStringList names;
    for (int i = 0; i < DspKinds::kCount; ++i)
        names << DspKinds::cliName(DspKinds::all()[i]);
    return names.join(QLatin1Char('|'));
}

/// Reads the arguments in order, each named by what the usage calls it, so an error can say which one is bad.
class Reader
{
public:
    Reader(const QStringList &args, QString *error)
        : m_args(args)
        , m_error(error)
    {
    }

    bool bad(const QString &message)
    {
        if (m_error->isEmpty())
            *m_error = message;
        return false;
    }
    bool ok() const { return m_error->isEmpty(); }

    QString text(int i) const { return m_args.value(i); }

    /// A count from 1 on the command line, returned from 0.
    int ordinal(int i, const char *name)
    {
        bool ok = false;
        const int v = text(i).toInt(&ok);
        if (!ok || v < 1) {
            bad(QStringLiteral("%1 counts from 1, not \"%2\"").arg(QLatin1String(name), text(i)));
            return 0;
        }
        return v - 1;
    }

    int index(int i, const char *name)
    {
        bool ok = false;
        const int v = text(i).toInt(&ok);
        if (!ok || v < 0) {
            bad(QStringLiteral("%1 is an index from 0, not \"%2\"").arg(QLatin1String(name), text(i)));
            return 0;
        }
        return v;
    }

    DspSide side(int i)
    {
        if (const std::optional<DspSide> s = DspKinds::sideFromName(text(i)))
            return *s;
        bad(QStringLiteral("the side is in or out, not \"%1\"").arg(text(i)));
        return DspSide::In;
    }

    double number(int i, const char *name)
    {
        bool ok = false;
        const double v = text(i).toDouble(&ok);
        if (!ok || !std::isfinite(v)) {
            bad(QStringLiteral("%1 is a number of dB, not \"%2\"").arg(QLatin1String(name), text(i)));
            return 0.0;
        }
        return v;
    }

    bool onOff(int i, const char *name)
    {
        const QString v = text(i);
        if (v == QLatin1String("on") || v == QLatin1String("1"))
            return true;
        if (!(v == QLatin1String("off") || v == QLatin1String("0")))
            bad(QStringLiteral("%1 is on or off, not \"%2\"").arg(QLatin1String(name), v));
        return false;
    }

private:
    const QStringList &m_args;
    QString *m_error;
};

} // namespace

QString CliDspArgs::usage()
{
    return QStringLiteral(
               "  dsp get-config DEVICE                      the DSP configuration document (indented; --json: compact)\n"
               "  dsp budget DEVICE                          the processor budget as the DSP window shows it, and its load\n"
               "  dsp add-block DEVICE in|out CH KIND [--force]\n"
               "                       add a block at the end of a channel's chain and save; KIND: %1;\n"
               "                       --force skips the budget check (the other rules still apply)\n"
               "  dsp remove-block DEVICE in|out CH BLOCK    remove the BLOCKth block of the chain and save\n"
               "  dsp paste-channel DEVICE in|out FROM TO [--force]  copy channel FROM's chain onto TO and save\n"
               "  dsp channel DEVICE in|out CH gain DB|mute on|off|inverse on|off|group N|none\n"
               "  dsp matrix DEVICE                          the matrix mixer: rows outputs, columns inputs, dB or off\n"
               "  dsp matrix DEVICE OUT IN DB|mute|unmute    one cell; a gain also switches the cell on\n"
               "                       CH, BLOCK, FROM, TO, OUT, IN and group N count from 1, as on the screen\n"
               "  dsp set-block DEVICE NODE PORT PROC JSON   change members of one processing block, e.g. '{\"ratio\":\"4\"}'\n"
               "  dsp bypass DEVICE NODE PORT PROC 0|1       bypass (1) or activate (0) one block\n"
               "                       NODE, PORT, PROC count from 0 as in the document: node in nodeArr,\n"
               "                       channel of the node, block in the channel's procArr\n"
               "  dsp response CHAIN [--whole] [--csv]  the magnitude curve (Hz, dB) of a chain given as a JSON array of\n"
               "                       blocks in the document's form, or @FILE; no device needed. The equaliser\n"
               "                       editor's curve (its first equaliser with the high-pass and low-pass blocks);\n"
               "                       --whole: every equaliser, crossover and FIR block that is not bypassed;\n"
               "                       --json: {\"points\":[[hz,db],...]}; --csv: freq_hz,db lines\n"
               "  dsp response DEVICE in|out CH [--whole] [--csv]  the same for a device's channel\n"
               "  dsp fir-design OBJ   an FIR block's obj (JSON or @FILE: firType, winType, attDb, taps, maxTaps,\n"
               "                       freq0, freq1) designed as the FIR editor sends it, with \"arr\" and the stored\n"
               "                       \"attDb\"; --json: {\"obj\":{...},\"points\":[[hz,db],...]} on the FIR grid\n"
               "  dsp eq-import DEVICE in|out CH FILE   the filters of a room-measurement tool's text (\"Filter 1: ON PK\n"
               "                       Fc 120 Hz Gain -3.5 dB Q 2.10\") into the channel's first equaliser as one\n"
               "                       change; lines it cannot take are listed first; bands the file leaves are bypassed\n"
               "  dsp eq-export DEVICE in|out CH [FILE] the channel's first equaliser in the same text (standard output\n"
               "                       without FILE)\n"
               "  dsp status DEVICE in|out CH BLOCK     a compressor's, expander's or limiter's gain reduction, a noise\n"
               "                       gate's state, as the editor shows them; --json: {\"reductionDb\":X} or {\"open\":B}\n"
               "  dsp diff A B         two DSP configurations compared, one difference a line (\"in 1 / 3 compress:\n"
               "                       ratio 4 -> 8\"); A and B each a device (its running configuration),\n"
               "                       DEVICE:PROGRAM (a program stored on it) or a file (*.dt, *.dcd or a bare\n"
               "                       document); older documents are compared converted; --json: [{\"where\",\n"
               "                       \"member\",\"a\",\"b\"}], null for a side without it; exit 0 identical, 1 different,\n"
               "                       2 trouble (a source that cannot be read)\n")
               .arg(kindNames())
           + programUsage() + storedUsage();
}

bool CliDspArgs::changes() const
{
    return !(command == Command::GetConfig || command == Command::Budget || command == Command::MatrixShow
             || command == Command::Response || command == Command::ResponseDevice || command == Command::FirDesign
             || command == Command::EqExport || command == Command::Status || command == Command::Diff
             || (command == Command::Program
                 && (programVerb == ProgramVerb::List || programVerb == ProgramVerb::Export
                     || programVerb == ProgramVerb::ExportAll)));
}

std::optional<CliDspArgs> CliDspArgs::parse(const QStringList &args, QString *error)
{
    error->clear();
    if (args.value(0) == QLatin1String("stored") || args.value(0) == QLatin1String("factory-reset"))
        return parseStored(args, error);
    struct Shape
    {
        const char *name;
        Command command;
        int minArgs;
        int maxArgs;
        const char *form;
    };
    static const Shape kShapes[] = {
        {"get-config", Command::GetConfig, 2, 2, "get-config DEVICE"},
        {"budget", Command::Budget, 2, 2, "budget DEVICE"},
        {"set-block", Command::SetBlock, 6, 6, "set-block DEVICE NODE PORT PROC JSON"},
        {"bypass", Command::Bypass, 6, 6, "bypass DEVICE NODE PORT PROC 0|1"},
        {"add-block", Command::AddBlock, 5, 5, "add-block DEVICE in|out CH KIND"},
        {"remove-block", Command::RemoveBlock, 5, 5, "remove-block DEVICE in|out CH BLOCK"},
        {"paste-channel", Command::PasteChannel, 5, 5, "paste-channel DEVICE in|out FROM TO"},
        {"channel", Command::Channel, 6, 6, "channel DEVICE in|out CH gain|mute|inverse|group VALUE"},
        {"matrix", Command::MatrixShow, 2, 5, "matrix DEVICE [OUT IN DB|mute|unmute]"},
        {"response", Command::Response, 2, 4, "response CHAIN|@FILE or response DEVICE in|out CH"},
        {"fir-design", Command::FirDesign, 2, 2, "fir-design OBJ|@FILE"},
        {"eq-import", Command::EqImport, 5, 5, "eq-import DEVICE in|out CH FILE"},
        {"eq-export", Command::EqExport, 4, 5, "eq-export DEVICE in|out CH [FILE]"},
        {"status", Command::Status, 5, 5, "status DEVICE in|out CH BLOCK"},
        {"diff", Command::Diff, 3, 3, "diff A B"},
    };
    const QString sub = args.value(0);
    if (sub == QLatin1String("program"))
        return parseProgram(args, error);
    const Shape *shape = nullptr;
    for (const Shape &s : kShapes)
        if (sub == QLatin1String(s.name))
            shape = &s;
    if (!shape) {
        QStringList names;
        for (const Shape &s : kShapes)
            names << QLatin1String(s.name);
        *error = sub.isEmpty() ? QStringLiteral("dsp needs a command: %1").arg(names.join(QStringLiteral(", ")))
                               : QStringLiteral("unknown dsp command %1; one of %2")
                                     .arg(sub, names.join(QStringLiteral(", ")));
        return std::nullopt;
    }
    const bool matrixCell = shape->command == Command::MatrixShow && args.size() == 5;
    const bool deviceResponse = shape->command == Command::Response && args.size() == 4;
    if (args.size() < shape->minArgs || args.size() > shape->maxArgs
        || (shape->command == Command::MatrixShow && args.size() != 2 && !matrixCell)
        || (shape->command == Command::Response && args.size() != 2 && !deviceResponse)) {
        *error = QStringLiteral("dsp takes %1").arg(QLatin1String(shape->form));
        return std::nullopt;
    }

    CliDspArgs a;
    a.command = matrixCell ? Command::MatrixCell : deviceResponse ? Command::ResponseDevice : shape->command;
    a.device = args.at(1);
    Reader r(args, error);
    switch (a.command) {
    case Command::GetConfig:
    case Command::Budget:
    case Command::MatrixShow:
    case Command::Program:
    case Command::Stored: // read by parseStored
        break;
    case Command::Diff:
        a.sources = args.mid(1, 2);
        a.sourcesAreFiles = QFileInfo::exists(args.at(1)) && QFileInfo::exists(args.at(2));
        a.device.clear();
        break;
    case Command::Response:
    case Command::FirDesign:
        a.jsonInput = a.device;
        a.device.clear();
        break;
    case Command::ResponseDevice:
        a.side = r.side(2);
        a.channel = r.ordinal(3, "CH");
        break;
    case Command::EqImport:
    case Command::EqExport:
        a.side = r.side(2);
        a.channel = r.ordinal(3, "CH");
        a.filePath = args.value(4);
        break;
    case Command::SetBlock:
    case Command::Bypass:
        a.nodeId = r.index(2, "NODE");
        a.portIndex = r.index(3, "PORT");
        a.procIndex = r.index(4, "PROC");
        if (a.command == Command::SetBlock) {
            a.blockJson = args.at(5);
        } else if (args.at(5) == QLatin1String("0") || args.at(5) == QLatin1String("1")) {
            a.bypass = args.at(5) == QLatin1String("1");
        } else {
            r.bad(tx(Tx::DspBypassValue));
        }
        break;
    case Command::AddBlock: {
        a.side = r.side(2);
        a.channel = r.ordinal(3, "CH");
        const std::optional<DspKind> kind = DspKinds::fromCliName(args.at(4));
        if (kind)
            a.kind = *kind;
        else
            r.bad(QStringLiteral("KIND is one of %1, not \"%2\"").arg(kindNames(), args.at(4)));
        break;
    }
    case Command::RemoveBlock:
    case Command::Status:
        a.side = r.side(2);
        a.channel = r.ordinal(3, "CH");
        a.position = r.ordinal(4, "BLOCK");
        break;
    case Command::PasteChannel:
        a.side = r.side(2);
        a.channel = r.ordinal(3, "FROM");
        a.toChannel = r.ordinal(4, "TO");
        break;
    case Command::Channel: {
        a.side = r.side(2);
        a.channel = r.ordinal(3, "CH");
        const QString member = args.at(4);
        if (member == QLatin1String("gain")) {
            a.member = Member::Gain;
            a.gainDb = r.number(5, "the gain");
        } else if (member == QLatin1String("mute") || member == QLatin1String("inverse")) {
            a.member = member == QLatin1String("mute") ? Member::Mute : Member::Inverse;
            a.flag = r.onOff(5, member == QLatin1String("mute") ? "mute" : "inverse");
        } else if (member == QLatin1String("group")) {
            a.member = Member::Group;
            a.group = args.at(5) == QLatin1String("none") ? -1 : r.ordinal(5, "the group (or none)");
        } else {
            r.bad(QStringLiteral("the channel member is gain, mute, inverse or group, not \"%1\"").arg(member));
        }
        break;
    }
    case Command::MatrixCell: {
        a.output = r.ordinal(2, "OUT");
        a.input = r.ordinal(3, "IN");
        const QString v = args.at(4);
        if (v == QLatin1String("mute") || v == QLatin1String("unmute")) {
            a.flag = v == QLatin1String("mute");
        } else {
            bool ok = false;
            a.gainDb = v.toDouble(&ok);
            if (!ok || !std::isfinite(a.gainDb))
                r.bad(QStringLiteral("the cell takes a gain in dB, mute or unmute, not \"%1\"").arg(v));
            a.cellGain = true;
        }
        break;
    }
    }
    if (!r.ok())
        return std::nullopt;
    return a;
}
