// The compare of two configuration documents: what is reported, where, in which order and in which words.
#include "core/dsp/programs/configdiff.h"

#include "../support/dspdocs.h"

#include <QtTest>

using ConfigDiff::Difference;

namespace {

QJsonObject json(const CDeviceDspData &d) { return QJsonDocument::fromJson(d.toJson()).object(); }

// Two inputs with a noise gate and a compressor (expander type swapped in below), two outputs with an equaliser.
QJsonObject base(int inputs = 2)
{
    return json(DspDocs::make(inputs, 2, {DspDefaults::block(7), DspDefaults::block(2)}, {DspDefaults::block(0)}));
}

// Sets the member at the path ("nodeArr", 0, "portArr", 1, "gainDb"); indices are ints.
QJsonValue setAt(QJsonValue v, QVariantList path, const QJsonValue &value)
{
    if (path.isEmpty())
        return value;
    const QVariant step = path.takeFirst();
    if (step.type() == QVariant::Int) {
        QJsonArray arr = v.toArray();
        const int i = step.toInt();
        if (i == arr.size())
            arr.append(setAt(QJsonValue(), path, value));
        else
            arr[i] = setAt(arr.at(i), path, value);
        return arr;
    }
    QJsonObject obj = v.toObject();
    obj[step.toString()] = setAt(obj.value(step.toString()), path, value);
    return obj;
}
QJsonValue at(QJsonValue v, const QVariantList &path)
{
    for (const QVariant &step : path)
        v = step.type() == QVariant::Int ? v.toArray().at(step.toInt()) : v.toObject().value(step.toString());
    return v;
}
void set(QJsonObject &doc, const QVariantList &path, const QJsonValue &value)
{
    doc = setAt(doc, path, value).toObject();
}

QStringList lines(const QVector<Difference> &diffs)
{
    QStringList out;
    for (const Difference &d : diffs)
        out.append(ConfigDiff::line(d));
    return out;
}

} // namespace

class TstConfigDiff : public QObject
{
    Q_OBJECT
private slots:
    void identicalDocumentsHaveNoDifferences()
    {
        QVERIFY(ConfigDiff::compare(base(), base()).isEmpty());
        const QJsonObject nodes = json(DspDocs::withNodes(DspDocs::make(4, 2), 4));
        QVERIFY(ConfigDiff::compare(nodes, nodes).isEmpty());
    }

    void everyKindOfChangeInDocumentOrder()
    {
        const QJsonObject a = base();
        QJsonObject b = a;
        set(b, {"sampleRate"}, "96000");
        set(b, {"groupArr", 1, "name"}, "Stage");
        set(b, {"nodeArr", 2, "portArr", 0, "procArr", 0, "obj", "eqArr", 2, "dbGain"}, "-4.5");
        set(b, {"nodeArr", 2, "portArr", 0, "procArr", 0, "obj", "bypassArr", 6}, "1");
        set(b, {"nodeArr", 0, "portArr", 1, "mute"}, "1");
        set(b, {"nodeArr", 0, "portArr", 1, "procArr", 1, "obj", "ratio"}, "8");
        set(b, {"nodeArr", 0, "portArr", 1, "procArr", 1, "bypass"}, "0");
        set(b, {"nodeArr", 0, "portArr", 0, "procArr", 0, "type"}, "8"); // noise gate -> expander
        set(b, {"nodeArr", 0, "portArr", 0, "procArr", 2}, 
            at(json(DspDocs::make(1, 1, {DspDefaults::block(6)})), {"nodeArr", 0, "portArr", 0, "procArr", 0}));
        set(b, {"nodeArr", 1, "obj", "gainArr", 1, 0}, "-6");
        set(b, {"nodeArr", 1, "obj", "muteArr", 1, 0}, "0");
        QCOMPARE(lines(ConfigDiff::compare(a, b)),
                 (QStringList{"document: sampleRate 48000 -> 96000",
                              "group 2: name Group 2 -> Stage",
                              "in 1 / 1 noisegate: kind noisegate -> expand",
                              "in 1 / 3 limit: block - -> limit",
                              "in 2: mute 0 -> 1",
                              "in 2 / 2 compress: bypass 1 -> 0",
                              "in 2 / 2 compress: ratio 2 -> 8",
                              "matrix out 2 / in 1: gain -100 -> -6",
                              "matrix out 2 / in 1: mute 1 -> 0",
                              "out 1 / 1 eq: bypassArr 7 0 -> 1",
                              "out 1 / 1 eq: eqArr 3 dbGain 0 -> -4.5"}));
    }

    void nodesPairByRoleNotIndex()
    {
        // B has an echo canceller and an automixer between the inputs and the matrix, and one input more.
        const QJsonObject a = json(DspDocs::make(2, 2));
        QJsonObject b = json(DspDocs::withNodes(DspDocs::make(3, 2), 3));
        set(b, {"nodeArr", 2, "obj", "trigDb"}, "-30");
        QJsonObject b2 = b;
        QCOMPARE(lines(ConfigDiff::compare(a, b)),
                 (QStringList{"in 3: channel - -> present", "aec: node - -> 3 channels",
                              "automixer: node - -> 3 channels", "matrix out 1 / in 3: gain - -> -100",
                              "matrix out 1 / in 3: mute - -> 1", "matrix out 2 / in 3: gain - -> -100",
                              "matrix out 2 / in 3: mute - -> 1"}));
        // The automixer's own settings and an array of channel numbers whose length changed.
        set(b2, {"nodeArr", 1, "portArr", 0, "farArr"}, QJsonArray{"1", "2"});
        const QVector<Difference> d = ConfigDiff::compare(b, b2);
        QCOMPARE(d, (QVector<Difference>{{"aec 1", "farArr", "[]", "[\"1\",\"2\"]"}}));
        set(b2, {"nodeArr", 2, "obj", "trigDb"}, "-20");
        QCOMPARE(lines(ConfigDiff::compare(b, b2)),
                 (QStringList{"aec 1: farArr [] -> [\"1\",\"2\"]", "automixer: trigDb -30 -> -20"}));
    }

    void absentSidesAreNullInJsonAndDashInLines()
    {
        QJsonObject a = base(1), b = base(1);
        set(b, {"nodeArr", 0, "portArr", 0, "procArr", 2}, 
            at(a, {"nodeArr", 2, "portArr", 0, "procArr", 0}));
        set(b, {"customStr"}, "tour");
        const QVector<Difference> d = ConfigDiff::compare(b, a);
        QCOMPARE(lines(d), (QStringList{"document: customStr tour -> ", "in 1 / 3 eq: block eq -> -"}));
        const QJsonArray j = ConfigDiff::toJson(d);
        QCOMPARE(j.size(), 2);
        QCOMPARE(j[1].toObject(), (QJsonObject{{"where", "in 1 / 3 eq"}, {"member", "block"}, {"a", "eq"},
                                               {"b", QJsonValue::Null}}));
        QCOMPARE(j[0]["b"], QJsonValue(""));
    }

    void unknownMembersAndNonStringValuesAreCompared()
    {
        QJsonObject a = base(1), b = base(1);
        set(a, {"vendorNote"}, 3);
        set(b, {"nodeArr", 0, "portArr", 0, "procArr", 1, "obj", "futureKnob"}, true);
        QCOMPARE(lines(ConfigDiff::compare(a, b)),
                 (QStringList{"document: vendorNote 3 -> -", "in 1 / 2 compress: futureKnob - -> true"}));
    }
};

QTEST_APPLESS_MAIN(TstConfigDiff)
#include "tst_configdiff.moc"
