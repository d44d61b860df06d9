#pragma once

#include "core/dsp/dspkinds.h"

#include <QHash>
#include <QPointer>
#include <QVector>
#include <QWidget>

#include <functional>

class CBaseChannel;
class CBaseItem;
class DspBlockParamsView;
class DspNodeForm;
class FramelessDialog;
class DspController;
class QAction;
class QGraphicsScene;
class QGraphicsView;
class QHBoxLayout;
class QLabel;
class QMenu;
class QPushButton;
class QToolButton;

/// The main page of a device's DSP window: input channels with their chains on the left, the matrix in the
/// middle, output channels with their chains on the right. It shows the controller's document and asks the
/// controller for every change; it redraws one row when a chain changes and one item when a block changes.
class DspDiagramForm : public QWidget
{
    Q_OBJECT
public:
    using NameOf = std::function<QString(DspSide side, int channel)>;

    explicit DspDiagramForm(DspController *controller, QWidget *parent = nullptr);

    /// Where channel names come from (the device's names, "USBIn"...); "In n" / "Out n" until set.
    void setChannelNames(NameOf nameOf);
    QString channelName(DspSide side, int channel) const;
    /// Opens the editor of the echo-cancellation or automixer node (one of each at a time); null, with a tip,
    /// when the configuration has no such node.
    QWidget *openNodeForm(bool echoCancel);

    /// Opens what shows a block: today its parameters read-only for every kind. Block editors of later
    /// versions take their kind over here. Raises the one already open.
    QWidget *openBlockEditor(quint64 uid);

    // ---------------------------------------------------------------- state, for the window and tests

    QGraphicsView *view(DspSide side) const;
    CBaseChannel *channelItem(DspSide side, int channel) const;
    CBaseItem *blockItem(quint64 uid) const;
    /// The channel the add buttons act on; channel -1 when none.
    DspSide currentSide() const { return m_currentSide; }
    int currentChannel() const { return m_currentChannel; }
    void selectChannel(DspSide side, int channel);
    void setAllFolded(bool folded);
    void jumpTo(DspSide side, int channel);

    QMenu *pageMenu() const { return m_pageMenu; }
    /// The context menu of a block or a channel, built for it (shown at a right click).
    QMenu *blockMenu(quint64 uid);
    QMenu *channelMenu(DspSide side, int channel);

signals:
    void signal_channelSelected(DspSide side, int channel);
    void signal_matrixRequested();
    void signal_micConfigRequested();
    void signal_channelProgramsRequested();
    void signal_saveDiyRequested();
    void signal_showTips(const QString &text, bool isSucc);
    /// A linked block changed: side (true for inputs), channel and position, for linked channels and open
    /// editors to follow.
    void signal_syncLinkChannel(bool isInput, int channel, int procIndex);
    void signal_updateUI(bool isInput, int channel, int procIndex);
    /// Every open block view closes (a new document), or the one with this tag (its block removed).
    void signal_closeall();
    void signal_close(const QString &tag);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QHBoxLayout *m_columns = nullptr; ///< inputs, the matrix button, outputs
    void buildBars();
    void rebuild();
    void rebuildRow(DspSide side, int channel);
    void placeRows(DspSide side);
    void onBlockChanged(quint64 uid);
    void onLevels(DspSide side, const QVector<double> &dbfs);
    void addBlock(DspKind kind);
    void closeRemovedViews();
    void updateCpu();
    void updateUnsaved();
    void updateAddBar();
    void fillJumpMenu();
    /// Asks how many channels the echo-cancellation or automixer node gets, and has the controller make it so.
    void askNodeChannels(bool echoCancel);
    void retranslate();
    QString blockTitle(DspSide side, int channel, quint64 uid) const;
    void clicked(QGraphicsView *view, const QPoint &pos);
    void contextMenu(QGraphicsView *view, const QPoint &pos);

    DspController *m_controller;
    NameOf m_nameOf;
    QPointer<DspNodeForm> m_aecForm, m_automixForm;
    QGraphicsScene *m_scene[2];
    QGraphicsView *m_view[2];
    QVector<CBaseChannel *> m_channels[2];
    QHash<quint64, CBaseItem *> m_items;
    QHash<quint64, QPointer<FramelessDialog>> m_views;
    QHash<quint64, QString> m_viewTags;
    DspSide m_currentSide = DspSide::In;
    int m_currentChannel = -1;

    QLabel *m_inputsTitle;
    QLabel *m_outputsTitle;
    QLabel *m_cpu;
    QLabel *m_unsaved;
    QLabel *m_addTo;
    QVector<QPushButton *> m_addButtons;
    QPushButton *m_matrix;
    QPushButton *m_save;
    QToolButton *m_menuButton;
    QMenu *m_pageMenu;
    QMenu *m_jumpMenu;
    QMenu *m_blockMenu;
    QMenu *m_channelMenu;
    struct PageActions
    {
        QAction *expand, *fold, *forceAdd, *revoke, *addAec, *addAutomixer, *automixerConfig, *aecConfig, *mic,
            *loadProgram, *managePrograms, *saveDiy;
    } m_act;
};
