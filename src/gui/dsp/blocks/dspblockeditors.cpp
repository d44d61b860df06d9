#include "gui/dsp/blocks/dspblockeditors.h"

#include "core/dsp/dspcontroller.h"
#include "gui/dsp/blocks/dspblockparamsview.h"
#include "gui/dsp/blocks/dspdelayblockform.h"
#include "gui/dsp/blocks/dspdynamicsform.h"
#include "gui/dsp/blocks/dspeqhlpblockform.h"
#include "gui/dsp/blocks/dspfirform.h"
#include "gui/dsp/blocks/dspsimpleforms.h"

FramelessDialog *DspBlockEditors::create(DspController *controller, quint64 uid, const QString &title,
                                         const std::function<QString(DspSide, int)> &names, QWidget *parent)
{
    const DspBlock *block = controller->block(uid);
    if (!block)
        return nullptr;
    const std::optional<DspKind> kind = DspKinds::of(*block);
    if (!kind) // a block type this program does not know: its members as they are
        return new DspBlockParamsView(controller, uid, title, parent);
    switch (*kind) {
    case DspKind::Eq:
    case DspKind::Hpf:
    case DspKind::Lpf: return new DspEqHlpBlockForm(controller, uid, title, parent);
    case DspKind::Compress: return new DspCompressForm(controller, uid, title, names, parent);
    case DspKind::Expand: return new DspExpandForm(controller, uid, title, names, parent);
    case DspKind::Limit: return new DspLimitForm(controller, uid, title, names, parent);
    case DspKind::NoiseGate: return new DspNoisegateForm(controller, uid, title, names, parent);
    case DspKind::Delay: return new DspDelayBlockForm(controller, uid, title, parent);
    case DspKind::SignalGen: return new DspSignalGenForm(controller, uid, title, names, parent);
    case DspKind::Fbe: return new DspFbeForm(controller, uid, title, names, parent);
    case DspKind::Ducker: return new DspDuckerForm(controller, uid, title, names, parent);
    case DspKind::Aec: return new DspChAecForm(controller, uid, title, names, parent);
    case DspKind::Fir: return new DspFirForm(controller, uid, title, parent);
    }
    return new DspBlockParamsView(controller, uid, title, parent);
}
