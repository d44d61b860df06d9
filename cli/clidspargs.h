#pragma once

#include "core/dsp/dspkinds.h"

#include <QString>
#include <QStringList>

#include <optional>

/// The arguments of corvane-cli's dsp commands, checked before the client listens or sends anything. Channels,
/// blocks, matrix rows and columns and link groups count from 1, as the DSP window shows them; the members here
/// count from 0, as the document does. Only set-block and bypass take document addresses (from 0) as given.
struct CliDspArgs
{
    enum class Command {
        GetConfig,
        SetBlock,
        Bypass,
        Budget,
        AddBlock,
        RemoveBlock,
        PasteChannel,
        Channel,
        MatrixShow,
        MatrixCell,
        Response,       ///< a chain given on the command line: no device
        ResponseDevice, ///< a device's channel
        FirDesign,      ///< no device
        EqImport,       ///< a parametric filter list into a channel's equaliser
        EqExport,
        Status, ///< a dynamics block's live state
        Program, ///< the device's programs (clidspprograms.cpp)
        Stored, ///< stored configurations and the factory reset (clidspstored.cpp)
        Diff,   ///< two configurations side by side
    };
    enum class ProgramVerb { List, Save, Load, Delete, Convert, Export, Import, ExportAll, ImportAll };
    enum class Member { Gain, Mute, Inverse, Group };

    Command command = Command::GetConfig;
    QString device;
    DspSide side = DspSide::In;
    int channel = 0;   ///< add-block, remove-block, channel; paste-channel: the source
    int toChannel = 0; ///< paste-channel
    int position = 0;  ///< remove-block: the block in the chain
    DspKind kind = DspKind::Eq;
    /// set-block and bypass: the address in the document.
    int nodeId = 0;
    int portIndex = 0;
    int procIndex = 0;
    QString blockJson;
    bool bypass = false;
    Member member = Member::Gain;
    double gainDb = 0.0; ///< channel gain, matrix cell gain
    bool flag = false;   ///< channel mute or inversion; matrix cell muted
    int group = -1;      ///< link group; -1 takes the channel out of its group
    int output = 0;      ///< matrix row
    int input = 0;       ///< matrix column
    bool cellGain = false; ///< the matrix cell's gain is given (else only its mute)
    /// response, fir-design: the JSON text, or @FILE for a file holding it.
    QString jsonInput;
    /// eq-import: the file read; eq-export: the file written, empty for standard output.
    QString filePath;
    /// program: what is done, to which program (import, export: FILE in filePath).
    ProgramVerb programVerb = ProgramVerb::List;
    QString programName;
    /// stored: list, last, save, load, delete, export, import; or factory-reset.
    QString storedVerb;
    int storedIndex = 0;
    QString storedName;

    /// diff: A and B, each a device, DEVICE:PROGRAM or a file; true when both are files (no network).
    QStringList sources;
    bool sourcesAreFiles = false;

    /// The words after "dsp"; none with a message that names the bad argument.
    static std::optional<CliDspArgs> parse(const QStringList &args, QString *error);
    /// Whether --force means something for the command (the budget check of adding and pasting).
    bool takesForce() const { return command == Command::AddBlock || command == Command::PasteChannel; }
    /// The command changes the device.
    bool changes() const;
    /// The command works on JSON given to it and talks to no device.
    bool offline() const
    {
        return command == Command::Response || command == Command::FirDesign
            || (command == Command::Diff && sourcesAreFiles);
    }
    bool takesCurveFormat() const { return command == Command::Response || command == Command::ResponseDevice; }
    static QString usage();
    static QString programUsage();

private:
    /// "dsp program VERB DEVICE ...", whose device comes after the verb.
    static std::optional<CliDspArgs> parseProgram(const QStringList &args, QString *error);
public:
    /// "stored ..." and "factory-reset" (clidspstored.cpp).
    static std::optional<CliDspArgs> parseStored(const QStringList &args, QString *error);
    static QString storedUsage();
};
