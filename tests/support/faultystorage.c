/*
 * Preloaded into a program, makes the storage below one folder fail, lie or lose power. Every
 * write, truncation, flush, rename, removal and creating open below the folder is counted, and so
 * is, by itself, every read of a file; the plan says what happens at which.
 *
 *   FAULTYSTORAGE_DIR    the folder, without links or a slash at its end
 *   FAULTYSTORAGE_PLAN   "5:eio,9:kill": at call 5 ..., at call 9 ...; "5+:eio": from call 5 on.
 *                        eio, enospc: the call fails and does nothing; folder: with eio, when it
 *                        is a folder's flush; bad: with eio, when it is a write to an archive;
 *                        listing: when a folder is listed, which is not
 *                        counted; short: a write takes half; drop: it says yes and does nothing;
 *                        kill: the process dies in place of the call.
 *                        "r3:zeros": read 3 gives zeros, with "r3+" each one from there on;
 *                        flip: one bit in its middle is another; eio: it fails;
 *                        stale: what was there before the last write to it
 *   FAULTYSTORAGE_LOST   what a kill takes of the changes that were not flushed: none (the program
 *                        died, the machine lives on), all, last, first, or torn: half of the last
 *   FAULTYSTORAGE_SPARE  an empty folder of the same file system, to keep removed files in
 *   FAULTYSTORAGE_COUNT  a file outside the folder that gets the numbers of calls and of reads at
 *                        the end
 *
 * A file's bytes are on the storage once the file was flushed, its name once its folder was, and a
 * name that it was given by a rename once both were: what the standard promises, less what vfat
 * does not keep of it, and no more. For one thread; system calls are made directly, so that a
 * sanitizer's own wrappers play no part.
 */
/*
 * The C library has none of C11's bounds-checked functions, its own parameter names are reserved
 * ones, va_start() is not seen through, and there is one thread.
 * NOLINTBEGIN(bugprone-reserved-identifier,clang-analyzer-security.insecureAPI.*)
 * NOLINTBEGIN(clang-analyzer-valist.*,concurrency-mt-unsafe)
 * NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
 */
#define _GNU_SOURCE
#include <libgen.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum kind { WRITTEN, TRUNCATED, CREATED, RENAMED, REMOVED };

/* One change that a loss of power may still take back. */
struct change
{
    enum kind kind;
    int fd;       /* of the file's own, for its bytes */
    char* before; /* all bytes of the file before the change */
    off_t before_size;
    char* data;   /* what was written */
    off_t offset; /* where, or the size truncated to */
    size_t size;
    char path[PATH_MAX];
    char to[PATH_MAX];
    char spare[PATH_MAX];    /* second name of the file at path */
    char spare_to[PATH_MAX]; /* of the file that a rename replaced */
    int flushed;
    int folder_flushed;
    int file_flushed; /* since it has its new name */
};

enum { MAX_CHANGES = 512 };
static struct change* changes[MAX_CHANGES];
static int change_count;
static int call_count;
static int read_count;
static int spare_count;

static const char* setting(const char* name)
{
    const char* value = getenv(name);
    return value ? value : "";
}

static int is_below(const char* path)
{
    const char* dir = setting("FAULTYSTORAGE_DIR");
    const size_t length = strlen(dir);
    return length > 0 && strncmp(path, dir, length) == 0 &&
           (path[length] == '/' || path[length] == '\0');
}

static void resolve(const char* path, char* full)
{
    char parent[PATH_MAX] = "";
    char copy[PATH_MAX] = "";
    char name[PATH_MAX] = "";
    snprintf(copy, sizeof copy, "%s", path);
    snprintf(name, sizeof name, "%s", basename(copy));
    snprintf(copy, sizeof copy, "%s", path);
    if (!realpath(dirname(copy), parent))
        parent[0] = '\0';
    snprintf(full, PATH_MAX, "%.*s/%.*s", PATH_MAX / 2 - 2, parent, PATH_MAX / 2 - 2, name);
}

static void path_of(int fd, char* found)
{
    char magic_link[64];
    snprintf(magic_link, sizeof magic_link, "/proc/self/fd/%d", fd);
    const ssize_t length = readlink(magic_link, found, PATH_MAX - 1);
    found[length > 0 ? length : 0] = '\0';
}

