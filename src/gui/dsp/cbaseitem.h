#pragma once

#include "core/dsp/dspkinds.h"

#include <QGraphicsItem>
#include <QString>

class DspController;

// The block items of the DSP diagram share this header: each kind differs from the others only in its type
// number, colour and what it answers for the budget, so one file per item would say nothing more.

/// One processing block of a channel's chain. It holds the block's identity and reads the block from the
/// controller whenever it paints, so it never shows a value the document no longer has.
class CBaseItem : public QGraphicsItem
{
public:
    enum { Type = QGraphicsItem::UserType + 1 };
    static constexpr int kWidth = 80;
    static constexpr int kHeight = 50;

    CBaseItem(const DspController *controller, quint64 uid, const QString &title, QGraphicsItem *parent = nullptr);

    /// The item for the block's kind; a block of a type this program does not know gets the plain base item.
    static CBaseItem *create(const DspController *controller, quint64 uid, const QString &title,
                             QGraphicsItem *parent = nullptr);
    /// Any item of the family, or null: qgraphicsitem_cast only matches one exact type.
    static CBaseItem *from(QGraphicsItem *item);

    int type() const override { return Type; }
    quint64 uid() const { return m_uid; }
    QString title() const { return m_title; }
    /// The block's budget kind code; -1 when it is gone or costs nothing.
    int kindCode() const;
    /// Bypassed as the document has it now.
    bool isBypassed() const;

    QRectF boundingRect() const override;
    void paint(QPainter *painter, const QStyleOptionGraphicsItem *option, QWidget *widget) override;

protected:
    /// Fill of an active block of the kind.
    virtual QColor colour() const;
    const DspController *m_controller;

private:
    quint64 m_uid;
    QString m_title;
};

class CEqBlockItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 2 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

/// High-pass and low-pass filter alike.
class CHlpfItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 3 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CDelayItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 4 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }
    /// The delay length the budget charges, at the document's sample rate.
    int delayLength() const;

protected:
    QColor colour() const override;
};

class CCompressItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 5 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CExpandItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 6 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CLimitItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 7 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CNoisegateItme : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 8 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CFbeItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 9 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CFirItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 10 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CDuckerItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 11 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CSignalGen : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 12 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }

protected:
    QColor colour() const override;
};

class CChAecItem : public CBaseItem
{
public:
    enum { Type = QGraphicsItem::UserType + 13 };
    using CBaseItem::CBaseItem;
    int type() const override { return Type; }
    /// The count N the budget charges: the adaptive filter's partitions.
    int count() const;

protected:
    QColor colour() const override;
};
