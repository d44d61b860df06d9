#pragma once

#include <QString>

class DspController;
class FramelessDialog;
class QWidget;

namespace DspBlockEditors {

/// The editor of a block by its kind, not yet shown; the read-only parameter view for a kind without an
/// editor of its own. Null when the block is gone.
FramelessDialog *create(DspController *controller, quint64 uid, const QString &title, QWidget *parent);

} // namespace DspBlockEditors
