// Look-ups of the LED handlers: entity, light control and LED record.
#include "adaptor/IPMI_LEDs_Handlers.h"

#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_text.h"

namespace BM_ADAPTOR {

namespace {

// A control's name behind its address; null for an LED id without one.
const char* LightName(int a_LEDID) {
    switch (a_LEDID) {
    case HOST_LED_HOT_SWAP:
        return "blue led";
    case HOST_LED_OUT_OF_SERVICE:
        return "led 1";
    case HOST_LED_HEALTH:
        return "led 2";
    default:
        return nullptr;
    }
}

} // namespace

IPMI_ENTITY* IPMIAdaptor::FindEntitybyEntityID(int a_EntityID) const {
    return FirstEntity([=](const IPMI_ENTITY& a_Entity) { return a_Entity.m_EntityID == a_EntityID; });
}

IPMI_ENTITY* IPMIAdaptor::FindEntitybyEntityIDBayLocation(int a_EntityID, int a_Location) const {
    LogTrace(m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation input ID=%i loc=%i", a_EntityID, a_Location);
    for (const auto& [l_Address, l_Entity] : g_EntityMap) {
        if (l_Entity == nullptr) {
            LogError(m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation ERROR entity map corrupt");
            continue;
        }
        LogTrace(m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation comparing id=%i loc=%i",
                 l_Entity->m_EntityID, l_Entity->m_BayLocation);
        if (l_Entity->m_EntityID != a_EntityID || l_Entity->m_BayLocation != a_Location) continue;
        LogTrace(m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation id=%i loc=%i - FOUND", a_EntityID,
                 a_Location);
        return l_Entity;
    }
    LogTrace(m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation id=%i loc=%i - NOT FOUND", a_EntityID,
             a_Location);
    return nullptr;
}

// The lines name the baseboard's handler for every LED.
IPMI_CONTROL* IPMIAdaptor::FindControlbyLEDID(IPMI_ENTITY* a_Entity, int a_LEDID) const {
    const char* l_Light = LightName(a_LEDID);
    if (a_Entity == nullptr || l_Light == nullptr) return nullptr;
    for (const auto& [l_Key, l_Control] : a_Entity->m_ControlMap) {
        if (l_Control == nullptr) continue;
        const std::string l_Name = FormatText("(r0.%i.%i.0).", l_Control->m_Address, l_Control->m_EntityID) + l_Light;
        LogTrace(m_Logger, "IPMIAdaptor::Baseboard_LED_ReadParams searching for %s target=%u", l_Name.c_str(),
                 static_cast<unsigned>(a_LEDID));
        if (l_Control->m_Name != l_Name) continue;
        LogTrace(m_Logger, "IPMIAdaptor::Baseboard_LED_ReadParams searching for %s - FOUND", l_Name.c_str());
        return l_Control;
    }
    return nullptr;
}

IPMI_LED* IPMIAdaptor::FindLEDbyLEDID(IPMI_ENTITY* a_Entity, int a_LEDID) const {
    if (a_Entity == nullptr) return nullptr;
    const auto l_Found = a_Entity->m_LEDMap.find(a_LEDID);
    return l_Found != a_Entity->m_LEDMap.end() ? l_Found->second : nullptr;
}

LED_TARGET IPMIAdaptor::mLEDTarget(IPMI_ENTITY& a_Entity, int32_t a_LEDID) const {
    LED_TARGET l_Target;
    l_Target.m_FRUDeviceID = a_Entity.m_FRUDeviceID;
    l_Target.m_HostLEDID = a_LEDID;
    l_Target.m_PICMGLEDID = a_LEDID > 0 ? a_LEDID - 1 : -1; // no LED has a negative id
    if (const IPMI_CONTROL* l_Control = FindControlbyLEDID(&a_Entity, a_LEDID)) l_Target.m_Control = *l_Control;
    l_Target.m_LED = FindLEDbyLEDID(&a_Entity, l_Target.m_PICMGLEDID);
    return l_Target;
}

} // namespace BM_ADAPTOR
