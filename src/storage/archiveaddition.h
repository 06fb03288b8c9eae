#pragma once

#include "storage/undorecord.h"
#include "storage/uniquefd.h"

#include <QString>

/// One all-or-nothing change at the end of an archive. Before the first byte is overwritten, the
/// bytes that will go are flushed to a side file; unless commit() said true, destruction puts the
/// archive back, and recover() does so at the next start when the program was killed.
///
/// Lives on the stack of one archive operation; one at a time in a process (the station adds on the
/// controller's thread only). Failure is false, after which every further write fails too.
class ArchiveAddition
{
public:
    /// Puts back what an addition left half done; true when no archive is half changed any more.
    /// Called before anything reads the archives; harmless when repeated or cut short.
    static bool recover();

    explicit ArchiveAddition(const QString& archivePath);
    ArchiveAddition(const ArchiveAddition&) = delete;
    ArchiveAddition(ArchiveAddition&&) = delete;
    ArchiveAddition& operator=(const ArchiveAddition&) = delete;
    ArchiveAddition& operator=(ArchiveAddition&&) = delete;
    ~ArchiveAddition();

    /// False when the archive cannot be opened, or when an earlier addition could not be put back.
    bool begin();

    int descriptor() const { return m_fd.get(); }
    qint64 sizeBytes() const { return m_size_bytes; }

    /// Logs an archive that has no room for so many bytes more.
    bool hasRoomFor(qint64 bytes) const { return fits(m_size_bytes + bytes); }

    /// Writes at `offset`, never below the offset of the first write.
    bool writeAt(qint64 offset, const QByteArray& data);

    /// Ends the archive after the last byte written. True only when the whole addition is on the
    /// storage and nothing can take it back: a pod is erased on that word.
    bool commit();

    /// Past this a zip needs its 64-bit form, in which the library marks entries with a version
    /// that unzip does not open, and a FAT-formatted stick cannot hold the file.
    static constexpr qint64 kMaxArchiveBytes = 0xFFFFFFFE;

private:
    bool fits(qint64 archive_bytes) const;
    bool protectFrom(qint64 offset);
    bool finish();

    UniqueFd m_fd;
    UndoRecord m_undo;
    qint64 m_size_bytes = 0;
    qint64 m_end_offset = 0;
    bool m_protected = false;
    bool m_failed = false;
    bool m_committed = false;
};
