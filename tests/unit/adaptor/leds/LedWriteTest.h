// A write of one LED, of the baseboard's and of the first AMC's, and what the two differ in.
#pragma once

#include "adaptor/leds/LedTest.h"

#include "adaptor/leds/IPMI_LEDWrites.h"

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace BM_ADAPTOR::TEST {

/// What the writes differ in.
struct LED_WRITE_KIND {
    const char* m_Name;
    int (LED_WRITES::*m_Write)(const CBMIKeys*, const CBMIParams*) const;
    unsigned m_Base; ///< ids are numbered from here
    uint8_t m_FRUID;
    const char* m_Entity; ///< as the traces call it
    const char* m_Convert;
    const char* m_NoLEDKey;
    const char* m_NoEntity;
    const char* m_Simulated; ///< null: says nothing

    bool IsBoard() const { return m_Base == 0x100; }
};

void PrintTo(const LED_WRITE_KIND& a_Kind, std::ostream* a_Stream);

const std::vector<LED_WRITE_KIND>& LedWriteKinds();

/// Values by the last part of their ids.
using VALUES = std::vector<std::pair<unsigned, int32_t>>;
inline const VALUES GREEN_ON = {{0x0C, 3}, {0x02, 1}, {0x03, 0}, {0x05, 1}};

class LED_WRITE_TEST : public LED_ROOM_TEST, public testing::WithParamInterface<LED_WRITE_KIND> {
protected:
    static constexpr int BAY = 4;

    /// The board, or the AMC in the bay.
    IPMI_ENTITY& AddOwner(int a_NumLEDs = 3);

    static CBMIKeys Keys(int a_LEDID, int a_Bay = BAY);
    static CBMIParams Values(VALUES a_Values);
    int Write(const VALUES& a_Values = GREEN_ON, int a_LEDID = 2, int a_Bay = BAY);
    int WriteWith(const CBMIKeys* a_Keys, const CBMIParams* a_Values) {
        return (LED_WRITES(m_Frame).*GetParam().m_Write)(a_Keys, a_Values);
    }

    /// A text that begins with the writer's name.
    static std::string Text(const std::string& a_End);
    static LOG_LINE Entry();
    /// The lines up to the look-up of the control, the search for the AMC among them.
    static std::vector<LOG_LINE> UpToControl();
    std::vector<LOG_LINE> HandlerLinesWithoutConversions();
};

} // namespace BM_ADAPTOR::TEST
