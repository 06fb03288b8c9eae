#pragma once

#include <QString>

#include <bitset>

constexpr int kSlotCount = 30;

/// Some of the thirty places. In text: "3", "0-5,7" or "all".
using SlotSet = std::bitset<kSlotCount>;

/// Throws BadInput.
SlotSet slotSetFromText(const QString& text);
QString slotSetToText(const SlotSet& slot_set);
SlotSet slotSetOf(int slot);
SlotSet firstSlots(int count);
