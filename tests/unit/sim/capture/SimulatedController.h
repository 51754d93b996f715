// A controller for tests of the capture: the one that bladesim simulates, where a test has no other answer.
#pragma once

#include "../module/SampleCarrier.h"

#include "sim/capture/Conversation.h"
#include "sim/module/Responder.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {

/// The ids of application LEDs are in a row, as PICMG numbers them.
inline Blade WholeCarrier() {
    Blade blade = SampleCarrier();
    blade.m_frus[1].m_leds.back().m_id = 4;
    return blade;
}

class SimulatedController {
public:
    explicit SimulatedController(const Blade& blade = WholeCarrier()) : m_responder(blade) {}

    std::optional<Bytes> Ask(const Bytes& request) {
        m_asked.push_back(request);
        auto& answers = m_answers[request];
        if (!answers.empty()) {
            const Bytes answer = answers.front();
            if (answers.size() > 1) answers.erase(answers.begin());
            return answer.empty() ? std::nullopt : std::optional(answer);
        }
        if (request[0] == 0x0A && request[1] >= 0x20) return Bytes{0xC1};
        return m_responder.Answer(request[0], request[1], Request(request).subspan(2), LedClock::now());
    }

    Conversation Talk() {
        return {[this](const Bytes& request) { return Ask(request); },
                [this](const std::string& line) { m_told.push_back(line); }};
    }

    Responder m_responder;
    std::map<Bytes, std::vector<Bytes>> m_answers; ///< in turn, the last one again and again; empty: none comes
    std::vector<Bytes> m_asked;
    std::vector<std::string> m_told;
};

} // namespace bladesim
