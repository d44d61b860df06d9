#pragma once

#include "gui/dsp/blocks/dspblockbaseform.h"

#include <QJsonObject>

class QTableWidget;

/// A block's parameters as the document holds them, read-only: what a click opens on a block of a type this
/// program does not know, so the operator still sees what the device keeps there. It follows the document and
/// closes when its block is removed.
class DspBlockParamsView : public DspBlockBaseForm
{
    Q_OBJECT
public:
    DspBlockParamsView(DspController *controller, quint64 uid, const QString &title, QWidget *parent = nullptr);

    /// Rows as shown: member name and value text.
    QVector<QPair<QString, QString>> rows() const;

public slots:
    void refresh() override;

private:
    QTableWidget *m_table;
};
