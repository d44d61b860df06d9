#pragma once

#include "core/app/texts.h"
#include "core/dsp/programs/storedactions.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

/// A device that answers each request by its "ops" from a table and refuses the rest; keeps every request.
struct ScriptedExchange
{
    QStringList sent;
    QHash<QString, QJsonObject> answers;

    StoredActions::Exchange exchange()
    {
        return [this](const QString &request) {
            sent << request;
            const QString ops = opsSent().last();
            QJsonObject reply = answers.value(ops, QJsonObject{{"result", "fail"}, {"reason", "bad param"}});
            reply.insert("ops", ops);
            return DspExchange::Result{true, QString::fromUtf8(QJsonDocument(reply).toJson()), {}, {}};
        };
    }
    QJsonObject sentObject(int i) const { return QJsonDocument::fromJson(sent.at(i).toUtf8()).object(); }
    QStringList opsSent() const
    {
        QStringList ops;
        for (int i = 0; i < sent.size(); ++i)
            ops << sentObject(i).value("ops").toString();
        return ops;
    }
    void succeed(const QString &ops, QJsonObject members = {})
    {
        members.insert("result", "succ");
        answers.insert(ops, members);
    }
};
