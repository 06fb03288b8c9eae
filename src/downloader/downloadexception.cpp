#include "downloader/downloadexception.h"

// A QString's copy shares its text; moving it in would gain nothing.
// NOLINTNEXTLINE(modernize-pass-by-value)
DownloadException::DownloadException(const QString& msg, const int& code)
    : m_msg(msg)
    , m_error_code(code)
{
}
