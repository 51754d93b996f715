// The controller of a carrier: what it answers to PICMG commands and to Get Device ID, and what it remembers of them.
#include "sim/module/Carrier.h"

#include "sim/controller/SimulatorConfig.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_picmg.h>

#include <cassert>
#include <initializer_list>
#include <ratio>
#include <utility>

namespace BLADESIM {
namespace {

constexpr uint8_t g_PICMGVersion = 0x22; // 2.2, the minor digit in the high half: PICMG 3.0 revision 2.0
constexpr uint8_t g_IPMIVersion = 0x02;  // 2.0, written alike
constexpr uint8_t g_OwnFRU = 0;          // the controller sits on the front board
constexpr uint8_t g_Reserved = 0xFF;
constexpr uint8_t g_MaxControlOption = 4; // quiesce
constexpr uint8_t g_FirstApplicationLED = 4;

// What the address key of Get Address Info is.
enum ADDRESS_KEY : uint8_t { HARDWARE_ADDRESS = 0, IPMB_ADDRESS = 1, PHYSICAL_ADDRESS = 3 };

/// The reply without an error: completion code, group extension, and this.
REPLY Accept(std::initializer_list<uint8_t> a_Data = {}) {
    REPLY l_Reply = {0, IPMI_PICMG_GRP_EXT};
    l_Reply.insert(l_Reply.end(), a_Data);
    return l_Reply;
}

void Append(REPLY& a_Reply, const LED_ACTION& a_Action) {
    a_Reply.insert(a_Reply.end(), {a_Action.m_Function, a_Action.m_OnDuration, static_cast<uint8_t>(a_Action.m_Color)});
}

REPLY AddressOf(const FRU& a_FRU) {
    const SITE& l_Site = a_FRU.m_Site;
    const auto l_IPMBAddress = static_cast<uint8_t>(l_Site.m_HardwareAddress << 1);
    return Accept({l_Site.m_HardwareAddress, l_IPMBAddress, g_Reserved, a_FRU.m_Id, l_Site.m_Number, l_Site.m_Type});
}

} // namespace

// With how many data bytes each command is understood.
struct CARRIER::COMMAND {
    uint8_t m_Command;
    size_t m_Shortest;
    size_t m_Longest;
    REPLY (CARRIER::*m_Answer)(REQUEST, LED_CLOCK::time_point);
};

const CARRIER::COMMAND CARRIER::g_Commands[] = {
    {IPMI_PICMG_CMD_GET_PROPERTIES, 1, 1, &CARRIER::Properties},
    {IPMI_PICMG_CMD_GET_ADDRESS_INFO, 1, 5, &CARRIER::AddressInfo},
    {IPMI_PICMG_CMD_FRU_CONTROL, 3, 3, &CARRIER::FRUControl},
    {IPMI_PICMG_CMD_GET_FRU_LED_PROPERTIES, 2, 2, &CARRIER::LEDProperties},
    {IPMI_PICMG_CMD_GET_LED_COLOR_CAPABILITIES, 3, 3, &CARRIER::LEDColors},
    {IPMI_PICMG_CMD_SET_FRU_LED_STATE, 6, 6, &CARRIER::SetLEDState},
    {IPMI_PICMG_CMD_GET_FRU_LED_STATE, 3, 3, &CARRIER::GetLEDState},
};

CARRIER::CARRIER(BLADE a_Blade) : m_Blade(std::move(a_Blade)) {
    assert(FindFRU(g_OwnFRU) != nullptr);
    for (const FRU& l_FRU : m_Blade.m_FRUs)
        m_Panels.emplace(l_FRU.m_Id, LED_PANEL(l_FRU.m_LEDs));
}

REPLY CARRIER::Answer(uint8_t a_Command, REQUEST a_Request, LED_CLOCK::time_point a_Now) {
    if (!m_Blade.m_Controller.m_PICMG) return Refuse(IPMI_INVALID_CMD_CC);
    if (a_Request.empty()) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
    if (a_Request[0] != IPMI_PICMG_GRP_EXT) return Refuse(IPMI_INVALID_CMD_CC);
    for (const COMMAND& l_Command : g_Commands) {
        if (l_Command.m_Command != a_Command) continue;
        if (a_Request.size() < l_Command.m_Shortest || a_Request.size() > l_Command.m_Longest) {
            return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        }
        // Wherever there is a second byte it is a FRU id.
        if (a_Request.size() > 1 && FindFRU(a_Request[1]) == nullptr) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
        return (this->*l_Command.m_Answer)(a_Request, a_Now);
    }
    return Refuse(IPMI_INVALID_CMD_CC);
}

REPLY CARRIER::DeviceId() const {
    const CONTROLLER& l_Controller = m_Blade.m_Controller;
    const uint32_t l_Manufacturer = l_Controller.m_ManufacturerId;
    REPLY l_Reply = {0,
                     l_Controller.m_DeviceId,
                     l_Controller.m_DeviceRevision,
                     l_Controller.m_FirmwareMajor,
                     l_Controller.m_FirmwareMinor,
                     g_IPMIVersion,
                     g_DeviceSupport,
                     static_cast<uint8_t>(l_Manufacturer),
                     static_cast<uint8_t>(l_Manufacturer >> 8),
                     static_cast<uint8_t>(l_Manufacturer >> 16),
                     static_cast<uint8_t>(l_Controller.m_ProductId),
                     static_cast<uint8_t>(l_Controller.m_ProductId >> 8)};
    if (const auto& l_Auxiliary = l_Controller.m_AuxiliaryFirmware) {
        l_Reply.insert(l_Reply.end(), l_Auxiliary->begin(), l_Auxiliary->end());
    }
    return l_Reply;
}

const FRU* CARRIER::FindFRU(uint8_t a_Id) const {
    for (const FRU& l_FRU : m_Blade.m_FRUs) {
        if (l_FRU.m_Id == a_Id) return &l_FRU;
    }
    return nullptr;
}

REPLY CARRIER::Properties(REQUEST /*a_Request*/, LED_CLOCK::time_point /*a_Now*/) {
    return Accept({g_PICMGVersion, m_Blade.m_FRUs.back().m_Id, g_OwnFRU});
}

// Without a FRU id it is about the controller's own FRU; with an address key about whatever has that address.
REPLY CARRIER::AddressInfo(REQUEST a_Request, LED_CLOCK::time_point /*a_Now*/) {
    const FRU& l_FRU = *FindFRU(a_Request.size() > 1 ? a_Request[1] : g_OwnFRU);
    if (a_Request.size() <= 2) return AddressOf(l_FRU);
    if (a_Request.size() == 3) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
    const uint8_t l_Key = a_Request[3];
    const uint8_t l_HardwareAddress = l_FRU.m_Site.m_HardwareAddress;
    switch (a_Request[2]) {
    case HARDWARE_ADDRESS:
        return l_Key == l_HardwareAddress ? AddressOf(l_FRU) : Refuse(IPMI_DESTINATION_UNAVAILABLE_CC);
    case IPMB_ADDRESS:
        return l_Key == l_HardwareAddress << 1 ? AddressOf(l_FRU) : Refuse(IPMI_DESTINATION_UNAVAILABLE_CC);
    case PHYSICAL_ADDRESS:
        if (a_Request.size() < 5) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        for (const FRU& l_Other : m_Blade.m_FRUs) {
            if (l_Other.m_Site.m_Number == l_Key && l_Other.m_Site.m_Type == a_Request[4]) return AddressOf(l_Other);
        }
        return Refuse(IPMI_DESTINATION_UNAVAILABLE_CC);
    default:
        return Refuse(IPMI_INVALID_DATA_FIELD_CC);
    }
}

REPLY CARRIER::FRUControl(REQUEST a_Request, LED_CLOCK::time_point /*a_Now*/) {
    const uint8_t l_FRU = a_Request[1];
    const uint8_t l_Option = a_Request[2];
    if (l_Option > g_MaxControlOption) return Refuse(IPMI_INVALID_DATA_FIELD_CC);
    if (!m_Controls.empty() && m_Controls.back().m_FRU == l_FRU && m_Controls.back().m_Option == l_Option) {
        ++m_Controls.back().m_Count;
        return Accept();
    }
    m_Controls.push_back({l_FRU, l_Option, 1});
    if (m_Controls.size() > g_MaxControls) m_Controls.pop_front();
    return Accept();
}

REPLY CARRIER::LEDProperties(REQUEST a_Request, LED_CLOCK::time_point /*a_Now*/) {
    uint8_t l_General = 0;
    uint8_t l_Application = 0;
    for (const auto& [l_Id, l_State] : LEDs(a_Request[1]).LEDs()) {
        if (l_Id < g_FirstApplicationLED) {
            l_General |= static_cast<uint8_t>(1U << l_Id);
        } else {
            ++l_Application;
        }
    }
    return Accept({l_General, l_Application});
}

REPLY CARRIER::LEDColors(REQUEST a_Request, LED_CLOCK::time_point /*a_Now*/) {
    const auto& l_LEDs = LEDs(a_Request[1]).LEDs();
    const auto l_Found = l_LEDs.find(a_Request[2]);
    if (l_Found == l_LEDs.end()) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    const LED& l_LED = l_Found->second.m_LED;
    return Accept({l_LED.m_Colors, static_cast<uint8_t>(l_LED.m_DefaultLocalColor),
                   static_cast<uint8_t>(l_LED.m_DefaultOverrideColor)});
}

REPLY CARRIER::SetLEDState(REQUEST a_Request, LED_CLOCK::time_point a_Now) {
    LED_PANEL& l_Panel = m_Panels.at(a_Request[1]);
    const uint8_t l_Code = l_Panel.Set(a_Request[2], a_Request[3], a_Request[4], a_Request[5], a_Now);
    return l_Code == 0 ? Accept() : Refuse(l_Code);
}

// The states of lower priority are always told, those of higher priority only while they are in effect. A lamp test
// without an override is told with the override that there would be: off.
REPLY CARRIER::GetLEDState(REQUEST a_Request, LED_CLOCK::time_point a_Now) {
    const auto& l_LEDs = LEDs(a_Request[1]).LEDs();
    const auto l_Found = l_LEDs.find(a_Request[2]);
    if (l_Found == l_LEDs.end()) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    const LED_STATE& l_State = l_Found->second;
    const bool l_LampTest = l_State.IsLampTest(a_Now);
    const auto l_Flags = static_cast<uint8_t>(int{l_State.m_LED.m_LocalControl} |
                                              int{l_State.m_Override.has_value()} << 1 | int{l_LampTest} << 2);
    REPLY l_Reply = Accept({l_Flags});
    Append(l_Reply, l_State.m_Local);
    if (l_State.m_Override || l_LampTest) {
        Append(l_Reply, l_State.m_Override.value_or(LED_ACTION{g_LedOff, 0, l_State.m_OverrideColor}));
    }
    if (l_LampTest) {
        using TENTHS = std::chrono::duration<int, std::deci>;
        const auto l_Left = std::chrono::ceil<TENTHS>(l_State.m_LampTestEnd - a_Now);
        l_Reply.push_back(static_cast<uint8_t>(l_Left.count()));
    }
    return l_Reply;
}

} // namespace BLADESIM
