// The health monitor: a thread that checks the media software and the AMCs while the blade runs.
#pragma once

#include "bm/OSAL.h"

#include <atomic>
#include <string>

struct IPMI_TEST_ACCESS;

namespace BM_ADAPTOR {

/// Made by Init. Its checks are not built yet: nothing starts the thread, and run() returns at once.
class IPMI_MonitorThread : public OSAL::OSALThread, public OSAL::OSALMonitor {
public:
    IPMI_MonitorThread();

    void run() override;

    /// Asks the loop to end, cuts its wait short and joins the thread; harmless when it never ran. Host thread.
    void StopMonitor();

    /// Result of the last check; 1 while all is well.
    int GetLastErr() const { return m_LastErr; }

private:
    friend struct ::IPMI_TEST_ACCESS;

    std::atomic<int> m_LastErr = 1;
    std::atomic<int> m_bStop = 0;
    std::string m_InstallDir;
};

} // namespace BM_ADAPTOR
