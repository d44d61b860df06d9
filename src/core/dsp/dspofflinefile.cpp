#include "core/dsp/dspofflinefile.h"

#include "core/dsp/programs/programconvert.h"
#include "core/dsp/programs/programfiles.h"

#include <QJsonDocument>
#include <QRegularExpression>

namespace DspOfflineFile {

QVector<Model> models()
{
    QVector<Model> out;
    for (const char *code : {"RK0202D", "RK0204D", "RK0402D", "RK0404D", "RK0808D", "RK1616D"})
        out.append(*model(QLatin1String(code)));
    return out;
}

std::optional<Model> model(const QString &code)
{
    static const QRegularExpression form(QStringLiteral("^RK(\\d\\d)(\\d\\d)D$"));
    const QRegularExpressionMatch m = form.match(code);
    if (!m.hasMatch() || m.captured(1).toInt() == 0 || m.captured(2).toInt() == 0)
        return std::nullopt;
    return Model{code, m.captured(1).toInt(), m.captured(2).toInt()};
}

QVector<int> sampleRates()
{
    return {44100, 48000, 88200, 96000, 176400, 192000};
}

QString modelFor(const CDeviceDspData &doc)
{
    const QVector<Model> all = models();
    for (const Model &m : all)
        if (m.inputs == doc.inChNum() && m.outputs == doc.outChNum())
            return m.code;
    return all.first().code;
}

Opened read(const QByteArray &bytes)
{
    Opened out;
    const ProgramFiles::ProgramRead file = ProgramFiles::readProgram(bytes);
    if (!file.ok()) {
        out.error = file.error;
        return out;
    }
    const ProgramFiles::Program &program = file.programs.first();
    out.name = program.name;
    QJsonObject config = program.config;
    switch (program.version) {
    case ProgramFiles::Version::Current: break;
    case ProgramFiles::Version::NeedsConversion: {
        const ProgramConvert::Result converted = ProgramConvert::toCurrent(config);
        if (!converted.ok()) {
            out.error = converted.error;
            return out;
        }
        config = converted.config;
        out.converted = true;
        break;
    }
    case ProgramFiles::Version::Unknown: out.error = Tx::ProgWrongVersion; return out;
    }
    if (!out.doc.loadConfig(config).ok() || !out.doc.isLoaded())
        out.error = Tx::ProgFileNotProgram;
    return out;
}

QString fitError(const CDeviceDspData &doc, const QString &modelCode)
{
    const std::optional<Model> m = model(modelCode);
    if (!m)
        return tx(Tx::OfflineModelUnknown).arg(modelCode);
    if (m->inputs == doc.inChNum() && m->outputs == doc.outChNum())
        return QString();
    return tx(Tx::OfflineModelMismatch)
        .arg(doc.inChNum())
        .arg(doc.outChNum())
        .arg(m->code)
        .arg(m->inputs)
        .arg(m->outputs);
}

QString sendWarning(const CDeviceDspData &doc, const QString &modelCode, int sampleRate)
{
    QString why;
    if (model(modelCode))
        why = fitError(doc, modelCode);
    if (why.isEmpty() && sampleRate > 0 && doc.sampleRate > 0 && sampleRate != doc.sampleRate)
        why = tx(Tx::OfflineRateDiffers).arg(sampleRate).arg(doc.sampleRate);
    return why.isEmpty() ? why : why + QLatin1Char('\n') + tx(Tx::OfflineSendAnyway);
}

QByteArray write(const QString &name, const CDeviceDspData &doc)
{
    ProgramFiles::Program program;
    program.name = name;
    program.config = QJsonDocument::fromJson(doc.toJson()).object();
    return ProgramFiles::writeProgram(program);
}

} // namespace DspOfflineFile
