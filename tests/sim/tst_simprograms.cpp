// The virtual devices' program store and stored configurations, over the DSP
// link as the program's pages use them: what is kept and where, what a load
// does to the running document, what is refused and leaves everything as it
// was, the factory reset and the lock.
#include "simpeer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {

const char *const p4 = "127.0.0.2";  // RK0404D at 96 kHz, an old-version program "legacy" in slot 1
const char *const w8 = "127.0.0.3";  // RK0808D at 48 kHz
const char *const m16 = "127.0.0.4"; // RK1616D: AEC and automixer nodes

const QByteArray kScenario = R"({"devices":[
    {"devId":"P4","model":"RK0404D","phyChNumRx":4,"phyChNumTx":4,"sampleRate":96000},
    {"devId":"W8","model":"RK0808D"},
    {"devId":"M16","model":"RK1616D","phyChNumRx":16,"phyChNumTx":16}]})";

const QString succ = QStringLiteral("succ");
const QString bad = QStringLiteral("bad param");

QJsonObject req(const char *ops, QJsonObject members = {})
{
    members.insert("ops", QLatin1String(ops));
    members.insert("uiTag", "dspUiTag");
    return members;
}

QString outcome(const QJsonObject &reply)
{
    return reply.value("result") == QJsonValue(succ) ? succ : reply.value("reason").toString("none");
}

QJsonObject running(DspClient &c)
{
    return c.ask(req("getConfig")).value("config").toObject();
}

QJsonArray names(DspClient &c, const char *member = "nameArr")
{
    return c.ask(req("getConfigNameArr")).value(member).toArray();
}

// A copy of \a doc with one leaf replaced, by path ("nodeArr/0/portArr/1/gainDb").
QJsonValue with(const QJsonValue &doc, const QStringList &path, const QJsonValue &value)
{
    if (path.isEmpty())
        return value;
    if (doc.isArray()) {
        QJsonArray a = doc.toArray();
        const int i = path.first().toInt();
        a[i] = with(a.at(i), path.mid(1), value);
        return a;
    }
    QJsonObject o = doc.toObject();
    o.insert(path.first(), with(o.value(path.first()), path.mid(1), value));
    return o;
}

QJsonObject with(const QJsonObject &doc, const QString &path, const QJsonValue &value)
{
    return with(QJsonValue(doc), path.split('/'), value).toObject();
}

QJsonValue leaf(QJsonValue v, const QString &path)
{
    for (const QString &step : path.split('/'))
        v = v.isArray() ? v.toArray().at(step.toInt()) : v.toObject().value(step);
    return v;
}

QJsonObject record(const QJsonObject &doc, const char *name)
{
    return req("saveConfig", {{"index", "2"},
                              {"name", QLatin1String(name)},
                              {"inChNum", "4"},
                              {"outChNum", "4"},
                              {"defaultAmpType", "1"},
                              {"analogGainArr", QJsonArray{"-3.5", "0", "0", "6"}},
                              {"aes67GainArr", QJsonArray{"0", "0", "0", "0"}},
                              {"analogPhaseArr", QJsonArray{"1", "0", "0", "0"}},
                              {"aes67PhaseArr", QJsonArray{"0", "0", "0", "1"}},
                              {"config", doc}});
}

} // namespace

class TestSimPrograms : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void programsAreSavedListedFetchedAndDeleted();
    void refusedProgramRequestsChangeNothing_data();
    void refusedProgramRequestsChangeNothing();
    void loadReplacesTheRunningDocument();
    void loadRefusesWhatDoesNotFit_data();
    void loadRefusesWhatDoesNotFit();
    void storedConfigurations();
    void factoryResetByEitherSpelling_data();
    void factoryResetByEitherSpelling();
    void lockRefusesChangesNotReads();

private:
    std::unique_ptr<SimNetwork> m_net;
    QJsonObject m_legacy;
};

void TestSimPrograms::init()
{
    SimScenario scenario = scenarioOf(kScenario);
    QCOMPARE(scenario.devices.size(), 3);
    m_legacy = QJsonObject{{"version", "3"}, {"sampleRate", "96000"}, {"inputs", QJsonArray{"kept as it stands"}}};
    scenario.devices[0].programs.append({QStringLiteral("legacy"), m_legacy});
    m_net = startNetwork(scenario);
    QCOMPARE(m_net->devices().size(), 3);
}

void TestSimPrograms::cleanup()
{
    m_net.reset();
}

