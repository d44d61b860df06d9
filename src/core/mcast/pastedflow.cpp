#include "core/mcast/pastedflow.h"

#include "core/app/texts.h"
#include "core/devices/announcementparser.h"
#include "core/protocol/sapparser.h"

namespace {

QString refusalText(SapParser::Refusal r)
{
    switch (r) {
    case SapParser::Accepted:
        break;
    case SapParser::TooLong:
        return tx(Tx::PasteTooLong).arg(SapParser::MaxDatagram - 24);
    case SapParser::NotSdp:
        return tx(Tx::PasteNotSdp);
    case SapParser::NoSessionName:
        return tx(Tx::PasteNoSessionName);
    case SapParser::NoOrigin:
        return tx(Tx::PasteNoOrigin);
    case SapParser::NoConnection:
        return tx(Tx::PasteNoConnection);
    case SapParser::UnicastAddress:
        return tx(Tx::PasteUnicast);
    case SapParser::NoMedia:
        return tx(Tx::PasteNoMedia);
    case SapParser::UnsupportedPayload:
        return tx(Tx::PasteUnsupportedPayload);
    case SapParser::NoPacketTime:
        return tx(Tx::PasteNoPacketTime);
    case SapParser::NoReferenceClock:
        return tx(Tx::PasteNoRefClock);
    case SapParser::NoMediaClock:
        return tx(Tx::PasteNoMediaClock);
    }
    return QString();
}

} // namespace

namespace PastedFlow {

Result parse(const QString &sdpText)
{
    Result r;
    const QString text = sdpText.trimmed();
    if (text.isEmpty()) {
        r.refusal = tx(Tx::PasteEmpty);
        return r;
    }
    // The line break after the last line is part of SDP; a pasted text usually lacks it.
    const QByteArray sdp = text.toUtf8() + "\r\n";
    FlowDescription d;
    const SapParser::Refusal why = SapParser::parseSdpText(sdp, &d);
    if (why != SapParser::Accepted) {
        r.refusal = refusalText(why);
        return r;
    }
    r.ok = true;
    r.flow = AnnouncementParser::flowOf(d);
    return r;
}

} // namespace PastedFlow
