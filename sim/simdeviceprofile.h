#pragma once

#include "simfaults.h"
#include "simports.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

/// One virtual device as a scenario describes it: what it is at power-on.
/// Everything the program can change later lives in SimDevice.
struct SimDeviceProfile
{
    /// A multicast transmit flow the device already has at power-on.
    struct Flow
    {
        QString name;
        QVector<int> channels; ///< transmit channel indices, from 0
        QString dstIp;         ///< empty: the device picks a group
        int dstPort = SimPorts::rtp;
    };

    /// A program stored on the device at power-on ("--program", not kept in scenario files).
    struct Program
    {
        QString name;
        QJsonObject document;
    };

    QString devId;
    QString name;
    QString model;
    QString address; ///< empty: the network's base address + the device's index
    int port = SimPorts::control;
    int chNumRx = 8;
    int chNumTx = 8;
    int phyChNumRx = 8;
    int phyChNumTx = 8;
    int ucastNumRx = 8;
    int ucastNumTx = 8;
    int mcastNumRx = 8;
    int mcastNumTx = 4;
    int sampleRate = 48000;
    int sampleByteNum = 3;
    int packetTimeDiv = 1;
    int delayUs = 2000;
    int dscp = 34;
    QString version = QStringLiteral("3.1.4.45");
    QString oemCode = QStringLiteral("0");
    int ptpPriority = 128;
    int ptpDomain = 0;
    int ptpDscp = 46;
    QString clockId; ///< "00-1D-C1-FF-FE-00-00-02"; empty: derived from the index
    QString password = QStringLiteral("123456");
    bool canWork = true;
    bool dsp = false;       ///< signal processor (TCP link on 8999, status on 12001); a model ending in "D" has one
    bool amplifier = false; ///< answers the amplifier operations on 9992
    int gpioNum = 0;
    int blinkEveryS = 0;                   ///< presses its identify key this often ("devReqGuiBlink"); 0 never
    QString prefix = QStringLiteral("24"); ///< prefix length reported by "getIp"
    QString gateway;                       ///< empty: the address with .1 as its last octet
    QStringList chNamesRx, chNamesTx, phyChNamesRx, phyChNamesTx; ///< missing names are generated
    QVector<int> silentInputs;                                    ///< physical inputs that carry no signal
    QVector<int> deadInputs; ///< DSP inputs that read silence whatever their chain makes (--dead-input only)
    QVector<Flow> flows;
    QVector<Program> programs; ///< in slot order from slot 1, any version

    SimFaults faults;

    /// Reads a device of a scenario file over the defaults above; \a faults
    /// are the scenario-wide ones the device's own override.
    static SimDeviceProfile fromJson(const QJsonObject &obj, const SimFaults &faults, QString *error);
    QJsonObject toJson(const SimFaults &scenarioFaults) const;
    /// Empty when the device is usable, else why not.
    QString check() const;
};
