#pragma once

#include <QString>

/// Puts so many bytes of nothing in front of what the archive holds, in one step; on the disk they
/// take no room. It stays an archive: readers count back from the end. Nothing may be adding to it.
/// Throws BadInput when that cannot be done.
void putHoleInFront(const QString& archive, quint64 hole_bytes);
