#include "core/dsp/programs/programexport.h"

#include "core/dsp/dspcodec.h"
#include "core/dsp/programs/programcommands.h"

ProgramExport::ProgramExport(const QStringList &names)
    : m_names(names)
    , m_got(names.size())
    , m_arrived(names.size(), false)
{
}

QStringList ProgramExport::requests() const
{
    QStringList out;
    for (const QString &name : m_names)
        out << ProgramCommands::getConfigByName(name, QLatin1String(kSubTag));
    return out;
}

ProgramExport::Take ProgramExport::take(const QString &reply)
{
    QJsonObject obj;
    if (!DspCodec::parseObject(reply.toUtf8(), &obj))
        return Take::Ignored;
    return take(obj);
}

ProgramExport::Take ProgramExport::take(const QJsonObject &reply)
{
    if (reply.value(QLatin1String("ops")).toString() != QLatin1String("getConfigByName")
        || reply.value(QLatin1String("subTag")).toString() != QLatin1String(kSubTag))
        return Take::Ignored;
    const int at = m_names.indexOf(reply.value(QLatin1String("name")).toString());
    if (at < 0 || m_arrived.at(at))
        return Take::Ignored;
    const QJsonValue config = reply.value(QLatin1String("config"));
    if (reply.value(QLatin1String("result")).toString() != QLatin1String("succ") || !config.isObject()) {
        m_failed = true;
        return Take::Failed;
    }
    m_got[at] = ProgramFiles::Program{m_names.at(at), config.toObject(),
                                      ProgramFiles::versionOf(config.toObject())};
    m_arrived[at] = true;
    ++m_count;
    return Take::Taken;
}

bool ProgramExport::complete() const
{
    return !m_failed && !m_names.isEmpty() && m_count == m_names.size();
}

QVector<ProgramFiles::Program> ProgramExport::programs() const
{
    return complete() ? m_got : QVector<ProgramFiles::Program>{};
}

QByteArray ProgramExport::dtlText() const
{
    return complete() ? ProgramFiles::writeProgramList(m_got) : QByteArray{};
}
