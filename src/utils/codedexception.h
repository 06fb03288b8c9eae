#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <utility>

/// What the failures of a pod's transport and of its read-out have in common: a text for the log
/// and a code, both fixed. Thrown by value, as one of its subclasses.
class CodedException : public std::exception
{
public:
    CodedException(QString msg, int code)
        : m_msg(std::move(msg))
        , m_what(m_msg.toUtf8())
        , m_error_code(code)
    {
    }

    QString msg() const { return m_msg; }
    int getErrorCode() const { return m_error_code; }
    const char* what() const noexcept override { return m_what.constData(); }

private:
    QString m_msg;
    QByteArray m_what;
    int m_error_code;
};
