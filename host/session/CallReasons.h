// The errors that are logged while a call is made: the adaptor's results do not give reasons.
#pragma once

#include "host/session/LogEar.h"

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace bmhost {

/// Collects the texts of level 3 as long as it lives, whichever thread logs them: what a call asks of the controller is
/// answered on the domain thread.
class CallReasons {
public:
    static constexpr std::size_t Most = 5;

    CallReasons();

    /// Those that tell a cause, see TellingLines; the last ones when none does. Oldest first; `Most` at the most.
    std::vector<std::string> Texts() const;

private:
    static constexpr std::size_t MostKept = 200; // a start logs some fifty that are no errors

    mutable std::mutex m_guard;
    std::deque<std::string> m_texts;
    LogEar m_ear; // last, since it uses the other members
};

} // namespace bmhost