static int real_open(const char* path, int flags, mode_t mode)
{
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

static void write_at(int fd, const char* data, size_t size, off_t offset)
{
    for (size_t done = 0; done < size;) {
        const long part = syscall(SYS_pwrite64, fd, data + done, size - done, offset + (off_t)done);
        if (part <= 0)
            abort();
        done += (size_t)part;
    }
}

/* --- recording --- */

static struct change* record(enum kind kind)
{
    if (change_count == MAX_CHANGES)
        abort();
    struct change* change = calloc(1, sizeof *change);
    change->kind = kind;
    changes[change_count++] = change;
    return change;
}

static void keep_spare(const char* path, char* spare)
{
    snprintf(spare, PATH_MAX, "%.200s/%d", setting("FAULTYSTORAGE_SPARE"), spare_count++);
    if (link(path, spare) != 0)
        spare[0] = '\0';
}

static struct change* record_bytes(enum kind kind, int fd)
{
    struct change* change = record(kind);
    struct stat info;
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    change->fd = real_open(link, O_RDWR | O_CLOEXEC, 0);
    if (change->fd < 0 || fstat(change->fd, &info) != 0)
        abort();
    change->before_size = info.st_size;
    change->before = malloc((size_t)info.st_size + 1);
    if (syscall(SYS_pread64, change->fd, change->before, info.st_size, 0) != info.st_size)
        abort();
    return change;
}

static void record_write(int fd, const void* data, size_t size, off_t offset)
{
    struct change* change = record_bytes(WRITTEN, fd);
    change->data = malloc(size + 1);
    memcpy(change->data, data, size);
    change->size = size;
    change->offset = offset;
}

static void mark_flushed(int fd)
{
    struct stat flushed;
    char folder[PATH_MAX];
    path_of(fd, folder);
    if (fstat(fd, &flushed) != 0)
        abort();
    for (int i = 0; i < change_count; ++i) {
        struct change* change = changes[i];
        struct stat info;
        char parent[PATH_MAX];
        snprintf(parent, sizeof parent, "%s", change->path);
        if (change->kind == RENAMED) {
            change->folder_flushed |= strcmp(dirname(parent), folder) == 0;
            change->file_flushed |=
                stat(change->spare, &info) == 0 && info.st_ino == flushed.st_ino;
            change->flushed = change->folder_flushed && change->file_flushed;
        } else if (change->kind > TRUNCATED)
            change->flushed |= strcmp(dirname(parent), folder) == 0;
        else if (fstat(change->fd, &info) == 0)
            change->flushed |= info.st_ino == flushed.st_ino;
    }
}

/* --- losing power --- */

static void undo(const struct change* change)
{
    switch (change->kind) {
    case WRITTEN:
    case TRUNCATED:
        syscall(SYS_ftruncate, change->fd, change->before_size);
        write_at(change->fd, change->before, (size_t)change->before_size, 0);
        break;
    case CREATED:
        syscall(SYS_unlinkat, AT_FDCWD, change->path, 0);
        break;
    case RENAMED:
        syscall(SYS_unlinkat, AT_FDCWD, change->to, 0);
        link(change->spare, change->path);
        if (change->spare_to[0])
            link(change->spare_to, change->to);
        break;
    case REMOVED:
        link(change->spare, change->path);
        break;
    }
}

static void redo(const struct change* change, int half)
{
    switch (change->kind) {
    case WRITTEN:
        write_at(change->fd, change->data, half ? change->size / 2 : change->size, change->offset);
        break;
    case TRUNCATED:
        syscall(SYS_ftruncate, change->fd, change->offset);
        break;
    case CREATED:
        link(change->spare, change->path);
        break;
    case RENAMED:
        syscall(SYS_unlinkat, AT_FDCWD, change->to, 0);
        link(change->spare, change->to);
        syscall(SYS_unlinkat, AT_FDCWD, change->path, 0);
        break;
    case REMOVED:
        syscall(SYS_unlinkat, AT_FDCWD, change->path, 0);
        break;
    }
}

/* Takes back everything not flushed, then brings back what the storage happened to hold already. */
static void lose_power(const char* lost)
{
    int first = -1;
    int last = -1;
    for (int i = change_count - 1; i >= 0; --i) {
        if (changes[i]->flushed)
            continue;
        undo(changes[i]);
        first = i;
        last = last < 0 ? i : last;
    }
    for (int i = 0; i < change_count && strcmp(lost, "all") != 0; ++i) {
        const int torn = i == last && strcmp(lost, "torn") == 0;
        const int gone =
            (i == last && strcmp(lost, "last") == 0) || (i == first && strcmp(lost, "first") == 0);
        if (!changes[i]->flushed && !gone)
            redo(changes[i], torn);
    }
}

static void die(void)
{
    const char* lost = setting("FAULTYSTORAGE_LOST");
    if (lost[0] && strcmp(lost, "none") != 0)
        lose_power(lost);
    syscall(SYS_kill, getpid(), SIGKILL);
}

/* --- the plan --- */

/* What the plan says of a call: ":eio" and so on, or nothing. */
static const char* planned(int is_read, int count)
{
    for (const char* step = setting("FAULTYSTORAGE_PLAN"); step; step = strchr(step, ',')) {
        char* kind = NULL;
        step += *step == ',';
        if ((*step == 'r') != is_read)
            continue;
        const long at = strtol(step + is_read, &kind, 10);
        const int applies = *kind == '+' ? count >= at : count == at;
        kind += *kind == '+';
        if (applies && *kind == ':')
            return kind;
    }
    return "";
}

static int says(const char* kind, const char* what)
{
    return strncmp(kind, what, strlen(what)) == 0;
}

static int is_archive(int fd)
{
    char path[PATH_MAX] = "";
    if (fd >= 0)
        path_of(fd, path);
    const size_t length = strlen(path);
    return length > 4 && strcmp(path + length - 4, ".cvx") == 0;
}

enum { HALF = -1, DROPPED = -2 };

/* The errno to fail with, 0 to go on, or one of the above. fd: what is written or flushed, or -1.
 */
static int next_fault(int fd)
{
    struct stat info;
    const char* kind = planned(0, ++call_count);
    if (says(kind, ":kill"))
        die();
    if (says(kind, ":folder"))
        return fd >= 0 && fstat(fd, &info) == 0 && S_ISDIR(info.st_mode) ? EIO : 0;
    if (says(kind, ":bad"))
        return is_archive(fd) ? EIO : 0;
    if (says(kind, ":eio"))
        return EIO;
    if (says(kind, ":enospc"))
        return ENOSPC;
    return says(kind, ":short") ? HALF : says(kind, ":drop") ? DROPPED : 0;
}

/* -1 with errno set when the call is to fail. */
static int fails(int fd)
{
    const int fault = next_fault(fd);
    if (fault > 0)
        errno = fault;
    return fault > 0 ? -1 : 0;
}

__attribute__((destructor)) static void tell_count(void)
{
    char text[32];
    const int size = snprintf(text, sizeof text, "%d %d\n", call_count, read_count);
    const int fd = real_open(setting("FAULTYSTORAGE_COUNT"), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd >= 0)
        write_at(fd, text, (size_t)size, 0);
}

static int is_fd_below(int fd)
{
    char path[PATH_MAX];
    struct stat info;
    path_of(fd, path);
    return is_below(path) && fstat(fd, &info) == 0 &&
           (S_ISREG(info.st_mode) || S_ISDIR(info.st_mode));
}

/* --- the calls --- */

/* As pwrite; -1 with errno set. */
static ssize_t faulty_write(int fd, const void* data, size_t size, off_t offset)
{
    const int fault = is_fd_below(fd) ? next_fault(fd) : 0;
    if (fault > 0) {
        errno = fault;
        return -1;
    }
    if (fault == DROPPED)
        return (ssize_t)size;
    size = fault == HALF && size > 1 ? size / 2 : size;
    if (is_fd_below(fd))
        record_write(fd, data, size, offset);
    return syscall(SYS_pwrite64, fd, data, size, offset);
}

ssize_t write(int fd, const void* data, size_t size)
{
    const off_t offset = lseek(fd, 0, SEEK_CUR);
    if (offset < 0) /* a pipe */
        return syscall(SYS_write, fd, data, size);
    const ssize_t written = faulty_write(fd, data, size, offset);
    if (written > 0)
        lseek(fd, offset + written, SEEK_SET);
    return written;
}

ssize_t pwrite(int fd, const void* data, size_t size, off_t offset)
{
    return faulty_write(fd, data, size, offset);
}

ssize_t pwrite64(int fd, const void* data, size_t size, off64_t offset)
{
    return pwrite(fd, data, size, offset);
}

int ftruncate(int fd, off_t size)
{
    if (is_fd_below(fd)) {
        if (fails(fd))
            return -1;
        record_bytes(TRUNCATED, fd)->offset = size;
    }
    return (int)syscall(SYS_ftruncate, fd, size);
}

int ftruncate64(int fd, off64_t size)
{
    return ftruncate(fd, size);
}

int fsync(int fd)
{
    if (is_fd_below(fd)) {
        if (fails(fd))
            return -1;
        mark_flushed(fd);
    }
    return 0; /* no power is lost here but by die() */
}

int fdatasync(int fd) __attribute__((alias("fsync")));

int rename(const char* from, const char* to)
{
    char full[PATH_MAX];
    resolve(to, full);
    if (is_below(full)) {
        if (fails(-1))
            return -1;
        struct change* change = record(RENAMED);
        resolve(from, change->path);
        snprintf(change->to, sizeof change->to, "%s", full);
        keep_spare(change->path, change->spare);
        keep_spare(change->to, change->spare_to);
    }
    return (int)syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0);
}

