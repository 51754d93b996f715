// The health monitor's frame: made by Init, stopped by Stop.
#include "adaptor/IPMI_MonitorThread.h"

#include "adaptor/IPMI_Adaptor.h"

namespace BM_ADAPTOR {

IPMI_MonitorThread::IPMI_MonitorThread() : m_InstallDir(InstallDir()) {}

void IPMI_MonitorThread::run() {}

void IPMI_MonitorThread::StopMonitor() {
    Lock();
    m_bStop = 1;
    Notify();
    Unlock();
    Join();
}

} // namespace BM_ADAPTOR
