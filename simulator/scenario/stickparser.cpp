#include "scenario/stickparser.h"

#include <limits>

namespace {

constexpr int kMostArchives = 100;
constexpr quint64 kMost32 = std::numeric_limits<quint32>::max();
constexpr quint64 kMostBytes = std::numeric_limits<qint64>::max(); // of any file

using Kind = StickItem::Kind;

JsonPlace::Reader become(StickItem& item, Kind kind)
{
    return [&item, kind](const JsonPlace& place) {
        place.needTrue();
        item.kind = kind;
    };
}

void readItemObject(const JsonPlace& place, StickItem& item)
{
    if (place.memberNames().size() != 1)
        place.refuse(QStringLiteral("one of size, folder, link, unreadable is needed here"));
    item.kind = place.has("link") ? Kind::Link : Kind::Sparse;
    place.readMembers({{"size", bytesInto(item.size_bytes, kMostBytes)},
                       {"link", into(item.text)},
                       {"folder", become(item, Kind::Folder)},
                       {"unreadable", become(item, Kind::Unreadable)}});
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
JsonPlace::Reader byteInto(quint64& byte)
{
    return [&byte](const JsonPlace& place) {
        byte = place.bytes(kMostBytes);
        if (byte == 0)
            place.refuse(QStringLiteral("a byte from 1 on is needed here"));
    };
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
    const auto readContent = [&plan](const JsonPlace& content) {
        for (const QString& name : content.memberNames())
            plan.items.push_back(itemOf(content, name));
    };
    StickSettings& settings = plan.settings;
    place.readMembers(
        {{"inserted", into(plan.inserted)},
         {"folder", [&plan](const JsonPlace& folder) { plan.folder = folder.path(); }},
         {"content", readContent},
         {"package", into(plan.package)},
         {"size", bytesInto(settings.size_bytes, kMostBytes)},
         {"speed", bytesInto(settings.bytes_per_second, kMost32)},
         {"pull at byte", byteInto(settings.pull_at_byte)},
         {"may stay", into(plan.may_stay)},
         {"loses from byte", byteInto(settings.loses_from_byte)},
         {"flips at byte", byteInto(settings.flips_at_byte)}});
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
    EarlierPlan plan;
    place.readMembers({{"count", {}}, {"size", bytesInto(plan.size_bytes, kMost32)}});
    plan.count = place.member("count").number(0, kMostArchives);
    return plan;
}
