#pragma once

#include "common/badinput.h"
#include "common/slotset.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>

#include <vector>

/// A value of a JSON document together with where it stands ("pods[2].size"), so that every
/// complaint can name the place. Each reader throws BadInput when the value is not of its kind.
class JsonPlace
{
public:
    JsonPlace(QJsonValue value, QString place);
    /// The whole document. Throws BadInput with the line when it is not JSON, or when an object
    /// names a member twice: all but the last would be dropped in silence.
    static JsonPlace parse(const QByteArray& json, const QString& file_name);

    QString text() const;
    QStringList texts() const;
    /// A text, or several in a list.
    QStringList oneOrMoreTexts() const;
    bool flag() const;
    std::vector<int> numbers(int least, int most) const;
    int number(int least, int most) const;
    double seconds() const;
    /// A number, or a size in text.
    quint64 bytes(quint64 most) const;
    /// A slot index, or slots in text.
    SlotSet slotSet() const;
    std::vector<JsonPlace> elements() const;

    bool has(const QString& name) const { return m_value.toObject().contains(name); }
    JsonPlace member(const QString& name) const;
    bool isObject() const { return m_value.isObject(); }
    bool isNumber() const { return m_value.isDouble(); }
    QStringList memberNames() const;
    /// A name that is written wrong would otherwise be passed over in silence.
    void allowMembers(const QStringList& names) const;

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
};
