#pragma once

#include "utils/codedexception.h"

/// Failure of opening, claiming or closing a pod.
class LibUsbUtilsException : public CodedException
{
public:
    enum Code : int {
        OpenFailed = 1,
        DriverNotDetached = 2,
        InterfaceNotClaimed = 3,
        NotClosed = 4,
        ControlTransferFailed = 5,
    };
    using CodedException::CodedException;
};
