#include "scenario/jsonplace.h"

#include "common/bytesize.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <limits>
#include <utility>

namespace {

constexpr int kMostSeconds = 24 * 60 * 60;

int lineOf(const QByteArray& json, int offset_bytes)
{
    return json.left(offset_bytes).count('\n') + 1;
}

/// Offset of the first member of JSON, known to be well-formed, that its object has already; -1.
int repeatedMember(const QByteArray& json)
{
    std::vector<QSet<QByteArray>> objects;
    QByteArray text;
    int text_at = -1;
    for (int i = 0; i < json.size(); ++i) {
        const char letter = json.at(i);
        if (letter == '"') {
            text_at = i + 1;
            while (json.at(++i) != '"')
                i += json.at(i) == '\\' ? 1 : 0;
            text = json.mid(text_at, i - text_at);
        } else if (letter == '{') {
            objects.emplace_back();
        } else if (letter == '}') {
            objects.pop_back();
        } else if (letter == ':') {
            if (objects.back().contains(text))
                return text_at;
            objects.back() += text;
        }
    }
    return -1;
}

} // namespace

JsonPlace::JsonPlace(QJsonValue value, QString place, QString folder)
    : m_value(std::move(value))
    , m_place(std::move(place))
    , m_folder(std::move(folder))
{
}

JsonPlace JsonPlace::parse(const QByteArray& json, const QString& file_name)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        throw BadInput(QStringLiteral("%1: line %2: %3")
                           .arg(file_name)
                           .arg(lineOf(json, error.offset))
                           .arg(error.errorString()));
    if (const int at = repeatedMember(json); at >= 0)
        throw BadInput(QStringLiteral("%1: line %2: this member is there already")
                           .arg(file_name)
                           .arg(lineOf(json, at)));
    if (!document.isObject())
        throw BadInput(QStringLiteral("%1: the scenario must be an object").arg(file_name));
    return {document.object(), file_name + QLatin1Char(':'), QFileInfo(file_name).path()};
}

QString JsonPlace::text() const
{
    if (!m_value.isString())
        refuse(QStringLiteral("a text is needed here"));
    return m_value.toString();
}

QStringList JsonPlace::texts() const
{
    QStringList list;
    for (const JsonPlace& element : elements())
        list += element.text();
    return list;
}

QStringList JsonPlace::oneOrMoreTexts() const
{
    QStringList list = m_value.isArray() ? texts() : QStringList{text()};
    if (list.isEmpty())
        refuse(QStringLiteral("a text is needed here"));
    return list;
}

bool JsonPlace::flag() const
{
    if (!m_value.isBool())
        refuse(QStringLiteral("true or false is needed here"));
    return m_value.toBool();
}

void JsonPlace::needTrue() const
{
    if (!flag())
        refuse(QStringLiteral("only true makes sense here"));
}

std::vector<int> JsonPlace::numbers(int least, int most) const
{
    std::vector<int> list;
    for (const JsonPlace& element : elements())
        list.push_back(element.number(least, most));
    return list;
}

int JsonPlace::number(int least, int most) const
{
    const double value = m_value.toDouble(static_cast<double>(least) - 1);
    if (value < least || value > most || value != static_cast<int>(value))
        refuse(QStringLiteral("a whole number from %1 to %2 is needed here").arg(least).arg(most));
    return static_cast<int>(value);
}

std::chrono::milliseconds JsonPlace::time() const
{
    const double value = m_value.toDouble(-1);
    if (value < 0 || value > kMostSeconds)
        refuse(QStringLiteral("a number of seconds is needed here, at most %1").arg(kMostSeconds));
    return std::chrono::milliseconds(static_cast<int>(value * 1000));
}

std::chrono::seconds JsonPlace::wholeSeconds() const
{
    return std::chrono::seconds(number(1, kMostSeconds));
}

quint64 JsonPlace::bytes(quint64 most) const
{
    const quint64 count = isNumber()
                              ? static_cast<quint64>(number(0, std::numeric_limits<int>::max()))
                              : parsed(largeByteCountFromText);
    if (count > most)
        refuse(QStringLiteral("at most %1 bytes").arg(most));
    return count;
}

QString JsonPlace::path() const
{
    return QDir(m_folder).filePath(text());
}

SlotSet JsonPlace::slotSet() const
{
    if (isNumber())
        return slotSetOf(number(0, kSlotCount - 1));
    return parsed(slotSetFromText);
}

std::vector<JsonPlace> JsonPlace::elements() const
{
    if (!m_value.isArray())
        refuse(QStringLiteral("a list is needed here"));
    std::vector<JsonPlace> places;
    for (const auto element : m_value.toArray())
        places.emplace_back(element, QStringLiteral("%1[%2]").arg(m_place).arg(places.size()),
                            m_folder);
    return places;
}

JsonPlace JsonPlace::member(const QString& name) const
{
    if (!isObject())
        refuse(QStringLiteral("an object is needed here"));
    const QJsonValue value = m_value.toObject().value(name);
    if (value.isUndefined())
        refuse(QStringLiteral("'%1' is missing").arg(name));
    const bool top = m_place.endsWith(QLatin1Char(':'));
    return {value, m_place + QLatin1Char(top ? ' ' : '.') + name, m_folder};
}

QStringList JsonPlace::memberNames() const
{
    if (!isObject())
        refuse(QStringLiteral("an object is needed here"));
    return m_value.toObject().keys();
}

void JsonPlace::readMembers(const Members& members) const
{
    QStringList known;
    for (const auto& [name, reader] : members)
        known += QLatin1String(name);
    for (const QString& name : memberNames())
        if (!known.contains(name))
            refuse(QStringLiteral("unknown '%1'; known are: %2")
                       .arg(name, known.join(QStringLiteral(", "))));
    for (const auto& [name, reader] : members)
        if (reader && has(name))
            reader(member(name));
}

void JsonPlace::refuse(const QString& complaint) const
{
    throw BadInput(m_place.endsWith(QLatin1Char(':'))
                       ? m_place + QLatin1Char(' ') + complaint
                       : QStringLiteral("%1: %2").arg(m_place, complaint));
}
