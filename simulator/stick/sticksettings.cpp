#include "stick/sticksettings.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// Decimal text: a number of JSON does not hold every 64-bit value.
QString decimal(quint64 number)
{
    return QString::number(number);
}

} // namespace

QByteArray StickSettings::toText() const
{
    const QJsonObject object{
        {QStringLiteral("size"), decimal(size_bytes)},
        {QStringLiteral("speed"), decimal(bytes_per_second)},
        {QStringLiteral("pull at byte"), decimal(pull_at_byte)},
        {QStringLiteral("loses from byte"), decimal(loses_from_byte)},
        {QStringLiteral("flips at byte"), decimal(flips_at_byte)},
        {QStringLiteral("unreadable"), QJsonArray::fromStringList(unreadable)},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

StickSettings StickSettings::fromText(const QByteArray& text)
{
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    StickSettings settings;
    settings.size_bytes = object[QStringLiteral("size")].toString().toULongLong();
    settings.bytes_per_second = object[QStringLiteral("speed")].toString().toUInt();
    settings.pull_at_byte = object[QStringLiteral("pull at byte")].toString().toULongLong();
    settings.loses_from_byte = object[QStringLiteral("loses from byte")].toString().toULongLong();
    settings.flips_at_byte = object[QStringLiteral("flips at byte")].toString().toULongLong();
    for (const auto& name : object[QStringLiteral("unreadable")].toArray())
        settings.unreadable += name.toString();
    return settings;
}
