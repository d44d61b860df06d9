#pragma once

#include "core/dsp/dspkinds.h"

#include <QString>

#include <functional>

class DspController;
class FramelessDialog;
class QWidget;

namespace DspBlockEditors {

/// The editor of a block by its kind, not yet shown; the read-only parameter view for a kind without an
/// editor of its own. Null when the block is gone. names gives the channels' names for the members that pick
/// a channel.
FramelessDialog *create(DspController *controller, quint64 uid, const QString &title,
                        const std::function<QString(DspSide, int)> &names, QWidget *parent);

} // namespace DspBlockEditors
