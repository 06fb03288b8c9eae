#include "downloader/downloadexception.h"

DownloadException::DownloadException(const QString& msg, const int& code)
    : m_msg(msg)
    , m_error_code(code)
{
}

DownloadException::~DownloadException() = default;
