#include "core/protocol/replyrouter.h"

#include "core/protocol/jsonintake.h"
#include "core/protocol/requestrouter.h"
#include "core/app/log.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString compact(const QJsonObject &obj)
{
    return QString::fromUtf8(QJsonDocument(obj).toJson(QJsonDocument::Compact));
}

bool isRouteChange(const QString &op)
{
    return op == QLatin1String("setUcastRx") || op == QLatin1String("setMcastRx") || op == QLatin1String("clrRxCh");
}

} // namespace

QString ReplyRouter::reasonText(const QString &op, const QString &reason)
{
    if (isRouteChange(op))
        return reason == QLatin1String("LOCK_UCAST_MCAST") ? tx(Tx::DeviceLocked) : tx(Tx::SetRxFail);
    if (reason == QLatin1String("LOCK_UCAST_MCAST"))
        return tx(Tx::LockedRefusal);
    if (reason == QLatin1String("mismatch"))
        return tx(Tx::PasswordError);
    if (reason == QLatin1String("no free sdpId"))
        return tx(Tx::StreamLimit);
    if (op == QLatin1String("setPtpPriority"))
        return tx(Tx::ChangeFailed);
    return tx(Tx::CommandFailed).arg(op, reason.isEmpty() ? QStringLiteral("?") : reason);
}

ReplyRouter::Outcome ReplyRouter::route(const char *data, int length, quint32 senderIp, quint16,
                                        DevManager &registry)
{
    Outcome out;
    QJsonObject reply;
    if (!JsonIntake::parseObject(data, length, &reply)) {
        Log::failure(__FILE__, "MyThread::handleUdpUnicast", __LINE__);
        return out;
    }
    const QString op = reply.value(QLatin1String("ops")).toString();

    if (op != QLatin1String("setIp") && !reply.contains(QLatin1String("devId"))) {
        const QString devId = registry.devIdOfIp(senderIp);
        if (!devId.isEmpty())
            reply.insert(QStringLiteral("devId"), devId);
    }

    const QString uiTag = reply.value(QLatin1String("uiTag")).toString();
    if (uiTag == QLatin1String("dspUiTag") || uiTag == QLatin1String("superMatrixUiTag")
        || reply.value(QLatin1String("cookie")).toString() == QLatin1String("0")) {
        out.message = compact(reply);
        out.passedThrough = true;
        return out;
    }

    if (registry.intakeReply(reply, senderIp)) {
        out.registryChanged = true;
        return out;
    }

    // Replies to page-level requests go back under the page's own name.
    bool transmit = false;
    const QString pageOp = RequestRouter::pageOperation(op, &transmit);
    if (!pageOp.isEmpty()) {
        reply.insert(QStringLiteral("ops"), pageOp);
        reply.insert(QStringLiteral("inOrOut"), transmit ? QStringLiteral("1") : QStringLiteral("0"));
    }

    const QString result = reply.value(QLatin1String("result")).toString();
    if (result == QLatin1String("succ")) {
        if (op == QLatin1String("setMcastTx"))
            out.notice = tx(Tx::FlowCreated);
        else if (op == QLatin1String("clrMcastTx"))
            out.notice = tx(Tx::FlowDeleted);
        else if (op == QLatin1String("setLock"))
            out.notice = tx(Tx::SetSucc);
        else if (op == QLatin1String("setPassword"))
            out.notice = tx(Tx::PasswordChanged);
        out.noticeIsSuccess = true;
    } else if (!result.isEmpty()) {
        out.notice = reasonText(op, reply.value(QLatin1String("reason")).toString());
        out.noticeIsSuccess = false;
    }
    out.message = compact(reply);
    return out;
}
