// The shelf's orders: what each does to its slots, and what is answered.
#pragma once

#include "sim/shelf/Slot.h"

#include <string>
#include <vector>

namespace bladesim {

/// An answer, or the slot that has to settle before there is one.
struct ShelfAnswer {
    std::string m_line;
    const Slot* m_awaited = nullptr;
    bool m_wantsUp = false;
};

/// Begins to carry out an order, a line of JSON.
ShelfAnswer CarryOut(std::vector<Slot>& slots, const std::string& line);

/// What is answered when the slot has settled.
std::string AnswerFor(const Slot& slot, bool wantsUp);

} // namespace bladesim
