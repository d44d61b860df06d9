#include "mcastintake.h"

#include "ipv4.h"
#include "app/log.h"

#include <QJsonDocument>
#include <QJsonObject>

McastIntake::Result McastIntake::classify(const char *data, int length, quint32 senderIp)
{
    Result r;
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromRawData(data, length), &error);
    QJsonObject obj;
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        Log::failure(__FILE__, "MyThread::handleUdpMcast", __LINE__);
    else
        obj = doc.object();

    r.op = obj.value(QLatin1String("ops")).toString();
    const QString event = obj.value(QLatin1String("event")).toString();
    if (!event.isEmpty()) {
        obj.insert(QStringLiteral("ops"), QStringLiteral("clockEvent"));
        obj.insert(QStringLiteral("remoteIp"), Ipv4::toText(senderIp));
        r.kind = Event;
        r.text = QString::fromUtf8(QJsonDocument(obj).toJson(QJsonDocument::Compact));
    } else if (r.op == QLatin1String("devReqGuiBlink")) {
        r.kind = Blink;
        r.devId = obj.value(QLatin1String("devId")).toString();
        r.text = QString::fromUtf8(QJsonDocument(obj).toJson(QJsonDocument::Compact));
    }
    return r;
}
