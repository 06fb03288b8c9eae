#pragma once

#include "utils/codedexception.h"

/// Failure of a pod's read-out or erase.
class DownloadException : public CodedException
{
public:
    enum Code : int {
        CommandNotWritten = 256,
        NoAck = 257,
        NoSize = 258,
        FileFailed = 260, ///< not opened, no room for it, or not written
        DataNotRead = 261,
        EraseNotWritten = 263,
        Interrupted = 264, ///< the worker thread was asked to stop
    };
    using CodedException::CodedException;
};
