#include "archive/archiveaddition.h"

#include "archive/undofile.h"
#include "system/readback.h"
#include "system/storagefile.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace {

/// A card that writes no sector in one step tears the whole block in which the last recording ends.
constexpr qint64 kBlockAlignment = 4096;

enum class PutBack { Done, Gone, Failed };

PutBack putBack(const UndoRecord& undo)
{
    const UniqueFd fd = storage::openRegular(undo.archive_path, O_RDWR);
    if (!fd)
        return errno == ENOENT ? PutBack::Gone : PutBack::Failed;
    qInfo().noquote() << "Putting archive back:" << undo.archive_path;
    const bool done =
        storage::truncate(fd.get(), undo.old_size_bytes) &&
        storage::writeAllAt(fd.get(), undo.tail_offset, undo.tail.constData(), undo.tail.size()) &&
        storage::syncFile(fd.get()) && readback::holds(fd.get(), undo.tail_offset, undo.tail);
    return done ? PutBack::Done : PutBack::Failed;
}

/// Gone, or something else of that name.
bool isNoFile(int error)
{
    return error == ENOENT || error == EINVAL || error == EISDIR;
}

bool isSameBefore(const QString& one, const QString& other, qint64 end_offset)
{
    const UniqueFd first = storage::openRegular(one, O_RDONLY);
    const UniqueFd second = storage::openRegular(other, O_RDONLY);
    const auto crc32 = first ? readback::crc32(first.get(), 0, end_offset) : std::nullopt;
    return crc32 && second && readback::crc32(second.get(), 0, end_offset) == crc32;
}

/// Elsewhere on the storage: a block that takes nothing any more is left behind.
PutBack putBackElsewhere(const UndoRecord& undo)
{
    const QFileInfo archive(undo.archive_path);
    UndoRecord elsewhere = undo;
    elsewhere.archive_path =
        archive.path() + QStringLiteral("/.") + archive.fileName() + QStringLiteral(".back");
    QFile::remove(elsewhere.archive_path);
    const bool done =
        storage::copyFile(undo.archive_path, elsewhere.archive_path) == storage::CopyEnd::Done &&
        putBack(elsewhere) == PutBack::Done &&
        isSameBefore(undo.archive_path, elsewhere.archive_path, undo.tail_offset) &&
        storage::replaceFile(elsewhere.archive_path, undo.archive_path);
    if (!done)
        QFile::remove(elsewhere.archive_path);
    return done ? PutBack::Done : PutBack::Failed;
}

PutBack putBackAnywhere(const UndoRecord& undo)
{
    const PutBack result = putBack(undo);
    return result == PutBack::Failed ? putBackElsewhere(undo) : result;
}

/// A disk that is not mounted yet looks like this, too.
bool mayComeLater(const QString& archive)
{
    const auto names = storage::listFiles(QFileInfo(archive).path());
    return !names || names->isEmpty();
}

enum class Recovery {
    Clean,
    SetAside, ///< an archive may be half changed, and the next one has to take what comes
    Waiting,
};

Recovery setAside(const char* why)
{
    if (!undofile::setAside())
        return Recovery::Waiting;
    qCritical() << "The record of an unfinished addition is set aside:" << why;
    return Recovery::SetAside;
}

/// The record goes last: cut short anywhere before, the next start begins anew.
Recovery recoverWaiting(bool for_new_archive)
{
    UndoRecord waiting;
    switch (undofile::load(waiting)) {
    case undofile::Loaded::Nothing:
        return Recovery::Clean;
    case undofile::Loaded::Unknown:
        return Recovery::Waiting;
    case undofile::Loaded::Unreadable:
        return setAside("it cannot be read");
    case undofile::Loaded::Record:
        break;
    }
    const PutBack result = putBackAnywhere(waiting);
    if (result == PutBack::Failed)
        return setAside("its archive cannot be put back");
    const bool may_come_later = result == PutBack::Gone && mayComeLater(waiting.archive_path);
    if (may_come_later && (!for_new_archive || undofile::setAside()))
        return Recovery::Clean;
    return undofile::blank() ? Recovery::Clean : Recovery::Waiting;
}

bool isWhole(const QString& archive)
{
    const UniqueFd fd = storage::openRegular(archive, O_RDONLY);
    return fd && zipdirectory::read(fd.get());
}

/// An archive that is whole was never changed, or was given up by hand: nothing may be put back
/// over what came into it since.
void recoverSetAside()
{
    const auto record = undofile::loadSetAside();
    if (!record || mayComeLater(record->archive_path))
        return;
    if (isWhole(record->archive_path) || putBackAnywhere(*record) != PutBack::Failed)
        undofile::removeSetAside();
}

} // namespace

bool ArchiveAddition::recover()
{
    const Recovery recovery = recoverWaiting(false);
    // The older record last: it must find whole what the newer one is about, or it would take back
    // what was acknowledged in between.
    if (recovery == Recovery::Clean)
        recoverSetAside();
    return recovery != Recovery::Waiting;
}

bool ArchiveAddition::recoverForNew()
{
    return recoverWaiting(true) != Recovery::Waiting;
}

ArchiveAddition::ArchiveAddition(const QString& archivePath)
{
    m_undo.archive_path = archivePath;
}

ArchiveAddition::~ArchiveAddition()
{
    // When this fails the record stays, for the next addition or the next start to try again.
    if (m_protected && !m_committed && putBack(m_undo) != PutBack::Failed)
        undofile::blank();
}

