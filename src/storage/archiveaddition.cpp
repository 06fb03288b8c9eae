#include "storage/archiveaddition.h"

#include "storage/storagefile.h"
#include "storage/undofile.h"

#include <QDebug>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace {

/// An archive's directory is far smaller; more would mean that the library overwrites recordings.
constexpr qint64 kMaxTailBytes = qint64(64) * 1024 * 1024;

/// A record whose archive is gone has nothing to put back.
bool putBack(const UndoRecord& undo)
{
    const UniqueFd fd = storage::openRegular(undo.archive_path, O_RDWR);
    if (!fd)
        return errno == ENOENT;
    return storage::truncate(fd.get(), undo.old_size_bytes) &&
           storage::writeAllAt(fd.get(), undo.tail_offset, undo.tail.constData(),
                               undo.tail.size()) &&
           storage::syncFile(fd.get());
}

} // namespace

bool ArchiveAddition::recover()
{
    std::optional<UndoRecord> waiting;
    if (!undofile::load(waiting))
        return false;
    if (!waiting)
        return true;
    qInfo().noquote() << "Putting archive back:" << waiting->archive_path;
    // The record goes last: cut short anywhere before, the next start begins anew.
    return putBack(*waiting) && undofile::blank();
}

ArchiveAddition::ArchiveAddition(const QString& archivePath)
{
    m_undo.archive_path = archivePath;
}

ArchiveAddition::~ArchiveAddition()
{
    // When this fails the record stays, for the next addition or the next start to try again.
    if (m_protected && !m_committed && putBack(m_undo))
        undofile::blank();
}

bool ArchiveAddition::begin()
{
    if (!recover())
        return false;
    m_fd = storage::openRegular(m_undo.archive_path, O_RDWR);
    if (!m_fd)
        return false;
    m_undo.old_size_bytes = storage::sizeOf(m_fd.get());
    m_size_bytes = m_undo.old_size_bytes;
    return m_size_bytes >= 0;
}

bool ArchiveAddition::fits(qint64 archive_bytes) const
{
    if (archive_bytes <= kMaxArchiveBytes)
        return true;
    qWarning().noquote() << "Archive full:" << m_undo.archive_path;
    return false;
}

bool ArchiveAddition::protectFrom(qint64 offset)
{
    m_undo.tail_offset = std::min(offset, m_undo.old_size_bytes);
    const qint64 tailBytes = m_undo.old_size_bytes - m_undo.tail_offset;
    if (tailBytes > kMaxTailBytes)
        return false;
    const auto tail = storage::readRange(m_fd.get(), m_undo.tail_offset, tailBytes);
    if (!tail)
        return false;
    m_undo.tail = *tail;
    m_protected = undofile::store(m_undo);
    return m_protected;
}

bool ArchiveAddition::writeAt(qint64 offset, const QByteArray& data)
{
    if (m_failed)
        return false;
    const qint64 end = offset + data.size();
    const bool written = fits(end) && (m_protected || protectFrom(offset)) &&
                         offset >= m_undo.tail_offset &&
                         storage::writeAllAt(m_fd.get(), offset, data.constData(), data.size());
    m_failed = !written;
    m_end_offset = std::max(m_end_offset, end);
    m_size_bytes = std::max(m_size_bytes, m_end_offset);
    return written;
}

bool ArchiveAddition::commit()
{
    if (m_failed || !m_protected)
        return false;
    m_committed = finish();
    return m_committed;
}

bool ArchiveAddition::finish()
{
    if (!storage::truncate(m_fd.get(), m_end_offset) || !storage::syncFile(m_fd.get()) ||
        !storage::syncFolderOf(m_undo.archive_path))
        return false;
    if (undofile::blank())
        return true;
    // Whether the record is still on the storage is not known, so the archive goes back; but not
    // without the record, or a kill in the middle would leave neither the old archive nor the new.
    m_protected = undofile::store(m_undo);
    return false;
}
