#pragma once

#include "core/dsp/programs/programfiles.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

/// Export all: asks the device for every program with subTag "exportAll" and collects the replies, which
/// come one by one and in any order, until each program has arrived; then gives the "*.dtl" text in slot order.
/// Replies for other names, other reasons (a single export, a conversion) or a name already collected are
/// ignored, so a late or repeated answer cannot make the count reach the total early.
class ProgramExport
{
public:
    static constexpr const char *kSubTag = "exportAll";

    /// names: ProgramRules::exportableNames of the page's list.
    explicit ProgramExport(const QStringList &names);

    /// The requests to send, one per program.
    QStringList requests() const;

    enum class Take {
        Ignored, ///< not one this export waits for
        Taken,
        Failed, ///< the device refused one of ours, or sent it without a document: the export cannot finish
    };
    Take take(const QJsonObject &reply);
    Take take(const QString &reply);

    bool complete() const;
    bool failed() const { return m_failed; }
    /// The programs in the order they were asked for; empty until complete.
    QVector<ProgramFiles::Program> programs() const;
    QByteArray dtlText() const;

private:
    QStringList m_names;
    QVector<ProgramFiles::Program> m_got; ///< by position in m_names; an empty config is still awaited
    QVector<bool> m_arrived;
    int m_count = 0;
    bool m_failed = false;
};