int unlink(const char* path)
{
    char full[PATH_MAX];
    resolve(path, full);
    if (is_below(full) && access(full, F_OK) == 0) {
        if (fails(-1))
            return -1;
        struct change* change = record(REMOVED);
        snprintf(change->path, sizeof change->path, "%s", full);
        keep_spare(full, change->spare);
    }
    return (int)syscall(SYS_unlinkat, AT_FDCWD, path, 0);
}

/* What these bytes were before the last write to any of them. */
static void make_stale(int fd, char* data, size_t size, off_t offset)
{
    struct stat info;
    if (fstat(fd, &info) != 0)
        abort();
    for (int i = change_count - 1; i >= 0; --i) {
        const struct change* change = changes[i];
        struct stat changed;
        if (change->kind != WRITTEN || fstat(change->fd, &changed) != 0 ||
            changed.st_ino != info.st_ino || change->offset + (off_t)change->size <= offset ||
            change->offset >= offset + (off_t)size)
            continue;
        for (size_t at = 0; at < size; ++at) {
            const off_t from = offset + (off_t)at;
            data[at] = '\0';
            if (from < change->before_size)
                data[at] = change->before[from];
        }
        return;
    }
}

/* -1 with errno set when the plan says so; else what was read, or what the plan makes of it. */
static ssize_t faulty_read(int fd, char* data, ssize_t got, off_t offset)
{
    if (got <= 0 || !is_fd_below(fd))
        return got;
    const char* kind = planned(1, ++read_count);
    if (says(kind, ":eio")) {
        errno = EIO;
        return -1;
    }
    if (says(kind, ":zeros"))
        memset(data, 0, (size_t)got);
    else if (says(kind, ":flip"))
        data[got / 2] ^= 1;
    else if (says(kind, ":stale"))
        make_stale(fd, data, (size_t)got, offset);
    return got;
}

