#include "scenario/stickparser.h"

#include <limits>

namespace {

constexpr int kMostArchives = 100;
constexpr quint64 kMost32 = std::numeric_limits<quint32>::max();
constexpr quint64 kMostBytes = std::numeric_limits<qint64>::max(); // of any file

QString key(const char* name)
{
    return QLatin1String(name);
}

using Kind = StickItem::Kind;

void readItemObject(const JsonPlace& place, StickItem& item)
{
    place.allowMembers({key("size"), key("folder"), key("link"), key("unreadable")});
    if (place.memberNames().size() != 1)
        place.refuse(QStringLiteral("one of size, folder, link, unreadable is needed here"));
    if (place.has(key("size"))) {
        item.kind = Kind::Sparse;
        item.size_bytes = place.member(key("size")).bytes(kMostBytes);
    } else if (place.has(key("link"))) {
        item.kind = Kind::Link;
        item.text = place.member(key("link")).text();
    } else {
        const bool folder = place.has(key("folder"));
        item.kind = folder ? Kind::Folder : Kind::Unreadable;
        const JsonPlace value = place.member(folder ? key("folder") : key("unreadable"));
        if (!value.flag())
            value.refuse(QStringLiteral("only true makes sense here"));
    }
}

StickItem itemOf(const JsonPlace& content, const QString& name)
{
    const JsonPlace place = content.member(name);
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..") ||
        name.contains(QLatin1Char('/')))
        place.refuse(QStringLiteral("that is no name in the stick's root"));
    StickItem item;
    item.name = name;
    if (place.isObject())
        readItemObject(place, item);
    else
        item.text = place.text();
    return item;
}

/// Not 0, which stands for never.
quint64 byteOf(const JsonPlace& place)
{
    const quint64 byte = place.bytes(kMostBytes);
    if (byte == 0)
        place.refuse(QStringLiteral("a byte from 1 on is needed here"));
    return byte;
}

void readSettings(const JsonPlace& place, StickSettings& settings)
{
    if (place.has(key("size")))
        settings.size_bytes = place.member(key("size")).bytes(kMostBytes);
    if (place.has(key("speed")))
        settings.bytes_per_second = static_cast<quint32>(place.member(key("speed")).bytes(kMost32));
    if (place.has(key("pull at byte")))
        settings.pull_at_byte = byteOf(place.member(key("pull at byte")));
    if (place.has(key("loses from byte")))
        settings.loses_from_byte = byteOf(place.member(key("loses from byte")));
    if (place.has(key("flips at byte")))
        settings.flips_at_byte = byteOf(place.member(key("flips at byte")));
}

bool insertedOf(const JsonPlace& place)
{
    const QString state = place.text();
    if (state != QLatin1String("in") && state != QLatin1String("out"))
        place.refuse(QStringLiteral("a stick is \"in\" or \"out\""));
    return state == QLatin1String("in");
}

} // namespace

StickPlan stickPlanOf(const JsonPlace& place)
{
    StickPlan plan;
    if (!place.isObject()) {
        plan.inserted = insertedOf(place);
        return plan;
    }
    place.allowMembers({key("inserted"), key("folder"), key("content"), key("size"), key("speed"),
                        key("pull at byte"), key("may stay"), key("loses from byte"),
                        key("flips at byte")});
    if (place.has(key("inserted")))
        plan.inserted = place.member(key("inserted")).flag();
    if (place.has(key("folder")))
        plan.folder = place.member(key("folder")).text();
    if (place.has(key("content"))) {
        const JsonPlace content = place.member(key("content"));
        for (const QString& name : content.memberNames())
            plan.items.push_back(itemOf(content, name));
    }
    if (place.has(key("may stay")))
        plan.may_stay = place.member(key("may stay")).flag();
    readSettings(place, plan.settings);
    return plan;
}

verb::Stick stickVerbOf(const JsonPlace& place)
{
    if (!place.isObject())
        return {insertedOf(place), std::nullopt};
    const StickPlan other = stickPlanOf(place);
    if (!other.inserted)
        place.refuse(QStringLiteral("another stick is put in"));
    return {true, other};
}

EarlierPlan earlierPlanOf(const JsonPlace& place)
{
    place.allowMembers({key("count"), key("size")});
    EarlierPlan plan;
    plan.count = place.member(key("count")).number(0, kMostArchives);
    if (place.has(key("size")))
        plan.size_bytes = static_cast<quint32>(place.member(key("size")).bytes(kMost32));
    return plan;
}
