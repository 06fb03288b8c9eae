#pragma once

#include "archive/undorecord.h"

#include <optional>

/// The side file that holds the one UndoRecord of the addition under way. It lies in the working
/// directory, outside the folders that a start wipes, and stays there between additions; eight zero
/// bytes in place of the magic say that none is under way. Used by ArchiveAddition alone, on its
/// thread. False is failure: nothing is known of what the storage holds then.
namespace undofile {

enum class Loaded {
    Nothing,    ///< no addition is under way
    Record,     ///< one waits to be put back
    Unreadable, ///< there is one that will never be read
    Unknown,    ///< it cannot be looked at for the moment
};
Loaded load(UndoRecord& record);

/// True only when the record was read back from the storage, and the side file's name is there.
bool store(const UndoRecord& record);

/// True only when the storage was seen to hold a record no longer. Overwrites in place, so a full
/// disk cannot prevent it, nor prevent store() from bringing the same record back.
bool blank();

/// Renames a side file of no use for now, so that the next record has a place. False also when one
/// is aside already.
bool setAside();
/// The record of such a one: after another start, the disk may have more to give.
std::optional<UndoRecord> loadSetAside();
void removeSetAside();

} // namespace undofile
