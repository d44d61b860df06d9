#pragma once

#include "core/app/texts.h"
#include "core/dsp/cdevicedspdata.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <optional>

/// A program file ("*.dt") opened for editing with no device: the document, the device model and the sample
/// rate it is edited for. Decided without widgets.
namespace DspOfflineFile {

/// A DSP model this program knows: "RKiiooD" carries ii inputs and oo outputs.
struct Model
{
    QString code;
    int inputs = 0;
    int outputs = 0;
};
QVector<Model> models();
/// The model's channel counts read from its code; nothing when the code is not a DSP model's.
std::optional<Model> model(const QString &code);
/// The sample rates a device can run at, for the choice.
QVector<int> sampleRates();
/// The first known model whose channel counts are the document's, else the first model.
QString modelFor(const CDeviceDspData &doc);

struct Opened
{
    std::optional<Tx> error;
    QString name; ///< the program's name in the file
    CDeviceDspData doc;
    bool converted = false; ///< the file held an older version, converted on opening
    bool ok() const { return !error; }
};
/// The file's program as a document of the current version. ProgramFiles' refusals for the bytes;
/// ProgWrongVersion for a newer version; the converter's refusal for an old one it cannot convert;
/// ProgFileNotProgram when the "config" is not a document this program can edit.
Opened read(const QByteArray &bytes);

/// Why the document cannot be edited for this model (its channel counts are not the model's); empty when it
/// can.
QString fitError(const CDeviceDspData &doc, const QString &modelCode);

/// What to ask before the document is stored on a device of this model running at this rate (0: not known): a
/// program for other channel counts or another sample rate is stored but will not load there. Empty when it fits.
QString sendWarning(const CDeviceDspData &doc, const QString &modelCode, int sampleRate);

/// The "*.dt" bytes of the document under this name.
QByteArray write(const QString &name, const CDeviceDspData &doc);

} // namespace DspOfflineFile
