// What tells the health monitor's own waits from those for the host.
#pragma once

#include "adaptor/IPMI_MonitorThread.h"

namespace BM_ADAPTOR {

/// The monitor waits for a tool or a reply for the length of this scope: who stops the monitor waits for the end of it.
class IPMI_MonitorThread::OWN_WAIT {
public:
    explicit OWN_WAIT(IPMI_MonitorThread& a_Monitor) : m_Monitor(a_Monitor) { mNote(true); }
    OWN_WAIT(const OWN_WAIT&) = delete;
    OWN_WAIT& operator=(const OWN_WAIT&) = delete;
    ~OWN_WAIT() { mNote(false); }

private:
    void mNote(bool a_bWaits) {
        const std::lock_guard l_Life(m_Monitor.m_Life);
        m_Monitor.m_bInOwnWait = a_bWaits;
        ++m_Monitor.m_OwnWaits;
        m_Monitor.m_Changed.notify_all();
    }

    IPMI_MonitorThread& m_Monitor;
};

} // namespace BM_ADAPTOR
