#pragma once

#include <QString>

#include <bitset>
#include <vector>

constexpr int kSlotCount = 30;

/// Some of the thirty places, which count from 0 as slots. In text: "3", "0-5,7" or "all".
using SlotSet = std::bitset<kSlotCount>;

/// Throws BadInput.
SlotSet slotSetFromText(const QString& text);
QString slotSetToText(const SlotSet& slot_set);
/// As "in slot 3" or "in slots 0-5,7".
QString inSlots(const SlotSet& slot_set);
/// The same as the operator counts them, from 1: "at place 4" or "at places 1-6,8".
QString atPlaces(const SlotSet& slot_set);
SlotSet slotSetOf(int slot);
SlotSet firstSlots(int count);
/// In their order.
std::vector<int> slotsIn(const SlotSet& slot_set);
