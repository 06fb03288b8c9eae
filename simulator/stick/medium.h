#pragma once

#include "common/pacer.h"
#include "stick/insertionmark.h"
#include "system/uniquefd.h"

#include <sys/statvfs.h>
#include <sys/types.h>

#include <cerrno>
#include <unordered_map>

/// What is inside a stick: a folder's bytes, with the stick's size and speed, until it is pulled.
/// Lives on the server's one thread, owned by main. Lengths and 0 are success, negative errno
/// values failure. Writing to a pulled stick succeeds, as into the cache of a system that has not
/// noticed yet; nothing of it arrives, and sync() says so.
class Medium
{
public:
    Medium(const QString& folder, const QString& mark);

    /// The folder's descriptor; -1 when it cannot be opened.
    int folder() const { return m_folder.get(); }
    bool pulled() const { return m_mark.pulled(); }
    bool lies() const { return m_settings.lies(); }

    /// Takes an open file in; known by its descriptor until close().
    quint64 open(UniqueFd file, const char* path);
    void close(quint64 file) { m_open.erase(file); }
    int read(quint64 file, char* buffer, size_t length_bytes, off_t offset_bytes);
    int write(quint64 file, const char* data, size_t length_bytes, off_t offset_bytes);
    int truncate(quint64 file, off_t size_bytes);
    int sync() const;

    /// Runs `remove`, which takes a file's name away. That makes room: an open file without a name
    /// takes none.
    template <typename Remove>
    int removing(const char* path, Remove remove)
    {
        const quint64 room_bytes = roomOf(path);
        if (remove() < 0)
            return -errno;
        m_used_bytes -= room_bytes;
        return 0;
    }
    int space(struct statvfs& space) const;

private:
    struct File
    {
        UniqueFd fd;
        bool readable = true;
    };

    quint64 roomOf(const char* path) const;
    int writePiece(int fd, const char* data, size_t length_bytes, off_t offset_bytes);
    QByteArray kept(const char* data, quint64 length_bytes, quint64 offset_bytes) const;
    size_t pieceBytes(size_t length_bytes) const;
    quint64 freeBytes() const;
    void pass(size_t length_bytes);

    UniqueFd m_folder;
    InsertionMark m_mark;
    StickSettings m_settings;
    Pacer m_pacer;
    quint64 m_used_bytes;
    quint64 m_written_bytes = 0;
    std::unordered_map<quint64, File> m_open;
};
