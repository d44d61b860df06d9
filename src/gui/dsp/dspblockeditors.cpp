#include "gui/dsp/dspblockeditors.h"

#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspkinds.h"
#include "gui/dsp/dspblockparamsview.h"
#include "gui/dsp/dspfirform.h"

FramelessDialog *DspBlockEditors::create(DspController *controller, quint64 uid, const QString &title,
                                         QWidget *parent)
{
    const DspBlock *block = controller->block(uid);
    if (!block)
        return nullptr;
    switch (DspKinds::of(*block).value_or(DspKind::Ducker)) {
    case DspKind::Fir:
        return new DspFirForm(controller, uid, title, parent);
    default:
        return new DspBlockParamsView(controller, uid, title, parent);
    }
}
