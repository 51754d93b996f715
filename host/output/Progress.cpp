// What is shown while something takes its time.
#include "host/output/Progress.h"

#include "host/output/Redirect.h"

#include <system_error>
#include <unistd.h>
#include <utility>

namespace bmhost {

namespace {

constexpr int64_t QuietSeconds = 60; // between two lines where there is no terminal

} // namespace

Progress::Progress(std::string what, int output, bool shown)
    : m_what(std::move(what)),
      m_output(output),
      m_shown(shown),
      m_terminal(output >= 0 && isatty(output) == 1) {}

void Progress::Tick() {
    if (!m_shown) return;
    const auto seconds = Seconds();
    if (m_terminal) {
        Tell("\r" + m_what + ", " + std::to_string(seconds) + " s");
    } else if (seconds >= m_nextLine) {
        m_nextLine = seconds + QuietSeconds;
        Tell(m_what + ", " + std::to_string(seconds) + " s\n");
    }
}

void Progress::Clear() {
    if (m_terminal && m_shown) Tell("\r\033[K");
}

void Progress::Line(const std::string& text) {
    // The line of the progress is longer: what is left of it goes.
    Tell((m_terminal ? "\r\033[K" : "") + text + "\n");
}

int64_t Progress::Seconds() const {
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_begin).count();
}

void Progress::Tell(const std::string& text) {
    try {
        if (m_output >= 0) WriteAll(m_output, text);
    } catch (const std::system_error&) {
        m_output = -1;
    }
}

} // namespace bmhost