ssize_t read(int fd, void* data, size_t size)
{
    const off_t offset = lseek(fd, 0, SEEK_CUR);
    return faulty_read(fd, data, syscall(SYS_read, fd, data, size), offset);
}

ssize_t pread(int fd, void* data, size_t size, off_t offset)
{
    return faulty_read(fd, data, syscall(SYS_pread64, fd, data, size, offset), offset);
}

ssize_t pread64(int fd, void* data, size_t size, off64_t offset)
{
    return pread(fd, data, size, offset);
}

DIR* opendir(const char* path)
{
    DIR* (*real)(const char*) = NULL;
    char full[PATH_MAX];
    resolve(path, full);
    if (is_below(full) && says(planned(0, 1), ":listing")) {
        errno = EIO;
        return NULL;
    }
    *(void**)&real = dlsym(RTLD_NEXT, "opendir"); /* as the standard of dlsym() has it */
    return real(path);
}

static int open_below(const char* full, int flags, mode_t mode)
{
    if (fails(-1))
        return -1;
    const int existed = access(full, F_OK) == 0;
    const int fd = real_open(full, flags & ~O_TRUNC, mode);
    if (fd >= 0 && !existed) {
        struct change* change = record(CREATED);
        snprintf(change->path, sizeof change->path, "%s", full);
        keep_spare(full, change->spare);
    } else if (fd >= 0 && (flags & O_TRUNC)) {
        record_bytes(TRUNCATED, fd)->offset = 0;
        syscall(SYS_ftruncate, fd, 0);
    }
    return fd;
}

static int open_any(const char* path, int flags, mode_t mode)
{
    char full[PATH_MAX];
    if (flags & (O_CREAT | O_TRUNC)) {
        resolve(path, full);
        if (is_below(full))
            return open_below(full, flags, mode);
    }
    return real_open(path, flags, mode);
}

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return open_any(path, flags, mode);
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

/*
 * NOLINTEND(readability-inconsistent-declaration-parameter-name)
 * NOLINTEND(clang-analyzer-valist.*,concurrency-mt-unsafe)
 * NOLINTEND(bugprone-reserved-identifier,clang-analyzer-security.insecureAPI.*)
 */
