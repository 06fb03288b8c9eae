#pragma once

#include <stdexcept>

/// The update package carries no image that a pod could be given. Thrown by value.
class DfuInvalidUpdateFile : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
