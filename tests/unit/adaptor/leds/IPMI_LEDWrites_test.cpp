// Writes of one LED, of the baseboard's and of the first AMC's: by control, by the probe, under simulation.
#include "adaptor/leds/LedTest.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "fake/StdoutCapture.h"
#include "ipmi/IPMI_Thread.h"

#include <atomic>
#include <latch>
#include <limits>
#include <thread>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

using WRITE = int (IPMIAdaptor::*)(CBMIKeys*, CBMIParams*);

struct WRITER {
    const char* m_Name;
    WRITE m_Write;
    unsigned m_Base; ///< ids are numbered from here
    uint8_t m_FRUID;
    const char* m_Entity; ///< as the traces call it
    const char* m_Convert;
    const char* m_NoLEDKey;
    const char* m_NoEntity;
    const char* m_Simulated; ///< null: says nothing

    bool IsBoard() const { return m_Base == 0x100; }
};

void PrintTo(const WRITER& a_Writer, std::ostream* a_Stream) {
    *a_Stream << a_Writer.m_Name;
}

const WRITER g_Writers[] = {
    {"Baseboard", &IPMIAdaptor::Baseboard_LED_WriteParams, 0x100, 0, "l_BaseBoard", "ConvertInternalRowToState",
     "IPMIAdaptor::Baseboard_LED_WriteParams - LED Type not found",
     "IPMIAdaptor :: Baseboard_LED_WriteParams - Base Board not found ",
     "IPMIAdaptor::Baseboard_LED_WriteParams - g_bCompleteIPMISimulation= true"},
    {"AMC", &IPMIAdaptor::AMC_LED_WriteParams, 0x200, 4, "l_AMC", "ConvertInternalAMCRowToState",
     "IPMIAdaptor::AMC_LED_WriteParams - AMC Type not found",
     "IPMIAdaptor :: AMC_LED_WriteParams -- FindEntitybyEntityIDBayLocation() returns not found in all 1-8 bay "
     "locations, not to get controlID",
     nullptr},
};

constexpr unsigned AMC_BAY_KEY = 0x20D;

/// Values by the last part of their ids.
using VALUES = std::vector<std::pair<unsigned, int32_t>>;
const VALUES GREEN_ON = {{0x0C, 3}, {0x02, 1}, {0x03, 0}, {0x05, 1}};

class LedWrite : public LED_TEST, public testing::WithParamInterface<WRITER> {
protected:
    IPMI_ENTITY& AddOwner(int a_NumLEDs = 3) {
        return GetParam().IsBoard() ? AddBoard(a_NumLEDs) : AddAMC(4, a_NumLEDs);
    }

    static CBMIKeys Keys(int a_LEDID, int a_Bay = 4) {
        VALUES l_Keys = {{GetParam().m_Base + 1, a_LEDID}};
        if (!GetParam().IsBoard()) l_Keys.emplace_back(AMC_BAY_KEY, a_Bay);
        return Integers<CBMIKeys>(l_Keys);
    }
    static CBMIParams Values(VALUES a_Values) {
        for (auto& l_Value : a_Values)
            l_Value.first += GetParam().m_Base;
        return Integers<CBMIParams>(a_Values);
    }
    int Write(const VALUES& a_Values = GREEN_ON, int a_LEDID = 2, int a_Bay = 4) {
        CBMIKeys l_Keys = Keys(a_LEDID, a_Bay);
        CBMIParams l_Values = Values(a_Values);
        return WriteWith(&l_Keys, &l_Values);
    }
    int WriteWith(CBMIKeys* a_Keys, CBMIParams* a_Values) { return (m_Adaptor.*GetParam().m_Write)(a_Keys, a_Values); }

    /// The controller takes every Set FRU LED State.
    static void TakeSets() { Fake().OnRequest({0x2C, 0x07}, BYTES{0x00, 0x00}); }

