// SAP datagrams arrive from anyone on the network; the parser must survive every byte pattern.

#include "core/protocol/sapparser.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The receive thread never hands over more than one Ethernet frame's worth.
    if (size >= size_t(SapParser::MaxDatagram))
        return 0;
    FlowDescription flow;
    if (SapParser::parse(reinterpret_cast<const char *>(data), int(size), &flow)) {
        // An accepted flow must hold what the callers rely on.
        if (flow.chNum < 1 || flow.chNum > 8 || flow.sampleByteNum < 1 || flow.sampleByteNum > 4 || flow.srcIp == 0
            || flow.dstIp == 0 || flow.dstPort == 0 || flow.gmClkId[23] != '\0')
            __builtin_trap();
    }
    return 0;
}
