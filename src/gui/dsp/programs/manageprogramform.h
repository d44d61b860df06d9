#pragma once

#include "core/dsp/programs/programactions.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

/// One row of the program list: the slot's label ("0 Default", "3 live", or the bare number when empty) and the
/// mark of the program in use.
class ProgramItemForm : public QWidget
{
    Q_OBJECT
public:
    explicit ProgramItemForm(QWidget *parent = nullptr);
    void show(int slot, const QString &name, bool inUse);
    QString label() const;
    bool isInUse() const;

private:
    QLabel *m_label;
    QLabel *m_inUse;
};

/// The device's program slots and what can be done with them. The form only asks the questions the core hands
/// back, chooses files and shows outcomes; the order of requests and every rule are ProgramActions'.
class ManageProgramForm : public QWidget
{
    Q_OBJECT
public:
    explicit ManageProgramForm(ProgramActions *actions, QWidget *parent = nullptr);

    /// The selected slot, -1 when none.
    int selectedSlot() const;
    void selectSlot(int slot);
    QListWidget *list() const { return m_list; }

public slots:
    void refresh();

signals:
    void signal_showTips(const QString &text, bool isSucc);
    void signal_compareRequested();

protected:
    void changeEvent(QEvent *event) override;

private:
    void rebuild();
    void retranslate();
    /// Runs an operation with the buttons held until it ends, then shows its outcome.
    void run(const std::function<void(ProgramActions::Done)> &start);
    void show(const ProgramActions::Outcome &outcome);
    void setBusy(bool busy);
    bool passSteps(const QVector<PlanStep> &steps);

    void save();
    void load();
    void remove();
    void exportOne();
    void exportAll();
    void import(bool all);
    void convert();

    ProgramActions *m_actions;
    QListWidget *m_list;
    QLineEdit *m_name;
    QLabel *m_nameLabel;
    QLabel *m_progress;
    QPushButton *m_save, *m_load, *m_delete, *m_export, *m_exportAll, *m_import, *m_importAll, *m_convert,
        *m_compare, *m_refresh;
    bool m_busy = false;
};
