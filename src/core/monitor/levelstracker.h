#pragma once

#include <QHash>
#include <QJsonObject>
#include <QStringList>
#include <QVector>
#include <array>

struct Device;

/// What the levels page knows between polls: the latest levels of each
/// device's four groups. No timer and no socket: the page (or the CLI) calls
/// pollRound on its tick, sends what it returns and hands every reply to intake.
class LevelsTracker
{
public:
    static constexpr int kPollMs = 1000;
    /// Polls without an answer after which a group's cell is emptied, so a
    /// device that stopped answering shows no frozen levels.
    static constexpr int kStalePolls = 3;

    /// In the order of the page's columns.
    enum Group { AnalogIn, AnalogOut, NetIn, NetOut, GroupCount };

    struct Row
    {
        QString devId;
        QString name;
        std::array<QString, GroupCount> cells; // LevelCell::format; "" for no channels or no answer
    };

    /// The page-level request of one group: "getAllPhyLevel" or
    /// "getAllNetLevel" with "inOrOut" "0" (inputs) or "1" (outputs) and
    /// "idStart" "0" (the first page holds the 32 values a cell shows).
    static QJsonObject request(const QString &devId, Group group, int idStart = 0);
    /// The channels a device announces for a group.
    static int channelCount(const Device &d, Group group);
    /// The lines of the device's tallest cell, so its row never changes height.
    static int lineCount(const Device &d);

    /// One poll round: the groups with channels of every device given.
    /// Devices not given are forgotten.
    QVector<QJsonObject> pollRound(const QVector<Device> &devices);
    /// A level reply, by the page-level name with "inOrOut" or by the device
    /// operation's name; true when it was one. Only "succ" replies of the
    /// first page count.
    /// For the device whose every channel is wanted (setFullDevice), later
    /// pages count too, and the request of the page after this one is
    /// appended to `more` until the group's announced channels are in.
    bool intake(const QJsonObject &message, QVector<QJsonObject> *more = nullptr);
    /// The device the meter view shows: all its channels are fetched, not
    /// only the first page the cells need. "" for none.
    void setFullDevice(const QString &devId) { m_fullDevId = devId; }
    QString fullDevice() const { return m_fullDevId; }

    QStringList levels(const QString &devId, Group group) const;
    /// Every group of the device that has channels has been answered.
    bool complete(const Device &d) const;
    Row row(const Device &d) const;
    QVector<Row> rows(const QVector<Device> &devices) const;

private:
    struct GroupState
    {
        QStringList values;
        int unanswered = 0;
        int channels = 0;
        bool known = false;
    };
    QString m_fullDevId;
    QHash<QString, std::array<GroupState, GroupCount>> m_groups;
};
