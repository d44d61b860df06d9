#pragma once

#include "core/app/commandplan.h"
#include "core/device/gpiopin.h"

#include <QWidget>

class QComboBox;
class QGridLayout;
class QLabel;
class QPushButton;

/// The device's GPIO pins: direction and level of each (outputs only take
/// a level), and a test that drives the pin and shows what it reads back.
class SettingsGpioPage : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsGpioPage(const QString &devId, QWidget *parent = nullptr);

    void showPins(const QVector<GpioPin> &pins);
    void showTestResult(const GpioPin &result);

signals:
    void signal_run(const CommandPlan &plan);
    void signal_refresh();

protected:
    void changeEvent(QEvent *event) override;

private:
    struct Row
    {
        GpioPin pin;
        QLabel *name = nullptr;
        QComboBox *dir = nullptr;
        QPushButton *level = nullptr;
        QPushButton *test = nullptr;
        QLabel *read = nullptr;
        int readHigh = -1;  // -1 until a test has read it
    };
    void rebuild(const QVector<GpioPin> &pins);
    void sendRow(int row);
    void retranslateRow(Row &r);
    void retranslate();

    QString m_devId;
    QVector<Row> m_rows;
    int m_lastTested = -1;
    bool m_known = false;
    QGridLayout *m_grid;
    QLabel *m_none;
    QPushButton *m_refresh;
};
