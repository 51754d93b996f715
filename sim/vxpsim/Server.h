// The media software's loop: takes requests from its queue and answers them when their time has come.
#pragma once

#include "sim/base/UniqueFd.h"
#include "sim/vxpsim/Answers.h"

#include <chrono>
#include <deque>
#include <optional>
#include <string>

namespace BLADESIM {

class MEDIA_SERVER {
public:
    /// `a_Queue` is bound to the software's address; SIGTERM and SIGINT are blocked. Throws a BLADE_ERROR, also for an
    /// order by which it shall not run.
    MEDIA_SERVER(std::string a_RunFolder, int a_Queue);

    /// Returns when a signal ends it; an order that ends it ends the process.
    void Run();

private:
    using CLOCK = std::chrono::steady_clock;

    struct ANSWER {
        CLOCK::time_point m_Due;
        MESSAGE m_Message;
        bool m_Again = false; ///< until there is no room
    };

    void TakeOrder();
    void TakeRequest();
    void Count(const qMsg& a_Request);
    void SendDue();
    void Send(const ANSWER& a_Answer) const;
    int MillisecondsLeft() const;
    bool TakesRequests() const { return m_Order.m_Mode->m_Deed != MEDIA_DEED::NOT_TAKEN; }

    std::string m_RunFolder;
    int m_Queue;
    UNIQUE_FD m_Changes; ///< readable when something in the run folder was replaced
    UNIQUE_FD m_Signals;
    MEDIA_ORDER m_Order;
    std::string m_Complaint; ///< what is wrong with the order
    std::deque<ANSWER> m_Answers;
    unsigned m_BoardRequests = 0;
    unsigned m_ProcessorRequests = 0;
};

} // namespace BLADESIM
