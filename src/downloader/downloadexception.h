#pragma once

#include <QString>

#include <exception>

/// Failure of a pod's read-out or erase. Thrown by value, codes 256 to 264 (see Downloader).
class DownloadException : public std::exception
{
public:
    DownloadException(const QString& msg, const int& code);

    QString msg() const { return m_msg; }
    int getErrorCode() const { return m_error_code; }

private:
    QString m_msg;
    int m_error_code;
};
