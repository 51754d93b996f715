// Reads of one LED through the four groups: every branch with every group's own texts and rows.
#include "adaptor/leds/LedTest.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "fake/ThrowingLog.h"

#include <limits>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using READ = int (IPMIAdaptor::*)(const CBMIKeys*, CBMIParams*);

struct GROUP {
    const char* m_Name;
    unsigned m_Group;
    READ m_Read;
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

void PrintTo(const GROUP& a_Group, std::ostream* a_Stream) {
    *a_Stream << a_Group.m_Name;
}

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

GROUP Internal(GROUP a_Group, const std::string& a_Base) {
    a_Group.m_SimulatedRow = InternalRow(a_Base, {1, 1, 0, 1000, 2}, 4);
    a_Group.m_LocalGreenRow = InternalRow(a_Base, {1, 1, 0, 0, 3});
    a_Group.m_BlinkingAmberRow = InternalRow(a_Base, {0, 40, 50, 0, 5});
    a_Group.m_EmptyRow = InternalRow(a_Base, {0, 0, 0, 0, 0});
    return a_Group;
}

GROUP External(GROUP a_Group, const std::string& a_Color, const std::string& a_Mode) {
    a_Group.m_SimulatedRow = {a_Color + " i:2", a_Mode + " i:1"};
    a_Group.m_LocalGreenRow = {a_Color + " i:3", a_Mode + " i:1"};
    a_Group.m_BlinkingAmberRow = {a_Color + " i:4", a_Mode + " i:2"};
    a_Group.m_EmptyRow = {a_Color + " i:7", a_Mode + " i:1"};
    return a_Group;
}

const GROUP g_Groups[] = {
    Internal({"BaseboardInternal",
              0x100,
              &IPMIAdaptor::Baseboard_LED_Internal_ReadParams,
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
              &IPMIAdaptor::Baseboard_LED_ReadParams,
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
              &IPMIAdaptor::AMC_LED_Internal_ReadParams,
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
              &IPMIAdaptor::AMC_LED_ReadParams,
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

constexpr int BAY = 4;

class LedRead : public LED_TEST, public testing::WithParamInterface<GROUP> {
protected:
    /// The board, or the AMC in the bay.
    IPMI_ENTITY& AddOwner(int a_NumLEDs = 3) {
        return GetParam().IsBoard() ? AddBoard(a_NumLEDs) : AddAMC(BAY, a_NumLEDs);
    }
    static uint8_t FRUID() { return GetParam().IsBoard() ? 0 : BAY; }

    int Read(int a_LEDID = 2, int a_Bay = BAY) {
        m_Row = CBMIParams();
        std::vector<std::pair<unsigned, int32_t>> l_Keys = {{GetParam().m_LEDKey, a_LEDID}};
        if (!GetParam().IsBoard()) l_Keys.emplace_back(GetParam().m_BayKey, a_Bay);
        return ReadWith(Integers<CBMIKeys>(l_Keys));
    }
    int ReadWith(const CBMIKeys& a_Keys) { return (m_Adaptor.*GetParam().m_Read)(&a_Keys, &m_Row); }

    /// The group's row with its keys, in order.
    static TEXTS WithKeys(TEXTS a_Row, int a_LEDID = 2, int a_Bay = BAY) {
        TEXTS l_Keys = {FormatText("0x%x i:%i key", GetParam().m_LEDKey, a_LEDID)};
        if (!GetParam().IsBoard()) l_Keys.push_back(FormatText("0x%x i:%i key", GetParam().m_BayKey, a_Bay));
        a_Row.insert(a_Row.begin(), l_Keys.begin(), l_Keys.end());
        return a_Row;
    }

    static LOG_LINE Entry() { return Trace(GetParam().m_Entry + FormatText("%x)", ThreadId())); }
    /// Entry, what the group says when it begins to look, and these.
    static std::vector<LOG_LINE> AfterEntry(const std::vector<LOG_LINE>& a_Lines) {
        std::vector<LOG_LINE> l_Lines = {Entry()};
        if (GetParam().m_Looking != nullptr) l_Lines.push_back(Trace(GetParam().m_Looking));
        l_Lines.insert(l_Lines.end(), a_Lines.begin(), a_Lines.end());
        return l_Lines;
    }
    /// These, and what the group's conversion says.
    static std::vector<LOG_LINE> ThenConverting(std::vector<LOG_LINE> a_Lines) {
        if (GetParam().m_Converting != nullptr) a_Lines.push_back(Trace(GetParam().m_Converting));
        return a_Lines;
    }
};

// ---- arguments

TEST_P(LedRead, WithoutARowGives12) {
    const CBMIKeys l_Keys;
    EXPECT_EQ((m_Adaptor.*GetParam().m_Read)(&l_Keys, nullptr), 12);
    EXPECT_THAT(Lines(), ElementsAre(Error(GetParam().m_NoRow)));
}

TEST_P(LedRead, WithoutKeysGives12) {
    EXPECT_EQ((m_Adaptor.*GetParam().m_Read)(nullptr, &m_Row), 12);
    EXPECT_THAT(Lines(), ElementsAre(Entry()));
    EXPECT_THAT(Row(), IsEmpty());
}

TEST_P(LedRead, WithoutAnIntegerLedIdGives12) {
    CBMIKeys l_Text = TextKeyOf(static_cast<BMIParamId_e>(GetParam().m_LEDKey), "2");
    for (const CBMIKeys& l_Keys : {CBMIKeys(), l_Text, Integers<CBMIKeys>({{0x20d, 4}, {0x30301, 4}})}) {
        EXPECT_EQ(ReadWith(l_Keys), 12);
        EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(GetParam().m_NoLEDKey)));
    }
    EXPECT_THAT(Row(), IsEmpty());
}

TEST_P(LedRead, WithoutABayAnAmcsLedIsNotFound) {
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    const CBMIKeys l_Keys = Integers<CBMIKeys>({{GetParam().m_LEDKey, 2}});
    EXPECT_EQ(ReadWith(l_Keys), GetParam().IsBoard() ? 1 : 12);
    if (GetParam().IsBoard()) return;
    EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(GetParam().m_NoBayKey)));
    EXPECT_THAT(Row(), IsEmpty());
}

