#pragma once

// A device's program store as the DSP link answers it, for tests of the program page's sequencing: the requests
// the controller hands to a recording sink are answered here, one by one, as the device would.
#include "dspdocs.h"

#include "core/dsp/dspcontroller.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

struct ProgramStore
{
    QStringList names = QStringList{QStringLiteral("default")} + QVector<QString>(15).toList();
    QMap<QString, QJsonObject> docs{{QStringLiteral("default"), doc("4")}};
    QString inUse = QStringLiteral("default");
    bool locked = false;
    bool listFails = false;
    bool inUseFails = false;
    QStringList ops; ///< every request's "ops" (and subTag), in order

    static QJsonObject doc(const QString &version, const QString &sampleRate = QStringLiteral("48000"))
    {
        return QJsonObject{{"nodeArr", QJsonArray{}}, {"sampleRate", sampleRate}, {"version", version}};
    }

    /// Puts a program in the first empty slot, as the device's seeding does.
    void seed(const QString &name, const QJsonObject &config)
    {
        names[names.indexOf(QString())] = name;
        docs[name] = config;
    }

    QString handle(const QString &request)
    {
        QJsonObject r = QJsonDocument::fromJson(request.toUtf8()).object();
        const QString op = r.value("ops").toString();
        const QString name = r.value("name").toString();
        const QString subTag = r.value("subTag").toString();
        ops << (subTag.isEmpty() ? op : op + ":" + subTag);
        auto fail = [&r](const char *reason) {
            r.insert("result", "fail");
            r.insert("reason", reason);
            return QString::fromUtf8(QJsonDocument(r).toJson(QJsonDocument::Compact));
        };
        auto place = [this](const QString &name, const QString &over, const QJsonObject &config) {
            int slot = names.indexOf(over.isEmpty() ? name : over);
            if (slot <= 0)
                slot = names.indexOf(name);
            if (slot <= 0)
                slot = names.indexOf(QString());
            if (slot <= 0)
                return false;
            docs.remove(names[slot]);
            names[slot] = name;
            docs[name] = config;
            return true;
        };
        const bool changes = !op.startsWith("get");
        if (changes && locked)
            return fail("LOCK_UCAST_MCAST");
        if (op == "getConfigNameArr") {
            if (listFails)
                return fail("busy");
            r.insert("nameArr", QJsonArray::fromStringList(names));
        } else if (op == "getDefaultFile") {
            if (inUseFails)
                return fail("busy");
            r.insert("name", inUse);
        } else if (op == "getConfigByName") {
            if (!docs.contains(name))
                return fail("bad param");
            r.insert("config", docs.value(name));
        } else if (op == "saveToFile") {
            if (name == "default" || r.value("oldName").toString() == "default")
                return fail("bad param");
            if (!place(name, r.value("oldName").toString(), doc("4")))
                return fail("no free slot");
            inUse = name;
        } else if (op == "saveConfigToFile") {
            if (!place(name, {}, r.value("config").toObject()))
                return fail("no free slot");
        } else if (op == "loadFromFile") {
            if (!docs.contains(name))
                return fail("bad param");
            if (docs[name].value("version").toString().toInt() < 4)
                return fail("old version");
            if (docs[name].value("sampleRate").toString() != "48000")
                return fail("sample rate mismatch");
            inUse = name;
        } else if (op == "loadFromFactory") {
            inUse = "default";
        } else if (op == "deleteFile") {
            const int slot = names.indexOf(name);
            if (slot <= 0 || name == inUse)
                return fail("bad param");
            names[slot].clear();
            docs.remove(name);
        } else if (op == "getConfig") {
            return DspDocs::reply(DspDocs::make(2, 2));
        }
        r.insert("result", "succ");
        return QString::fromUtf8(QJsonDocument(r).toJson(QJsonDocument::Compact));
    }

    /// Answers what the controller sent since the last call, and what it sends meanwhile.
    void pump(DspDocs::RecordingSink &sink, DspController &controller)
    {
        while (m_answered < sink.tcp.size())
            controller.handleTcpReply(handle(sink.tcp.at(m_answered++)));
    }

private:
    int m_answered = 0;
};