void TestSimPrograms::programsAreSavedListedFetchedAndDeleted()
{
    DspClient c(p4);
    QJsonArray expected{"default", "legacy"};
    while (expected.size() < 16)
        expected.append("");
    QCOMPARE(names(c), expected);
    QCOMPARE(names(c, "configNameArr"), QJsonArray({"", "", "", "", "", "", "", ""}));
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("default"));
    // An old program comes back exactly as it was stored.
    const QJsonObject fetched = c.ask(req("getConfigByName", {{"name", "legacy"}, {"subTag", "convert"}}));
    QCOMPARE(fetched.value("config").toObject(), m_legacy);
    QCOMPARE(fetched.value("subTag"), QJsonValue("convert"));
    QCOMPARE(fetched.value("name"), QJsonValue("legacy"));

    // The running document saved takes the first empty slot and becomes the one in use.
    const QJsonObject first = running(c);
    QCOMPARE(outcome(c.ask(req("saveToFile", {{"name", "a-b_1"}, {"oldName", ""}}))), succ);
    expected[2] = "a-b_1";
    QCOMPARE(names(c), expected);
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("a-b_1"));
    QCOMPARE(c.ask(req("getConfigByName", {{"name", "a-b_1"}, {"subTag", "x"}})).value("config").toObject(), first);

    // Saved again under the same name: the same slot, the new document.
    QCOMPARE(outcome(c.ask(req("setGain", {{"nodeId", "0"}, {"portIndex", "1"}, {"val", "-7"}}))), succ);
    QCOMPARE(outcome(c.ask(req("saveToFile", {{"name", "a-b_1"}, {"oldName", ""}}))), succ);
    QCOMPARE(names(c), expected);
    const QJsonObject second = c.ask(req("getConfigByName", {{"name", "a-b_1"}})).value("config").toObject();
    QCOMPARE(second, running(c));
    QVERIFY(second != first);

    // Over "oldName": that slot takes the new name; the name held elsewhere moves there.
    QCOMPARE(outcome(c.ask(req("saveConfigToFile", {{"name", "other"}, {"config", first}}))), succ);
    QCOMPARE(outcome(c.ask(req("saveToFile", {{"name", "other"}, {"oldName", "a-b_1"}}))), succ);
    expected[2] = "other";
    QCOMPARE(names(c), expected);
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("other"));

    // Import fills empty slots up to the sixteenth, then there is no room.
    for (int i = 3; i < 16; ++i) {
        expected[i] = QStringLiteral("p%1").arg(i);
        QCOMPARE(outcome(c.ask(req("saveConfigToFile", {{"name", expected[i]}, {"config", m_legacy}}))), succ);
    }
    QCOMPARE(outcome(c.ask(req("saveConfigToFile", {{"name", "full"}, {"config", first}}))), "no free slot");
    QCOMPARE(outcome(c.ask(req("saveToFile", {{"name", "full"}, {"oldName", ""}}))), "no free slot");
    QCOMPARE(names(c), expected);

    QCOMPARE(outcome(c.ask(req("deleteFile", {{"name", "p7"}, {"isUser", "1"}}))), succ);
    expected[7] = "";
    QCOMPARE(names(c), expected);
    QCOMPARE(outcome(c.ask(req("getConfigByName", {{"name", "p7"}, {"subTag", "x"}}))), bad);
    QCOMPARE(outcome(c.ask(req("saveConfigToFile", {{"name", "full"}, {"config", first}}))), succ);
    QCOMPARE(names(c).at(7), QJsonValue("full"));
}

void TestSimPrograms::refusedProgramRequestsChangeNothing_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<QString>("reason");
    const QJsonObject doc{{"version", "4"}};
    QTest::newRow("save over slot 0") << req("saveToFile", {{"name", "x"}, {"oldName", "default"}}) << bad;
    QTest::newRow("save as default") << req("saveToFile", {{"name", "default"}, {"oldName", ""}}) << bad;
    QTest::newRow("import as default") << req("saveConfigToFile", {{"name", "default"}, {"config", doc}}) << bad;
    QTest::newRow("41 characters") << req("saveToFile", {{"name", QString(41, 'a')}, {"oldName", ""}}) << bad;
    QTest::newRow("empty name") << req("saveToFile", {{"name", ""}, {"oldName", ""}}) << bad;
    QTest::newRow("space in name") << req("saveConfigToFile", {{"name", "a b"}, {"config", doc}}) << bad;
    QTest::newRow("no version") << req("saveConfigToFile", {{"name", "x"}, {"config", QJsonObject{{"a", "1"}}}})
                                << bad;
    QTest::newRow("not an object") << req("saveConfigToFile", {{"name", "x"}, {"config", "4"}}) << bad;
    QTest::newRow("delete slot 0") << req("deleteFile", {{"name", "default"}, {"isUser", "1"}}) << bad;
    QTest::newRow("delete in use") << req("deleteFile", {{"name", "inuse"}, {"isUser", "1"}}) << bad;
    QTest::newRow("delete unknown") << req("deleteFile", {{"name", "nobody"}, {"isUser", "1"}}) << bad;
    QTest::newRow("load unknown") << req("loadFromFile", {{"name", "nobody"}}) << bad;
}

