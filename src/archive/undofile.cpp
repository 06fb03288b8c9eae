#include "archive/undofile.h"

#include "system/readback.h"
#include "system/storagefile.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>

namespace undofile {

namespace {

QString path()
{
    return QStringLiteral("addition.undo");
}

QString pathAside()
{
    return path() + QStringLiteral(".aside");
}

UniqueFd open(int flags)
{
    return storage::openRegular(path(), flags);
}

UniqueFd openOrCreate()
{
    UniqueFd fd = open(O_RDWR);
    return !fd && errno == ENOENT ? storage::createNew(path()) : std::move(fd);
}

/// What is over as soon as somebody closes a file or frees memory says nothing about the side file.
bool isPassing(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

Loaded failed()
{
    if (errno == ENOENT)
        return Loaded::Nothing;
    return isPassing(errno) ? Loaded::Unknown : Loaded::Unreadable;
}

} // namespace

Loaded load(UndoRecord& record)
{
    const UniqueFd fd = open(O_RDONLY);
    if (!fd)
        return failed();
    const auto bytes = storage::readRange(fd.get(), 0, storage::sizeOf(fd.get()));
    if (!bytes)
        return failed();
    // A record of earlier, from wherever it comes, would take back what was acknowledged since.
    if (!readback::holds(fd.get(), 0, *bytes))
        return Loaded::Unknown;
    const auto waiting = UndoRecord::decode(*bytes);
    if (!waiting)
        return Loaded::Nothing;
    record = *waiting;
    return Loaded::Record;
}

bool store(const UndoRecord& record)
{
    const QByteArray bytes = record.encode();
    const UniqueFd fd = openOrCreate();
    return fd && storage::writeAllAt(fd.get(), 0, bytes.constData(), bytes.size()) &&
           storage::truncate(fd.get(), bytes.size()) && storage::syncFile(fd.get()) &&
           storage::syncFolderOf(path()) && readback::holds(fd.get(), 0, bytes);
}

bool blank()
{
    const QByteArray zeros(UndoRecord::kMagicBytes, '\0');
    const UniqueFd fd = open(O_RDWR);
    if (!fd)
        return errno == ENOENT;
    return storage::writeAllAt(fd.get(), 0, zeros.constData(), zeros.size()) &&
           storage::syncFile(fd.get()) && readback::holds(fd.get(), 0, zeros);
}

bool setAside()
{
    return !QFile::exists(pathAside()) && storage::renameEntry(path(), pathAside());
}

std::optional<UndoRecord> loadSetAside()
{
    const UniqueFd fd = storage::openRegular(pathAside(), O_RDONLY);
    const auto bytes =
        fd ? storage::readRange(fd.get(), 0, storage::sizeOf(fd.get())) : std::nullopt;
    return bytes ? UndoRecord::decode(*bytes) : std::nullopt;
}

void removeSetAside()
{
    storage::removeFile(pathAside());
}

} // namespace undofile
