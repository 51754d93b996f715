// How the media software is told to behave: a file of the run folder, with what bladesim media set orders.
//
//     {"mode": "faulty", "processor": 3, "severity": 2, "error_file": "dsp.c", "cause_file": "timer.c"}
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace BLADESIM {

/// What becomes of a request.
enum class MEDIA_DEED {
    ANSWER,
    OTHER_TYPE,     ///< answered, with a message of another type
    RESULT_ERROR,   ///< answered that it failed
    STANDARD_ERROR, ///< answered that it was not understood
    NOTHING,        ///< taken and not answered
    NOT_TAKEN,      ///< left in the queue, until there is no room for more
    END,            ///< the software ends at it
    FLOOD           ///< answered again and again, until the asker has no room for more
};

struct MEDIA_MODE {
    std::string_view m_Name;
    std::string_view m_Description;
    MEDIA_DEED m_Deed = MEDIA_DEED::ANSWER;
    uint32_t m_BoardState = 0;
    uint32_t m_SubState = 4; ///< 0 and 4: the board is live
    uint32_t m_ProcessorState = 5;
    unsigned m_Delay = 0; ///< milliseconds, where the order has none
};

/// In the run folder: what it was asked since it was started, {"board_requests":2,"processor_requests":0}.
inline constexpr char g_MediaCountsFile[] = "media.counts.json";

inline constexpr unsigned g_MaxMediaDelay = 600000;
inline constexpr std::string_view g_MediaSound = "sound";
/// It does not run, and ends at once when it is started.
inline constexpr std::string_view g_MediaDead = "dead";

inline constexpr MEDIA_MODE g_MediaModes[] = {
    {g_MediaSound, "the board is live"},
    {"slow", "the same, but after 6 s, or --delay", MEDIA_DEED::ANSWER, 0, 4, 5, 6000},
    {"degraded", "the board is not live, no processor has a fault", MEDIA_DEED::ANSWER, 2, 1, 5},
    {"faulty", "the board is not live, a processor has a fault", MEDIA_DEED::ANSWER, 2, 1, 1},
    {"wrong-type", "answers with a message of another type", MEDIA_DEED::OTHER_TYPE},
    {"result-error", "answers that the request failed", MEDIA_DEED::RESULT_ERROR},
    {"standard-error", "answers that the request was not understood", MEDIA_DEED::STANDARD_ERROR},
    {"silent", "takes requests and does not answer", MEDIA_DEED::NOTHING},
    {"deaf", "takes no request: its queue fills up", MEDIA_DEED::NOT_TAKEN},
    {"dying", "ends at the next request", MEDIA_DEED::END},
    {g_MediaDead, "is killed, and does not come up again", MEDIA_DEED::END},
    {"flood", "answers, and repeats it until the asker has no room left", MEDIA_DEED::FLOOD},
};

/// Null for no mode.
const MEDIA_MODE* FindMediaMode(std::string_view a_Name);

struct MEDIA_ORDER {
    const MEDIA_MODE* m_Mode = &g_MediaModes[0];
    /// The board is not live and this is answered; what the mode does befalls the question for a processor.
    bool m_AtProcessor = false;
    unsigned m_Delay = 0; ///< milliseconds before each answer
    uint32_t m_BoardState = 0;
    uint32_t m_SubState = 0;
    uint32_t m_ProcessorState = 0;
    uint32_t m_Processor = 3;
    uint32_t m_Severity = 2;
    std::string m_ErrorFile = "dsp_task.c";
    std::string m_CauseFile = "timer.c";
};

/// The order in the file, or that of a sound software when there is none. Throws a BLADE_ERROR, for a file with errors
/// too, which it names with their line.
MEDIA_ORDER ReadMediaOrder(const std::string& a_RunFolder);

/// Replaces the order by these keys of such a file; throws a BLADE_ERROR and changes nothing when they are no good.
void WriteMediaOrder(const std::string& a_RunFolder, const nlohmann::json& a_Order);

} // namespace BLADESIM