void TestSimPrograms::refusedProgramRequestsChangeNothing()
{
    QFETCH(QJsonObject, request);
    QFETCH(QString, reason);
    DspClient c(p4);
    QCOMPARE(outcome(c.ask(req("saveToFile", {{"name", "inuse"}, {"oldName", ""}}))), succ);
    const QJsonArray before = names(c);
    const QJsonObject doc = running(c);
    QCOMPARE(outcome(c.ask(request)), reason);
    QCOMPARE(names(c), before);
    QCOMPARE(running(c), doc);
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("inuse"));
}

void TestSimPrograms::loadReplacesTheRunningDocument()
{
    DspClient c(p4);
    const QJsonObject factory = running(c);
    QJsonObject changed = with(factory, "nodeArr/0/portArr/1/gainDb", "-6.5");
    changed = with(changed, "nodeArr/2/portArr/3/procArr/1/obj/eqArr/2/freq0", "512");
    changed = with(changed, "nodeArr/1/obj/muteArr/0/0", "1");
    changed = with(changed, "groupArr/0/name", "Stage");
    changed.insert("customStr", "venue A");
    QJsonObject emptyChain = with(changed, "nodeArr/0/portArr/2/procArr", QJsonArray());
    QCOMPARE(outcome(c.ask(req("saveConfigToFile", {{"name", "show"}, {"config", emptyChain}}))), succ);
    QCOMPARE(outcome(c.ask(req("loadFromFile", {{"name", "show"}}))), succ);
    QCOMPARE(running(c), emptyChain);
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("show"));
    // The chains loaded are the ones the live requests address.
    QCOMPARE(outcome(c.ask(req("setBorderProcBypass",
                               {{"nodeId", "0"}, {"portIndex", "2"}, {"procIndex", "0"}, {"val", "0"}}))),
             bad);

    QCOMPARE(outcome(c.ask(req("loadFromFactory"))), succ);
    QCOMPARE(running(c), factory);
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("default"));

    // A larger device: a program saved with its AEC and automixer nodes brings them back.
    DspClient big(m16);
    const QJsonObject withNodes = running(big);
    QCOMPARE(outcome(big.ask(req("saveToFile", {{"name", "full"}, {"oldName", ""}}))), succ);
    const QJsonObject shrink = req("setConfig", {{"index", "0"},
                                                 {"inArr", leaf(withNodes, "nodeArr/0/portArr")},
                                                 {"outArr", leaf(withNodes, "nodeArr/4/portArr")},
                                                 {"aecChNum", "0"},
                                                 {"autoMixerChNum", "3"}});
    QCOMPARE(outcome(big.ask(shrink)), succ);
    QCOMPARE(running(big).value("nodeArr").toArray().size(), 4);
    QCOMPARE(outcome(big.ask(req("saveToFile", {{"name", "small"}, {"oldName", ""}}))), succ);
    QCOMPARE(outcome(big.ask(req("loadFromFile", {{"name", "full"}}))), succ);
    QCOMPARE(running(big), withNodes);
    QCOMPARE(outcome(big.ask(req("loadFromFile", {{"name", "small"}}))), succ);
    QCOMPARE(leaf(running(big), "nodeArr/1/portNum"), QJsonValue("3"));
}

void TestSimPrograms::loadRefusesWhatDoesNotFit_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("reason");
    QTest::newRow("version 3") << "version" << QJsonValue("3") << "old version";
    QTest::newRow("version 5") << "version" << QJsonValue("5") << bad;
    QTest::newRow("48 kHz") << "sampleRate" << QJsonValue("48000") << "sample rate mismatch";
    QTest::newRow("unknown block type") << "nodeArr/0/portArr/0/procArr/0/type" << QJsonValue("12") << bad;
    QTest::newRow("gain not a number") << "nodeArr/2/portArr/0/gainDb" << QJsonValue("loud") << bad;
    QTest::newRow("number as JSON number") << "nodeArr/0/portArr/0/mute" << QJsonValue(1) << bad;
    QTest::newRow("unknown channel member") << "nodeArr/0/portArr/0/colour" << QJsonValue("red") << bad;
    QTest::newRow("matrix row missing") << "nodeArr/1/obj/gainArr" << QJsonValue(QJsonArray{}) << bad;
    QTest::newRow("node type") << "nodeArr/1/type" << QJsonValue("0") << bad;
    QTest::newRow("port count disagrees") << "nodeArr/0/portNum" << QJsonValue("5") << bad;
    QTest::newRow("group that is not there") << "nodeArr/0/portArr/0/groupId" << QJsonValue("9") << bad;
    QTest::newRow("an eight-channel document") << "" << QJsonValue() << bad;
}

