#pragma once

#include <QDialog>

class QLabel;
class QPushButton;
class QVBoxLayout;

/// The base of every dialog: frameless, dark, with a blue title strip that
/// carries the title and a close button and moves the dialog when dragged.
/// Subclasses put their content into contentLayout().
class FramelessDialog : public QDialog
{
    Q_OBJECT
public:
    explicit FramelessDialog(QWidget *parent = nullptr);

    void setTitle(const QString &title);
    QString title() const;
    QVBoxLayout *contentLayout() const { return m_content; }
    QPushButton *closeButton() const { return m_close; }

    /// The usual bottom row, right-aligned: "pb_cancel", which rejects, and
    /// "pb_ok", the default button; the caller connects ok and sets texts.
    struct OkCancel
    {
        QPushButton *ok;
        QPushButton *cancel;
    };
    OkCancel addOkCancelRow();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QLabel *m_title;
    QPushButton *m_close;
    QVBoxLayout *m_content;
};
