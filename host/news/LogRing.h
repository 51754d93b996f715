// The last lines of the log, for those who ask at the socket.
#pragma once

#include "host/output/Time.h"
#include "host/session/LogEar.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace bmhost {

/// Every member on any thread.
class LogRing {
public:
    /// How many lines are kept, and how many bytes of each.
    static constexpr std::size_t Most = 10'000;
    static constexpr std::size_t MostBytes = 1'000;
    /// How many bytes all of them may have.
    static constexpr std::size_t MostBytesOfAll = 3'000'000;

    void Add(WallTime time, int level, const std::string& component, const std::string& text);
    /// The last ones, oldest first: objects with time, level, component, text.
    std::vector<nlohmann::ordered_json> Last(std::size_t most) const;

private:
    struct Line {
        WallTime m_time;
        int m_level;
        std::string m_texts; ///< the component, a NUL, the text: one allocation
    };

    mutable std::mutex m_guard;
    std::deque<Line> m_lines;
    std::size_t m_bytes = 0;
};

/// Every line of the log from its construction on.
class KeptLog {
public:
    const LogRing& Lines() const { return m_lines; }

private:
    LogRing m_lines;
    const LogEar m_ear{[this](int level, const std::string& component, const std::string& text) {
        m_lines.Add(WallNow(), level, component, text);
    }};
};

} // namespace bmhost
