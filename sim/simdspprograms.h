#pragma once

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QVector>
#include <functional>

class SimDspDocument;

/// What a DSP device keeps beside its running document: 16 named programs (slot 0 the
/// system default), 8 numbered stored configurations that add the amplifier settings, the
/// program in use, the stored configuration last loaded, and the default document for each
/// sample rate. Knows nothing of sockets or locks: the device guards the changes.
class SimDspPrograms
{
public:
    static const int slotCount = 16;
    static const int recordCount = 8;

    /// \a dsp is the running document, \a sampleRate the device's rate now, \a channels the
    /// physical channels the amplifier settings hold one value for.
    SimDspPrograms(SimDspDocument &dsp, std::function<int()> sampleRate, int channels);

    /// A program put on the device before it starts, whatever its version, in the first
    /// empty slot: "" or the reason it could not be.
    QString seed(const QString &name, const QJsonObject &document);

    /// One request: "" with the reply members added, or the reason, nothing changed.
    QString apply(const QString &ops, const QJsonObject &request, QJsonObject &reply);

private:
    struct Amplifier
    {
        QString type = QStringLiteral("0");
        QJsonArray analogGain, aes67Gain, analogPhase, aes67Phase;
    };

    int slotOf(const QString &name) const;
    int firstEmpty() const;
    /// The document slot 0 stands for at the device's present rate.
    QJsonObject factoryDocument() const;
    /// The index member of a request, checked to name a record; -1 when it does not.
    static int recordIndex(const QJsonObject &req);
    /// Stores \a doc as program \a name: the program of that name, else \a slot, else the first empty slot.
    QString store(const QString &name, const QJsonObject &doc, int slot);
    void resetFactory();

    QString saveToFile(const QJsonObject &req);
    QString saveConfigToFile(const QJsonObject &req);
    QString loadFromFile(const QJsonObject &req);
    QString deleteFile(const QJsonObject &req);
    QString saveConfig(const QJsonObject &req);
    QString loadConfig(const QJsonObject &req);
    QString setFactoryConfig(const QJsonObject &req);

    SimDspDocument &m_dsp;
    std::function<int()> m_sampleRate;
    int m_channels;
    QJsonObject m_initial; ///< the document the device started with
    QHash<int, QJsonObject> m_factory; ///< "setFactoryConfig" by sample rate
    QString m_names[slotCount];
    QJsonObject m_programs[slotCount];
    QString m_inUse = QStringLiteral("default");
    QJsonObject m_records[recordCount]; ///< empty: no record
    int m_lastConfig = -1;
    Amplifier m_amplifier;
};
