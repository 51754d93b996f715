// The LED commands: bytes sent, replies decoded, and what is refused unsent.
#include "LEDCommandFixture.h"

#include <limits>
#include <string>
#include <utility>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr int32_t SMALLEST = std::numeric_limits<int32_t>::min();
constexpr int32_t LARGEST = std::numeric_limits<int32_t>::max();

using ProbeLEDCommand = LED_COMMAND_TEST;

// ---- Set FRU LED State

TEST_F(ProbeLEDCommand, SetSendsFunctionOnDurationAndColour) {
    OnSet({0x00, 0x00});
    struct {
        LED_STATE m_State;
        const char* m_Sent; ///< behind FRU id and LED id, before the colour
        LOG_LINE m_Line;
    } const l_Cases[] = {
        {Setting(1, 0), "FF 00", Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (on) LEDID=2 offset3=0xff offset4=0x0")},
        {Setting(0, 1), "00 00", Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (off) LEDID=2 offset3=0x0 offset4=0x0")},
        {Setting(500, 500), "32 32",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0x32 offset4=0x32")},
        {Setting(50, 5000), "FA 0A",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0xfa offset4=0xa")},
        {Setting(2, 2), "0A 0A",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0xa offset4=0xa")},
        {Setting(100, 109), "0A 0A",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0xa offset4=0xa")},
        {Setting(119, 110), "0B 0B",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0xb offset4=0xb")},
        {Setting(2500, 2499), "F9 FA",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0xf9 offset4=0xfa")},
        {Setting(2510, LARGEST), "FA FA",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0xfa offset4=0xfa")},
        {Setting(500, 500, 3, 1), "FC 00",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState LEDID=2 restoring to local control")},
        {Setting(1, 0, 3, -1), "FC 00",
         Trace("ENTITYCAPTURE :: SendSetPICMCLEDState LEDID=2 restoring to local control")},
        {Setting(1, 1), "00 00",
         Warning("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 invalid times on=1 off=1 ")},
        {Setting(0, 0), "00 00",
         Warning("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 invalid times on=0 off=0 ")},
        {Setting(500, 1), "00 00",
         Warning("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 invalid times on=500 off=1 ")},
        {Setting(1, 500), "00 00",
         Warning("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 invalid times on=1 off=500 ")},
        {Setting(SMALLEST, -1), "00 00",
         Warning("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 invalid times on=-2147483648 off=-1 ")},
    };
    for (const auto& l_Case : l_Cases) {
        m_Log.Clear();
        EXPECT_EQ(Set(l_Case.m_State), 0);
        EXPECT_EQ(Requests().back(), std::string("2C 07 00 05 02 ") + l_Case.m_Sent + " 03");
        ExpectLogged(l_Case.m_Line);
    }
}

TEST_F(ProbeLEDCommand, SetTurnsTheColourIntoPicmgsAndLeavesItWithTheCaller) {
    OnSet({0x00, 0x00});
    const std::pair<int32_t, uint8_t> l_Colors[] = {{0, 2}, {1, 6}, {2, 2},   {3, 3},       {4, 1},        {5, 4},
                                                    {6, 5}, {7, 2}, {255, 2}, {LARGEST, 2}, {SMALLEST, 2}, {-1, 2}};
    for (const auto& [l_Color, l_Code] : l_Colors) {
        LED_STATE l_State = Setting(1, 0, l_Color);
        EXPECT_EQ(m_Probe->SendSetPICMCLEDState(5, 0, &l_State), 0);
        EXPECT_EQ(Fake().SentBytes().back().back(), l_Code) << l_Color;
        EXPECT_EQ(l_State.m_Color, l_Code) << l_Color;
    }
}

TEST_F(ProbeLEDCommand, SetTracesItsStepsInOrder) {
    OnSet({0x00, 0x00});
    Set(Setting(500, 300, 4));
    EXPECT_THAT(
        SetLines(),
        ElementsAre(Trace("ENTITYCAPTURE :: SendSetPICMCLEDState a_FRUID=5, LEDID=2"),
                    Trace("ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=2 offset3=0x1e offset4=0x32"),
                    Trace("ENTITYCAPTURE :: SendSetPICMCLEDState(), message_data[0]=0,data[1]=5,[2]=2, [3]=0x1e, "
                          "[4]=0x32, [5]=1\n"),
                    Trace("ENTITYCAPTURE :: SendSetPICMCLEDState(), message.netfn=0x2c, message.cmd=0x7, "
                          "message.data_len=0x6\n"),
                    Trace("ENTITYCAPTURE :: SendSetPICMCLEDState - rc=0")));
    ExpectInOrder({Trace("ENTITYCAPTURE :: s_ReceivedSetPICMCLEDState"),
                   Trace("ENTITYCAPTURE :: ReceivedSetPICMCLEDState LEDID=2"),
                   Trace("ENTITYCAPTURE :: ReceivedSetPICMCLEDState CC=0x0")});
}

TEST_F(ProbeLEDCommand, SetReturnsTheCompletionCode) {
    for (const int l_Code : {0x00, 0x01, 0xC1, 0xC9, 0xD5, 0xFF}) {
        OnSet({static_cast<uint8_t>(l_Code)});
        EXPECT_EQ(Set(Setting(1, 0)), l_Code);
        ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedSetPICMCLEDState CC=0x%x", l_Code));
        EXPECT_EQ(State(), 0) << "idle again";
    }
    OnSet({});
    EXPECT_EQ(Set(Setting(1, 0)), 0xFF);
}

// ---- LEDs that are not there

struct LED_PLACE {
    int m_FRUID;
    int m_LEDID;
    int m_Count;
};

const LED_PLACE g_Missing[] = {{5, 4, 4}, {5, 5, 4},   {5, LARGEST, 4}, {5, -1, 4},       {5, SMALLEST, 4},
                               {6, 0, 0}, {261, 0, 0}, {-1, 0, 0},      {SMALLEST, 0, 0}, {LARGEST, 0, 0}};

TEST_F(ProbeLEDCommand, SetOfAnLedThatIsNotThereIsNotSent) {
    for (const LED_PLACE& l_Place : g_Missing) {
        m_Log.Clear();
        EXPECT_EQ(Set(Setting(1, 0), l_Place.m_FRUID, l_Place.m_LEDID), -1);
        EXPECT_THAT(m_Log.Lines(),
                    ElementsAre(Trace("ENTITYCAPTURE :: SendSetPICMCLEDState a_FRUID=%i, LEDID=%i", l_Place.m_FRUID,
                                      l_Place.m_LEDID),
                                Trace("ENTITYCAPTURE :: SendSetPICMCLEDState ERROR LEDID=%i larger than max LED %i",
                                      l_Place.m_LEDID, l_Place.m_Count)));
    }
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_EQ(State(), 0);
}

TEST_F(ProbeLEDCommand, GetOfAnLedThatIsNotThereIsNotSent) {
    for (const LED_PLACE& l_Place : g_Missing) {
        m_Log.Clear();
        EXPECT_EQ(Get(l_Place.m_FRUID, l_Place.m_LEDID), -1);
        EXPECT_THAT(m_Log.Lines(),
                    ElementsAre(Trace("ENTITYCAPTURE :: SendGetPICMCLEDState FRUID=%i LEDID=%i State=0x%p",
                                      l_Place.m_FRUID, l_Place.m_LEDID, static_cast<void*>(&m_State)),
                                Trace("ENTITYCAPTURE :: SendGetPICMCLEDState ERROR LEDID=%i larger than max LED %i",
                                      l_Place.m_LEDID, l_Place.m_Count)));
    }
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_EQ(State(), 0);
}

TEST_F(ProbeLEDCommand, WithoutAStateNothingIsSent) {
    EXPECT_EQ(m_Probe->SendSetPICMCLEDState(5, 0, nullptr), -1);
    EXPECT_EQ(m_Probe->SendGetPICMCLEDState(5, 0, nullptr), -1);
    EXPECT_THAT(Requests(), IsEmpty());
}

// ---- Get FRU LED State

TEST_F(ProbeLEDCommand, GetTracesItsStepsInOrder) {
    OnGet(Hex("00 00 01 FF 00 03"));
    EXPECT_EQ(Get(), 1);
    EXPECT_THAT(Requests(), ElementsAre("2C 08 00 05 02"));
    EXPECT_THAT(LinesOf({"ENTITYCAPTURE :: SendGetPICMCLEDState"}),
                ElementsAre(Trace("ENTITYCAPTURE :: SendGetPICMCLEDState FRUID=5 LEDID=2 State=0x%p",
                                  static_cast<void*>(&m_State)),
                            Trace("ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=2 - Sending command"),
                            Trace("ENTITYCAPTURE :: SendGetPICMCLEDState - rc=0"),
                            Trace("ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=2 - Waiting Mutex"),
                            Trace("ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=2 - Cleanup Mutex"),
                            Trace("ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=2 - returning 1")));
    ExpectLogged(Trace("ENTITYCAPTURE :: s_ReceivedGetPICMCLEDState"));
}

struct DECODED {
    const char* m_Reply;
    int m_LocalControl;
    int m_OnTime;
    int m_OffTime;
    int m_Color;
    int m_LampTest;
    std::vector<const char*> m_Texts; ///< behind "… LEDID=2 - "
};

const DECODED g_Decoded[] = {
    // local control
    {"00 00 00 FF 00 03", 1, 1, 0, 3, 0, {"State=0x0", "local control section", "local control section LED On"}},
    {"00 00 01 FF 00 01", 1, 1, 0, 4, 0, {"State=0x1", "local control section", "local control section LED On"}},
    {"00 00 01 00 00 03", 1, 0, 1, 0, 0, {"State=0x1", "local control section", "local control section LED off"}},
    {"00 00 00 32 1E 03",
     1,
     30,
     50,
     3,
     0,
     {"State=0x0", "local control section", "local control section LED Blinking"}},
    // override
    {"00 00 03 FF 00 03 FF 00 02", 0, 1, 0, 2, 0, {"State=0x3", "OVERRIDE", "Override section LED On"}},
    {"00 00 02 FF 00 03 00 00 02", 0, 0, 1, 0, 0, {"State=0x2", "OVERRIDE", "Override section LED off"}},
    {"00 00 03 FF 00 03 01 FA 04", 0, 250, 1, 5, 0, {"State=0x3", "OVERRIDE", "Override section LED Blinking"}},
    {"00 00 03 FF 00 03 FE 00 04", 0, 0, 254, 5, 0, {"State=0x3", "OVERRIDE", "Override section LED Blinking"}},
    // lamp test, over everything else
    {"00 00 04 FF 00 03 FF 00 02 14", 0, 0, 0, 0, 20, {"State=0x4", "LAMPTEST"}},
    {"00 00 07 FF 00 03 FF 00 02 00", 0, 0, 0, 0, 0, {"State=0x7", "LAMPTEST"}},
    // other bits of the state byte do not count, nor bytes behind the section that holds
    {"00 00 F9 FF 00 03 00 00 02 14 55",
     1,
     1,
     0,
     3,
     0,
     {"State=0x1", "local control section", "local control section LED On"}},
    // colours
    {"00 00 00 FF 00 00", 1, 1, 0, 0, 0, {"State=0x0", "local control section", "local control section LED On"}},
    {"00 00 00 FF 00 02", 1, 1, 0, 2, 0, {"State=0x0", "local control section", "local control section LED On"}},
    {"00 00 00 FF 00 04", 1, 1, 0, 5, 0, {"State=0x0", "local control section", "local control section LED On"}},
    {"00 00 00 FF 00 05", 1, 1, 0, 6, 0, {"State=0x0", "local control section", "local control section LED On"}},
    {"00 00 00 FF 00 06", 1, 1, 0, 1, 0, {"State=0x0", "local control section", "local control section LED On"}},
    {"00 00 00 FF 00 07", 1, 1, 0, 1, 0, {"State=0x0", "local control section", "local control section LED On"}},
    {"00 00 00 FF 00 FF", 1, 1, 0, 1, 0, {"State=0x0", "local control section", "local control section LED On"}},
};

TEST_F(ProbeLEDCommand, GetDecodesTheReply) {
    for (const DECODED& l_Case : g_Decoded) {
        OnGet(Hex(l_Case.m_Reply));
        m_State = LED_STATE();
        m_Log.Clear();
        EXPECT_EQ(Get(), 1) << l_Case.m_Reply;
        EXPECT_EQ(m_State.m_Valid, 1) << l_Case.m_Reply;
        EXPECT_EQ(m_State.m_LocalControl, l_Case.m_LocalControl) << l_Case.m_Reply;
        EXPECT_EQ(m_State.m_OnTime, l_Case.m_OnTime) << l_Case.m_Reply;
        EXPECT_EQ(m_State.m_OffTime, l_Case.m_OffTime) << l_Case.m_Reply;
        EXPECT_EQ(m_State.m_Color, l_Case.m_Color) << l_Case.m_Reply;
        EXPECT_EQ(m_State.m_LampTestDuration, l_Case.m_LampTest) << l_Case.m_Reply;
        std::vector<LOG_LINE> l_Expected = {Trace("ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=2")};
        for (const char* l_Text : l_Case.m_Texts)
            l_Expected.push_back(Trace("ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=2 - %s", l_Text));
        EXPECT_EQ(DecodeLines(), l_Expected) << l_Case.m_Reply;
        EXPECT_EQ(State(), 0) << "idle again";
    }
}

TEST_F(ProbeLEDCommand, GetOfALampTestEndsWithTheNextState) {
    OnGet(Hex("00 00 04 FF 00 03 FF 00 02 14"));
    Get();
    OnGet(Hex("00 00 01 FF 00 03"));
    Get();
    EXPECT_EQ(m_State.m_LampTestDuration, 0);
}

TEST_F(ProbeLEDCommand, RefusedGetGives0AndLeavesTheStateAlone) {
    OnGet(Hex("00 00 00 32 1E 03"));
    EXPECT_EQ(Get(), 1);
    for (const int l_Code : {0x01, 0xC1, 0xC9, 0xFF}) {
        OnGet({static_cast<uint8_t>(l_Code), 0x00, 0x01, 0xFF, 0x00, 0x02});
        m_Log.Clear();
        EXPECT_EQ(Get(), 0);
        EXPECT_EQ(m_State.m_OffTime, 50);
        ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedGetPICMCLEDState CC=0x%x", l_Code));
        EXPECT_THAT(DecodeLines(), ElementsAre(Trace("ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=2")));
        EXPECT_EQ(State(), 0);
    }
}

TEST_F(ProbeLEDCommand, GetWithAReplyTooShortForItsSectionGives0AndReleasesTheCaller) {
    OnGet(Hex("00 00 00 32 1E 03"));
    EXPECT_EQ(Get(), 1);
    for (const char* l_Reply :
         {"", "00", "00 00", "00 00 00", "00 00 01 FF", "00 00 01 FF 00", "00 00 02 FF 00 03",
          "00 00 03 FF 00 03 FF 00", "00 00 04", "00 00 04 FF 00 03", "00 00 07 FF 00 03 FF 00 02"}) {
        OnGet(Hex(l_Reply));
        EXPECT_EQ(Get(), 0) << l_Reply;
        EXPECT_EQ(m_State.m_OffTime, 50) << l_Reply;
        EXPECT_EQ(m_State.m_OnTime, 30) << l_Reply;
        EXPECT_EQ(State(), 0) << l_Reply;
    }
}

TEST_F(ProbeLEDCommand, GetTracesAStateByteWithNothingBehindIt) {
    OnGet(Hex("00 00 04"));
    EXPECT_EQ(Get(), 0);
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - LAMPTEST", 2));
}

} // namespace
