#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

/// The main window's own title strip: title image, minimise, maximise and
/// close; dragging it moves the window, a double click maximises.
class TitleBar : public QWidget
{
    Q_OBJECT
public:
    explicit TitleBar(QWidget *parent);

    void retranslate();
    void syncMaximised();

signals:
    void signal_closeRequested();

private:
    void toggleMaximised();

    QLabel *m_image;
    QLabel *m_title;
    QPushButton *m_min;
    QPushButton *m_max;
    QPushButton *m_close;
};
