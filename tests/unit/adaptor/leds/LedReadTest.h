// A read of one LED through each group, and what the reads differ in.
#pragma once

#include "adaptor/leds/LedTest.h"

#include "adaptor/leds/IPMI_LEDReads.h"

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace BM_ADAPTOR::TEST {

/// What the reads of the groups differ in.
struct LED_READ_GROUP {
    const char* m_Name;
    unsigned m_Group;
    int (LED_READS::*m_Read)(const CBMIKeys*, CBMIParams*) const;
    unsigned m_LEDKey;
    unsigned m_BayKey; ///< 0: a baseboard's
    // Texts, as a log shows them.
    const char* m_BadState;
    const char* m_NoRow;
    const char* m_Entry; ///< before the thread's number
    const char* m_NoLEDKey;
    const char* m_NoBayKey;
    const char* m_Looking; ///< null: says nothing; for LED 2
    const char* m_NoEntity;
    const char* m_Simulated;
    const char* m_UsingControl;
    const char* m_ReadComplete;
    const char* m_UsingProbe; ///< for LED 2, before the FRU id is known
    const char* m_NoLED;
    const char* m_Packing;
    // Lines of the conversions, and rows without keys.
    const char* m_Converting; ///< null: says nothing
    TEXTS m_SimulatedRow;
    TEXTS m_LocalGreenRow;
    TEXTS m_BlinkingAmberRow;
    TEXTS m_EmptyRow; ///< of a state that could not be read

    bool IsBoard() const { return m_BayKey == 0; }
};

void PrintTo(const LED_READ_GROUP& a_Group, std::ostream* a_Stream);

/// 0x100, 0x30100, 0x200, 0x30300.
const std::vector<LED_READ_GROUP>& LedReadGroups();

class LED_READ_TEST : public LED_ROOM_TEST, public testing::WithParamInterface<LED_READ_GROUP> {
protected:
    static constexpr int BAY = 4;

    /// The board, or the AMC in the bay.
    IPMI_ENTITY& AddOwner(int a_NumLEDs = 3);
    static uint8_t FRUID() { return GetParam().IsBoard() ? 0 : BAY; }

    int Read(int a_LEDID = 2, int a_Bay = BAY);
    int ReadWith(const CBMIKeys& a_Keys) { return (LED_READS(m_Frame).*GetParam().m_Read)(&a_Keys, &m_Row); }

    /// The group's row with its keys, in order.
    static TEXTS WithKeys(TEXTS a_Row, int a_LEDID = 2, int a_Bay = BAY);

    static LOG_LINE Entry();
    /// Entry, what the group says when it begins to look, and these.
    static std::vector<LOG_LINE> AfterEntry(const std::vector<LOG_LINE>& a_Lines);
    /// These, and what the group's conversion says.
    static std::vector<LOG_LINE> ThenConverting(std::vector<LOG_LINE> a_Lines);
};

} // namespace BM_ADAPTOR::TEST