    static std::string Text(const std::string& a_Behind) {
        return std::string("IPMIAdaptor :: ") + GetParam().m_Name + "_LED_WriteParams" + a_Behind;
    }
    static LOG_LINE Entry() { return Trace(Text(FormatText(" (threadid=%x)", ThreadId()))); }
    /// The lines up to the look-up of the control, the search for the AMC among them.
    static std::vector<LOG_LINE> UpToControl() {
        std::vector<LOG_LINE> l_Lines = {Entry(), Trace(Text(" -- l_TargetLED=2"))};
        if (!GetParam().IsBoard()) {
            for (int i = 1; i <= 4; ++i)
                l_Lines.push_back(Trace(Text(FormatText(" -- calling FindEntitybyEntityIDBayLocation(%d)", i))));
            l_Lines.push_back(Trace(Text(" -- FindEntitybyEntityIDBayLocation(4) returns FOUND, break")));
        }
        l_Lines.push_back(
            Trace(Text(std::string(" -- calling FindControlbyLEDID(") + GetParam().m_Entity + ", l_TargetLED=2)")));
        return l_Lines;
    }
    std::vector<LOG_LINE> HandlerLinesWithoutConversions() {
        std::vector<LOG_LINE> l_Lines = HandlerLines();
        std::erase_if(l_Lines, [](const LOG_LINE& a_Line) {
            return a_Line.m_Text.find(":: Convert") != std::string::npos ||
                   a_Line.m_Text.find("searching for") != std::string::npos;
        });
        return l_Lines;
    }
};

// ---- arguments

TEST_P(LedWrite, NullArgumentsGive2) {
    CBMIKeys l_Keys;
    const std::string l_Name = std::string("IPMIAdaptor::") + GetParam().m_Name + "_LED_WriteParams";
    EXPECT_EQ(WriteWith(nullptr, &m_Row), 2);
    EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(l_Name + " - pKeys==NULL")));
    EXPECT_EQ(WriteWith(&l_Keys, nullptr), 2);
    EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(l_Name + " - pParamRow==NULL")));
    EXPECT_EQ(WriteWith(nullptr, nullptr), 2);
}

TEST_P(LedWrite, OutsideTheStartedStateItLogsAndCarriesOn) {
    AddOwner();
    TakeSets();
    BeInState(1);
    EXPECT_EQ(Write(), 0);
    EXPECT_EQ(Lines().at(1), Error(Text(" -- In bad state 1")));
    EXPECT_EQ(Sets().size(), 1U);
}

TEST_P(LedWrite, WithoutAnIntegerLedIdGives12) {
    AddOwner();
    CBMIKeys l_Empty;
    CBMIKeys l_Text = TextKeyOf(static_cast<BMIParamId_e>(GetParam().m_Base + 1), "2");
    CBMIKeys l_External =
        GetParam().IsBoard() ? Integers<CBMIKeys>({{0x30101, 2}}) : Integers<CBMIKeys>({{0x30302, 2}, {0x30301, 4}});
    CBMIParams l_Values = Values(GREEN_ON);
    for (CBMIKeys* l_Keys : {&l_Empty, &l_Text, &l_External}) {
        EXPECT_EQ(WriteWith(l_Keys, &l_Values), 12);
        EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(GetParam().m_NoLEDKey)));
    }
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedWrite, AmcNeedsTheBayKeyAndTheBaseboardNone) {
    AddOwner();
    TakeSets();
    CBMIKeys l_Keys = Integers<CBMIKeys>({{GetParam().m_Base + 1, 2}});
    CBMIParams l_Values = Values(GREEN_ON);
    EXPECT_EQ(WriteWith(&l_Keys, &l_Values), GetParam().IsBoard() ? 0 : 12);
    if (GetParam().IsBoard()) return;
    EXPECT_THAT(Lines(),
                ElementsAre(Entry(), Trace(Text(" -- l_TargetLED=2")), Error(Text(" -- no AMC Bay Location in keys"))));
}

