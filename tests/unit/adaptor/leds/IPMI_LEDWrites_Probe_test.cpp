// Writes of one LED that go through the probe: what is sent, and what comes back.
#include "adaptor/leds/LedWriteTest.h"

#include "adaptor/leds/IPMI_LEDReads.h"
#include "common/veldo_common_text.h"
#include "fake/process/StdoutCapture.h"
#include "ipmi/IPMI_Thread.h"

#include <atomic>
#include <latch>
#include <limits>
#include <thread>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

using LedProbeWrite = LED_WRITE_TEST;

TEST_P(LedProbeWrite, SendsTheStateToTheLedOneBelowAndReturns0WhenItIsTaken) {
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

TEST_P(LedProbeWrite, SendsOnOffBlinkingAndLocalControl) {
    AddOwner();
    TakeSets();
    struct {
        VALUES m_Values;
        BYTES m_Sent; ///< after FRU and LED id
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

TEST_P(LedProbeWrite, RefusedByTheControllerReturnsTheCompletionCode) {
    AddOwner();
    for (const int l_Code : {0xC1, 0xC9, 0xCC, 0xFF, 0x01}) {
        Fake().OnRequest({0x2C, 0x07}, BYTES{static_cast<uint8_t>(l_Code)});
        EXPECT_EQ(Write(), l_Code);
    }
    Fake().OnRequest({0x2C, 0x07}, BYTES{});
    EXPECT_EQ(Write(), 0xFF) << "not even a completion code";
}

TEST_P(LedProbeWrite, DefaultColourIsTakenFromTheSupportedFlags) {
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

// Mainly for the thread sanitizer: the domain thread shows the colours that a host thread notes.
TEST_P(LedProbeWrite, MayNoteAColourWhileTheModelIsDumped) {
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

TEST_P(LedProbeWrite, WithoutAColourGetsTheDefaultOne) {
    AddOwner();
    TakeSets();
    EXPECT_EQ(Write({{0x02, 1}, {0x03, 0}, {0x05, 1}}), 0);
    EXPECT_EQ(Sets().back().back(), 3);
}

TEST_P(LedProbeWrite, OtherColoursAreSentAsTheyAre) {
    AddOwner();
    TakeSets();
    const std::pair<int, uint8_t> l_Colors[] = {{1, 6}, {2, 2}, {3, 3}, {4, 1}, {5, 4}, {6, 5}, {8, 2}, {-1, 2}};
    for (const auto& [l_Color, l_Sent] : l_Colors) {
        EXPECT_EQ(Write({{0x0C, l_Color}, {0x02, 1}, {0x03, 0}, {0x05, 1}}), 0);
        EXPECT_EQ(Sets().back().back(), l_Sent) << l_Color;
    }
    EXPECT_THAT(HandlerLines(), Not(Contains(Trace(Text(" - Providing default Color")))));
}

TEST_P(LedProbeWrite, ToAnLedThatIsNotThereGives12) {
    AddOwner();
    for (const int l_LEDID : {4, 0, -1, 256, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(Write(GREEN_ON, l_LEDID), 12) << l_LEDID;
        EXPECT_EQ(HandlerLines().back(), Error(Text(" - LED not found")));
    }
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedProbeWrite, ToALedThatTheProbeDoesNotKnowGivesItsFailure) {
    AddOwner();
    IPMI_TEST_ACCESS::FRUEntities(*m_Probe).clear();
    EXPECT_EQ(Write(), -1);
}

TEST_P(LedProbeWrite, WithoutAProbeGives12) {
    AddOwner();
    ForgetProbe();
    EXPECT_EQ(Write(), 12);
}

TEST_P(LedProbeWrite, HostThreadsWriteAndReadAtTheSameTime) {
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
                const auto l_Read = GetParam().IsBoard() ? &LED_READS::BaseboardInternal : &LED_READS::AMCInternal;
                if ((LED_READS(m_Frame).*l_Read)(&l_Keys, &l_Row) != 1) ++l_Failures;
            }
        });
    }
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    EXPECT_EQ(l_Failures.load(), 0);
    EXPECT_EQ(Fake().SentCount(), static_cast<std::size_t>(2 * THREADS * ROUNDS));
}

INSTANTIATE_TEST_SUITE_P(Writers, LedProbeWrite, testing::ValuesIn(LedWriteKinds()),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
