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
SlotSet slotSetOf(int slot);
SlotSet firstSlots(int count);
/// In their order.
std::vector<int> slotsIn(const SlotSet& slot_set);
