#pragma once

#include <QString>

#include <bitset>

constexpr int k_slot_count = 30;

/// Some of the thirty places. In text: "3", "0-5,7" or "all".
using SlotSet = std::bitset<k_slot_count>;

/// Throws BadInput.
SlotSet slotSetFromText(const QString& text);
QString slotSetToText(const SlotSet& slot_set);
SlotSet slotSetOf(int slot);
SlotSet firstSlots(int count);
