#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QJsonObject>
#include <QUdpSocket>
#include <QVector>
#include <functional>

/// What the program hears on the announcement groups (239.0.0.188 and
/// 239.0.0.189, port 9996) and the SAP group (239.255.255.255, port 9875),
/// joined on the loopback interface. Only inside a private network namespace.
class GroupListener
{
public:
    struct Heard
    {
        QByteArray bytes;
        QJsonObject json; ///< announcements and events; empty for SAP and garbage
        QHostAddress from;
        bool sap = false;
    };

    GroupListener();
    bool isReady() const { return m_ready; }
    void clear();
    /// Waits until something matching \a pred has been heard (already or
    /// newly) and returns it; an empty Heard after \a timeoutMs.
    Heard waitFor(const std::function<bool(const Heard &)> &pred, int timeoutMs);
    /// Everything heard so far that matches.
    QVector<Heard> all(const std::function<bool(const Heard &)> &pred);
    /// Keeps listening for \a ms, for checks that something did not come.
    void listen(int ms);

    static std::function<bool(const Heard &)> ops(const QString &ops, const QString &devId = QString());
    static std::function<bool(const Heard &)> event(const QString &event, const QString &devId = QString());
    /// SAP packets whose SDP names \a group in its connection line.
    static std::function<bool(const Heard &)> sapFor(const QString &group);

private:
    void collect();

    QUdpSocket m_announce;
    QUdpSocket m_sap;
    QVector<Heard> m_heard;
    bool m_ready = false;
};
