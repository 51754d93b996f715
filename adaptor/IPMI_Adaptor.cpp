// The adaptor object: construction, destruction, and the operations that do nothing.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/IPMI_FirmwareUpdate.h"
#include "adaptor/IPMI_MonitorThread.h"
#include "adaptor/board/IPMI_Board.h"
#include "common/veldo_common_trace.h"

#include <cstdio>
#include <new>

void* CreateAdaptor() {
    return static_cast<BM_ADAPTOR::CBaseAdaptor*>(new BM_ADAPTOR::IPMIAdaptor);
}

// Without the destructor, on purpose: the host has called Fin, and nothing in the object minds.
void DestroyAdaptor(void* a_Adaptor) {
    ::operator delete(a_Adaptor);
}

namespace BM_ADAPTOR {

IPMIAdaptor::IPMIAdaptor() : IPMIAdaptor(TheBoard()) {}

IPMIAdaptor::IPMIAdaptor(BOARD& a_Board) : m_Board(a_Board), m_InstallDir(InstallDir(a_Board)) {
    puts("IPMIAdaptor::IPMIAdaptor");
    g_ComponentName = IPMI_ADAPTOR_COMPONENT;
}

// The switch port objects are Fin's to delete. Nothing runs in the adaptor any more; an upgrade and the monitor's
// thread are waited for.
IPMIAdaptor::~IPMIAdaptor() {
    if (m_Upgrades.m_Thread != nullptr) m_Upgrades.m_Thread->Join();
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
