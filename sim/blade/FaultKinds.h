// The kinds of fault by name, as blade files and command lines have them.
#pragma once

#include "sim/blade/Blade.h"

#include <optional>
#include <string>
#include <string_view>

namespace BLADESIM {

struct FAULT_KIND_TEXT {
    FAULT_KIND m_Kind;
    const char* m_Name;
    std::optional<unsigned> m_MaxArgument; ///< nothing: it takes no argument
};

constexpr unsigned g_MaxFaultMilliseconds = 600'000;

constexpr FAULT_KIND_TEXT g_FaultKinds[] = {
    {FAULT_KIND::COMPLETION_CODE, "completion-code", 0xFF},
    {FAULT_KIND::REPLY, "reply", std::nullopt},
    {FAULT_KIND::LOST, "lost", std::nullopt},
    {FAULT_KIND::LATE, "late", g_MaxFaultMilliseconds},
    {FAULT_KIND::SHORT, "short", 0xFF},
    {FAULT_KIND::DOUBLED, "doubled", std::nullopt},
    {FAULT_KIND::OTHER_FRU, "other-fru", 0xFE},
    {FAULT_KIND::GONE, "gone", g_MaxFaultMilliseconds},
    {FAULT_KIND::ANSWERED_TWICE, "answered-twice", std::nullopt},
};

/// Null when there is no such kind.
constexpr const FAULT_KIND_TEXT* FindFaultKind(std::string_view a_Name) {
    for (const FAULT_KIND_TEXT& l_Kind : g_FaultKinds) {
        if (a_Name == l_Kind.m_Name) return &l_Kind;
    }
    return nullptr;
}

/// "completion-code, reply, …": what may stand there.
std::string FaultKindNames();

} // namespace BLADESIM
