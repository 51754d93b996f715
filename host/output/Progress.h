// What is shown while something takes its time.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace bmhost {

/// On a terminal one line that counts the seconds; elsewhere a line now and again. An output that nobody reads any more
/// harms nobody. One thread.
class Progress {
public:
    /// @param what  "AMC bay 3: upgrade in progress"
    /// @param output  -1: nothing is shown
    /// @param shown  whether more than Line is shown
    Progress(std::string what, int output, bool shown);

    /// To be called about once a second.
    void Tick();
    /// The terminal's line goes.
    void Clear();
    /// A line instead of the terminal's one.
    void Line(const std::string& text);
    /// Since the construction.
    int64_t Seconds() const;

private:
    void Tell(const std::string& text);

    std::string m_what;
    int m_output;
    bool m_shown;
    bool m_terminal;
    int64_t m_nextLine = 0;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

} // namespace bmhost