TEST_P(LedWrite, WithoutAValueThatItNeedsGives23AndSendsNothing) {
    AddOwner();
    TakeSets();
    const VALUES l_Incomplete[] = {
        {}, {{0x02, 1}, {0x03, 0}}, {{0x05, 1}, {0x03, 0}}, {{0x05, 1}, {0x02, 1}}, {{0x0C, 3}, {0x04, 3}}};
    for (const VALUES& l_Values : l_Incomplete)
        EXPECT_EQ(Write(l_Values), 23);
    EXPECT_EQ(Fake().SentCount(), 0U);
    AddLight(*g_EntityMap.begin()->second, "led 1");
    for (const VALUES& l_Values : l_Incomplete)
        EXPECT_EQ(Write(l_Values), 23);
    EXPECT_THAT(Fake().Controls().m_Calls, IsEmpty());
}

TEST_P(LedWrite, OtherGroupsIdsAreNoValues) {
    AddOwner();
    CBMIKeys l_Keys = Keys(2);
    CBMIParams l_External = Integers<CBMIParams>({{0x30303, 3}, {0x30304, 1}, {0x30102, 3}, {0x30103, 1}});
    EXPECT_EQ(WriteWith(&l_Keys, &l_External), 23);
}

// ---- simulation

TEST_P(LedWrite, ChangesNothingAndSucceedsUnderTheCompleteSimulation) {
    AddLight(AddOwner(), "led 1");
    g_bCompleteIPMISimulation = true;
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Write({}), 1) << "no value is looked at";
    std::vector<LOG_LINE> l_Once = {Entry(), Trace(Text(" -- l_TargetLED=2"))};
    if (GetParam().m_Simulated != nullptr) l_Once.push_back(Trace(GetParam().m_Simulated));
    std::vector<LOG_LINE> l_Twice = l_Once;
    l_Twice.insert(l_Twice.end(), l_Once.begin(), l_Once.end());
    EXPECT_EQ(Lines(), l_Twice);
    EXPECT_EQ(Fake().SentCount(), 0U);
    EXPECT_THAT(Fake().Controls().m_Calls, IsEmpty());
}

TEST_P(LedWrite, UnderTheCompleteSimulationNeedsNoEntity) {
    g_bCompleteIPMISimulation = true;
    EXPECT_TRUE(g_EntityMap.empty());
    EXPECT_EQ(Write(), 1);
}

TEST_P(LedWrite, OfAModuleIsSimulatedWhenOnlyTheModulesAre) {
    AddOwner();
    TakeSets();
    g_bAMCRTMOnlySimulation = true;
    EXPECT_EQ(Write(), GetParam().IsBoard() ? 0 : 1);
    EXPECT_EQ(Sets().size(), GetParam().IsBoard() ? 1U : 0U);
}

// ---- which entity

TEST_P(LedWrite, WithoutTheEntityGives12) {
    if (GetParam().IsBoard()) {
        AddAMC(4);
    } else {
        AddBoard();
        AddWithLEDs(ENTITY_ID_RTM, 9, 9);
        AddWithLEDs(ENTITY_ID_AMC, 9, 8); // bays end at 8 here
        AddWithLEDs(ENTITY_ID_AMC, 0, 7);
    }
    EXPECT_EQ(Write(), 12);
    EXPECT_EQ(HandlerLines().back(), Error(GetParam().m_NoEntity));
    EXPECT_EQ(Fake().SentCount(), 0U);
}

// ---- by control

TEST_P(LedWrite, UsesTheControlWhenThereIsOne) {
    AddLight(AddOwner(), "led 1");
    EXPECT_EQ(Write({{0x0C, 4}, {0x02, 500}, {0x03, 300}, {0x05, 0}}), 1);
    EXPECT_THAT(Fake().Controls().m_SetLights, ElementsAre(ipmi_light_setting_s{1, 500, 300, 4}));
    std::vector<LOG_LINE> l_Expected = UpToControl();
    l_Expected.push_back(Trace(Text(std::string(" -- calling ") + GetParam().m_Convert + "()")));
    EXPECT_EQ(HandlerLinesWithoutConversions(), l_Expected);
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedWrite, ByAControlThatFailsSucceedsAllTheSame) {
    AddLight(AddOwner(), "led 1");
    Fake().Controls().m_CompletionError = 5;
    EXPECT_EQ(Write(), 1);
}

