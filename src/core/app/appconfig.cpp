#include "core/app/appconfig.h"

#include <QFile>
#include <QStringList>
#include <QDebug>

std::optional<QString> AppConfig::parseTitle(const QByteArray &content)
{
    const QStringList parts = QString::fromUtf8(content).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (parts.isEmpty())
        return std::nullopt;
    const QString &first = parts.first();
    const int eq = first.indexOf(QLatin1Char('='));
    if (eq < 0)
        return std::nullopt;
    const QString key = first.left(eq);
    const QString value = first.mid(eq + 1);
    qDebug().noquote() << "Key: " + key + " Value: " + value;
    return value;
}

std::optional<QString> AppConfig::readTitle(const QString &dir)
{
    QFile f(dir + QStringLiteral("/appConfig.txt"));
    if (!f.open(QIODevice::ReadOnly))
        return std::nullopt;
    return parseTitle(f.readAll());
}
