#include "simscenario.h"
#include "simports.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace {

QString defaultDevId(int index)
{
    return QStringLiteral("SIM-%1").arg(index + 1, 4, 10, QLatin1Char('0'));
}

QString defaultClockId(int index)
{
    const int n = index + 1;
    return QStringLiteral("00-1D-C1-FF-FE-00-%1-%2")
        .arg((n >> 8) & 0xff, 2, 16, QLatin1Char('0'))
        .arg(n & 0xff, 2, 16, QLatin1Char('0'))
        .toUpper();
}

SimDeviceProfile device(int index, const QString &name, const QString &model, int rx, int tx, int phyRx, int phyTx)
{
    SimDeviceProfile d;
    d.devId = defaultDevId(index);
    d.clockId = defaultClockId(index);
    d.name = name;
    d.model = model;
    d.chNumRx = rx;
    d.chNumTx = tx;
    d.phyChNumRx = phyRx;
    d.phyChNumTx = phyTx;
    d.ucastNumRx = qMin(rx, 16);
    d.ucastNumTx = qMin(tx, 16);
    d.mcastNumRx = qMin(rx, 8);
    d.mcastNumTx = qMin(tx, 4);
    d.amplifier = model == QLatin1String("RK7731");
    return d;
}

} // namespace

SimScenario SimScenario::defaultScenario()
{
    SimScenario s;

    SimDeviceProfile box2 = device(0, QStringLiteral("Stage Box 2"), QStringLiteral("RK0202"), 2, 2, 2, 2);
    // Older firmware: cannot receive multicast on ports other than 5004.
    box2.version = QStringLiteral("3.1.4.5");
    box2.phyChNamesRx = QStringList{QStringLiteral("Talkback"), QStringLiteral("Spare")};
    box2.silentInputs = {1};
    s.devices << box2;

    SimDeviceProfile box8 = device(1, QStringLiteral("Stage Box 8"), QStringLiteral("RK0808"), 8, 8, 8, 8);
    box8.ptpPriority = 100;
    box8.phyChNamesRx =
        QStringList{QStringLiteral("Vox 1"), QStringLiteral("Vox 2"), QStringLiteral("Gtr"),  QStringLiteral("Bass"),
                    QStringLiteral("Kick"),  QStringLiteral("Snare"), QStringLiteral("OH L"), QStringLiteral("OH R")};
    box8.silentInputs = {6, 7};
    box8.flows << SimDeviceProfile::Flow{
        QStringLiteral("Stage L-R"), {0, 1}, QStringLiteral("239.69.1.2"), SimPorts::rtp};
    s.devices << box8;

    // Same priority as the 8x8: the tie goes to the lower clock identity, the 8x8's.
    SimDeviceProfile console = device(2, QStringLiteral("Console 64"), QStringLiteral("RK6464"), 64, 64, 32, 32);
    console.ptpPriority = 100;
    console.mcastNumTx = 8;
    console.flows << SimDeviceProfile::Flow{QStringLiteral("Mix Bus"), {0, 1, 2, 3}, QString(), SimPorts::rtp};
    s.devices << console;

    SimDeviceProfile amp = device(3, QStringLiteral("Amp Rack"), QStringLiteral("RK7731"), 4, 0, 0, 4);
    amp.port = 9991;
    amp.ptpPriority = 250;
    amp.gpioNum = 4;
    amp.faults.hot = QStringLiteral("warn");
    amp.phyChNamesTx =
        QStringList{QStringLiteral("Amp A"), QStringLiteral("Amp B"), QStringLiteral("Amp C"), QStringLiteral("Amp D")};
    s.devices << amp;

    // Priority 0 would win, but a virtual sound card never leads the clock.
    SimDeviceProfile card = device(4, QStringLiteral("PC Audio"), QStringLiteral("RK0000"), 16, 16, 0, 0);
    card.port = 10000;
    card.ptpPriority = 0;
    s.devices << card;

    SimDeviceProfile matrix = device(5, QStringLiteral("DSP Matrix 16"), QStringLiteral("RK1616D"), 16, 16, 16, 16);
    matrix.dsp = true;
    matrix.gpioNum = 2;
    s.devices << matrix;

    SimDeviceProfile panel = device(6, QStringLiteral("Wall Panel 4"), QStringLiteral("RK0404D"), 4, 4, 4, 4);
    panel.dsp = true;
    panel.sampleRate = 96000;
    s.devices << panel;

    SimDeviceProfile rack =
        device(7, QStringLiteral("Stage Rack 128"), QStringLiteral("RK0128-1616"), 128, 128, 16, 16);
    rack.ucastNumRx = 32;
    rack.ucastNumTx = 32;
    rack.mcastNumRx = 16;
    rack.mcastNumTx = 8;
    s.devices << rack;
    return s;
}

