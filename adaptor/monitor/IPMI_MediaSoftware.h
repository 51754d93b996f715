// The health monitor's talk with the media software (VXP) over the message queue: is the board live, and if not, what
// does its processor say?
#pragma once

struct qMsg;

namespace BM_ADAPTOR {

class BOARD;
class WAIT_WATCHER;

/// Made for one operation; keeps references only. One thread at a time: the one that has claimed the monitor.
class MEDIA_SOFTWARE {
public:
    /// @param a_Queue  the monitor's queue; below 0 while it is closed
    MEDIA_SOFTWARE(BOARD& a_Board, WAIT_WATCHER& a_Watcher, int& a_Queue)
        : m_Board(a_Board),
          m_Watcher(a_Watcher),
          m_Queue(a_Queue) {}

    /// Opens the queue and binds it to the monitor's address; one that is open is closed first.
    /// @return MONITOR_LIVE, or MONITOR_NO_EXCHANGE, which is logged
    int Open();
    /// Harmless when the queue is closed.
    void Close();

    /// Asks for the board's status, and for its worst processor's when the board is not live. Waits up to 5 seconds for
    /// each reply.
    /// @return a MONITOR_RESULT_e; every one but MONITOR_LIVE is logged
    int Check();

    /// Waits up to 5 seconds for one message.
    /// @return the message, which the caller frees; null, and the reason is logged, when none came or it has another
    ///         type
    qMsg* Receive(unsigned a_ExpectedType);

private:
    int mAskProcessor();

    BOARD& m_Board;
    WAIT_WATCHER& m_Watcher;
    int& m_Queue;
};

} // namespace BM_ADAPTOR