void TestSimPrograms::loadRefusesWhatDoesNotFit()
{
    QFETCH(QString, path);
    QFETCH(QJsonValue, value);
    QFETCH(QString, reason);
    DspClient c(p4);
    const QJsonObject before = running(c);
    QJsonObject doc;
    if (path.isEmpty()) {
        // Another layout at the right rate.
        DspClient other(w8);
        doc = running(other);
        doc.insert("sampleRate", "96000");
    } else {
        doc = with(before, path, value);
    }
    QCOMPARE(outcome(c.ask(req("saveConfigToFile", {{"name", "bad"}, {"config", doc}}))), succ);
    QCOMPARE(outcome(c.ask(req("loadFromFile", {{"name", "bad"}}))), reason);
    QCOMPARE(running(c), before);
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("default"));
    // A stored configuration holding it fails alike and is not "last loaded".
    QCOMPARE(outcome(c.ask(record(doc, "rec"))), succ);
    QCOMPARE(outcome(c.ask(req("loadConfig", {{"index", "2"}}))), reason);
    QCOMPARE(running(c), before);
    QCOMPARE(c.ask(req("getLastConfig")).value("lastConfig"), QJsonValue("-1"));
}

void TestSimPrograms::storedConfigurations()
{
    DspClient c(p4);
    const QJsonObject doc = with(running(c), "nodeArr/0/portArr/0/gainDb", "-2");
    const QJsonObject save = record(doc, "hall_1");
    QCOMPARE(outcome(c.ask(save)), succ);
    QCOMPARE(names(c, "configNameArr").at(2), QJsonValue("hall_1"));
    const QJsonObject fetched = c.ask(req("getConfigByIndex", {{"index", "2"}}));
    QCOMPARE(fetched.value("index"), QJsonValue("2"));
    QJsonObject expected = save;
    for (const char *notStored : {"ops", "uiTag", "index"})
        expected.remove(notStored);
    const QJsonObject stored = fetched.value("config").toObject();
    QCOMPARE(stored, expected);

    // "Import from PC": the record read from a "*.dcd" file, sent whole, is kept as it stands.
    QJsonObject file = stored;
    file.insert("vendorExtra", "kept");
    QCOMPARE(outcome(c.ask(req("saveConfig", {{"index", "5"}, {"config", file}}))), succ);
    QCOMPARE(c.ask(req("getConfigByIndex", {{"index", "5"}})).value("config").toObject(), file);
    QCOMPARE(names(c, "configNameArr"), QJsonArray({"", "", "hall_1", "", "", "hall_1", "", ""}));

    QCOMPARE(c.ask(req("getLastConfig")).value("lastConfig"), QJsonValue("-1"));
    QCOMPARE(outcome(c.ask(req("loadConfig", {{"index", "5"}}))), succ);
    QCOMPARE(running(c), doc);
    QCOMPARE(c.ask(req("getLastConfig")).value("lastConfig"), QJsonValue("5"));

    QCOMPARE(outcome(c.ask(req("deleteConfig", {{"index", "5"}}))), succ);
    QCOMPARE(names(c, "configNameArr").at(5), QJsonValue(""));
    for (const char *ops : {"getConfigByIndex", "loadConfig", "deleteConfig"}) {
        QCOMPARE(outcome(c.ask(req(ops, {{"index", "5"}}))), bad);
        QCOMPARE(outcome(c.ask(req(ops, {{"index", "8"}}))), bad);
    }
    // Refused records leave the slot as it was.
    const QVector<QPair<const char *, QJsonValue>> refused{{"name", "bad name"},
                                                           {"defaultAmpType", "4"},
                                                           {"analogPhaseArr", QJsonArray{"2", "0", "0", "0"}},
                                                           {"aes67GainArr", QJsonArray{"x", "0", "0", "0"}},
                                                           {"index", "-1"},
                                                           {"config", QJsonObject{{"name", "x"}}}};
    for (const auto &r : refused) {
        QJsonObject broken = save;
        broken.insert(QLatin1String(r.first), r.second);
        QCOMPARE(outcome(c.ask(broken)), bad);
    }
    QCOMPARE(c.ask(req("getConfigByIndex", {{"index", "2"}})).value("config").toObject(), stored);
}

