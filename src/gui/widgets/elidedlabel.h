#pragma once

#include <QLabel>

/// A label for a cell whose width the layout decides: a text that does not
/// fit is cut with "…" (each line on its own), recomputed when the label
/// is resized or its font, style or language changes. text() is what is shown;
/// fullText() is what was given. It sets no tool tip: its owner decides.
class ElidedLabel : public QLabel
{
    Q_OBJECT
public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    void setFullText(const QString &text);
    QString fullText() const { return m_full; }
    /// The shown text differs from the full text.
    bool isElided() const { return text() != m_full; }

    /// Each line of text cut with "…" to width pixels of metrics.
    static QString elide(const QString &text, const QFontMetrics &metrics, int width);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void refresh();

    QString m_full;
};
