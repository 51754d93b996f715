// The situations of docs/operations.md: how each one shows, what its cause is, and what cures it. The tables of the
// page and what bmhost says are both made from this one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// What shows a situation; a line of the log, or something else that is seen of the blade.
enum class Sign : uint8_t {
    Log,
    SourceMissing,
    SourceNoPermission,
    SourceNoController,
    InitWithoutLine,
    InitNotReturned,
    CallNotReturned,
    StartWithoutLine,
    StopWithoutLine,
    MonitorEnded,
    RunStatusFailed,
    LedOfAdaptor,
    LedOfModule,
    ControllerLost,
    OldReading,
    InventoryNotRead,
    UpgradeFailed,
    DspWithoutAddress,
    NotReadFromStorage
};

/// The tables of the page, in its order.
enum class Chapter : uint8_t { Source, Storage, Init, Start, Running, Seen, Upgrade, Stop, Calls };

struct Situation {
    Chapter m_chapter;
    Sign m_sign;
    std::string_view m_place; ///< what is at fault; empty when the module that shows it is
    std::string_view m_shows; ///< what shows it beside its lines; with Sign::Log, mostly the call's result
    std::array<std::string_view, 8> m_lines; ///< of level 3, with conversions as printf has them; one of them is enough
    std::string_view m_cause;
    std::string_view m_cure;
};

/// All of them. Where several have lines in one log, the first one is the cause of the others.
std::span<const Situation> Situations();
/// The one with this sign, which is not Sign::Log.
const Situation& SituationOf(Sign sign);
/// The one that these lines tell of, or null.
const Situation* SituationOf(const std::vector<std::string>& lines);

/// Whether a line of the log was made by this format: what stands between its conversions is in the line, in order.
bool IsMadeBy(std::string_view line, std::string_view format);

/// The lines that belong to some situation, each once, oldest first; the last ones when none does. Of more than `most`
/// the last ones, and always one of the situation that is the cause.
std::vector<std::string> TellingLines(const std::vector<std::string>& lines, std::size_t most = 5);

/// What to say with a call that failed.
struct Advice {
    std::string m_cause;
    std::string m_cure;
};
/// By the errors that were logged during the call; nothing when no situation has any of them.
std::optional<Advice> AdviceFor(const std::vector<std::string>& reasons);
/// The cure alone; empty when there is no advice.
std::string CureOf(const std::vector<std::string>& reasons);
/// Of a start that returned 0 and logged nothing.
Advice AdviceForSilentStart();
/// "  cause: …", "  cure:  …", in whole lines for standard error.
std::string AdviceText(const Advice& advice);
/// Both, with the lines that tell of it, in whole lines for standard error: "  log:   …", "  cause: …", "  cure:  …".
/// Empty when nothing was logged.
std::string ReasonsText(const std::vector<std::string>& reasons);

/// A chapter's table as it stands on the page.
std::string TableOfPage(Chapter chapter);

} // namespace bmhost
