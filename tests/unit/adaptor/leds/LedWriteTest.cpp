// What the writes of LEDs differ in, and their lines; see the header.
#include "adaptor/leds/LedWriteTest.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

namespace BM_ADAPTOR::TEST {

void PrintTo(const LED_WRITE_KIND& a_Kind, std::ostream* a_Stream) {
    *a_Stream << a_Kind.m_Name;
}

const std::vector<LED_WRITE_KIND>& LedWriteKinds() {
    static const std::vector<LED_WRITE_KIND> l_Kinds = {
        {"Baseboard", &LED_WRITES::Baseboard, 0x100, 0, "l_BaseBoard", "ConvertInternalRowToState",
         "IPMIAdaptor::Baseboard_LED_WriteParams - LED Type not found",
         "IPMIAdaptor :: Baseboard_LED_WriteParams - Base Board not found ",
         "IPMIAdaptor::Baseboard_LED_WriteParams - g_bCompleteIPMISimulation= true"},
        {"AMC", &LED_WRITES::AMC, 0x200, 4, "l_AMC", "ConvertInternalAMCRowToState",
         "IPMIAdaptor::AMC_LED_WriteParams - AMC Type not found",
         "IPMIAdaptor :: AMC_LED_WriteParams -- FindEntitybyEntityIDBayLocation() returns not found in all 1-8 bay "
         "locations, not to get controlID",
         nullptr},
    };
    return l_Kinds;
}

IPMI_ENTITY& LED_WRITE_TEST::AddOwner(int a_NumLEDs) {
    return GetParam().IsBoard() ? AddBoard(a_NumLEDs) : AddAMC(BAY, a_NumLEDs);
}

CBMIKeys LED_WRITE_TEST::Keys(int a_LEDID, int a_Bay) {
    VALUES l_Keys = {{GetParam().m_Base + 1, a_LEDID}};
    if (!GetParam().IsBoard()) l_Keys.emplace_back(BMI_HW_AMC_LED_BAY, a_Bay);
    return Integers<CBMIKeys>(l_Keys);
}

CBMIParams LED_WRITE_TEST::Values(VALUES a_Values) {
    for (auto& l_Value : a_Values)
        l_Value.first += GetParam().m_Base;
    return Integers<CBMIParams>(a_Values);
}

int LED_WRITE_TEST::Write(const VALUES& a_Values, int a_LEDID, int a_Bay) {
    const CBMIKeys l_Keys = Keys(a_LEDID, a_Bay);
    const CBMIParams l_Values = Values(a_Values);
    return WriteWith(&l_Keys, &l_Values);
}

std::string LED_WRITE_TEST::Text(const std::string& a_End) {
    return std::string("IPMIAdaptor :: ") + GetParam().m_Name + "_LED_WriteParams" + a_End;
}

LOG_LINE LED_WRITE_TEST::Entry() {
    return Trace(Text(FormatText(" (threadid=%x)", ThreadId())));
}

std::vector<LOG_LINE> LED_WRITE_TEST::UpToControl() {
    std::vector<LOG_LINE> l_Lines = {Entry(), Trace(Text(" -- l_TargetLED=2"))};
    if (!GetParam().IsBoard()) {
        for (int i = 1; i <= BAY; ++i)
            l_Lines.push_back(Trace(Text(FormatText(" -- calling FindEntitybyEntityIDBayLocation(%d)", i))));
        l_Lines.push_back(Trace(Text(" -- FindEntitybyEntityIDBayLocation(4) returns FOUND, break")));
    }
    l_Lines.push_back(
        Trace(Text(std::string(" -- calling FindControlbyLEDID(") + GetParam().m_Entity + ", l_TargetLED=2)")));
    return l_Lines;
}

std::vector<LOG_LINE> LED_WRITE_TEST::HandlerLinesWithoutConversions() {
    std::vector<LOG_LINE> l_Lines = HandlerLines();
    std::erase_if(l_Lines, [](const LOG_LINE& a_Line) {
        return a_Line.m_Text.find(":: Convert") != std::string::npos ||
               a_Line.m_Text.find("searching for") != std::string::npos;
    });
    return l_Lines;
}

} // namespace BM_ADAPTOR::TEST
