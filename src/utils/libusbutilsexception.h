#pragma once

#include <QString>

#include <exception>

/// Failure of opening, claiming or closing a pod. Thrown by value, codes 1 to 5 (see LibUsbUtils).
class LibUsbUtilsException : public std::exception
{
public:
    LibUsbUtilsException(const QString& msg, const int& code);

    QString msg() const { return m_msg; }
    int getErrorCode() const { return m_error_code; }

private:
    QString m_msg;
    int m_error_code;
};