AdditionResult ArchiveAddition::begin()
{
    const Recovery recovery = recoverWaiting(false);
    if (recovery != Recovery::Clean)
        return AdditionResult::of(recovery == Recovery::SetAside ? AdditionResult::ArchiveUnusable
                                                                 : AdditionResult::Failed);
    m_fd = storage::openRegular(m_undo.archive_path, O_RDWR);
    if (!m_fd)
        return AdditionResult::of(isNoFile(errno) ? AdditionResult::ArchiveUnusable
                                                  : AdditionResult::Failed);
    m_undo.old_size_bytes = m_size_bytes = storage::sizeOf(m_fd.get());
    const auto directory = zipdirectory::find(m_fd.get());
    if (!directory)
        return {AdditionResult::ArchiveUnusable};
    m_directory = *directory;
    if (m_directory.bytes > kMaxDirectoryBytes)
        return {AdditionResult::ArchiveFull};
    return readTail() ? AdditionResult{AdditionResult::Added}
                      : AdditionResult{AdditionResult::ArchiveUnusable};
}

/// What an addition overwrites is all that is left to put the archive back from, and to make the
/// new directory of: it counts when the cache and the storage agree on it.
bool ArchiveAddition::readTail()
{
    m_undo.tail_offset = m_directory.offset - m_directory.offset % kBlockAlignment;
    const qint64 bytes = m_undo.old_size_bytes - m_undo.tail_offset;
    const auto tail = storage::readRange(m_fd.get(), m_undo.tail_offset, bytes);
    if (!tail || !readback::holds(m_fd.get(), m_undo.tail_offset, *tail))
        return false;
    m_undo.tail = *tail;
    const int at = int(m_directory.offset - m_undo.tail_offset);
    const auto entries = zipdirectory::parse(tail->mid(at), m_directory.entry_count);
    m_entries = entries.value_or(QVector<ZipEntry>());
    return entries.has_value();
}

bool ArchiveAddition::fits(qint64 archive_bytes) const
{
    if (archive_bytes <= kMaxArchiveBytes)
        return true;
    qInfo().noquote() << "Archive full:" << m_undo.archive_path;
    return false;
}

qint64 ArchiveAddition::readAt(qint64 offset, char* data, qint64 maxBytes) const
{
    if (m_protected)
        return -1;
    // In one piece: the library takes a short answer for the end.
    const qint64 before = std::clamp<qint64>(m_undo.tail_offset - offset, 0, maxBytes);
    std::fill_n(data, before, '\0');
    const qint64 at = offset + before - m_undo.tail_offset;
    const QByteArray part = m_undo.tail.mid(int(at), int(maxBytes - before));
    std::copy(part.cbegin(), part.cend(), data + before);
    return before + part.size();
}

bool ArchiveAddition::writeAt(qint64 offset, const QByteArray& data)
{
    if (m_failed)
        return false;
    m_full = !fits(offset + data.size());
    m_protected = m_protected || (!m_full && undofile::store(m_undo));
    m_failed = m_full || !m_protected || !put(offset, data);
    m_error = m_failed ? errno : 0;
    m_size_bytes = std::max(m_size_bytes, m_end_offset);
    return !m_failed;
}

bool ArchiveAddition::put(qint64 offset, const QByteArray& data)
{
    const qint64 in_head = offset - m_directory.offset;
    if (m_head.isEmpty()) {
        m_head = data;
        m_end_offset = m_directory.offset + data.size();
        return in_head == 0;
    }
    if (in_head >= 0 && in_head + data.size() <= m_head.size()) {
        m_head.replace(int(in_head), data.size(), data);
        return true;
    }
    if (offset != m_end_offset) {
        errno = ESPIPE;
        return false;
    }
    m_body.add(data);
    m_end_offset += data.size();
    return storage::writeAllAt(m_fd.get(), offset, data.constData(), data.size());
}

AdditionResult ArchiveAddition::failure() const
{
    if (m_full)
        return {AdditionResult::ArchiveFull};
    return m_failed ? AdditionResult{AdditionResult::Failed, m_error}
                    : AdditionResult::of(AdditionResult::Failed);
}

AdditionResult ArchiveAddition::commit(const std::optional<quint32>& entry_crc32)
{
    if (m_failed || !m_protected || !flush())
        return failure();
    if (!isReadBack())
        return {AdditionResult::NotReadBack};
    if (entry_crc32 && !lastEntryHas(*entry_crc32))
        return {AdditionResult::FileChanged};
    m_committed = confirm();
    return m_committed ? AdditionResult{AdditionResult::Added}
                       : AdditionResult::of(AdditionResult::Failed);
}

bool ArchiveAddition::flush()
{
    return storage::writeAllAt(m_fd.get(), m_directory.offset, m_head.constData(), m_head.size()) &&
           storage::truncate(m_fd.get(), m_end_offset) && storage::syncFile(m_fd.get()) &&
           storage::syncFolderOf(m_undo.archive_path);
}

bool ArchiveAddition::isReadBack() const
{
    Checksum written;
    written.add(m_undo.tail.constData(), m_directory.offset - m_undo.tail_offset);
    written.add(m_head);
    written.add(m_body);
    const qint64 bytes = m_end_offset - m_undo.tail_offset;
    return readback::crc32(m_fd.get(), m_undo.tail_offset, bytes) == written.value();
}

bool ArchiveAddition::lastEntryHas(quint32 crc32) const
{
    const auto entries = zipdirectory::read(m_fd.get());
    return entries && entries->size() == m_entries.size() + 1 && entries->last().crc32 == crc32;
}

bool ArchiveAddition::confirm()
{
    if (undofile::blank())
        return true;
    // Whether the record is still on the storage is not known, so the archive goes back; but not
    // without the record, or a kill in the middle would leave neither the old archive nor the new.
    m_protected = undofile::store(m_undo);
    return false;
}
