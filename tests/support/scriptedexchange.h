#pragma once

#include "core/app/texts.h"
#include "core/dsp/programs/storedactions.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

/// Answers each request by its "ops" from a table; what is not in the table is refused. Keeps every request.
struct ScriptedExchange
{
    QStringList sent;
    QHash<QString, QJsonObject> answers;
    bool down = false;

    StoredActions::Exchange exchange()
    {
        return [this](const QString &request) {
            sent << request;
            DspExchange::Result r;
            if (down) {
                r.title = tx(Tx::Notice);
                r.message = tx(Tx::DspCommFailed);
                return r;
            }
            const QString ops = sentObject(sent.size() - 1).value("ops").toString();
            QJsonObject reply = answers.value(ops, QJsonObject{{"result", "fail"}, {"reason", "bad param"}});
            reply.insert("ops", ops);
            r.ok = true;
            r.reply = QString::fromUtf8(QJsonDocument(reply).toJson(QJsonDocument::Compact));
            return r;
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

