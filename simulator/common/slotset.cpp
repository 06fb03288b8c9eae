#include "common/slotset.h"

#include "common/badinput.h"

#include <QStringList>

namespace {

int slotFromText(const QString& text)
{
    bool ok = false;
    const int slot = text.trimmed().toInt(&ok);
    if (!ok || slot < 0 || slot >= kSlotCount)
        throw BadInput(QStringLiteral("'%1' is no slot: slots are 0 to 29").arg(text.trimmed()));
    return slot;
}

void addRange(SlotSet& slot_set, const QString& range)
{
    const int first = slotFromText(range.section(QLatin1Char('-'), 0, 0));
    const int last =
        range.contains(QLatin1Char('-')) ? slotFromText(range.section(QLatin1Char('-'), 1)) : first;
    if (last < first)
        throw BadInput(QStringLiteral("the slots '%1' run backwards").arg(range));
    for (int slot = first; slot <= last; ++slot)
        slot_set.set(slot);
}

QString rangesFrom(int number_of_first, const SlotSet& slot_set)
{
    QStringList ranges;
    for (int first = 0; first < kSlotCount; ++first) {
        if (!slot_set.test(first))
            continue;
        int last = first;
        while (last + 1 < kSlotCount && slot_set.test(last + 1))
            ++last;
        const QString number = QString::number(first + number_of_first);
        ranges +=
            first == last ? number : number + QStringLiteral("-%1").arg(last + number_of_first);
        first = last;
    }
    return ranges.isEmpty() ? QStringLiteral("none") : ranges.join(QLatin1Char(','));
}

QString inWords(const char* word, int number_of_first, const SlotSet& slot_set)
{
    return QStringLiteral("%1%2 %3").arg(QLatin1String(word),
                                         QLatin1String(slot_set.count() == 1 ? "" : "s"),
                                         rangesFrom(number_of_first, slot_set));
}

} // namespace

SlotSet slotSetFromText(const QString& text)
{
    if (text.trimmed() == QLatin1String("all"))
        return SlotSet().set();
    SlotSet slot_set;
    for (const QString& range : text.split(QLatin1Char(',')))
        addRange(slot_set, range);
    return slot_set;
}

QString slotSetToText(const SlotSet& slot_set)
{
    return rangesFrom(0, slot_set);
}

QString inSlots(const SlotSet& slot_set)
{
    return inWords("in slot", 0, slot_set);
}

QString atPlaces(const SlotSet& slot_set)
{
    return inWords("at place", 1, slot_set);
}

SlotSet slotSetOf(int slot)
{
    return SlotSet().set(slot);
}

SlotSet firstSlots(int count)
{
    return ~SlotSet() >> (kSlotCount - count);
}

std::vector<int> slotsIn(const SlotSet& slot_set)
{
    std::vector<int> slot_list;
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (slot_set.test(slot))
            slot_list.push_back(slot);
    return slot_list;
}
