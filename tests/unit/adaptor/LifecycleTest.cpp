// What the tests of Init, Start, Stop and Fin need; see the header.
#include "adaptor/LifecycleTest.h"

#include "ipmi/FRUImage.h"
#include "ipmi/IPMI_Probe.h"
#include "ipmi/IPMI_Thread.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

namespace BM_ADAPTOR::TEST {

int LIFECYCLE_MANAGER::RegisterEventClass(unsigned a_Class, CBaseAdaptor* a_Adaptor) {
    auto& l_Adaptor = dynamic_cast<IPMIAdaptor&>(*a_Adaptor);
    m_MonitorAtRegistration = IPMI_TEST_ACCESS::Monitor(l_Adaptor);
    m_StateAtRegistration = IPMI_TEST_ACCESS::State(l_Adaptor);
    return FAKE_MANAGER::RegisterEventClass(a_Class, a_Adaptor);
}

TEXTS RegistrationCalls(const std::string& a_Verb) {
    TEXTS l_Calls;
    for (const char* l_Group : {"0x30000", "0x30100", "0x30200", "0x30300", "0x100", "0x200", "0x300", "0x400", "0x600",
                                "0x30d00", "0x30e00", "0x30d10", "0x30e10"})
        l_Calls.push_back(a_Verb + "Group " + l_Group);
    l_Calls.push_back(a_Verb + "EventClass 0x5");
    return l_Calls;
}

LOG_LINE Always(const std::string& a_Text) {
    return Trace(a_Text);
}

LIFECYCLE_TEST::LIFECYCLE_TEST() {
    BoardDriver() = {};
    m_Board.m_OpenErrors = {{1, ENOENT}};
    m_Host.m_Storage = &m_Storage;
    m_Host.m_Logger = &m_Log;
}

LIFECYCLE_TEST::~LIFECYCLE_TEST() {
    if (IPMI_TEST_ACCESS::PCIHandle(m_Adaptor) != nullptr) m_Adaptor.Fin();
    RetireDomainThread();
}

void LIFECYCLE_TEST::SetEnvironment(const char* a_Name, const char* a_Value) {
    if (a_Value != nullptr) {
        m_Board.m_Environment[a_Name] = a_Value;
    } else {
        m_Board.m_Environment.erase(a_Name);
    }
}

void LIFECYCLE_TEST::GiveDSPs() {
    SetEnvironment("MAVK_AMC", "x314");
    m_Board.m_Interfaces["eth6"] = {"192.168.0.1", {0x02, 0, 0, 0, 0, 0x10}};
}

int LIFECYCLE_TEST::Rows(BMIGroup_e a_Group) {
    CBMITable* l_Made = nullptr;
    m_Adaptor.GetParamTable(a_Group, l_Made);
    const std::unique_ptr<CBMITable> l_Table(l_Made);
    return l_Table->GetSize();
}

// A monitor that Init puts another one in the place of is the test's to delete.
int LIFECYCLE_TEST::Init(int a_Mode) {
    m_Host.m_Mode = a_Mode;
    const int l_Result = m_Adaptor.Init(&m_Host);
    if (m_Host.m_MonitorAtRegistration != IPMI_TEST_ACCESS::Monitor(m_Adaptor))
        m_Retired.emplace_back(m_Host.m_MonitorAtRegistration);
    return l_Result;
}

// A thread in the event loop sleeps there until the process ends, and its probe stays with it.
void LIFECYCLE_TEST::RetireDomainThread() {
    static auto& s_Sleeping = *new std::vector<std::pair<IPMITHREAD*, ENTITYCAPTURE*>>;
    IPMITHREAD* const l_Thread = std::exchange(IPMI_TEST_ACCESS::DomainThread(), nullptr);
    if (l_Thread == nullptr) return;
    if (g_bCompleteIPMISimulation) {
        l_Thread->Join();
        delete l_Thread;
    } else {
        Fake().WaitUntilIdle();
        s_Sleeping.emplace_back(l_Thread, g_ENTITYCapture);
    }
}

LIFECYCLE_OVER_IPMI::LIFECYCLE_OVER_IPMI()
    : m_Image(FRUImage(BoardArea(Fields({"Maker", "Board", "S1", "P1"})),
                       ProductArea(Fields({"Maker", "Product", "P2", "V2", "S2"})), {}, 16)) {
    const auto l_Size = static_cast<uint8_t>(m_Image.size());
    Fake().OnRequests({{{0x2C, 0x00}, {0x00, 0x00, 0x22, 0x00, 0x00}},                         // maximum FRU id 0
                       {{0x2C, 0x01}, {0x00, 0x00, 0x41, 0x82, 0xFF, 0x00, 0x03, 0x00}},       // site 3, front board
                       {{0x06, 0x01}, {0x00, 0x20, 0x80, 0x02, 0x11, 0x02, 0, 0, 0, 0, 0, 0}}, // firmware 2.17
                       {{0x2C, 0x05}, {0x00, 0x00, 0x00, 0x00}},                               // no LEDs
                       {{0x0A, 0x10, 0x00}, {0x00, l_Size, 0x00, 0x00}}});
    Fake().OnRequest({0x0A, 0x11, 0x00}, [this](const SENT_REQUEST& a_Request) {
        const auto l_Offset = m_Image.begin() + a_Request.m_Data[1];
        BYTES l_Reply = {0x00, 16};
        l_Reply.insert(l_Reply.end(), l_Offset, l_Offset + 16);
        return std::optional(l_Reply);
    });
}

} // namespace BM_ADAPTOR::TEST
