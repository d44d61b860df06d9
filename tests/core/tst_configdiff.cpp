// The compare of two configuration documents: what is reported, where, in which order and in which words.
#include "core/dsp/programs/configdiff.h"

#include "../support/dspdocs.h"
#include "../support/jsonpath.h"

#include <QtTest>

using JsonPath::set;

namespace {

QJsonObject json(const CDeviceDspData &d) { return QJsonDocument::fromJson(d.toJson()).object(); }

// Inputs with a noise gate and a compressor, two outputs with an equaliser.
QJsonObject base(int inputs = 2)
{
    return json(DspDocs::make(inputs, 2, {DspDefaults::block(7), DspDefaults::block(2)}, {DspDefaults::block(0)}));
}

QStringList lines(const QJsonObject &a, const QJsonObject &b)
{
    QStringList out;
    for (const ConfigDiff::Difference &d : ConfigDiff::compare(a, b))
        out.append(ConfigDiff::line(d));
    return out;
}

} // namespace

class TstConfigDiff : public QObject
{
    Q_OBJECT
private slots:
    void everyKindOfChangeInDocumentOrder()
    {
        const QJsonObject a = base();
        QVERIFY(ConfigDiff::compare(a, a).isEmpty());
        QJsonObject b = a;
        const QVariantList eq{"nodeArr", 2, "portArr", 0, "procArr", 0, "obj"};
        set(b, {"sampleRate"}, "96000");
        set(b, {"groupArr", 1, "name"}, "Stage");
        set(b, eq + QVariantList{"eqArr", 2, "dbGain"}, "-4.5");
        set(b, eq + QVariantList{"bypassArr", 6}, "1");
        set(b, {"nodeArr", 0, "portArr", 1, "mute"}, "1");
        set(b, {"nodeArr", 0, "portArr", 1, "procArr", 1, "obj", "ratio"}, "8");
        set(b, {"nodeArr", 0, "portArr", 1, "procArr", 1, "bypass"}, "0");
        set(b, {"nodeArr", 0, "portArr", 0, "procArr", 0, "type"}, "8"); // noise gate -> expander
        set(b, {"nodeArr", 0, "portArr", 0, "procArr", 2}, JsonPath::at(a, eq.mid(0, 6))); // an equaliser added
        set(b, {"nodeArr", 1, "obj", "gainArr", 1, 0}, "-6");
        set(b, {"nodeArr", 1, "obj", "muteArr", 1, 0}, "0");
        QCOMPARE(lines(a, b), (QStringList{"document: sampleRate 48000 -> 96000", "group 2: name Group 2 -> Stage",
                                           "in 1 / 1 noisegate: kind noisegate -> expand",
                                           "in 1 / 3 eq: block - -> eq", "in 2: mute 0 -> 1",
                                           "in 2 / 2 compress: bypass 1 -> 0", "in 2 / 2 compress: ratio 2 -> 8",
                                           "matrix out 2 / in 1: gain -100 -> -6", "matrix out 2 / in 1: mute 1 -> 0",
                                           "out 1 / 1 eq: bypassArr 7 0 -> 1", "out 1 / 1 eq: eqArr 3 dbGain 0 -> -4.5"}));
        // Missing sides: "-" in lines, null in JSON; unknown members and non-string values are compared too.
        const QJsonArray j = ConfigDiff::toJson(ConfigDiff::compare(b, a));
        QCOMPARE(j[3].toObject(), (QJsonObject{{"where", "in 1 / 3 eq"}, {"member", "block"}, {"a", "eq"},
                                               {"b", QJsonValue::Null}}));
        set(b, {"vendorNote"}, 3);
        QCOMPARE(lines(b, a).at(1), QString("document: vendorNote 3 -> -"));
    }

    void nodesPairByRoleNotIndex()
    {
        // B has an echo canceller and an automixer between the inputs and the matrix, and one input more.
        const QJsonObject a = json(DspDocs::make(2, 1));
        QJsonObject b = json(DspDocs::withNodes(DspDocs::make(3, 1), 3));
        QCOMPARE(lines(a, b), (QStringList{"in 3: channel - -> present", "aec: node - -> 3 channels",
                                           "automixer: node - -> 3 channels", "matrix out 1 / in 3: gain - -> -100",
                                           "matrix out 1 / in 3: mute - -> 1"}));
        // The automixer's own settings; an array of channel numbers whose length changed is shown whole.
        QJsonObject b2 = b;
        set(b2, {"nodeArr", 1, "portArr", 0, "farArr"}, QJsonArray{"1", "2"});
        set(b2, {"nodeArr", 2, "obj", "trigDb"}, "-20");
        QCOMPARE(lines(b, b2), (QStringList{"aec 1: farArr [] -> [\"1\",\"2\"]", "automixer: trigDb -40 -> -20"}));
    }

    void filesOfEveryFormReadAsTheirDocument()
    {
        const QJsonObject doc = base(1);
        const auto bytes = [](const QJsonObject &o) { return QJsonDocument(o).toJson(QJsonDocument::Compact); };
        // "*.dt" and "*.dcd" hold the document under "config" beside a name; a bare one is the document.
        for (const QByteArray &file : {bytes({{"config", doc}, {"name", "p1"}}), bytes(doc)})
            QCOMPARE(ConfigDiff::documentOf(file).config, doc);
        QCOMPARE(ConfigDiff::documentOf(bytes({{"version", "4"}})).error, Tx::ProgFileNotProgram);
        QCOMPARE(ConfigDiff::documentOf("{\"config\":").error, Tx::ProgFileParseError);
        // An older document that does not convert is compared as it stands, and says so.
        const QJsonObject old{{"version", "2"}, {"nodeArr", QJsonArray{}}};
        bool converted = true;
        QCOMPARE(ConfigDiff::comparable(old, &converted), old);
        QVERIFY(!converted);
    }
};

QTEST_APPLESS_MAIN(TstConfigDiff)
#include "tst_configdiff.moc"
