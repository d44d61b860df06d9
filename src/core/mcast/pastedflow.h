#pragma once

#include "core/devices/devicerecord.h"

#include <QString>

/// A flow the operator gives as an SDP text (one another system announces or
/// shows): read by the SAP parser, so it is accepted exactly when the same
/// description would be as an announcement, and only for a multicast group.
namespace PastedFlow {

struct Result
{
    bool ok = false;
    FlowRecord flow;  // ok: the flow to keep in the registry
    QString refusal;  // !ok: why, in the current language
};

/// Line ends may be LF or CRLF; surrounding blank space is ignored.
Result parse(const QString &sdpText);

} // namespace PastedFlow