// ---- by the probe

TEST_P(LedWrite, SendsTheStateToTheLedOneBelowAndReturns0WhenItIsTaken) {
    AddOwner();
    TakeSets();
    EXPECT_EQ(Write(), 0);
    EXPECT_THAT(Sets(), ElementsAre(BYTES{GetParam().m_FRUID, 1, 0xFF, 0, 3}));
    std::vector<LOG_LINE> l_Expected = UpToControl();
    l_Expected.push_back(Trace(Text(FormatText(" - FRUID=%i TargetLED=2", GetParam().m_FRUID))));
    l_Expected.push_back(
        Trace(Text(std::string(" - calling FindLEDbyLEDID(") + GetParam().m_Entity + ", l_LEDID=1\n")));
    l_Expected.push_back(Trace(Text("(), l_State->m_Color=3")));
    l_Expected.push_back(Trace(Text("(), Sending LED, l_State->m_Color=3")));
    EXPECT_EQ(HandlerLinesWithoutConversions(), l_Expected);
}

TEST_P(LedWrite, SendsOnOffBlinkingAndLocalControl) {
    AddOwner();
    TakeSets();
    struct {
        VALUES m_Values;
        BYTES m_Sent; ///< behind FRU and LED id
    } const l_Cases[] = {
        {{{0x0C, 4}, {0x02, 1}, {0x03, 0}, {0x05, 1}}, {0xFF, 0, 1}},
        {{{0x0C, 4}, {0x02, 0}, {0x03, 1}, {0x05, 1}}, {0x00, 0, 1}},
        {{{0x0C, 2}, {0x02, 500}, {0x03, 300}, {0x05, 1}}, {30, 50, 2}},
        {{{0x0C, 2}, {0x02, 500}, {0x03, 300}, {0x05, 0}}, {0xFC, 0, 2}},
        {{{0x0C, 2}, {0x02, std::numeric_limits<int32_t>::min()}, {0x03, 5}, {0x05, 1}}, {0x00, 0, 2}},
        {{{0x0C, -7}, {0x02, 1}, {0x03, 0}, {0x05, -1}}, {0xFF, 0, 2}},
    };
    for (std::size_t i = 0; i < std::size(l_Cases); ++i) {
        EXPECT_EQ(Write(l_Cases[i].m_Values), 0) << i;
        BYTES l_Expected = {GetParam().m_FRUID, 1};
        l_Expected.insert(l_Expected.end(), l_Cases[i].m_Sent.begin(), l_Cases[i].m_Sent.end());
        EXPECT_EQ(Sets().back(), l_Expected) << i;
    }
}

TEST_P(LedWrite, RefusedByTheControllerReturnsTheCompletionCode) {
    AddOwner();
    for (const int l_Code : {0xC1, 0xC9, 0xCC, 0xFF, 0x01}) {
        Fake().OnRequest({0x2C, 0x07}, BYTES{static_cast<uint8_t>(l_Code)});
        EXPECT_EQ(Write(), l_Code);
    }
    Fake().OnRequest({0x2C, 0x07}, BYTES{});
    EXPECT_EQ(Write(), 0xFF) << "not even a completion code";
}

