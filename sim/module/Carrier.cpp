// The controller of a carrier: what it answers to PICMG commands and to Get Device ID, and what it remembers of them.
#include "sim/module/Carrier.h"

#include "sim/controller/SimulatorConfig.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_picmg.h>

#include <cassert>
#include <initializer_list>
#include <ratio>
#include <utility>

namespace bladesim {
namespace {

constexpr uint8_t PICMGVersion = 0x22; // 2.2, the minor digit in the high half: PICMG 3.0 revision 2.0
constexpr uint8_t IPMIVersion = 0x02;  // 2.0, in the same notation
constexpr uint8_t OwnFRU = 0;          // the controller sits on the front board
constexpr uint8_t Reserved = 0xFF;
constexpr uint8_t MaxControlOption = 4; // quiesce
constexpr uint8_t FirstApplicationLED = 4;

// The kinds of address key in Get Address Info.
enum AddressKey : uint8_t { HardwareAddress = 0, IpmbAddress = 1, PhysicalAddress = 3 };

/// A reply without an error: completion code, group extension, and this.
Reply Accept(std::initializer_list<uint8_t> data = {}) {
    Reply reply = {0, IPMI_PICMG_GRP_EXT};
    reply.insert(reply.end(), data);
    return reply;
}

void Append(Reply& reply, const LedAction& action) {
    reply.insert(reply.end(), {action.m_function, action.m_onDuration, static_cast<uint8_t>(action.m_color)});
}

Reply AddressOf(const Fru& fru) {
    const Site& site = fru.m_site;
    const auto ipmbAddress = static_cast<uint8_t>(site.m_hardwareAddress << 1);
    return Accept({site.m_hardwareAddress, ipmbAddress, Reserved, fru.m_id, site.m_number, site.m_type});
}

} // namespace

// How many data bytes each command takes.
struct Carrier::Command {
    uint8_t m_command;
    size_t m_shortest;
    size_t m_longest;
    Reply (Carrier::*m_answer)(Request, LedClock::time_point);
};

const Carrier::Command Carrier::Commands[] = {
    {IPMI_PICMG_CMD_GET_PROPERTIES, 1, 1, &Carrier::Properties},
    {IPMI_PICMG_CMD_GET_ADDRESS_INFO, 1, 5, &Carrier::AddressInfo},
    {IPMI_PICMG_CMD_FRU_CONTROL, 3, 3, &Carrier::FRUControl},
    {IPMI_PICMG_CMD_GET_FRU_LED_PROPERTIES, 2, 2, &Carrier::LEDProperties},
    {IPMI_PICMG_CMD_GET_LED_COLOR_CAPABILITIES, 3, 3, &Carrier::LEDColors},
    {IPMI_PICMG_CMD_SET_FRU_LED_STATE, 6, 6, &Carrier::SetLEDState},
    {IPMI_PICMG_CMD_GET_FRU_LED_STATE, 3, 3, &Carrier::GetLEDState},
};

Carrier::Carrier(Blade blade) : m_blade(std::move(blade)) {
    assert(FindFRU(OwnFRU) != nullptr);
    for (const Fru& fru : m_blade.m_frus)
        m_panels.emplace(fru.m_id, LedPanel(fru.m_leds));
}

Reply Carrier::Answer(uint8_t command, Request request, LedClock::time_point now) {
    if (!m_blade.m_controller.m_picmg) return Refuse(IPMI_INVALID_CMD_CC);
    if (request.empty()) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
    if (request[0] != IPMI_PICMG_GRP_EXT) return Refuse(IPMI_INVALID_CMD_CC);
    for (const Command& known : Commands) {
        if (known.m_command != command) continue;
        if (request.size() < known.m_shortest || request.size() > known.m_longest) {
            return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        }
        // A second byte is always a FRU id.
        if (request.size() > 1 && FindFRU(request[1]) == nullptr) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
        return (this->*known.m_answer)(request, now);
    }
    return Refuse(IPMI_INVALID_CMD_CC);
}

Reply Carrier::DeviceId() const {
    const Controller& controller = m_blade.m_controller;
    const uint32_t manufacturer = controller.m_manufacturerId;
    Reply reply = {0,
                   controller.m_deviceId,
                   controller.m_deviceRevision,
                   controller.m_firmwareMajor,
                   controller.m_firmwareMinor,
                   IPMIVersion,
                   DeviceSupport,
                   static_cast<uint8_t>(manufacturer),
                   static_cast<uint8_t>(manufacturer >> 8),
                   static_cast<uint8_t>(manufacturer >> 16),
                   static_cast<uint8_t>(controller.m_productId),
                   static_cast<uint8_t>(controller.m_productId >> 8)};
    if (const auto& auxiliary = controller.m_auxiliaryFirmware) {
        reply.insert(reply.end(), auxiliary->begin(), auxiliary->end());
    }
    return reply;
}

const Fru* Carrier::FindFRU(uint8_t id) const {
    for (const Fru& fru : m_blade.m_frus) {
        if (fru.m_id == id) return &fru;
    }
    return nullptr;
}

Reply Carrier::Properties(Request /*request*/, LedClock::time_point /*now*/) {
    return Accept({PICMGVersion, m_blade.m_frus.back().m_id, OwnFRU});
}

// Without a FRU id it means the controller's own FRU; with an address key, whatever has that address.
Reply Carrier::AddressInfo(Request request, LedClock::time_point /*now*/) {
    const Fru& fru = *FindFRU(request.size() > 1 ? request[1] : OwnFRU);
    if (request.size() <= 2) return AddressOf(fru);
    if (request.size() == 3) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
    const uint8_t key = request[3];
    const uint8_t hardwareAddress = fru.m_site.m_hardwareAddress;
    switch (request[2]) {
    case HardwareAddress:
        return key == hardwareAddress ? AddressOf(fru) : Refuse(IPMI_DESTINATION_UNAVAILABLE_CC);
    case IpmbAddress:
        return key == hardwareAddress << 1 ? AddressOf(fru) : Refuse(IPMI_DESTINATION_UNAVAILABLE_CC);
    case PhysicalAddress:
        if (request.size() < 5) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        for (const Fru& other : m_blade.m_frus) {
            if (other.m_site.m_number == key && other.m_site.m_type == request[4]) return AddressOf(other);
        }
        return Refuse(IPMI_DESTINATION_UNAVAILABLE_CC);
    default:
        return Refuse(IPMI_INVALID_DATA_FIELD_CC);
    }
}

Reply Carrier::FRUControl(Request request, LedClock::time_point /*now*/) {
    const uint8_t fru = request[1];
    const uint8_t option = request[2];
    if (option > MaxControlOption) return Refuse(IPMI_INVALID_DATA_FIELD_CC);
    if (!m_controls.empty() && m_controls.back().m_fru == fru && m_controls.back().m_option == option) {
        ++m_controls.back().m_count;
        return Accept();
    }
    m_controls.push_back({fru, option, 1});
    if (m_controls.size() > MaxControls) m_controls.pop_front();
    return Accept();
}

Reply Carrier::LEDProperties(Request request, LedClock::time_point /*now*/) {
    uint8_t general = 0;
    uint8_t application = 0;
    for (const auto& [id, state] : LEDs(request[1]).LEDs()) {
        if (id < FirstApplicationLED) {
            general |= static_cast<uint8_t>(1U << id);
        } else {
            ++application;
        }
    }
    return Accept({general, application});
}

Reply Carrier::LEDColors(Request request, LedClock::time_point /*now*/) {
    const auto& leds = LEDs(request[1]).LEDs();
    const auto found = leds.find(request[2]);
    if (found == leds.end()) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    const Led& led = found->second.m_led;
    return Accept({led.m_colors, static_cast<uint8_t>(led.m_defaultLocalColor),
                   static_cast<uint8_t>(led.m_defaultOverrideColor)});
}

Reply Carrier::SetLEDState(Request request, LedClock::time_point now) {
    LedPanel& panel = m_panels.at(request[1]);
    const uint8_t code = panel.Set(request[2], request[3], request[4], request[5], now);
    return code == 0 ? Accept() : Refuse(code);
}

// States of lower priority are always reported, those of higher priority only while they are in effect. A lamp test
// without an override is reported with an override of "off".
Reply Carrier::GetLEDState(Request request, LedClock::time_point now) {
    const auto& leds = LEDs(request[1]).LEDs();
    const auto found = leds.find(request[2]);
    if (found == leds.end()) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    const LedState& state = found->second;
    const bool lampTest = state.IsLampTest(now);
    const auto flags = static_cast<uint8_t>(int{state.m_led.m_localControl} | int{state.m_override.has_value()} << 1 |
                                            int{lampTest} << 2);
    Reply reply = Accept({flags});
    Append(reply, state.m_local);
    if (state.m_override || lampTest) {
        Append(reply, state.m_override.value_or(LedAction{LedOff, 0, state.m_overrideColor}));
    }
    if (lampTest) {
        using Tenths = std::chrono::duration<int, std::deci>;
        const auto left = std::chrono::ceil<Tenths>(state.m_lampTestEnd - now);
        reply.push_back(static_cast<uint8_t>(left.count()));
    }
    return reply;
}

} // namespace bladesim
