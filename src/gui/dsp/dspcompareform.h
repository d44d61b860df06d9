#pragma once

#include "core/dsp/programs/configdiff.h"
#include "gui/widgets/framelessdialog.h"

#include <QJsonObject>
#include <QStringList>

#include <array>
#include <optional>

class DspController;
class QComboBox;
class QLabel;
class QPushButton;
class QTableWidget;

/// Two DSP configurations side by side: each side the running configuration, a program stored on the device
/// (fetched through the controller's request queue) or a file on the PC. Differences are listed as the core
/// compare gives them; nothing here changes the device.
class DspCompareDialog : public FramelessDialog
{
    Q_OBJECT
public:
    enum class Source { Running, Program, File };
    enum Side { A = 0, B = 1 };

    /// programNames: the device's programs by slot, "" for an empty slot; when none are given the dialog
    /// asks the device for them.
    DspCompareDialog(DspController *controller, const QStringList &programNames, QWidget *parent = nullptr);

    /// What the dialog says above the table: the count, "identical", or why nothing was compared.
    QString summaryText() const;
    QTableWidget *table() const { return m_table; }
    QComboBox *sourceBox(Side side) const { return m_sides[side].kind; }
    QComboBox *programBox(Side side) const { return m_sides[side].program; }
    QPushButton *fileButton(Side side) const { return m_sides[side].choose; }
    QPushButton *compareButton() const { return m_compare; }

signals:
    /// Each time a comparison (or its failure) is shown.
    void signal_shown();

protected:
    void changeEvent(QEvent *event) override;

private:
    struct SideWidgets
    {
        QLabel *label = nullptr;
        QComboBox *kind = nullptr;
        QComboBox *program = nullptr;
        QPushButton *choose = nullptr;
        QLabel *file = nullptr;
        QString path;
        std::optional<QJsonObject> doc;
    };

    void buildSide(Side side);
    void setProgramNames(const QStringList &nameArr);
    void sourceChanged(Side side);
    void chooseFile(Side side);
    void compare();
    /// Fetched or read; shows the result once both sides are in.
    void arrived(int generation, Side side, const QJsonObject &doc);
    void failed(int generation, const QString &why);
    void showDifferences(const QVector<ConfigDiff::Difference> &diffs, bool converted);
    void retranslate();

    DspController *m_controller;
    std::array<SideWidgets, 2> m_sides;
    QPushButton *m_compare;
    QLabel *m_summary;
    QLabel *m_note;
    QTableWidget *m_table;
    int m_generation = 0;
    int m_shownCount = -1; ///< -1 while nothing was compared; the summary's count otherwise
};
