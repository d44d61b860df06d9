#pragma once

#include "core/app/texts.h"

#include <QWidget>

class QLabel;

/// Stands in for a page whose real content is not there yet, and says what
/// it will hold.
class PlaceholderPage : public QWidget
{
    Q_OBJECT
public:
    PlaceholderPage(Tx title, Tx description, const QString &icon, QWidget *parent = nullptr);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    Tx m_titleId;
    Tx m_descriptionId;
    QLabel *m_title;
    QLabel *m_description;
};