TEST_P(LedWrite, DefaultColourIsTakenFromTheSupportedFlags) {
    IPMI_ENTITY& l_Owner = AddOwner();
    TakeSets();
    struct {
        const char* m_Supported;
        int m_Color;    ///< chosen, PICMG's code
        uint8_t m_Sent; ///< that code taken for an OpenIPMI colour
        bool m_bNotedAsGreen;
    } const l_Cases[] = {
        {"white orange amber green red blue", 6, 5, true},
        {"white", 6, 5, false},
        {"orange amber", 5, 4, false},
        {"amber", 4, 1, false},
        {"green", 3, 3, true},
        {"blue red", 3, 3, true},
        {"", 3, 3, true},
    };
    for (const auto& l_Case : l_Cases) {
        for (const int l_Color : {0, 7}) {
            const std::string l_Supported = l_Case.m_Supported;
            const auto l_Has = [&](const char* a_Name) { return l_Supported.find(a_Name) != std::string::npos; };
            IPMI_LED& l_LED = *l_Owner.m_LEDMap[1];
            l_LED.m_bWhite = l_Has("white");
            l_LED.m_bOrange = l_Has("orange");
            l_LED.m_bAmber = l_Has("amber");
            l_LED.m_bGreen = l_Has("green");
            l_LED.m_bRed = l_Has("red");
            l_LED.m_bBlue = l_Has("blue");
            Lines();
            EXPECT_EQ(Write({{0x0C, l_Color}, {0x02, 1}, {0x03, 0}, {0x05, 1}}), 0);
            EXPECT_EQ(Sets().back().back(), l_Case.m_Sent) << l_Supported;
            EXPECT_EQ(l_LED.m_bGreen, l_Case.m_bNotedAsGreen) << l_Supported;
            const auto l_Lines = HandlerLines();
            EXPECT_THAT(l_Lines, Contains(Trace(Text(FormatText("(), l_State->m_Color=%d", l_Color)))));
            EXPECT_THAT(l_Lines, Contains(Trace(Text(" - Providing default Color"))));
            EXPECT_THAT(l_Lines,
                        Contains(Trace(Text(FormatText("(), Sending LED, l_State->m_Color=%d", l_Case.m_Color)))));
        }
    }
}

// For the thread sanitizer above all: the domain thread shows the colours that a host thread notes.
TEST_P(LedWrite, MayNoteAColourWhileTheModelIsDumped) {
    AddOwner();
    TakeSets();
    STDOUT_CAPTURE l_Output;
    IPMITHREAD l_Domain(&m_Log, nullptr);
    std::latch l_Begin(2);
    std::thread l_Dumps([&] {
        l_Begin.arrive_and_wait();
        for (int i = 0; i < 20; ++i)
            l_Domain.DomainFullyUp(nullptr, &l_Domain);
    });
    l_Begin.arrive_and_wait();
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(Write({{0x02, 1}, {0x03, 0}, {0x05, 1}}), 0);
    l_Dumps.join();
    l_Domain.DomainFullyUp(nullptr, &l_Domain);
    EXPECT_THAT(l_Output.StopLines(), Contains("        LED ID= 1   GREEN   "));
}

TEST_P(LedWrite, WithoutAColourGetsTheDefaultOne) {
    AddOwner();
    TakeSets();
    EXPECT_EQ(Write({{0x02, 1}, {0x03, 0}, {0x05, 1}}), 0);
    EXPECT_EQ(Sets().back().back(), 3);
}

TEST_P(LedWrite, OtherColoursAreSentAsTheyAre) {
    AddOwner();
    TakeSets();
    const std::pair<int, uint8_t> l_Colors[] = {{1, 6}, {2, 2}, {3, 3}, {4, 1}, {5, 4}, {6, 5}, {8, 2}, {-1, 2}};
    for (const auto& [l_Color, l_Sent] : l_Colors) {
        EXPECT_EQ(Write({{0x0C, l_Color}, {0x02, 1}, {0x03, 0}, {0x05, 1}}), 0);
        EXPECT_EQ(Sets().back().back(), l_Sent) << l_Color;
    }
    EXPECT_THAT(HandlerLines(), Not(Contains(Trace(Text(" - Providing default Color")))));
}

