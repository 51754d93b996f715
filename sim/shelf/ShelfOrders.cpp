// The shelf's orders: what each does to its slots, and what is answered.
#include "sim/shelf/ShelfOrders.h"

#include "sim/base/Error.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace bladesim {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

std::string Result(const ordered_json& result) {
    return ordered_json{{"result", result}}.dump();
}

std::string Error(const std::string& reason) {
    return json{{"error", reason}}.dump(-1, ' ', false, json::error_handler_t::replace);
}

ordered_json Describe(const Slot& slot) {
    const ShelfPlace& place = slot.Place();
    ordered_json described = {{"name", place.m_name},   {"slot", place.m_slot},
                              {"blade", place.m_blade}, {"address", TextOf(AddressOf(place))},
                              {"state", slot.State()},  {"log", slot.Folder().Log()}};
    if (!slot.Reason().empty()) described["reason"] = slot.Reason();
    return described;
}

ShelfAnswer List(const std::vector<Slot>& slots) {
    ordered_json list = ordered_json::array();
    for (const Slot& slot : slots)
        list.push_back(Describe(slot));
    return {Result(list)};
}

Slot& FindSlot(std::vector<Slot>& slots, const std::string& name) {
    const auto found = std::ranges::find_if(slots, [&](const Slot& slot) { return slot.Place().m_name == name; });
    if (found != slots.end()) return *found;
    std::string names;
    for (const Slot& slot : slots)
        names += (names.empty() ? "" : ", ") + slot.Place().m_name;
    throw BladeError("the shelf has no blade \"" + name + "\"; it has " + names);
}

void WantUp(const Slot& slot) {
    if (slot.IsUp()) return;
    throw BladeError(slot.Place().m_name + " is not up: it is " + slot.State() +
                     (slot.Reason().empty() ? "" : ", " + slot.Reason()));
}

ShelfAnswer Pull(Slot& slot) {
    if (slot.IsOut()) throw BladeError(slot.Place().m_name + " is pulled already");
    slot.Pull();
    return {"", &slot, false};
}

ShelfAnswer Insert(Slot& slot) {
    if (!slot.IsSettled() || slot.IsUp())
        throw BladeError(slot.Place().m_name + " is in its slot already: it is " + slot.State());
    slot.Insert();
    return {"", &slot, true};
}

ShelfAnswer SetFrozen(Slot& slot, bool frozen) {
    WantUp(slot);
    try {
        slot.Freeze(frozen);
    } catch (const BladeError& error) {
        throw BladeError(slot.Place().m_name + ": " + error.what());
    }
    return {Result(nullptr)};
}

ShelfAnswer Freeze(Slot& slot) {
    return SetFrozen(slot, true);
}

ShelfAnswer Thaw(Slot& slot) {
    return SetFrozen(slot, false);
}

ShelfAnswer Enter(Slot& slot) {
    WantUp(slot);
    return {Result(slot.Inside())};
}

struct OrderForSlot {
    const char* m_name;
    ShelfAnswer (*m_carryOut)(Slot& slot);
};

constexpr OrderForSlot Orders[] = {
    {"pull", Pull}, {"insert", Insert}, {"freeze", Freeze}, {"thaw", Thaw}, {"in", Enter},
};

ShelfAnswer CarryOutOrThrow(std::vector<Slot>& slots, const json& order) {
    const auto name = order.at("order").get<std::string>();
    if (name == "list") return List(slots);
    const auto* const found =
        std::ranges::find_if(Orders, [&](const OrderForSlot& each) { return name == each.m_name; });
    if (found == std::end(Orders)) throw BladeError("the shelf knows no order \"" + name + "\"");
    return found->m_carryOut(FindSlot(slots, order.at("name").get<std::string>()));
}

} // namespace

ShelfAnswer CarryOut(std::vector<Slot>& slots, const std::string& line) {
    try {
        return CarryOutOrThrow(slots, json::parse(line));
    } catch (const std::exception& error) {
        return {Error(error.what())};
    }
}

std::string AnswerFor(const Slot& slot, bool wantsUp) {
    if (wantsUp ? slot.IsUp() : slot.IsOut()) return Result(nullptr);
    const std::string& name = slot.Place().m_name;
    if (slot.Reason().empty()) return Error(name + " was given another order meanwhile: it is " + slot.State());
    return Error(name + " does not come up: " + slot.Reason() + "; the end of its log:\n" + slot.LogTail());
}

} // namespace bladesim
