#pragma once

#include "archive/additionresult.h"
#include "archive/undorecord.h"
#include "archive/zipdirectory.h"
#include "system/checksum.h"
#include "system/uniquefd.h"

#include <QString>

#include <optional>

/// One all-or-nothing change at the end of an archive. Before the first byte is overwritten, the
/// bytes that will go are flushed to a side file; unless commit() said Added, destruction puts the
/// archive back, and recover() does so at the next start when the program was killed. What counts
/// is what was read back from the storage, past the system's cache.
///
/// Lives on the stack of one archive operation; one at a time in a process (the station adds on the
/// controller's thread only). After a failed write every further one fails too.
class ArchiveAddition
{
public:
    /// Puts back what an addition left half done; true when no archive is half changed any more.
    /// Called before anything reads the archives; harmless when repeated or cut short.
    static bool recover();
    /// Before a new archive takes a name: a record that waits for an archive on a disk that is late
    /// is set aside, so that it is not taken for one of the new archive.
    static bool recoverForNew();

    explicit ArchiveAddition(const QString& archivePath);
    ArchiveAddition(const ArchiveAddition&) = delete;
    ArchiveAddition(ArchiveAddition&&) = delete;
    ArchiveAddition& operator=(const ArchiveAddition&) = delete;
    ArchiveAddition& operator=(ArchiveAddition&&) = delete;
    ~ArchiveAddition();

    /// Opens the archive and reads its end; Added stands for success here.
    AdditionResult begin();

    /// The archive as begin() found it.
    const QVector<ZipEntry>& entries() const { return m_entries; }
    qint64 sizeBytes() const { return m_size_bytes; }

    /// Logs an archive that has no room for so many bytes more.
    bool hasRoomFor(qint64 bytes) const { return fits(m_size_bytes + bytes); }

    /// The end of the archive, from memory; before that, zeros: an addition concerns nothing else.
    /// Before the first write only; -1 afterwards.
    qint64 readAt(qint64 offset, char* data, qint64 maxBytes) const;

    /// The first write begins where the directory does; each other one goes on where the last one
    /// ended, or changes what the first one brought, which is therefore written last.
    bool writeAt(qint64 offset, const QByteArray& data);

    /// What a failed write makes of the addition.
    AdditionResult failure() const;

    /// Ends the archive after the last byte written. Added only when the whole addition was read
    /// back from the storage and nothing can take it back: a pod is erased on that word. With a
    /// CRC-32, the entry must have it.
    AdditionResult commit(const std::optional<quint32>& entry_crc32 = std::nullopt);

    /// Past this a zip needs its 64-bit form, in which the library marks entries with a version
    /// that unzip does not open, and a FAT-formatted stick cannot hold the file.
    static constexpr qint64 kMaxArchiveBytes = 0xFFFFFFFE;
    /// Each addition reads the directory and keeps a copy of it: more is too much for a small
    /// board, and a new archive costs nothing.
    static constexpr qint64 kMaxDirectoryBytes = qint64(8) * 1024 * 1024;

private:
    bool fits(qint64 archive_bytes) const;
    bool readTail();
    bool put(qint64 offset, const QByteArray& data);
    bool flush();
    bool isReadBack() const;
    bool lastEntryHas(quint32 crc32) const;
    bool confirm();

    UniqueFd m_fd;
    UndoRecord m_undo;
    QVector<ZipEntry> m_entries;
    zipdirectory::Extent m_directory;
    QByteArray m_head; ///< the first write, from where the directory was
    Checksum m_body;   ///< of what was written behind the head
    qint64 m_size_bytes = 0;
    qint64 m_end_offset = 0;
    bool m_protected = false;
    bool m_failed = false;
    bool m_full = false;
    int m_error = 0; ///< of the write that failed
    bool m_committed = false;
};
