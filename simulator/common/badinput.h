#pragma once

#include <QString>

#include <stdexcept>

/// What a person typed or wrote is wrong; the text says what and where, fit to be shown as it is.
/// Thrown by the parsers of the bench, caught in main and at the prompt.
class BadInput : public std::runtime_error
{
public:
    explicit BadInput(const QString& text)
        : std::runtime_error(text.toStdString())
    {
    }
    QString text() const { return QString::fromUtf8(what()); }
};
