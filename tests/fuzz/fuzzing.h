#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

/// What the fuzz targets share, for the one thread that a target has. Each works in a new empty
/// folder, and nothing is logged.
namespace fuzzing {

/// Where it is false, the input is a find.
void require(bool condition);

void write(const QString& path, const QByteArray& content);
QByteArray contentOf(const QString& path);

QByteArray bytesOf(const uint8_t* data, size_t size_bytes);

} // namespace fuzzing
