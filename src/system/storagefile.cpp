#include "system/storagefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace storage {

namespace {

template <typename Call>
auto retried(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// By this name the thread sanitizer is told of it.
void closeFolder(DIR* stream)
{
    ::closedir(stream);
}

static_assert(sizeof(off_t) == 8, "archives and files of the stick may be larger than 2 GiB");

/// All zero when it fails. The older calls do, on a board of 32 bits, on a file dated after 2038.
struct statx statusOf(int fd)
{
    struct statx status = {};
    if (::statx(fd, "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE | STATX_NLINK, &status) != 0)
        return {};
    return status;
}

bool isRegular(int fd)
{
    return S_ISREG(statusOf(fd).stx_mode);
}

bool rename(const QString& from, const QString& to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

CopyEnd copyBlocks(int source, int target)
{
    QByteArray block(int(kBlockBytes), Qt::Uninitialized);
    for (;;) {
        const qint64 got = readBlock(source, block.data(), block.size());
        if (got < 0)
            return CopyEnd::NotRead;
        if (!writeAll(target, block.constData(), got))
            return CopyEnd::NotWritten;
        if (got < block.size())
            return CopyEnd::Done;
    }
}

} // namespace

UniqueFd openRegular(const QString& path, int flags)
{
    const QByteArray name = QFile::encodeName(path);
    UniqueFd fd(retried(
        [&] { return ::open(name.constData(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
    if (fd && !isRegular(fd.get())) {
        errno = EINVAL;
        return {};
    }
    return fd;
}

UniqueFd createNew(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return UniqueFd(retried([&] { return ::open(name.constData(), kFlags, 0644); }));
}

qint64 sizeOf(int fd)
{
    const struct statx status = statusOf(fd);
    return (status.stx_mask & STATX_SIZE) != 0 ? qint64(status.stx_size) : -1;
}

bool hasName(int fd)
{
    return statusOf(fd).stx_nlink > 0;
}

qint64 readBlock(int fd, char* buffer, qint64 bytes)
{
    qint64 total = 0;
    while (total < bytes) {
        const auto got = retried([&] { return ::read(fd, buffer + total, size_t(bytes - total)); });
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        total += got;
    }
    return total;
}

std::optional<QByteArray> readRange(int fd, qint64 offset, qint64 bytes)
{
    if (bytes < 0 || ::lseek(fd, offset, SEEK_SET) != offset)
        return std::nullopt;
    QByteArray range(int(bytes), Qt::Uninitialized);
    return readBlock(fd, range.data(), bytes) == bytes ? std::make_optional(range) : std::nullopt;
}

bool writeAll(int fd, const char* data, qint64 bytes)
{
    while (bytes > 0) {
        const auto written = retried([&] { return ::write(fd, data, size_t(bytes)); });
        if (written <= 0)
            return false;
        data += written;
        bytes -= written;
    }
    return true;
}

bool writeAllAt(int fd, qint64 offset, const char* data, qint64 bytes)
{
    return ::lseek(fd, offset, SEEK_SET) == offset && writeAll(fd, data, bytes);
}

bool truncate(int fd, qint64 bytes)
{
    return retried([&] { return ::ftruncate(fd, bytes); }) == 0;
}

bool syncFile(int fd)
{
    return retried([&] { return ::fsync(fd); }) == 0;
}

bool syncFile(const QString& path)
{
    const UniqueFd fd = openRegular(path, O_RDONLY);
    return fd && syncFile(fd.get());
}

bool syncFolderOf(const QString& path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    const UniqueFd fd(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd && syncFile(fd.get());
}

std::optional<QStringList> listFiles(const QString& folder)
{
    const std::unique_ptr<DIR, void (*)(DIR*)> stream(
        ::opendir(QFile::encodeName(folder).constData()), closeFolder);
    if (!stream)
        return std::nullopt;
    QStringList names;
    const QString prefix = folder + QLatin1Char('/');
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(stream.get()); // NOLINT(concurrency-mt-unsafe): own stream
        if (entry == nullptr)
            break;
        const QString name = QFile::decodeName(static_cast<const char*>(entry->d_name));
        if (!name.startsWith(QLatin1Char('.')) && QFileInfo(prefix + name).isFile())
            names.append(name);
    }
    if (errno != 0)
        return std::nullopt;
    names.sort();
    return names;
}

bool makeFolder(const QString& path)
{
    return QDir().mkdir(path) && syncFolderOf(path);
}

bool renameEntry(const QString& from, const QString& to)
{
    return rename(from, to) && syncFolderOf(to);
}

bool replaceFile(const QString& from, const QString& to)
{
    // With vfat the new name leads to the old content, or to none, until the file is flushed anew.
    return rename(from, to) && syncFile(to) && syncFolderOf(to);
}

bool removeFile(const QString& path)
{
    return QFile::remove(path) && syncFolderOf(path);
}

CopyEnd copyFile(const QString& source, const QString& target)
{
    const UniqueFd from = openRegular(source, O_RDONLY);
    if (!from)
        return CopyEnd::NotRead;
    const UniqueFd to = createNew(target);
    if (!to)
        return CopyEnd::NotWritten;
    CopyEnd end = copyBlocks(from.get(), to.get());
    if (end == CopyEnd::Done && !(syncFile(to.get()) && syncFolderOf(target)))
        end = CopyEnd::NotWritten;
    if (end != CopyEnd::Done)
        QFile::remove(target);
    return end;
}

} // namespace storage
