#include "storage/undofile.h"

#include "storage/storagefile.h"

#include <cerrno>
#include <fcntl.h>

namespace undofile {

namespace {

QString path()
{
    return QStringLiteral("addition.undo");
}

UniqueFd openOrCreate()
{
    UniqueFd fd = storage::openRegular(path(), O_WRONLY);
    return !fd && errno == ENOENT ? storage::createNew(path()) : std::move(fd);
}

} // namespace

bool load(std::optional<UndoRecord>& waiting)
{
    waiting.reset();
    const UniqueFd fd = storage::openRegular(path(), O_RDONLY);
    if (!fd)
        return errno == ENOENT;
    const auto bytes = storage::readRange(fd.get(), 0, storage::sizeOf(fd.get()));
    if (bytes)
        waiting = UndoRecord::decode(*bytes);
    return bytes.has_value();
}

bool store(const UndoRecord& record)
{
    const QByteArray bytes = record.encode();
    const UniqueFd fd = openOrCreate();
    return fd && storage::writeAllAt(fd.get(), 0, bytes.constData(), bytes.size()) &&
           storage::truncate(fd.get(), bytes.size()) && storage::syncFile(fd.get()) &&
           storage::syncFolderOf(path());
}

bool blank()
{
    const QByteArray zeros(UndoRecord::kMagicBytes, '\0');
    const UniqueFd fd = storage::openRegular(path(), O_WRONLY);
    if (!fd)
        return errno == ENOENT;
    return storage::writeAllAt(fd.get(), 0, zeros.constData(), zeros.size()) &&
           storage::syncFile(fd.get());
}

} // namespace undofile