TEST_P(LedRead, OutsideTheStartedStateItLogsAndCarriesOn) {
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    BeInState(1);
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Lines().at(0), Error(GetParam().m_BadState));
    EXPECT_EQ(Row(), WithKeys(GetParam().m_LocalGreenRow));
}

TEST_P(LedRead, WithoutTheEntityGives12) {
    AddWithLEDs(ENTITY_ID_NONE, BAY, 1);
    if (GetParam().IsBoard()) AddAMC(BAY);
    if (!GetParam().IsBoard()) AddBoard(), AddAMC(BAY + 1);
    EXPECT_EQ(Read(), 12);
    EXPECT_EQ(HandlerLines(), AfterEntry({Error(GetParam().m_NoEntity)}));
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_EQ(Fake().SentCount(), 0U);
}

// ---- which entity

TEST_P(LedRead, AmcComesBeforeTheRtmOfTheSameBay) {
    if (GetParam().IsBoard()) {
        AddOwner();
        OnGet(0, 1, LOCAL_GREEN);
        EXPECT_EQ(Read(2, 9), 1) << "a baseboard has no bay";
        return;
    }
    AddWithLEDs(ENTITY_ID_RTM, 9, 7);
    OnGet(7, 1, LOCAL_GREEN);
    EXPECT_EQ(Read(2, 9), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_LocalGreenRow, 2, 9));
    AddWithLEDs(ENTITY_ID_AMC, 9, 8);
    OnGet(8, 1, BLINKING_AMBER);
    EXPECT_EQ(Read(2, 9), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_BlinkingAmberRow, 2, 9));
}

// ---- simulation

TEST_P(LedRead, IsSimulatedUnderTheCompleteSimulation) {
    AddLight(AddOwner(), "led 1");
    g_bCompleteIPMISimulation = true;
    EXPECT_EQ(Read(), 1);
    TEXTS l_Expected = WithKeys(GetParam().m_SimulatedRow);
    if (GetParam().m_Group == 0x200) l_Expected.erase(l_Expected.begin() + 1); // without its bay
    EXPECT_EQ(Row(), l_Expected);
    EXPECT_EQ(HandlerLines(), AfterEntry(ThenConverting({Trace(GetParam().m_Simulated)})));
    EXPECT_THAT(Fake().Controls().m_Calls, IsEmpty());
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedRead, OfAModuleIsSimulatedWhenOnlyTheModulesAre) {
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    g_bAMCRTMOnlySimulation = true;
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Fake().SentCount(), GetParam().IsBoard() ? 1U : 0U);
}

TEST_P(LedRead, NeedsTheEntityUnderSimulationToo) {
    g_bCompleteIPMISimulation = true;
    EXPECT_EQ(Read(), 12);
    EXPECT_EQ(HandlerLines(), AfterEntry({Error(GetParam().m_NoEntity)}));
}

// ---- through an OpenIPMI control

