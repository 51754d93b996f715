// What the reads of the groups differ in, each with its own texts and rows; see the header.
#include "adaptor/leds/LedReadTest.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <array>

namespace BM_ADAPTOR::TEST {

void PrintTo(const LED_READ_GROUP& a_Group, std::ostream* a_Stream) {
    *a_Stream << a_Group.m_Name;
}

namespace {

TEXTS InternalRow(const std::string& a_Base, const std::array<int, 5>& a_Values, int a_Supported = -1) {
    const char* l_Ids[] = {"05", "02", "03", "04", "0c"};
    TEXTS l_Row;
    for (std::size_t i = 0; i < 5; ++i)
        l_Row.push_back(a_Base + l_Ids[i] + " i:" + std::to_string(a_Values[i]));
    const char* l_Flags[] = {"06", "07", "08", "09", "0a", "0b"};
    for (int i = 0; i < 6; ++i)
        l_Row.push_back(a_Base + l_Flags[i] + (i == a_Supported ? " b:true" : " b:false"));
    return l_Row;
}

LED_READ_GROUP Internal(LED_READ_GROUP a_Group, const std::string& a_Base) {
    a_Group.m_SimulatedRow = InternalRow(a_Base, {1, 1, 0, 1000, 2}, 4);
    a_Group.m_LocalGreenRow = InternalRow(a_Base, {1, 1, 0, 0, 3});
    a_Group.m_BlinkingAmberRow = InternalRow(a_Base, {0, 40, 50, 0, 5});
    a_Group.m_EmptyRow = InternalRow(a_Base, {0, 0, 0, 0, 0});
    return a_Group;
}

LED_READ_GROUP External(LED_READ_GROUP a_Group, const std::string& a_Color, const std::string& a_Mode) {
    a_Group.m_SimulatedRow = {a_Color + " i:2", a_Mode + " i:1"};
    a_Group.m_LocalGreenRow = {a_Color + " i:3", a_Mode + " i:1"};
    a_Group.m_BlinkingAmberRow = {a_Color + " i:4", a_Mode + " i:2"};
    a_Group.m_EmptyRow = {a_Color + " i:7", a_Mode + " i:1"};
    return a_Group;
}

} // namespace

const std::vector<LED_READ_GROUP>& LedReadGroups() {
    static const std::vector<LED_READ_GROUP> l_Groups = {
        Internal({"BaseboardInternal",
                  0x100,
                  &LED_READS::BaseboardInternal,
                  0x101,
                  0,
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams -- In bad state 1",
                  "IPMIAdaptor::Baseboard_LED_Internal_ReadParams pRow=NULL",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams (threadid=",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams -- no LED Type in keys",
                  nullptr,
                  nullptr,
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Base Board not found ",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - simulate data",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Using OpenIPMI Control",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Read complete",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - FRUID=0 TargetLED=2",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - LED not found",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Packing LED Response",
                  "BBLED-ConvertStateToInternalRow",
                  {},
                  {},
                  {},
                  {}},
                 "0x1"),
        External({"Baseboard",
                  0x30100,
                  &LED_READS::Baseboard,
                  0x30101,
                  0,
                  "IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state 1",
                  "IPMIAdaptor::Baseboard_LED_ReadParams pRow=NULL",
                  "IPMIAdaptor :: Baseboard_LED_ReadParams (threadid=",
                  "IPMIAdaptor :: Baseboard_LED_ReadParams -- no LED Type in keys",
                  nullptr,
                  "IPMIAdaptor :: Baseboard_LED_ReadParams -- Looking for LED 2",
                  "IPMIAdaptor :: Board_Hardware_ReadParams - Base Board not found ",
                  "IPMIAdaptor :: Board_Hardware_ReadParams - providing simulated data",
                  "IPMIAdaptor :: Baseboard_LED_ReadParams - Using OpenIPMI Control",
                  "IPMIAdaptor :: Baseboard_LED_ReadParams - Read complete",
                  "IPMIAdaptor :: Baseboard_LED_ReadParams - FRUID=0 TargetLED=2",
                  "IPMIAdaptor :: Baseboard_LED_ReadParams - LED not found",
                  "IPMIAdaptor :: Baseboard_LED_ReadParams - Packing LED Response",
                  nullptr,
                  {},
                  {},
                  {},
                  {}},
                 "0x30102", "0x30103"),
        Internal({"AmcInternal",
                  0x200,
                  &LED_READS::AMCInternal,
                  0x201,
                  0x20d,
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- In bad state 1",
                  "IPMIAdaptor::AMC_LED_Internal_ReadParams pRow=NULL",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams (threadid=",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- no LED Type in keys",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- no Bay Location in keys",
                  nullptr,
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams - AMC not found",
                  "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - simulate data",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams - Using OpenIPMI Control",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams - Read complete",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams - FRUID=4 TargetLED=2",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams - LED not found",
                  "IPMIAdaptor :: AMC_LED_Internal_ReadParams - Packing LED Response",
                  "BBLED-ConvertStateToInternalAMCRow",
                  {},
                  {},
                  {},
                  {}},
                 "0x2"),
        External({"Amc",
                  0x30300,
                  &LED_READS::AMC,
                  0x30302,
                  0x30301,
                  "IPMIAdaptor :: AMC_LED_ReadParams -- In bad state 1",
                  "IPMIAdaptor::AMC_LED_ReadParams pRow=NULL",
                  "IPMIAdaptor :: AMC_LED_ReadParams (threadid=",
                  "AMC_LED_ReadParams Read row - key AMC TYPE not found",
                  "AMC_LED_ReadParams Read row - key Bay Location not found",
                  nullptr,
                  "IPMIAdaptor :: AMC_LED_ReadParams - Base Board not found ",
                  "IPMIAdaptor :: AMC_LED_ReadParams - simulate data",
                  "IPMIAdaptor :: AMC_LED_ReadParams - Using OpenIPMI Control",
                  "IPMIAdaptor :: AMC_LED_ReadParams - Read complete",
                  "IPMIAdaptor :: AMC_LED_ReadParams - Using Bypass to send LED command FRUID=4 TargetLED=2",
                  "IPMIAdaptor :: AMC_LED_ReadParams - LED not found",
                  "IPMIAdaptor :: AMC_LED_ReadParams - Packing LED Response",
                  nullptr,
                  {},
                  {},
                  {},
                  {}},
                 "0x30303", "0x30304"),
    };
    return l_Groups;
}

IPMI_ENTITY& LED_READ_TEST::AddOwner(int a_NumLEDs) {
    return GetParam().IsBoard() ? AddBoard(a_NumLEDs) : AddAMC(BAY, a_NumLEDs);
}

int LED_READ_TEST::Read(int a_LEDID, int a_Bay) {
    m_Row = CBMIParams();
    std::vector<std::pair<unsigned, int32_t>> l_Keys = {{GetParam().m_LEDKey, a_LEDID}};
    if (!GetParam().IsBoard()) l_Keys.emplace_back(GetParam().m_BayKey, a_Bay);
    return ReadWith(Integers<CBMIKeys>(l_Keys));
}

TEXTS LED_READ_TEST::WithKeys(TEXTS a_Row, int a_LEDID, int a_Bay) {
    TEXTS l_Keys = {FormatText("0x%x i:%i key", GetParam().m_LEDKey, a_LEDID)};
    if (!GetParam().IsBoard()) l_Keys.push_back(FormatText("0x%x i:%i key", GetParam().m_BayKey, a_Bay));
    a_Row.insert(a_Row.begin(), l_Keys.begin(), l_Keys.end());
    return a_Row;
}

LOG_LINE LED_READ_TEST::Entry() {
    return Trace(GetParam().m_Entry + FormatText("%x)", ThreadId()));
}

std::vector<LOG_LINE> LED_READ_TEST::AfterEntry(const std::vector<LOG_LINE>& a_Lines) {
    std::vector<LOG_LINE> l_Lines = {Entry()};
    if (GetParam().m_Looking != nullptr) l_Lines.push_back(Trace(GetParam().m_Looking));
    l_Lines.insert(l_Lines.end(), a_Lines.begin(), a_Lines.end());
    return l_Lines;
}

std::vector<LOG_LINE> LED_READ_TEST::ThenConverting(std::vector<LOG_LINE> a_Lines) {
    if (GetParam().m_Converting != nullptr) a_Lines.push_back(Trace(GetParam().m_Converting));
    return a_Lines;
}

} // namespace BM_ADAPTOR::TEST
