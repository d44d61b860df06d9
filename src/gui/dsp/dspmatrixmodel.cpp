#include "gui/dsp/dspmatrixmodel.h"

#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "gui/widgets/style.h"

#include <QColor>
#include <cmath>

namespace {

// Louder cross-points are brighter, so a large matrix shows its routing at a glance.
QColor shade(double gainDb)
{
    const double t = qBound(
        0.0, (gainDb - DspMatrixModel::kMinGainDb) / (DspMatrixModel::kMaxGainDb - DspMatrixModel::kMinGainDb), 1.0);
    const QColor low(36, 60, 110);
    const QColor high(72, 140, 230);
    return QColor::fromRgbF(low.redF() + t * (high.redF() - low.redF()),
                            low.greenF() + t * (high.greenF() - low.greenF()),
                            low.blueF() + t * (high.blueF() - low.blueF()));
}

} // namespace

DspMatrixModel::DspMatrixModel(DspController *controller, QObject *parent)
    : QAbstractTableModel(parent)
    , m_controller(controller)
{
    connect(controller, &DspController::signal_documentLoaded, this, &DspMatrixModel::documentLoaded);
    connect(controller, &DspController::signal_nodeChanged, this, &DspMatrixModel::nodeChanged);
}

void DspMatrixModel::setChannelNames(const QStringList &inputs, const QStringList &outputs)
{
    m_inputNames = inputs;
    m_outputNames = outputs;
    retranslate();
}

void DspMatrixModel::retranslate()
{
    redrawAll();
    if (columnCount() > 0)
        emit headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
    if (rowCount() > 0)
        emit headerDataChanged(Qt::Vertical, 0, rowCount() - 1);
}

QString DspMatrixModel::channelName(bool output, int channel) const
{
    const QString name = (output ? m_outputNames : m_inputNames).value(channel).trimmed();
    if (!name.isEmpty())
        return name;
    return tx(output ? Tx::DspOutputName : Tx::DspInputName).arg(channel + 1);
}

int DspMatrixModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() || m_controller->matrixNodeId() < 0 ? 0 : m_controller->channelCount(DspSide::Out);
}

int DspMatrixModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() || m_controller->matrixNodeId() < 0 ? 0 : m_controller->channelCount(DspSide::In);
}

bool DspMatrixModel::cellOf(const QModelIndex &index, Cell *cell) const
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= columnCount())
        return false;
    // The controller shows a change asked for until the device answers it.
    const DspNode *node = m_controller->shownNode(m_controller->matrixNodeId());
    if (!node)
        return false;
    const DspMatrix &m = node->matrix;
    // A document whose rows are short reads as silence rather than failing.
    cell->gainDb = m.gainArr.value(index.row()).value(index.column(), kMinGainDb);
    cell->mute = m.muteArr.value(index.row()).value(index.column(), true);
    return true;
}

double DspMatrixModel::gainDb(const QModelIndex &index) const
{
    Cell c;
    return cellOf(index, &c) ? c.gainDb : kMinGainDb;
}

bool DspMatrixModel::isMuted(const QModelIndex &index) const
{
    Cell c;
    return !cellOf(index, &c) || c.mute;
}

QString DspMatrixModel::cellText(double gainDb, bool mute)
{
    return mute ? tx(Tx::DspMatrixOff) : QString::number(gainDb, 'f', 1);
}

QVariant DspMatrixModel::data(const QModelIndex &index, int role) const
{
    Cell c;
    if (!cellOf(index, &c))
        return QVariant();
    switch (role) {
    case Qt::DisplayRole: return cellText(c.gainDb, c.mute);
    case Qt::EditRole: return c.gainDb;
    case MutedRole: return c.mute;
    case Qt::TextAlignmentRole: return int(Qt::AlignCenter);
    case Qt::BackgroundRole: return c.mute ? QColor(Style::kBackground) : shade(c.gainDb);
    case Qt::ForegroundRole: return c.mute ? QColor(Style::kBorder).lighter(130) : QColor(Style::kTextBright);
    case Qt::ToolTipRole:
        return tx(Tx::DspMatrixCellTip)
            .arg(channelName(false, index.column()), channelName(true, index.row()),
                 c.mute ? tx(Tx::DspMatrixOff) : cellText(c.gainDb, false) + QStringLiteral(" dB"));
    default: return QVariant();
    }
}

QVariant DspMatrixModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return channelName(orientation == Qt::Vertical, section);
    return QAbstractTableModel::headerData(section, orientation, role);
}

Qt::ItemFlags DspMatrixModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable;
}

bool DspMatrixModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    Cell c;
    if (!cellOf(index, &c))
        return false;
    if (role == Qt::EditRole) {
        bool ok = false;
        const double gain = value.toDouble(&ok);
        if (!ok || !std::isfinite(gain))
            return false;
        setCell(index, gain, false);
        return true;
    }
    if (role == MutedRole) {
        setCell(index, c.gainDb, value.toBool());
        return true;
    }
    return false;
}

void DspMatrixModel::setCell(const QModelIndex &index, double gainDb, bool mute)
{
    Cell now;
    if (!cellOf(index, &now))
        return;
    // The device keeps one decimal of interest; finer steps would only add requests.
    const Cell asked{qBound(kMinGainDb, std::round(gainDb * 10.0) / 10.0, kMaxGainDb), mute};
    if (asked.gainDb == now.gainDb && asked.mute == now.mute)
        return;
    const QString refusal = m_controller->setMatrixCell(index.row(), index.column(), asked.gainDb, asked.mute);
    if (!refusal.isEmpty())
        return; // the controller says why
    emit dataChanged(index, index);
}

void DspMatrixModel::documentLoaded()
{
    beginResetModel();
    endResetModel();
}

void DspMatrixModel::nodeChanged(int nodeId)
{
    if (nodeId == m_controller->matrixNodeId())
        redrawAll();
}

void DspMatrixModel::redrawAll()
{
    if (rowCount() > 0 && columnCount() > 0)
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}
