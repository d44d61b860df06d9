#include "core/dsp/programs/programrules.h"

#include "core/app/texts.h"

#include <QRegularExpression>

namespace {
constexpr int kMaxName = 40;
} // namespace

std::optional<Tx> ProgramRules::nameError(const QString &name, Page page)
{
    const bool admin = page == Page::Admin;
    if (name.isEmpty())
        return admin ? Tx::ProgAdminNameEmpty : Tx::ProgNameEmpty;
    if (name.size() > kMaxName)
        return admin ? Tx::ProgAdminNameTooLong : Tx::ProgNameTooLong;
    static const QRegularExpression rule(QStringLiteral("^[0-9a-zA-Z_-]{1,40}$"));
    if (!rule.match(name).hasMatch())
        return admin ? Tx::ProgAdminNameFormat : Tx::ProgNameBadChars;
    return std::nullopt;
}

QString ProgramRules::slotLabel(int slot, const QString &name)
{
    if (slot == 0)
        return tx(Tx::ProgSlotDefault);
    return QString::number(slot) + QLatin1Char(' ') + name;
}

std::optional<Tx> ProgramRules::refuseChange(int slot)
{
    if (slot == 0)
        return Tx::ProgDefaultNoChange;
    return std::nullopt;
}

std::optional<Tx> ProgramRules::refuseDelete(int slot, const QStringList &nameArr, const QString &inUse)
{
    if (slot == 0)
        return Tx::ProgDefaultNoDelete;
    if (slot > 0 && slot < nameArr.size() && !inUse.isEmpty() && nameArr.at(slot) == inUse)
        return Tx::ProgInUseNoDelete;
    return std::nullopt;
}

std::optional<Tx> ProgramRules::refuseExport(int slot, const QStringList &nameArr)
{
    if (slot < 0)
        return Tx::ProgExportNoSlot;
    if (slot == 0)
        return Tx::ProgDefaultNoExport;
    if (slot >= nameArr.size() || nameArr.at(slot).isEmpty())
        return Tx::ProgExportEmptySlot;
    return std::nullopt;
}

QStringList ProgramRules::exportableNames(const QStringList &nameArr)
{
    QStringList names;
    for (int slot = 1; slot < nameArr.size(); ++slot) {
        const QString &name = nameArr.at(slot);
        // The collector waits for each name once, so a name listed twice must be asked for once.
        if (!name.isEmpty() && !names.contains(name))
            names << name;
    }
    return names;
}

std::optional<Tx> ProgramRules::refuseExportAll(const QStringList &nameArr)
{
    if (exportableNames(nameArr).isEmpty())
        return Tx::ProgExportAllNone;
    return std::nullopt;
}