TEST_P(LedWrite, ToAnLedThatIsNotThereGives12) {
    AddOwner();
    for (const int l_LEDID : {4, 0, -1, 256, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(Write(GREEN_ON, l_LEDID), 12) << l_LEDID;
        EXPECT_EQ(HandlerLines().back(), Error(Text(" - LED not found")));
    }
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedWrite, ToALedThatTheProbeDoesNotKnowGivesItsFailure) {
    AddOwner();
    IPMI_TEST_ACCESS::FRUEntities(*m_Probe).clear();
    EXPECT_EQ(Write(), -1);
}

TEST_P(LedWrite, WithoutAProbeGives12) {
    AddOwner();
    ForgetProbe();
    EXPECT_EQ(Write(), 12);
}

TEST_P(LedWrite, HostThreadsWriteAndReadAtTheSameTime) {
    constexpr int THREADS = 8;
    constexpr int ROUNDS = 40;
    AddOwner();
    TakeSets();
    for (const uint8_t l_LED : {0, 1, 2})
        OnGet(GetParam().m_FRUID, l_LED, LOCAL_GREEN);
    LOG_LEVEL_GUARD l_TracesOff(0);
    std::atomic<int> l_Failures = 0;
    std::vector<std::thread> l_Threads;
    for (int i = 0; i < THREADS; ++i) {
        l_Threads.emplace_back([&, i] {
            for (int j = 0; j < ROUNDS; ++j) {
                const int l_LEDID = 1 + (i + j) % 3;
                if (Write({{0x0C, 0}, {0x02, 1}, {0x03, 0}, {0x05, 1}}, l_LEDID) != 0) ++l_Failures;
                const CBMIKeys l_Keys = Keys(l_LEDID);
                CBMIParams l_Row;
                const auto l_Read = GetParam().IsBoard() ? &IPMIAdaptor::Baseboard_LED_Internal_ReadParams
                                                         : &IPMIAdaptor::AMC_LED_Internal_ReadParams;
                if ((m_Adaptor.*l_Read)(&l_Keys, &l_Row) != 1) ++l_Failures;
            }
        });
    }
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    EXPECT_EQ(l_Failures.load(), 0);
    EXPECT_EQ(Fake().SentCount(), static_cast<std::size_t>(2 * THREADS * ROUNDS));
}

INSTANTIATE_TEST_SUITE_P(Writers, LedWrite, testing::ValuesIn(g_Writers),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

// ---- the baseboard under another FRU device id than 0

class BaseboardLed : public LED_TEST {
protected:
    BaseboardLed() { IPMI_TEST_ACCESS::FRUEntities(*m_Probe)[0] = &AddWithLEDs(ENTITY_ID_BASEBOARD, 3, 5); }
};

TEST_F(BaseboardLed, IsWrittenAsFru0) {
    Fake().OnRequest({0x2C, 0x07}, BYTES{0x00, 0x00});
    CBMIKeys l_Keys = Integers<CBMIKeys>({{0x101, 2}});
    CBMIParams l_Values = Integers<CBMIParams>({{0x10C, 3}, {0x102, 1}, {0x103, 0}, {0x105, 1}});
    EXPECT_EQ(m_Adaptor.WriteParams(0x100, &l_Keys, &l_Values), 0);
    EXPECT_THAT(Sets(), ElementsAre(BYTES{0, 1, 0xFF, 0, 3}));
}

TEST_F(BaseboardLed, IsReadAsTheFruThatItIs) {
    OnGet(5, 1, LOCAL_GREEN);
    for (const auto& [l_Group, l_Key] : {std::pair{0x100U, 0x101U}, std::pair{0x30100U, 0x30101U}}) {
        const CBMIKeys l_Keys = Integers<CBMIKeys>({{l_Key, 2}});
        CBMIParams* l_Row = nullptr;
        EXPECT_EQ(m_Adaptor.ReadParams(l_Group, &l_Keys, l_Row), 1) << l_Group;
        EXPECT_EQ(Fake().SentBytes().back(), (BYTES{0x2C, 0x08, 0x00, 5, 1})) << l_Group;
        delete l_Row;
    }
}

// ---- what the AMC's handler does with the keys

class AmcLedWrite : public LED_TEST {
protected:
    AmcLedWrite() { Fake().OnRequest({0x2C, 0x07}, BYTES{0x00, 0x00}); }

    int Write(unsigned a_Group, const VALUES& a_Keys, unsigned a_Base = 0x200) {
        CBMIKeys l_Keys = Integers<CBMIKeys>(a_Keys);
        CBMIParams l_Values =
            Integers<CBMIParams>({{a_Base + 0x0C, 3}, {a_Base + 2, 1}, {a_Base + 3, 0}, {a_Base + 5, 1}});
        return m_Adaptor.WriteParams(a_Group, &l_Keys, &l_Values);
    }
};

TEST_F(AmcLedWrite, GoesToTheFirstAmcWhateverBayIsNamed) {
    AddAMC(5);
    AddAMC(3);
    for (const int l_Bay : {5, 3, 1, 9, 0, -1})
        EXPECT_EQ(Write(0x200, {{0x201, 1}, {0x20D, l_Bay}}), 0);
    EXPECT_EQ(Sets().size(), 6U);
    EXPECT_THAT(Sets(), testing::Each(BYTES{3, 0, 0xFF, 0, 3}));
}

TEST_F(AmcLedWrite, InternalKeysThroughTheHostFacingGroupsWriteTheAmc) {
    AddBoard();
    AddAMC(3);
    for (const unsigned l_Group : {0x200U, 0x30300U, 0x30100U})
        EXPECT_EQ(Write(l_Group, {{0x201, 3}, {0x20D, 3}}), 0);
    EXPECT_THAT(Sets(), testing::Each(BYTES{3, 2, 0xFF, 0, 3}));
    EXPECT_EQ(Sets().size(), 3U);
}

TEST_F(AmcLedWrite, ABaseboardKeyWithoutAnAmcsIsHandedToTheBaseboardsHandler) {
    AddBoard();
    AddAMC(3);
    for (const unsigned l_Group : {0x200U, 0x30300U, 0x30100U, 0x100U})
        EXPECT_EQ(Write(l_Group, {{0x101, 2}}, 0x100), 0);
    EXPECT_EQ(Sets().size(), 4U);
    EXPECT_THAT(Sets(), testing::Each(BYTES{0, 1, 0xFF, 0, 3}));
}

TEST_F(AmcLedWrite, BothKeysWriteTheAmc) {
    AddBoard();
    AddAMC(3);
    EXPECT_EQ(Write(0x30100, {{0x101, 2}, {0x201, 1}, {0x20D, 3}}), 0);
    EXPECT_THAT(Sets(), ElementsAre(BYTES{3, 0, 0xFF, 0, 3}));
}

TEST_F(AmcLedWrite, HandedOnItLogsTheEntryOfBothHandlers) {
    AddBoard();
    EXPECT_EQ(Write(0x30100, {{0x101, 2}}, 0x100), 0);
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.at(0), BmiTrace("IPMIAdaptor::WriteParams() on BMI_GROUP_HARDWARE_AMC_LED_TABLE, calling "
                                      "AMC_LED_WriteParams()"));
    EXPECT_EQ(l_Lines.at(1), Trace(FormatText("IPMIAdaptor :: AMC_LED_WriteParams (threadid=%x)", ThreadId())));
    EXPECT_EQ(l_Lines.at(2), Trace(FormatText("IPMIAdaptor :: Baseboard_LED_WriteParams (threadid=%x)", ThreadId())));
}

TEST_F(AmcLedWrite, TheHostFacingBaseboardKeyAloneGives12) {
    AddBoard();
    EXPECT_EQ(Write(0x30100, {{0x30101, 2}}, 0x100), 12);
    EXPECT_EQ(Lines().back(), Error("IPMIAdaptor::Baseboard_LED_WriteParams - LED Type not found"));
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_F(AmcLedWrite, TheHostFacingAmcKeysGive12) {
    AddAMC(3);
    EXPECT_EQ(Write(0x30300, {{0x30302, 2}, {0x30301, 3}}), 12);
    EXPECT_EQ(Lines().back(), Error("IPMIAdaptor::AMC_LED_WriteParams - AMC Type not found"));
}

} // namespace
