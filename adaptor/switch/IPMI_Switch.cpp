// Parameter group 0x30e00: the switch's external ports, how they are made, and what a failed opening is reported as.
#include "adaptor/switch/IPMI_Switch.h"

#include "adaptor/switch/IPMI_PCIHandle.h"
#include "adaptor/switch/IPMI_SwitchPort.h"
#include "bm/Log.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

#include <iterator>
#include <utility>

namespace BM_ADAPTOR {

namespace {

// The switch counts the external ports after two of its own.
constexpr int FIRST_BACKEND_ID = 3;

// The results of opening the PCI memory that are reported: 2 and above.
constexpr int FIRST_OPEN_FAILURE = 2;
constexpr const char* OPEN_FAILURES[] = {
    "Fail to open PCI Memory Handle due to: File proc bus pci parse error\n",
    "Fail to open PCI Memory Handle due to: Could Not Allocate Memory\n",
    "Fail to open PCI Memory Handle due to: Handler Passed in as a NULL Pointer\n",
    "Fail to open PCI Memory Handle due to: Could Not Register Base Addr\n",
    "Fail to open PCI Memory Handle due to: Card Not Found\n",
};

void LogOpenFailure(int a_Result) {
    const int l_Index = a_Result - FIRST_OPEN_FAILURE;
    if (l_Index < 0 || l_Index >= static_cast<int>(std::size(OPEN_FAILURES))) return;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", OPEN_FAILURES[l_Index]);
}

void Trace(const char* a_Text) {
    if (TracesOn()) bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "%s", a_Text);
}

void AddPortRow(CBMIParams& a_Row, IPMI_SWITCHPORT& a_Port) {
    AddKey(a_Row, BMI_HW_AMC_SWITCHPORT_INDEX, 0);
    AddKey(a_Row, BMI_HW_AMC_SWITCHPORT_NUM, a_Port.GetPortNumber());
    AddKey(a_Row, BMI_HW_AMC_SWITCHPORT_TYPE, a_Port.GetType());
    AddText(a_Row, BMI_HW_AMC_SWITCHPORT_NAME, a_Port.GetName());
    AddInt(a_Row, BMI_HW_AMC_SWITCHPORT_ADMIN, a_Port.GetAdminStatus());
    AddInt(a_Row, BMI_HW_AMC_SWITCHPORT_OPER, a_Port.GetOperStatus());
}

} // namespace

// The PCI memory is opened a second time here, after the adaptor's Init, and closed once: on purpose. Only this second
// opening decides.
int SWITCH::Init(IPMIAdaptor* a_Owner) const {
    int l_Result = RESULT_NOTHING_DONE;
    if (!m_Macs.Get()->empty()) {
        Trace("Entering mInitSwitchInfo()");
        const int l_Opened = PCI_HANDLE(m_PCIHandle).Open();
        if (l_Opened == 0) {
            Trace("Success Openning PCI Memory Handle\n");
            CreatePorts(a_Owner);
            l_Result = RESULT_OK;
        } else {
            LogOpenFailure(l_Opened);
        }
    }
    Trace("Exit mInitSwitchInfo");
    return l_Result;
}

void SWITCH::CreatePorts(IPMIAdaptor* a_Owner) const {
    SWITCH_PORTS l_Ports;
    int l_BackendId = FIRST_BACKEND_ID;
    for (const SWITCH_PORT_NAME& l_Row : g_SwitchPortNames) {
        auto l_Port =
            std::make_shared<IPMI_SWITCHPORT>(l_Row.m_Number, l_BackendId++, l_Row.m_Type, l_Row.m_Name, a_Owner);
        l_Port->Init();
        l_Ports[l_Row.m_Number] = std::move(l_Port);
        m_Ports.Replace(l_Ports);
    }
}

std::shared_ptr<IPMI_SWITCHPORT> SWITCH::mFind(const CBMIKeys* a_Keys) const {
    const auto l_Number = IntParam(a_Keys, BMI_HW_AMC_SWITCHPORT_NUM);
    if (!l_Number) return nullptr;
    const auto l_Ports = m_Ports.Get();
    const auto l_Found = l_Ports->find(*l_Number);
    return l_Found != l_Ports->end() ? l_Found->second : nullptr;
}

int SWITCH::ReadRow(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    const auto l_Port = mFind(a_Keys);
    if (l_Port == nullptr || a_Row == nullptr) return RESULT_NO_ROW;
    AddPortRow(*a_Row, *l_Port);
    return RESULT_OK;
}

int SWITCH::ReadTable(CBMITable*& a_Table) const {
    a_Table = new CBMITable;
    if (m_Macs.Get()->empty()) return RESULT_OK; // though there may be ports
    const auto l_Ports = m_Ports.Get();
    for (const auto& [l_Number, l_Port] : *l_Ports) {
        CBMIParams l_Row;
        AddPortRow(l_Row, *l_Port);
        a_Table->AddRow(l_Row);
    }
    return RESULT_OK;
}

int SWITCH::Write(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const {
    const auto l_Port = mFind(a_Keys);
    if (l_Port == nullptr || a_Values == nullptr) return RESULT_NO_ROW;
    const auto l_Admin = IntParam(a_Values, BMI_HW_AMC_SWITCHPORT_ADMIN);
    if (!l_Admin) return RESULT_NO_VALUE;
    return l_Port->SetSwitch(*l_Admin);
}

} // namespace BM_ADAPTOR