TEST_P(LedRead, UsesTheControlWhenThereIsOne) {
    ipmi_control_t* const l_Light = AddLight(AddOwner(), "led 1");
    l_Light->m_Light = {1, 1, 0, 3};
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_LocalGreenRow));
    std::vector<LOG_LINE> l_Lines = HandlerLines();
    std::erase_if(l_Lines,
                  [](const LOG_LINE& a_Line) { return a_Line.m_Text.find("searching for") != std::string::npos; });
    EXPECT_EQ(l_Lines,
              AfterEntry(ThenConverting({Trace(GetParam().m_UsingControl), Trace(GetParam().m_ReadComplete)})));
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedRead, ThroughAControlThatFailsIsAnEmptyRow) {
    AddLight(AddOwner(), "led 1")->m_Light = {1, 1, 0, 3};
    Fake().Controls().m_CompletionError = 5;
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_EmptyRow));
}

TEST_P(LedRead, GoesThroughTheProbeForAnLedWithoutAControl) {
    IPMI_ENTITY& l_Owner = AddOwner(4);
    for (const char* l_Light : {"blue led", "led 1", "led 2", "led 3"})
        AddLight(l_Owner, l_Light);
    OnGet(FRUID(), 3, BLINKING_AMBER);
    EXPECT_EQ(Read(4), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_BlinkingAmberRow, 4));
}

// ---- through the probe

TEST_P(LedRead, AsksTheControllerForTheLedOneBelow) {
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_LocalGreenRow));
    EXPECT_THAT(Fake().SentBytes(), ElementsAre(BYTES{0x2C, 0x08, 0x00, FRUID(), 1}));
    EXPECT_EQ(HandlerLines(),
              AfterEntry(ThenConverting({Trace(GetParam().m_UsingProbe), Trace(GetParam().m_Packing)})));
}

// On either thread, from the command's first line to its last.
TEST_P(LedRead, EndsWithItsRowWhenEveryLineThrows) {
    THROWING_LOG l_Log;
    g_Logger2 = &l_Log;
    IPMI_TEST_ACCESS::Logger(m_Adaptor) = &l_Log;
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_LocalGreenRow));
    Fake().WaitUntilIdle();
    g_Logger2 = &m_Log;
}

TEST_P(LedRead, RefusedByTheControllerGives0AndAnEmptyRow) {
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    EXPECT_EQ(Read(), 1);
    for (const BYTES& l_Reply : {BYTES{0xC1}, BYTES{0xC9, 0x00}, BYTES{}, BYTES{0x00}, BYTES{0x00, 0x00, 0x03}}) {
        OnGet(FRUID(), 1, l_Reply);
        EXPECT_EQ(Read(), 0);
        EXPECT_EQ(Row(), WithKeys(GetParam().m_EmptyRow));
    }
}

TEST_P(LedRead, OfAnLedThatIsNotThereGives12) {
    AddOwner();
    for (const int l_LEDID : {4, 5, 0, -1, 256, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(Read(l_LEDID), 12) << l_LEDID;
        EXPECT_EQ(HandlerLines().back(), Error(GetParam().m_NoLED));
        EXPECT_THAT(Row(), IsEmpty());
    }
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedRead, OfAnLedThatTheProbeDoesNotKnowGivesItsFailure) {
    AddOwner();
    IPMI_TEST_ACCESS::FRUEntities(*m_Probe).clear();
    EXPECT_EQ(Read(), -1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_EmptyRow));
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedRead, WithoutAProbeGives12) {
    AddOwner();
    ForgetProbe();
    EXPECT_EQ(Read(), 12);
    EXPECT_THAT(Row(), IsEmpty());
}

TEST_P(LedRead, TakesKeysOfBothIntegerTypes) {
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    CBMIKeys l_Keys = KeyOf(static_cast<BMIParamId_e>(GetParam().m_LEDKey), 2, BMI_PARAM_UINT);
    CBMIParam l_Bay(BMI_PARAM_UINT, GetParam().m_BayKey, true);
    l_Bay.SetInt(BAY);
    l_Keys.Add(l_Bay);
    EXPECT_EQ(ReadWith(l_Keys), 1);
    EXPECT_EQ(Row(), WithKeys(GetParam().m_LocalGreenRow));
}

TEST_P(LedRead, IsReachedThroughItsGroup) {
    AddOwner();
    OnGet(FRUID(), 1, LOCAL_GREEN);
    const CBMIKeys l_Keys = Integers<CBMIKeys>({{GetParam().m_LEDKey, 2}, {GetParam().m_BayKey, BAY}});
    CBMIParams* l_Row = nullptr;
    EXPECT_EQ(m_Adaptor.ReadParams(GetParam().m_Group, &l_Keys, l_Row), 1);
    const std::unique_ptr<CBMIParams> l_Owner(l_Row);
    ASSERT_NE(l_Row, nullptr);
    EXPECT_EQ(TextsOf(*l_Row), WithKeys(GetParam().m_LocalGreenRow));
}

INSTANTIATE_TEST_SUITE_P(Groups, LedRead, testing::ValuesIn(g_Groups),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
