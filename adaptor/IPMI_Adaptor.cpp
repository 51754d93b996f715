// The adaptor object: construction, destruction, and the operations that do nothing.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/IPMI_FirmwareUpdate.h"
#include "adaptor/IPMI_MonitorThread.h"
#include "common/veldo_common_trace.h"

#include <cstdio>
#include <cstdlib>
#include <new>

void* CreateAdaptor() {
    return static_cast<BM_ADAPTOR::CBaseAdaptor*>(new BM_ADAPTOR::IPMIAdaptor);
}

// Without the destructor, on purpose: the host has called Fin, and nothing in the object minds.
void DestroyAdaptor(void* a_Adaptor) {
    ::operator delete(a_Adaptor);
}

namespace BM_ADAPTOR {

std::string InstallDir() {
    const char* l_Directory = getenv("TARSK_KORVEL_DIR");
    return l_Directory != nullptr ? l_Directory : "/usr/korvel"; // set to nothing is set
}

IPMIAdaptor::IPMIAdaptor() : m_InstallDir(InstallDir()) {
    puts("IPMIAdaptor::IPMIAdaptor");
    g_ComponentName = IPMI_ADAPTOR_COMPONENT;
}

// The switch port objects are Fin's to delete. Nothing runs in the adaptor any more; an upgrade and the monitor's
// thread are waited for.
IPMIAdaptor::~IPMIAdaptor() {
    if (m_UpgradeThread != nullptr) m_UpgradeThread->Join();
    delete m_Monitor.load();
}

int IPMIAdaptor::CreateParams(unsigned, const CBMIKeys*, CBMIParams*) {
    return RESULT_NOTHING_DONE;
}

int IPMIAdaptor::DeleteParams(unsigned, const CBMIKeys*) {
    return RESULT_OK;
}

int IPMIAdaptor::ProcessEvent(unsigned, CBMIEvParams*) {
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
