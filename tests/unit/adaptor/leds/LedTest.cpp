// What the LED tests need; see the header.
#include "adaptor/leds/LedTest.h"

#include "common/veldo_common_text.h"
#include "ipmi/IPMI_Probe.h"

#include <array>
#include <string_view>

namespace BM_ADAPTOR::TEST {

LED_BLADE::LED_BLADE(RECORDING_LOG& a_Log)
    : m_Probe(std::make_unique<ENTITYCAPTURE>(Fake().Domain(), nullptr, &a_Log)) {
    IPMI_TEST_ACCESS::bHandedOver(*m_Probe) = true; // the model owns the entities
    g_ENTITYCapture = m_Probe.get();
    g_Logger2 = &a_Log;
}

LED_BLADE::~LED_BLADE() {
    g_ENTITYCapture = nullptr;
}

IPMI_ENTITY& LED_BLADE::AddWithLEDs(int a_EntityID, int a_Bay, uint8_t a_FRUID, int a_NumLEDs) {
    IPMI_ENTITY& l_Entity = AddEntity(a_EntityID, a_Bay, a_FRUID);
    l_Entity.m_FRUDeviceID = a_FRUID;
    for (int i = 0; i < a_NumLEDs; ++i) {
        l_Entity.m_LEDMap[i] = new IPMI_LED;
        l_Entity.m_LEDMap[i]->m_LEDID = i;
    }
    IPMI_TEST_ACCESS::FRUEntities(*m_Probe)[a_FRUID] = &l_Entity;
    return l_Entity;
}

ipmi_control_t* LED_BLADE::AddLight(IPMI_ENTITY& a_Entity, const std::string& a_Light) {
    const std::string l_Name = FormatText("(r0.%i.%i.0).", a_Entity.m_Address, a_Entity.m_EntityID) + a_Light;
    ipmi_control_t* const l_Light = Fake().AddControl(nullptr, l_Name, IPMI_CONTROL_LIGHT);
    auto* const l_Control = new IPMI_CONTROL;
    l_Control->m_Address = a_Entity.m_Address;
    l_Control->m_EntityID = a_Entity.m_EntityID;
    l_Control->m_Name = l_Name;
    l_Control->m_ControlID = l_Light->m_ControlID;
    a_Entity.m_ControlMap[l_Name] = l_Control;
    return l_Light;
}

void LED_BLADE::OnGet(uint8_t a_FRUID, uint8_t a_LEDID, BYTES a_Reply) {
    Fake().OnRequest({0x2C, 0x08, 0x00, a_FRUID, a_LEDID}, std::move(a_Reply));
}

void LED_BLADE::TakeSets() {
    Fake().OnRequest({0x2C, 0x07}, BYTES{0x00, 0x00});
}

std::vector<BYTES> LED_BLADE::Sets() {
    std::vector<BYTES> l_Sets;
    for (const BYTES& l_Request : Fake().SentBytes()) {
        if (l_Request.at(1) == 0x07) l_Sets.emplace_back(l_Request.begin() + 3, l_Request.end());
    }
    return l_Sets;
}

std::vector<LOG_LINE> LED_ROOM_TEST::HandlerLines() {
    static constexpr std::array<std::string_view, 4> OTHERS = {
        "ENTITYCAPTURE ::", "OPENIPMI_LED_REQUEST", "LED_STATE ::", "IPMIAdaptor :: FindEntitybyEntityIDBayLocation"};
    std::vector<LOG_LINE> l_Lines = Lines();
    std::erase_if(l_Lines, [](const LOG_LINE& a_Line) {
        return std::ranges::any_of(OTHERS,
                                   [&](std::string_view a_Begin) { return a_Line.m_Text.starts_with(a_Begin); });
    });
    return l_Lines;
}

} // namespace BM_ADAPTOR::TEST
