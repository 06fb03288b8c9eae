#include "usbfs/require.h"

void require(bool done, const QString& what)
{
    if (!done)
        qFatal("Cannot make %s: %s", qUtf8Printable(what), qUtf8Printable(qt_error_string()));
}
