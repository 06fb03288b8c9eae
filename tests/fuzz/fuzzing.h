#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

/// What the fuzz targets share. For the one thread that a target has.
namespace fuzzing {

/// Where it is false, the input is a find.
void require(bool condition);

/// From now on nothing is logged: millions of refusals are of no interest.
void silence();

/// Makes a new empty folder the working one; it goes with the process.
void enterNewFolder();

QByteArray bytesOf(const uint8_t* data, size_t size_bytes);

} // namespace fuzzing
