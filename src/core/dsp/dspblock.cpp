#include "core/dsp/dspblock.h"

#include "core/dsp/dspcodec.h"
#include "core/dsp/dspjsonwriter.h"

int DspBlock::type() const
{
    if (const auto *u = std::get_if<DspUnknownBlock>(&obj))
        return u->type;
    return int(obj.index());
}

QByteArray DspBlock::toJson() const
{
    QByteArray out;
    DspJsonWriter w(&out);
    DspCodec::writeBlock(w, *this);
    return out;
}

QByteArray DspBlock::objToJson() const
{
    QByteArray out;
    DspJsonWriter w(&out);
    DspCodec::writeBlockObj(w, *this);
    return out;
}

QStringList DspBlock::memberNames(int type)
{
    return DspCodec::blockMemberNames(type);
}
