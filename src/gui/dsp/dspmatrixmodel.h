#pragma once

#include <QAbstractTableModel>
#include <QStringList>

class DspController;

/// The matrix mixer of the open device as a table: one row per output, one column per input, each cell the
/// gain in dB of that cross-point and whether it is muted. Reads the controller's document on every call and
/// asks the controller for every change.
///
/// A change is shown at once, before the device answers: until the controller has nothing left waiting, the
/// cell shows what was asked for; then it shows the document again, which holds the new value when the device
/// took it and the old one when it refused.
class DspMatrixModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    static constexpr double kMinGainDb = -100.0;
    static constexpr double kMaxGainDb = 12.0;
    /// Whether the cell is muted (bool).
    static constexpr int MutedRole = Qt::UserRole + 1;

    explicit DspMatrixModel(DspController *controller, QObject *parent = nullptr);

    /// Names shown in the headers; a channel without a name shows "In n" / "Out n".
    void setChannelNames(const QStringList &inputs, const QStringList &outputs);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    /// EditRole: a typed gain, which also unmutes the cell (typing a level means wanting to hear it);
    /// MutedRole: mutes or unmutes, keeping the gain.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

    /// The cell as shown (a change waiting for its answer included).
    double gainDb(const QModelIndex &index) const;
    bool isMuted(const QModelIndex &index) const;
    /// Asks for a new value of the cell; the gain is brought into range.
    void setCell(const QModelIndex &index, double gainDb, bool mute);

    /// "-6.0", or "off" when muted.
    static QString cellText(double gainDb, bool mute);
    QString channelName(bool output, int channel) const;
    /// Redraws the texts that follow the language ("off", unnamed headers).
    void retranslate();

private:
    struct Cell
    {
        double gainDb = 0.0;
        bool mute = false;
    };
    bool cellOf(const QModelIndex &index, Cell *cell) const;
    void documentLoaded();
    void nodeChanged(int nodeId);
    void redrawAll();

    DspController *m_controller;
    QStringList m_inputNames;
    QStringList m_outputNames;
};
