#include "core/protocol/mcastintake.h"

#include "core/protocol/ipv4.h"
#include "core/protocol/jsonintake.h"
#include "core/app/log.h"

#include <QJsonDocument>
#include <QJsonObject>

McastIntake::Result McastIntake::classify(const char *data, int length, quint32 senderIp)
{
    Result r;
    QJsonObject obj;
    if (!JsonIntake::parseObject(data, length, &obj))
        Log::failure(__FILE__, "MyThread::handleUdpMcast", __LINE__);

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
