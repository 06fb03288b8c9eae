#pragma once

#include "storage/undorecord.h"

#include <optional>

/// The side file that holds the one UndoRecord of the addition under way. It lies in the working
/// directory, outside the folders that a start wipes, and stays there between additions; eight zero
/// bytes in place of the magic say that none is under way. Used by ArchiveAddition alone, on its
/// thread. Failure is false: nothing is known of what the storage holds then.
namespace undofile {

/// Gives the record that waits to be put back, if any.
bool load(std::optional<UndoRecord>& waiting);

/// True only when the record, and the name of the side file, are on the storage.
bool store(const UndoRecord& record);

/// True only when the storage no longer holds a record. Overwrites in place, so a full disk cannot
/// prevent it, nor prevent store() from bringing the same record back.
bool blank();

} // namespace undofile
