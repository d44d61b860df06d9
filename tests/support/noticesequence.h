#pragma once

#include "gui/widgets/noticebox.h"

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <memory>

/// Answers the next notice and confirm boxes in order, one button each ("pb_yes", "pb_no", "pb_ok"), keeping
/// their texts; for actions that ask more than once.
inline void answerInOrder(QObject *owner, const QStringList &buttons, QStringList *texts)
{
    auto queue = std::make_shared<QStringList>(buttons);
    auto *timer = new QTimer(owner);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, queue, texts] {
        auto *box = qobject_cast<NoticeBox *>(QApplication::activeModalWidget());
        if (!box || box->property("answered").toBool())
            return;
        box->setProperty("answered", true);
        texts->append(box->text());
        QTest::mouseClick(box->findChild<QPushButton *>(queue->takeFirst()), Qt::LeftButton);
        if (queue->isEmpty())
            timer->deleteLater();
    });
    timer->start(10);
}
