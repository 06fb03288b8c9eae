#include "stick/medium.h"

#include <QDirIterator>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <thread>
#include <unistd.h>

namespace {

// A limited stick works in pieces of this size: small enough to see it fill, and to pull it.
constexpr size_t kPieceBytes = 65536;
constexpr unsigned long kBlockBytes = 4096;

quint64 bytesIn(const QString& folder)
{
    quint64 total_bytes = 0;
    QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::NoSymLinks,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        total_bytes += static_cast<quint64>(files.fileInfo().size());
    }
    return total_bytes;
}

quint64 roomIn(const struct stat& info)
{
    return S_ISREG(info.st_mode) && info.st_nlink > 0 ? static_cast<quint64>(info.st_size) : 0;
}

quint64 roomOfOpen(int fd)
{
    struct stat info = {};
    return ::fstat(fd, &info) == 0 ? roomIn(info) : 0;
}

} // namespace

Medium::Medium(const QString& folder, const QString& mark)
    : m_folder(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    , m_mark(QFile::encodeName(mark))
    , m_settings(m_mark.settings())
    , m_pacer(m_settings.bytes_per_second)
    , m_used_bytes(bytesIn(folder))
{
}

quint64 Medium::open(UniqueFd file, const char* path)
{
    const auto key = static_cast<quint64>(file.get());
    const bool readable = !m_settings.unreadable.contains(QFile::decodeName(path));
    m_open[key] = {std::move(file), readable};
    return key;
}

int Medium::read(quint64 file, char* buffer, size_t length_bytes, off_t offset_bytes)
{
    const File& from = m_open.at(file);
    if (!from.readable)
        return -EIO;
    const ssize_t got = ::pread(from.fd.get(), buffer, length_bytes, offset_bytes);
    if (got < 0)
        return -errno;
    pass(static_cast<size_t>(got));
    return static_cast<int>(got);
}

int Medium::write(quint64 file, const char* data, size_t length_bytes, off_t offset_bytes)
{
    const int fd = m_open.at(file).fd.get();
    size_t done = 0;
    while (done < length_bytes && !pulled()) {
        const int written = writePiece(fd, data + done, pieceBytes(length_bytes - done),
                                       offset_bytes + static_cast<off_t>(done));
        if (written < 0)
            return done > 0 ? static_cast<int>(done) : written;
        done += static_cast<size_t>(written);
    }
    return static_cast<int>(length_bytes);
}

int Medium::truncate(quint64 file, off_t size_bytes)
{
    const int fd = m_open.at(file).fd.get();
    const quint64 before = roomOfOpen(fd);
    const auto after = static_cast<quint64>(size_bytes);
    if (after > before && after - before > freeBytes())
        return -ENOSPC;
    if (::ftruncate(fd, size_bytes) != 0)
        return -errno;
    m_used_bytes += roomOfOpen(fd) - before;
    return 0;
}

int Medium::sync() const
{
    return pulled() ? -EIO : 0; // the folder has had every byte already
}

quint64 Medium::roomOf(const char* path) const
{
    struct stat info = {};
    return ::fstatat(m_folder.get(), path, &info, AT_SYMLINK_NOFOLLOW) == 0 ? roomIn(info) : 0;
}

int Medium::space(struct statvfs& space) const
{
    if (::fstatvfs(m_folder.get(), &space) != 0)
        return -errno;
    if (m_settings.size_bytes == 0)
        return 0;
    space.f_bsize = space.f_frsize = kBlockBytes;
    space.f_blocks = m_settings.size_bytes / kBlockBytes;
    space.f_bfree = space.f_bavail = freeBytes() / kBlockBytes;
    return 0;
}

/// What still fits of it is written, as on any full disk.
int Medium::writePiece(int fd, const char* data, size_t length_bytes, off_t offset_bytes)
{
    const quint64 room_before = roomOfOpen(fd);
    const quint64 limit = room_before + freeBytes();
    const auto offset = static_cast<quint64>(offset_bytes);
    if (offset >= limit)
        return -ENOSPC;
    const auto fitting = std::min<quint64>(length_bytes, limit - offset);
    const ssize_t written =
        lies() ? ::pwrite(fd, kept(data, fitting, offset).constData(), fitting, offset_bytes)
               : ::pwrite(fd, data, fitting, offset_bytes);
    if (written < 0)
        return -errno;
    m_used_bytes += roomOfOpen(fd) - room_before;
    m_written_bytes += static_cast<quint64>(written);
    pass(static_cast<size_t>(written));
    if (m_settings.pull_at_byte != 0 && m_written_bytes >= m_settings.pull_at_byte)
        m_mark.pull();
    return static_cast<int>(written);
}

/// What a lying stick makes of these bytes.
QByteArray Medium::kept(const char* data, quint64 length_bytes, quint64 offset_bytes) const
{
    QByteArray bytes(data, static_cast<int>(length_bytes));
    const quint64 end = offset_bytes + length_bytes;
    if (const quint64 lost = m_settings.loses_from_byte; lost != 0 && lost < end) {
        const auto from = static_cast<int>(std::max(lost, offset_bytes) - offset_bytes);
        std::fill(bytes.begin() + from, bytes.end(), '\0');
    }
    const quint64 flipped = m_settings.flips_at_byte;
    if (flipped != 0 && flipped >= offset_bytes && flipped < end)
        bytes.data()[flipped - offset_bytes] ^= 1;
    return bytes;
}

size_t Medium::pieceBytes(size_t length_bytes) const
{
    quint64 piece = length_bytes;
    if (m_settings.bytes_per_second != 0)
        piece = std::min<quint64>(piece, kPieceBytes);
    if (m_settings.pull_at_byte != 0)
        piece = std::min(piece, m_settings.pull_at_byte - m_written_bytes);
    return piece;
}

quint64 Medium::freeBytes() const
{
    if (m_settings.size_bytes == 0)
        return std::numeric_limits<qint64>::max(); // the disk below has the last word
    return m_settings.size_bytes - std::min(m_settings.size_bytes, m_used_bytes);
}

/// As long as these bytes take through the stick's port.
void Medium::pass(size_t length_bytes)
{
    std::this_thread::sleep_until(
        m_pacer.book(static_cast<int>(length_bytes), Pacer::TimePoint::clock::now()));
}