SimScenario SimScenario::generated(int count)
{
    SimScenario s;
    s.devices.reserve(count);
    for (int i = 0; i < count; ++i) {
        SimDeviceProfile d;
        const QString n = QString::number(i + 1);
        switch (i % 8) {
        case 1: d = device(i, QStringLiteral("Box 2 #") + n, QStringLiteral("RK0202"), 2, 2, 2, 2); break;
        case 2:
            d = device(i, QStringLiteral("Matrix 16 #") + n, QStringLiteral("RK1616D"), 16, 16, 16, 16);
            d.dsp = true;
            break;
        case 4: d = device(i, QStringLiteral("Console 64 #") + n, QStringLiteral("RK6464"), 64, 64, 32, 32); break;
        case 5:
            d = device(i, QStringLiteral("Amp #") + n, QStringLiteral("RK7731"), 4, 0, 0, 4);
            d.port = 9991;
            break;
        case 7:
            d = device(i, QStringLiteral("Panel 4 #") + n, QStringLiteral("RK0404D"), 4, 4, 4, 4);
            d.dsp = true;
            break;
        default: d = device(i, QStringLiteral("Box 8 #") + n, QStringLiteral("RK0808"), 8, 8, 8, 8); break;
        }
        if (i == 0)
            d.ptpPriority = 100;
        s.devices << d;
    }
    return s;
}

bool SimScenario::fromJson(const QByteArray &json, SimScenario *out, QString *error)
{
    QJsonParseError pe;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &pe);
    if (!doc.isObject()) {
        *error = doc.isNull() ? pe.errorString() + QStringLiteral(" at offset ") + QString::number(pe.offset)
                              : QStringLiteral("a scenario is a JSON object");
        return false;
    }
    SimScenario s;
    QString err;
    s.faults = SimFaults::fromJson(doc.object().value(QLatin1String("faults")).toObject(), SimFaults(), &err);
    for (const QJsonValue &v : doc.object().value(QLatin1String("devices")).toArray()) {
        SimDeviceProfile d = SimDeviceProfile::fromJson(v.toObject(), s.faults, &err);
        // Devices without their own devId or clock identity get them from their place.
        if (d.devId.isEmpty())
            d.devId = defaultDevId(s.devices.size());
        if (d.clockId.isEmpty())
            d.clockId = defaultClockId(s.devices.size());
        s.devices << d;
    }
    if (err.isEmpty())
        err = s.check();
    if (!err.isEmpty()) {
        *error = err;
        return false;
    }
    *out = s;
    return true;
}

bool SimScenario::fromFile(const QString &path, SimScenario *out, QString *error)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        *error = path + QStringLiteral(": ") + f.errorString();
        return false;
    }
    if (!fromJson(f.readAll(), out, error)) {
        *error = path + QStringLiteral(": ") + *error;
        return false;
    }
    return true;
}

QByteArray SimScenario::toJson() const
{
    QJsonArray arr;
    for (const SimDeviceProfile &d : devices)
        arr.append(d.toJson(faults));
    QJsonObject o{{QStringLiteral("devices"), arr}};
    const QJsonObject f = faults.toJson();
    if (!f.isEmpty())
        o.insert(QStringLiteral("faults"), f);
    return QJsonDocument(o).toJson(QJsonDocument::Indented);
}

QString SimScenario::check() const
{
    if (devices.isEmpty())
        return QStringLiteral("no devices");
    QSet<QString> ids, clocks, addresses;
    for (const SimDeviceProfile &d : devices) {
        const QString problem = d.check();
        if (!problem.isEmpty())
            return problem;
        if (ids.contains(d.devId))
            return QStringLiteral("devId %1 appears twice").arg(d.devId);
        ids.insert(d.devId);
        if (!d.clockId.isEmpty() && clocks.contains(d.clockId))
            return QStringLiteral("clockId %1 appears twice").arg(d.clockId);
        clocks.insert(d.clockId);
        if (!d.address.isEmpty() && addresses.contains(d.address))
            return QStringLiteral("address %1 appears twice").arg(d.address);
        addresses.insert(d.address);
    }
    return QString();
}

int SimScenario::indexOf(const QString &devIdOrName) const
{
    for (int i = 0; i < devices.size(); ++i)
        if (devices[i].devId == devIdOrName || devices[i].name == devIdOrName)
            return i;
    return -1;
}
