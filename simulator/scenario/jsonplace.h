#pragma once

#include "common/badinput.h"
#include "common/slotset.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>

#include <chrono>
#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

/// A value of a JSON document together with where it stands ("pods[2].size"), so that every
/// complaint can name the place. Each reader throws BadInput when the value is not of its kind.
class JsonPlace
{
public:
    using Reader = std::function<void(const JsonPlace&)>;
    /// What an object may have, and who reads it.
    using Members = std::vector<std::pair<const char*, Reader>>;

    /// folder: from which the document's author sees files.
    JsonPlace(QJsonValue value, QString place, QString folder = {});
    /// The whole document. Throws BadInput with the line when it is not JSON, or when an object
    /// names a member twice: all but the last would be dropped in silence.
    static JsonPlace parse(const QByteArray& json, const QString& file_name);

    QString text() const;
    QStringList texts() const;
    /// A text, or several in a list.
    QStringList oneOrMoreTexts() const;
    bool flag() const;
    /// For what is either said or not.
    void needTrue() const;
    std::vector<int> numbers(int least, int most) const;
    int number(int least, int most) const;
    /// Written as seconds, at most those of a day.
    std::chrono::milliseconds time() const;
    /// At least one.
    std::chrono::seconds wholeSeconds() const;
    /// A number, or a size in text.
    quint64 bytes(quint64 most) const;
    /// A file or folder, as the author of the document sees it.
    QString path() const;
    /// A slot index, or slots in text.
    SlotSet slotSet() const;
    std::vector<JsonPlace> elements() const;
    bool isNumber() const { return m_value.isDouble(); }

    bool has(const char* name) const { return m_value.toObject().contains(QLatin1String(name)); }
    JsonPlace member(const QString& name) const;
    JsonPlace member(const char* name) const { return member(QString::fromLatin1(name)); }
    bool isObject() const { return m_value.isObject(); }
    QStringList memberNames() const;
    /// Reads what is there, in the order of the list; without a reader, it may be there. Refuses
    /// any other member: a name that is written wrong would be passed over in silence.
    void readMembers(const Members& members) const;

    [[noreturn]] void refuse(const QString& complaint) const;
    /// Runs a parser of text over this value; its complaint gets the place.
    template <typename Parser>
    auto parsed(Parser parser) const
    {
        const QString written = text();
        try {
            return parser(written);
        } catch (const BadInput& bad) {
            refuse(bad.text());
        }
    }

private:
    QJsonValue m_value;
    QString m_place;
    QString m_folder;
};

/// Readers into a variable: a flag, a text, slots, a time, or texts.
template <typename Value>
JsonPlace::Reader into(Value& value)
{
    return [&value](const JsonPlace& place) {
        if constexpr (std::is_same_v<Value, bool>)
            value = place.flag();
        else if constexpr (std::is_same_v<Value, QString>)
            value = place.text();
        else if constexpr (std::is_same_v<Value, SlotSet>)
            value = place.slotSet();
        else if constexpr (std::is_same_v<Value, std::chrono::seconds>)
            value = place.wholeSeconds();
        else if constexpr (std::is_assignable_v<Value&, std::chrono::milliseconds>)
            value = place.time();
        else
            value = place.texts();
    };
}

/// A whole number, or several into a list.
template <typename Value>
JsonPlace::Reader into(Value& value, int least, int most)
{
    return [&value, least, most](const JsonPlace& place) {
        if constexpr (std::is_same_v<Value, std::vector<int>>)
            value = place.numbers(least, most);
        else
            value = place.number(least, most);
    };
}

template <typename Value>
JsonPlace::Reader bytesInto(Value& value, quint64 most)
{
    return [&value, most](const JsonPlace& place) {
        value = static_cast<std::decay_t<Value>>(place.bytes(most));
    };
}
