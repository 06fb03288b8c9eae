#include "pod/replyforecast.h"

#include <QtEndian>

namespace {

constexpr char kEscape = '\xDB';

/// What it says once it has received this object, which it then executes.
ObjectStore::Position positionAfter(ObjectStore& store, ObjectStore::Type type,
                                    const QByteArray& object)
{
    store.create(type, quint32(object.size()));
    store.write(object);
    const ObjectStore::Position position = store.position(type);
    store.execute();
    return position;
}

} // namespace

bool holdsEscape(const ObjectStore::Position& position)
{
    const quint64 said = quint64(position.crc) << 32 | position.offset_bytes;
    return QByteArray::fromRawData(reinterpret_cast<const char*>(&said), sizeof(said))
        .contains(kEscape);
}

bool repliesHoldEscape(const QByteArray& init_packet, const QByteArray& image,
                       const ObjectLimits& limits)
{
    ObjectStore store(limits, {});
    if (holdsEscape(positionAfter(store, ObjectStore::Type::Command, init_packet)))
        return true;
    const int object_bytes = int(store.mostBytes(ObjectStore::Type::Data));
    for (int from = 0; from < image.size(); from += object_bytes)
        if (holdsEscape(
                positionAfter(store, ObjectStore::Type::Data, image.mid(from, object_bytes))))
            return true;
    return false;
}
