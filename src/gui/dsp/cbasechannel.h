#pragma once

#include "core/dsp/dspkinds.h"

#include <QGraphicsItem>
#include <QString>
#include <QVector>

#include <cmath>

class CBaseItem;

// The channel items of the DSP diagram share this header: the input and the output channel differ only in
// their side and in where their chain stands.

/// The header of one channel row: number, name, level meter. The row's block items are its children, so
/// folding a channel hides them and moving the row moves them.
class CBaseChannel : public QGraphicsItem
{
public:
    enum { Type = QGraphicsItem::UserType + 50 };
    static constexpr int kWidth = 110;
    static constexpr int kHeight = 50;
    /// Between two items of a row.
    static constexpr int kGap = 6;
    /// Level shown as empty at and below this.
    static constexpr double kFloorDb = -60.0;

    CBaseChannel(DspSide side, int channel, const QString &name, QGraphicsItem *parent = nullptr);
    /// Any channel item, or null.
    static CBaseChannel *from(QGraphicsItem *item);

    int type() const override { return Type; }
    DspSide side() const { return m_side; }
    int channel() const { return m_channel; }
    QString name() const { return m_name; }
    void setName(const QString &name);

    /// The row's block items in chain order (children of this item).
    const QVector<CBaseItem *> &items() const { return m_items; }
    /// Replaces the block items; the old ones are deleted.
    void setItems(const QVector<CBaseItem *> &items);

    bool isFolded() const { return m_folded; }
    void setFolded(bool folded);
    bool isCurrent() const { return m_current; }
    void setCurrent(bool current);
    /// dBFS; -inf is silence.
    double level() const { return m_level; }
    void setLevel(double dbfs);

    QRectF boundingRect() const override;
    void paint(QPainter *painter, const QStyleOptionGraphicsItem *option, QWidget *widget) override;

protected:
    /// Where the chain's items stand, relative to the header.
    virtual void placeItems() = 0;

    QVector<CBaseItem *> m_items;

private:
    DspSide m_side;
    int m_channel;
    QString m_name;
    bool m_folded = false;
    bool m_current = false;
    double m_level = -INFINITY;
};

/// Header first, chain to its right: the signal enters at the header.
class CInputChannel : public CBaseChannel
{
public:
    enum { Type = QGraphicsItem::UserType + 51 };
    CInputChannel(int channel, const QString &name, QGraphicsItem *parent = nullptr);
    int type() const override { return Type; }

protected:
    void placeItems() override;
};

/// Chain to the left, header last: the signal leaves at the header.
class COutputChannel : public CBaseChannel
{
public:
    enum { Type = QGraphicsItem::UserType + 52 };
    COutputChannel(int channel, const QString &name, QGraphicsItem *parent = nullptr);
    int type() const override { return Type; }

protected:
    void placeItems() override;
};
