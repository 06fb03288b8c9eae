#pragma once

#include <stdexcept>

/// Failure of one pod's firmware update: a lost, wrong or refusing reply, or a file that cannot be
/// sent. Thrown by value.
class DfuException : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
