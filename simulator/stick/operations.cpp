#include "stick/operations.h"

#include "stick/medium.h"

#include <sys/stat.h>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

Medium& medium()
{
    return *static_cast<Medium*>(fuse_get_context()->private_data);
}

/// Relative to the medium's folder.
const char* below(const char* path)
{
    return path[1] == '\0' ? "." : path + 1;
}

int outcome(int result)
{
    return result < 0 ? -errno : 0;
}

/// What every call but a write has to say first.
template <typename Call>
int onMedium(Call call)
{
    return medium().pulled() ? -EIO : call(medium());
}

void* init(fuse_conn_info* connection, fuse_config* config)
{
    // As with a real stick, the system's cache has what was written: a lie shows only past it.
    if (medium().lies())
        connection->want &= ~FUSE_CAP_AUTO_INVAL_DATA;
    // Nothing is remembered: a pull shows at once, and so does what the bench does to the folder.
    config->entry_timeout = 0;
    config->attr_timeout = 0;
    config->negative_timeout = 0;
    config->hard_remove = 1;
    config->nullpath_ok = 1;
    return fuse_get_context()->private_data;
}

int getattr(const char* path, struct stat* info, fuse_file_info* file)
{
    // A mount's root stays known to the system, or `umount` could not find it. Only an open file
    // may have lost its path.
    if (medium().pulled() && (file != nullptr || path[1] != '\0'))
        return -EIO;
    if (file != nullptr)
        return outcome(::fstat(static_cast<int>(file->fh), info));
    return outcome(::fstatat(medium().folder(), below(path), info, AT_SYMLINK_NOFOLLOW));
}

int openPath(const char* path, int flags, mode_t mode, fuse_file_info* file)
{
    return onMedium([&](Medium& stick) {
        // The system itself has seen to where an appending write goes; emptying is the medium's.
        const int kept_flags = (flags & ~(O_APPEND | O_TRUNC)) | O_NOFOLLOW | O_CLOEXEC;
        UniqueFd fd(::openat(stick.folder(), below(path), kept_flags, mode));
        if (!fd)
            return -errno;
        file->fh = stick.open(std::move(fd), below(path));
        file->keep_cache = stick.lies() ? 1 : 0;
        return (flags & O_TRUNC) != 0 ? stick.truncate(file->fh, 0) : 0;
    });
}

int truncate(const char* path, off_t size_bytes, fuse_file_info* file)
{
    if (file != nullptr)
        return onMedium([&](Medium& stick) { return stick.truncate(file->fh, size_bytes); });
    fuse_file_info opened = {};
    const int result = openPath(path, O_WRONLY, 0, &opened);
    if (result != 0)
        return result;
    const int truncated = medium().truncate(opened.fh, size_bytes);
    medium().close(opened.fh);
    return truncated;
}

int readdir(const char* /*path*/, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/,
            fuse_file_info* file, fuse_readdir_flags /*flags*/)
{
    return onMedium([&](Medium& /*stick*/) {
        const OpenFolder folder(::fdopendir(
            ::openat(static_cast<int>(file->fh), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
        if (!folder)
            return -errno;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread, and a stream of this call's own
        while (const dirent* entry = ::readdir(folder.get()))
            fill(buffer, entry->d_name, nullptr, 0, fuse_fill_dir_flags{});
        return 0;
    });
}

/// What concerns a name and no open file.
void addNames(fuse_operations& calls)
{
    calls.getattr = getattr;
    calls.readlink = [](const char* path, char* target, size_t size) {
        return onMedium([&](Medium& stick) {
            const ssize_t length = ::readlinkat(stick.folder(), below(path), target, size - 1);
            if (length < 0)
                return -errno;
            target[length] = '\0';
            return 0;
        });
    };
    calls.mkdir = [](const char* path, mode_t mode) {
        return onMedium(
            [&](Medium& stick) { return outcome(::mkdirat(stick.folder(), below(path), mode)); });
    };
    calls.unlink = [](const char* path) {
        return onMedium([&](Medium& stick) {
            return stick.removing(below(path),
                                  [&] { return ::unlinkat(stick.folder(), below(path), 0); });
        });
    };
    calls.rmdir = [](const char* path) {
        return onMedium([&](Medium& stick) {
            return outcome(::unlinkat(stick.folder(), below(path), AT_REMOVEDIR));
        });
    };
    calls.rename = [](const char* from, const char* to, unsigned int flags) {
        return onMedium([&](Medium& stick) {
            if (flags != 0)
                return -EINVAL;
            return stick.removing(below(to), [&] {
                return ::renameat(stick.folder(), below(from), stick.folder(), below(to));
            });
        });
    };
}

void addFiles(fuse_operations& calls)
{
    calls.open = [](const char* path, fuse_file_info* file) {
        return openPath(path, file->flags, 0, file);
    };
    calls.create = [](const char* path, mode_t mode, fuse_file_info* file) {
        return openPath(path, file->flags | O_CREAT, mode, file);
    };
    calls.opendir = [](const char* path, fuse_file_info* file) {
        return openPath(path, O_RDONLY | O_DIRECTORY, 0, file);
    };
    calls.read = [](const char*, char* buffer, size_t size, off_t offset, fuse_file_info* file) {
        return onMedium([&](Medium& stick) { return stick.read(file->fh, buffer, size, offset); });
    };
    calls.write = [](const char*, const char* data, size_t size, off_t offset,
                     fuse_file_info* file) { return medium().write(file->fh, data, size, offset); };
    calls.truncate = truncate;
    calls.readdir = readdir;
    calls.release = calls.releasedir = [](const char*, fuse_file_info* file) {
        medium().close(file->fh);
        return 0;
    };
    calls.fsync =
        calls.fsyncdir = [](const char*, int, fuse_file_info*) { return medium().sync(); };
}

fuse_operations table()
{
    fuse_operations calls = {};
    calls.init = init;
    addNames(calls);
    addFiles(calls);
    calls.statfs = [](const char*, struct statvfs* space) {
        return onMedium([&](Medium& stick) { return stick.space(*space); });
    };
    calls.utimens = [](const char* path, const timespec* times, fuse_file_info*) {
        return onMedium([&](Medium& stick) {
            return outcome(::utimensat(stick.folder(), below(path), times, AT_SYMLINK_NOFOLLOW));
        });
    };
    // Rights and owners are not a stick's to keep.
    calls.chmod = [](const char*, mode_t, fuse_file_info*) { return medium().sync(); };
    return calls;
}

} // namespace

const fuse_operations& stickOperations()
{
    static const fuse_operations calls = table();
    return calls;
}
