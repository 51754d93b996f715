// Whether the controller answers, judged by the LED calls: they are the only ones that ask it.
#include "host/resident/ControllerWatch.h"

namespace bmhost {

uint64_t ControllerWatch::Called(Moment now) {
    m_calls.emplace(++m_last, now);
    return m_last;
}

bool ControllerWatch::Returned(uint64_t call, bool good, bool asked, Moment now) {
    const auto found = m_calls.find(call);
    if (found == m_calls.end()) return false;
    const Moment begun = found->second;
    m_calls.erase(found);
    if (!asked) return false;
    if (good) {
        m_failures = 0;
        Become(Controller::State::Answers, now.m_wall);
        return false;
    }
    if (m_failures++ == 0) m_failing = begun.m_wall;
    const bool quick = now.m_steady - begun.m_steady < QuickAnswer;
    if (!quick) Become(Controller::State::Lost, begun.m_wall);
    if (m_leds != 0 && m_failures >= m_leds) Become(Controller::State::Lost, m_failing);
    return quick;
}

void ControllerWatch::Look(Moment now) {
    if (m_calls.empty()) return;
    const Moment& oldest = m_calls.begin()->second;
    if (now.m_steady - oldest.m_steady >= Patience) Become(Controller::State::Lost, oldest.m_wall);
}

void ControllerWatch::Forget(Moment now) {
    Become(Controller::State::Unknown, now.m_wall);
}

void ControllerWatch::Become(Controller::State state, WallTime since) {
    if (m_state.m_state == state) return;
    m_state = {state, since};
}

} // namespace bmhost
