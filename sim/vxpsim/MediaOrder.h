// The media software's orders: a file in the run folder that `bladesim media set` writes.
//
//     {"mode": "faulty", "processor": 3, "severity": 2, "error_file": "dsp.c", "cause_file": "timer.c"}
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace bladesim {

/// What happens to a request.
enum class MediaDeed {
    Answer,
    OtherType,     ///< answered, with a message of another type
    ResultError,   ///< answered that it failed
    StandardError, ///< answered that it was not understood
    Nothing,       ///< taken and not answered
    NotTaken,      ///< left in the queue, until there is no room for more
    End,           ///< the software ends
    Flood          ///< answered again and again, until the asker has no room for more
};

struct MediaMode {
    std::string_view m_name;
    std::string_view m_description;
    MediaDeed m_deed = MediaDeed::Answer;
    uint32_t m_boardState = 0;
    uint32_t m_subState = 4; ///< 0 and 4: the board is live
    uint32_t m_processorState = 5;
    unsigned m_delay = 0; ///< in milliseconds, unless the order says otherwise
};

/// In the run folder: the requests since its start, {"board_requests":2,"processor_requests":0}.
inline constexpr char MediaCountsFile[] = "media.counts.json";

inline constexpr unsigned MaxMediaDelay = 600000;
inline constexpr std::string_view MediaSound = "sound";
/// It does not run, and ends at once when it is started.
inline constexpr std::string_view MediaDead = "dead";

inline constexpr MediaMode MediaModes[] = {
    {MediaSound, "the board is live"},
    {"slow", "the same, but after 6 s, or --delay", MediaDeed::Answer, 0, 4, 5, 6000},
    {"degraded", "the board is not live, no processor has a fault", MediaDeed::Answer, 2, 1, 5},
    {"faulty", "the board is not live, a processor has a fault", MediaDeed::Answer, 2, 1, 1},
    {"wrong-type", "answers with a message of another type", MediaDeed::OtherType},
    {"result-error", "answers that the request failed", MediaDeed::ResultError},
    {"standard-error", "answers that the request was not understood", MediaDeed::StandardError},
    {"silent", "takes requests and does not answer", MediaDeed::Nothing},
    {"deaf", "takes no request: its queue fills up", MediaDeed::NotTaken},
    {"dying", "ends at the next request", MediaDeed::End},
    {MediaDead, "is killed, and does not come up again", MediaDeed::End},
    {"flood", "answers, and repeats it until the asker has no room left", MediaDeed::Flood},
};

/// Null when there is no such mode.
const MediaMode* FindMediaMode(std::string_view name);

struct MediaOrder {
    const MediaMode* m_mode = &MediaModes[0];
    /// The board is answered as not live, and the mode applies to the question about a processor.
    bool m_atProcessor = false;
    unsigned m_delay = 0; ///< milliseconds before each answer
    uint32_t m_boardState = 0;
    uint32_t m_subState = 0;
    uint32_t m_processorState = 0;
    uint32_t m_processor = 3;
    uint32_t m_severity = 2;
    std::string m_errorFile = "dsp_task.c";
    std::string m_causeFile = "timer.c";
};

/// The order in the file, or that of healthy software when there is none. Throws a BladeError; for an error in the file
/// it names the line.
MediaOrder ReadMediaOrder(const std::string& runFolder);

/// Replaces the order with one that has these keys; throws a BladeError and changes nothing when they are wrong.
void WriteMediaOrder(const std::string& runFolder, const nlohmann::json& order);

} // namespace bladesim
