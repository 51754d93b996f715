// What the tests of the LED commands need: a probe whose FRU 5 has four LEDs, and a thread that delivers the
// controller's replies.
#pragma once

#include "ipmi/model/IPMI_LEDState.h"
#include "ipmi/probe/ProbeFixture.h"

#include "fake/openipmi/EventLoop.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

inline BM_ADAPTOR::LED_STATE Setting(int32_t a_OnTime, int32_t a_OffTime, int32_t a_Color = 3,
                                     int32_t a_LocalControl = 0) {
    BM_ADAPTOR::LED_STATE l_State;
    l_State.m_OnTime = a_OnTime;
    l_State.m_OffTime = a_OffTime;
    l_State.m_Color = a_Color;
    l_State.m_LocalControl = a_LocalControl;
    return l_State;
}

class LED_COMMAND_TEST : public PROBE_TEST {
protected:
    LED_COMMAND_TEST() { GiveEntity(5, 4); }

    void OnSet(BYTES a_Reply) { Fake().OnRequest({0x2C, 0x07}, std::move(a_Reply)); }
    void OnGet(BYTES a_Reply) { Fake().OnRequest({0x2C, 0x08}, std::move(a_Reply)); }
    int Set(BM_ADAPTOR::LED_STATE a_State, int a_FRUID = 5, int a_LEDID = 2) {
        return m_Probe->SendSetPICMCLEDState(a_FRUID, a_LEDID, &a_State);
    }
    int Get(int a_FRUID = 5, int a_LEDID = 2) { return m_Probe->SendGetPICMCLEDState(a_FRUID, a_LEDID, &m_State); }
    /// The lines with these beginnings, in their order.
    std::vector<LOG_LINE> LinesOf(std::initializer_list<std::string_view> a_Beginnings) const {
        std::vector<LOG_LINE> l_Lines = m_Log.Lines();
        std::erase_if(l_Lines, [&](const LOG_LINE& a_Line) {
            return std::ranges::none_of(a_Beginnings,
                                        [&](std::string_view a_Begin) { return a_Line.m_Text.starts_with(a_Begin); });
        });
        return l_Lines;
    }
    std::vector<LOG_LINE> SetLines() const { return LinesOf({"ENTITYCAPTURE :: SendSetPICMCLEDState"}); }
    std::vector<LOG_LINE> DecodeLines() const { return LinesOf({"ENTITYCAPTURE :: ReceivedPICMCLEDState"}); }

    BM_ADAPTOR::LED_STATE m_State;
    EVENT_LOOP m_Loop; ///< ends first
};
