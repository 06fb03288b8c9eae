#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include <initializer_list>
#include <utility>

/// Scenarios in few words.
namespace json {

/// What a member may be: as QJsonValue, and texts of the source as well.
class Value
{
public:
    template <typename Any>
    Value(const Any& any) // NOLINT(google-explicit-constructor): it is what stands in the list
        : m_value(any)
    {
    }
    Value(const char* text) // NOLINT(google-explicit-constructor)
        : m_value(QLatin1String(text))
    {
    }

    const QJsonValue& get() const { return m_value; }

private:
    QJsonValue m_value;
};

inline QJsonObject object(std::initializer_list<std::pair<const char*, Value>> members)
{
    QJsonObject result;
    for (const auto& [name, value] : members)
        result.insert(QLatin1String(name), value.get());
    return result;
}

inline QJsonArray list(std::initializer_list<Value> values)
{
    QJsonArray result;
    for (const Value& value : values)
        result += value.get();
    return result;
}

/// `one` with what `other` has besides or instead.
inline QJsonObject with(QJsonObject one, const QJsonObject& other)
{
    for (auto member = other.begin(); member != other.end(); ++member)
        one.insert(member.key(), member.value());
    return one;
}

inline QJsonObject ifPossible(const QJsonObject& step)
{
    return with(step, object({{"if possible", true}}));
}

} // namespace json
