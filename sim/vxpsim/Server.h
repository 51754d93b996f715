// The media software's loop: takes requests from its queue and answers them when their time has come.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/vxpsim/Answers.h"

#include <chrono>
#include <deque>
#include <optional>
#include <string>

namespace bladesim {

class MediaServer {
public:
    /// `queue` is bound to the software's address; SIGTERM and SIGINT are blocked. Throws a BladeError, even when its
    /// order is not to run.
    MediaServer(std::string runFolder, int queue);

    /// Returns when a signal ends it; an order that ends it ends the process.
    void Run();

private:
    using Clock = std::chrono::steady_clock;

    struct Answer {
        Clock::time_point m_due;
        Message m_message;
        bool m_again = false; ///< until there is no room
    };

    void TakeOrder();
    void TakeRequest();
    void Count(const qMsg& request);
    void SendDue();
    void Send(const Answer& answer) const;
    int MillisecondsLeft() const;
    bool TakesRequests() const { return m_order.m_mode->m_deed != MediaDeed::NotTaken; }

    std::string m_runFolder;
    int m_queue;
    bm_dev::UniqueFd m_changes; ///< readable when something in the run folder was replaced
    bm_dev::UniqueFd m_signals;
    MediaOrder m_order;
    std::string m_complaint; ///< what is wrong with the order
    std::deque<Answer> m_answers;
    unsigned m_boardRequests = 0;
    unsigned m_processorRequests = 0;
};

} // namespace bladesim
