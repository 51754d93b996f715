// Reads of one LED through the four groups: every branch with every group's own texts and rows.
#include "adaptor/leds/LedReadTest.h"

#include "fake/ThrowingLog.h"

#include <limits>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using LedRead = LED_READ_TEST;

// ---- arguments

TEST_P(LedRead, WithoutARowGives12) {
    const CBMIKeys l_Keys;
    EXPECT_EQ((LED_READS(m_Frame).*GetParam().m_Read)(&l_Keys, nullptr), 12);
    EXPECT_THAT(Lines(), ElementsAre(Error(GetParam().m_NoRow)));
}

TEST_P(LedRead, WithoutKeysGives12) {
    EXPECT_EQ((LED_READS(m_Frame).*GetParam().m_Read)(nullptr, &m_Row), 12);
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
    m_State = ADAPTOR_INITIALISING;
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
    m_Logger = &l_Log;
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

TEST_P(LedRead, AsksForTheFruThatTheEntityIs) {
    AddWithLEDs(GetParam().IsBoard() ? ENTITY_ID_BASEBOARD : ENTITY_ID_AMC, BAY, 5);
    OnGet(5, 1, LOCAL_GREEN);
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Fake().SentBytes(), ElementsAre(BYTES{0x2C, 0x08, 0x00, 5, 1}));
}

INSTANTIATE_TEST_SUITE_P(Groups, LedRead, testing::ValuesIn(LedReadGroups()),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
