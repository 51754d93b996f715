// The names of the kinds of fault, in blade files and on command lines.
#pragma once

#include "sim/blade/Blade.h"

#include <optional>
#include <string>
#include <string_view>

namespace bladesim {

struct FaultKindText {
    FaultKind m_kind;
    const char* m_name;
    std::optional<unsigned> m_maxArgument; ///< nullopt: it takes no argument
};

constexpr unsigned MaxFaultMilliseconds = 600'000;

constexpr FaultKindText FaultKinds[] = {
    {FaultKind::CompletionCode, "completion-code", 0xFF},
    {FaultKind::Reply, "reply", std::nullopt},
    {FaultKind::Lost, "lost", std::nullopt},
    {FaultKind::Late, "late", MaxFaultMilliseconds},
    {FaultKind::Short, "short", 0xFF},
    {FaultKind::Doubled, "doubled", std::nullopt},
    {FaultKind::OtherFru, "other-fru", 0xFE},
    {FaultKind::Gone, "gone", MaxFaultMilliseconds},
    {FaultKind::AnsweredTwice, "answered-twice", std::nullopt},
    {FaultKind::Restarted, "restarted", std::nullopt},
};

/// Null when there is no such kind.
constexpr const FaultKindText* FindFaultKind(std::string_view name) {
    for (const FaultKindText& kind : FaultKinds) {
        if (name == kind.m_name) return &kind;
    }
    return nullptr;
}

/// "completion-code, reply, …": every name, for messages.
std::string FaultKindNames();

} // namespace bladesim
