// What the LED tests need: entities with LEDs in the model and in a probe, lights that OpenIPMI would control, a thread
// that delivers their answers, and an adaptor or what the LED room takes of one.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "adaptor/IPMI_LEDs.h"
#include "fake/openipmi/EventLoop.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace BM_ADAPTOR::TEST {

/// Rows and keys of integers, in order; CBMIKeys or CBMIParams.
template <typename ROW>
ROW Integers(const std::vector<std::pair<unsigned, int32_t>>& a_Values) {
    ROW l_Row;
    for (const auto& [l_Id, l_Value] : a_Values) {
        CBMIParam l_Param(BMI_PARAM_INT, l_Id, std::is_same_v<ROW, CBMIKeys>);
        l_Param.SetInt(l_Value);
        l_Row.Add(l_Param);
    }
    return l_Row;
}

/// A probe whose inventory is over, entities with LEDs in the model and in that probe, and a thread in OpenIPMI's event
/// loop. Part of a fixture, whose other base makes the process as new.
class LED_BLADE {
protected:
    explicit LED_BLADE(RECORDING_LOG& a_Log);
    ~LED_BLADE();
    LED_BLADE(const LED_BLADE&) = delete;
    LED_BLADE& operator=(const LED_BLADE&) = delete;

    /// An entity in the model, known to the probe under this FRU device id, with LEDs 0 to `a_NumLEDs` - 1.
    IPMI_ENTITY& AddWithLEDs(int a_EntityID, int a_Bay, uint8_t a_FRUID, int a_NumLEDs = 3);
    IPMI_ENTITY& AddBoard(int a_NumLEDs = 3) { return AddWithLEDs(ENTITY_ID_BASEBOARD, 3, 0, a_NumLEDs); }
    IPMI_ENTITY& AddAMC(int a_Bay, int a_NumLEDs = 3) {
        return AddWithLEDs(ENTITY_ID_AMC, a_Bay, static_cast<uint8_t>(a_Bay), a_NumLEDs);
    }
    /// Gives the entity a control for the light of this name ("blue led", "led 1" …); the fake owns the light.
    static ipmi_control_t* AddLight(IPMI_ENTITY& a_Entity, const std::string& a_Light);
    /// The controller answers Get FRU LED State of an LED with these bytes.
    static void OnGet(uint8_t a_FRUID, uint8_t a_LEDID, BYTES a_Reply);
    /// The controller takes every Set FRU LED State.
    static void TakeSets();
    /// The Set FRU LED State requests sent, from the FRU id on.
    static std::vector<BYTES> Sets();
    static void ForgetProbe() { g_ENTITYCapture = nullptr; }

    std::unique_ptr<ENTITYCAPTURE> m_Probe;
    EVENT_LOOP m_Loop; ///< ends first
};

/// Such a blade, and what the LED room takes of a started adaptor.
class LED_ROOM_TEST : public ROOM_TEST, protected LED_BLADE {
protected:
    LED_ROOM_TEST() : LED_BLADE(m_Log) {}

    /// The lines since the last call, without those of the probe, of the light request and of the look-up by bay.
    std::vector<LOG_LINE> HandlerLines();
};

/// Such a blade, and an adaptor as Init leaves it.
class LED_TEST : public ADAPTOR_TEST, protected LED_BLADE {
protected:
    LED_TEST() : LED_BLADE(m_Log) {}
};

/// Replies to Get FRU LED State: under local control, on, green; overridden, blinking 500 ms, amber.
inline const BYTES LOCAL_GREEN = {0x00, 0x00, 0x01, 0xFF, 0x00, 0x03};
inline const BYTES BLINKING_AMBER = {0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 50, 40, 0x04};

} // namespace BM_ADAPTOR::TEST