void TestSimPrograms::factoryResetByEitherSpelling_data()
{
    QTest::addColumn<QByteArray>("literal");
    QTest::newRow("resetFactory") << QByteArray(R"({"ops":"resetFactory"})");
    QTest::newRow("resetFacotry") << QByteArray(R"({"ops":"resetFacotry"})");
}

void TestSimPrograms::factoryResetByEitherSpelling()
{
    QFETCH(QByteArray, literal);
    DspClient c(p4);
    const QJsonObject initial = running(c);
    // A factory document given for the device's rate is what the reset loads; another rate's is refused.
    const QJsonObject factory = with(initial, "customStr", "factory");
    QCOMPARE(outcome(c.ask(req("setFactoryConfig", {{"sampleRate", "48000"}, {"config", factory}}))), bad);
    QCOMPARE(outcome(c.ask(req("setFactoryConfig", {{"sampleRate", "96000"}, {"config", factory}}))), succ);
    QCOMPARE(c.ask(req("getConfigByName", {{"name", "default"}})).value("config").toObject(), factory);

    QCOMPARE(outcome(c.ask(req("saveToFile", {{"name", "mine"}, {"oldName", ""}}))), succ);
    QCOMPARE(outcome(c.ask(record(with(initial, "customStr", "rec"), "rec"))), succ);
    QCOMPARE(outcome(c.ask(req("loadConfig", {{"index", "2"}}))), succ);

    const QJsonObject reply = c.ask(literal);
    QCOMPARE(reply, QJsonObject({{"ops", QJsonDocument::fromJson(literal)["ops"]}, {"result", "succ"}}));
    QJsonArray onlyDefault{"default"};
    while (onlyDefault.size() < 16)
        onlyDefault.append("");
    QCOMPARE(names(c), onlyDefault);
    QCOMPARE(names(c, "configNameArr"), QJsonArray({"", "", "", "", "", "", "", ""}));
    QCOMPARE(c.ask(req("getLastConfig")).value("lastConfig"), QJsonValue("-1"));
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("default"));
    QCOMPARE(running(c), factory);
}

void TestSimPrograms::lockRefusesChangesNotReads()
{
    SimPeer peer;
    QVERIFY(peer.isReady());
    const QByteArray lock = R"({"ops":"setLock","uiTag":"dspUiTag","password":"123456","val":"0x1f"})";
    DspClient c(p4);
    QCOMPARE(outcome(c.ask(req("saveToFile", {{"name", "mine"}, {"oldName", ""}}))), succ);
    QCOMPARE(outcome(c.ask(record(running(c), "rec"))), succ);
    QCOMPARE(peer.outcome(p4, 8999, lock), succ);
    const QJsonArray before = names(c);
    const QJsonObject doc = running(c);
    const QVector<QJsonObject> changes{
        req("saveToFile", {{"name", "x"}, {"oldName", ""}}),
        req("saveConfigToFile", {{"name", "x"}, {"config", doc}}),
        req("loadFromFile", {{"name", "mine"}}),
        req("loadFromFactory"),
        req("deleteFile", {{"name", "legacy"}, {"isUser", "1"}}),
        record(doc, "x"),
        req("loadConfig", {{"index", "2"}}),
        req("deleteConfig", {{"index", "2"}}),
        req("setFactoryConfig", {{"sampleRate", "96000"}, {"config", doc}}),
        QJsonObject{{"ops", "resetFactory"}},
        QJsonObject{{"ops", "resetFacotry"}}};
    for (const QJsonObject &change : changes)
        QVERIFY2(outcome(c.ask(change)) == QLatin1String("LOCK_UCAST_MCAST"), qPrintable(change["ops"].toString()));
    for (const QJsonObject &read : {req("getConfigNameArr"), req("getDefaultFile"), req("getLastConfig"),
                                    req("getConfigByName", {{"name", "mine"}}), req("getConfigByIndex", {{"index", "2"}})})
        QCOMPARE(outcome(c.ask(read)), succ);
    QCOMPARE(names(c), before);
    QCOMPARE(names(c, "configNameArr").at(2), QJsonValue("rec"));
    QCOMPARE(c.ask(req("getDefaultFile")).value("name"), QJsonValue("mine"));
}

QTEST_GUILESS_MAIN(TestSimPrograms)
#include "tst_simprograms.moc"
