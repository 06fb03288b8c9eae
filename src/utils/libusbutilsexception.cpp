#include "utils/libusbutilsexception.h"

LibUsbUtilsException::LibUsbUtilsException(const QString& msg, const int& code)
    : m_msg(msg)
    , m_error_code(code)
{
}

LibUsbUtilsException::~LibUsbUtilsException() = default;
