#pragma once

#include <QObject>
#include <QStringList>

class QUdpSocket;

/// The production line's discovery check: sends the plain text
/// "AreYouCorvaneLink?" to the settings port of a list of addresses (or the
/// broadcast address) and collects who answers "iAmCorvaneLink!". It has its
/// own socket because the answer is not a JSON reply.
class FactoryProbe : public QObject
{
    Q_OBJECT
public:
    explicit FactoryProbe(QObject *parent = nullptr);

    /// Binds to the interface address (dotted) on a free port; false on failure.
    bool open(const QString &localAddress);
    /// Asks every address in targets; 255.255.255.255 asks the whole segment.
    int ask(const QStringList &targets);
    QStringList answered() const { return m_answered; }

    static bool isAnswer(const QByteArray &datagram);

signals:
    void signal_answer(const QString &address);

private:
    void read();

    QUdpSocket *m_socket;
    QStringList m_answered;
};
