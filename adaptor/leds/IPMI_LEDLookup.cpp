// Where an LED is reached; see the header. The lines carry the names of the adaptor's operations.
#include "adaptor/leds/IPMI_LEDLookup.h"

#include "common/veldo_common_protocol.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <string>
#include <vector>

namespace BM_ADAPTOR {

namespace {

// What follows the address in a control's name; null for an LED id without one.
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

// One step of a look-up, kept for its line: lines are written after the lock was given back.
struct COMPARED_ENTITY {
    bool m_bNull = false;
    int32_t m_EntityID = 0;
    int32_t m_BayLocation = 0;
};

// Adds the steps that have a line to `a_Compared`.
IPMI_ENTITY* WalkToEntity(int a_EntityID, int a_Location, std::vector<COMPARED_ENTITY>& a_Compared) {
    const MODEL_READER l_Model(g_EntityMapLock);
    for (const auto& [l_Address, l_Entity] : g_EntityMap) {
        if (l_Entity == nullptr) {
            a_Compared.push_back({.m_bNull = true});
            continue;
        }
        if (TracesOn()) a_Compared.push_back({false, l_Entity->m_EntityID, l_Entity->m_BayLocation});
        if (l_Entity->m_EntityID == a_EntityID && l_Entity->m_BayLocation == a_Location) return l_Entity;
    }
    return nullptr;
}

// Adds to `a_Compared` the name that was looked for at each step.
IPMI_CONTROL* WalkToControl(const IPMI_ENTITY& a_Entity, const char* a_Light, std::vector<std::string>& a_Compared) {
    const MODEL_READER l_Model(g_EntityMapLock);
    for (const auto& [l_Key, l_Control] : a_Entity.m_ControlMap) {
        if (l_Control == nullptr) continue;
        a_Compared.push_back(FormatText("(r0.%i.%i.0).", l_Control->m_Address, l_Control->m_EntityID) + a_Light);
        if (l_Control->m_Name == a_Compared.back()) return l_Control;
    }
    return nullptr;
}

} // namespace

IPMI_ENTITY* LED_LOOKUP::Entity(int a_EntityID) {
    const MODEL_READER l_Model(g_EntityMapLock);
    return FirstEntity([=](const IPMI_ENTITY& a_Entity) { return a_Entity.m_EntityID == a_EntityID; });
}

IPMI_ENTITY* LED_LOOKUP::EntityOfBay(int a_EntityID, int a_Bay) const {
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation input ID=%i loc=%i", a_EntityID, a_Bay);
    std::vector<COMPARED_ENTITY> l_Compared;
    IPMI_ENTITY* const l_Found = WalkToEntity(a_EntityID, a_Bay, l_Compared);
    for (const auto& l_Entity : l_Compared) {
        if (l_Entity.m_bNull) {
            LogError(m_Frame.m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation ERROR entity map corrupt");
        } else {
            LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation comparing id=%i loc=%i",
                     l_Entity.m_EntityID, l_Entity.m_BayLocation);
        }
    }
    if (l_Found != nullptr) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation id=%i loc=%i - FOUND", a_EntityID,
                 a_Bay);
    } else {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: FindEntitybyEntityIDBayLocation id=%i loc=%i - NOT FOUND",
                 a_EntityID, a_Bay);
    }
    return l_Found;
}

// The lines name the baseboard's handler for every LED. On purpose.
IPMI_CONTROL* LED_LOOKUP::Control(const IPMI_ENTITY* a_Entity, int a_LEDID) const {
    const char* l_Light = LightName(a_LEDID);
    if (a_Entity == nullptr || l_Light == nullptr) return nullptr;
    std::vector<std::string> l_Compared;
    IPMI_CONTROL* const l_Found = WalkToControl(*a_Entity, l_Light, l_Compared);
    for (const std::string& l_Name : l_Compared) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor::Baseboard_LED_ReadParams searching for %s target=%u", l_Name.c_str(),
                 static_cast<unsigned>(a_LEDID));
    }
    if (l_Found != nullptr) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor::Baseboard_LED_ReadParams searching for %s - FOUND",
                 l_Compared.back().c_str());
    }
    return l_Found;
}

IPMI_LED* LED_LOOKUP::LED(const IPMI_ENTITY* a_Entity, int a_LEDID) {
    if (a_Entity == nullptr) return nullptr;
    const MODEL_READER l_Model(g_EntityMapLock);
    const auto l_Found = a_Entity->m_LEDMap.find(a_LEDID);
    return l_Found != a_Entity->m_LEDMap.end() ? l_Found->second : nullptr;
}

LED_TARGET LED_LOOKUP::Target(const IPMI_ENTITY& a_Entity, int32_t a_LEDID) const {
    LED_TARGET l_Target;
    l_Target.m_HostLEDID = a_LEDID;
    l_Target.m_PICMGLEDID = a_LEDID > 0 ? PICMGLEDOf(a_LEDID) : -1; // no LED has a negative id
    const IPMI_CONTROL* const l_Control = Control(&a_Entity, a_LEDID);
    l_Target.m_LED = LED(&a_Entity, l_Target.m_PICMGLEDID);
    const MODEL_READER l_Model(g_EntityMapLock);
    l_Target.m_FRUDeviceID = a_Entity.m_FRUDeviceID;
    if (l_Control != nullptr) l_Target.m_Control = *l_Control;
    return l_Target;
}

} // namespace BM_ADAPTOR
