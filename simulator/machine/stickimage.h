#pragma once

#include <QString>

/// A stick's whole memory as a file: a partition table and one partition with a vfat file system.
/// Throws BadInput when one of the system's programs cannot do its part.
namespace stickimage {

/// From what is in the folder.
void make(const QString& image, quint64 size_bytes, const QString& folder);
/// The folder then holds what is on the stick, and nothing else.
void unpack(const QString& image, const QString& folder);

} // namespace stickimage
