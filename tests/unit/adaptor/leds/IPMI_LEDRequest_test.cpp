// The light path: read and set through a control, with a latch.
#include "adaptor/leds/LedTest.h"

#include "fake/process/BlockedChild.h"
#include "ipmi/model/IPMI_Callback.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;
using testing::Not;

namespace {

class LightRequest : public LED_ROOM_TEST {
protected:
    LightRequest() : m_Light(AddLight(AddBoard(), "led 1")) {}

    IPMI_CONTROL* Control() { return g_EntityMap.begin()->second->m_ControlMap.begin()->second; }
    ipmi_control_t* m_Light;
};

TEST_F(LightRequest, ReadFillsTheStateFromTheCompletionOnAnotherThread) {
    m_Light->m_Light = {1, 20, 30, 3};
    m_Light->m_SupportedColors = {1, 5, 2};
    OPENIPMI_LED_REQUEST l_Request(Control());
    l_Request.Read();
    EXPECT_EQ(l_Request.m_State.m_Valid, 1);
    EXPECT_EQ(l_Request.m_State.m_Color, 3);
    EXPECT_EQ(l_Request.m_State.m_OnTime, 20);
    EXPECT_EQ(l_Request.m_State.m_OffTime, 30);
    EXPECT_EQ(l_Request.m_State.m_LocalControl, 1);
    EXPECT_THAT(l_Request.m_State.m_ColorSupported, ElementsAre(true, false, true, false, true, false));
    std::vector<std::string> l_Texts = m_Log.Texts("OPENIPMI_LED_REQUEST");
    std::erase_if(l_Texts, [](const std::string& a_Text) { return a_Text.find("::s_") != std::string::npos; });
    EXPECT_THAT(l_Texts,
                ElementsAre("OPENIPMI_LED_REQUEST::Read", "OPENIPMI_LED_REQUEST::ID2Pointer_Handler",
                            "OPENIPMI_LED_REQUEST::ID2Pointer_Handler - WHITE supported=1",
                            "OPENIPMI_LED_REQUEST::ID2Pointer_Handler - ORANGE supported=0",
                            "OPENIPMI_LED_REQUEST::ID2Pointer_Handler - AMBER supported=1",
                            "OPENIPMI_LED_REQUEST::ID2Pointer_Handler - GREEN supported=0",
                            "OPENIPMI_LED_REQUEST::ID2Pointer_Handler - RED supported=1",
                            "OPENIPMI_LED_REQUEST::ID2Pointer_Handler - BLUE supported=0",
                            "OPENIPMI_LED_REQUEST::GetLightComplete_Handler", "OPENIPMI_LED_REQUEST::Read - Done"));
}

TEST_F(LightRequest, EachColourIsAskedForByItsOpenIpmiNumber) {
    const unsigned l_Colors[] = {1, 6, 5, 3, 2, 4};
    for (std::size_t i = 0; i < 6; ++i) {
        m_Light->m_SupportedColors = {l_Colors[i]};
        OPENIPMI_LED_REQUEST l_Request(Control());
        l_Request.Read();
        std::array<bool, 6> l_Expected{};
        l_Expected[i] = true;
        EXPECT_EQ(l_Request.m_State.m_ColorSupported, l_Expected) << l_Colors[i];
    }
}

TEST_F(LightRequest, CompletionBeforeTheCallReturnsIsNotLost) {
    Fake().Controls().m_bCompletesAtOnce = true;
    m_Light->m_Light = {0, 1, 0, 2};
    OPENIPMI_LED_REQUEST l_Request(Control());
    l_Request.Read();
    EXPECT_EQ(l_Request.m_State.m_Color, 2);
    l_Request.Write();
    EXPECT_EQ(Fake().Controls().m_SetLights.size(), 1U);
}

TEST_F(LightRequest, FailedReadLeavesTheStateInvalidAndReleasesTheCaller) {
    m_Light->m_Light = {1, 20, 30, 3};
    for (const bool l_Null : {false, true}) {
        Fake().Controls().m_CompletionError = l_Null ? 0 : 0x10000C1;
        Fake().Controls().m_bCompletesWithNull = l_Null;
        OPENIPMI_LED_REQUEST l_Request(Control());
        l_Request.Read();
        EXPECT_EQ(l_Request.m_State.m_Valid, 0);
        EXPECT_EQ(l_Request.m_State.m_Color, 0) << "nothing is imported";
    }
}

TEST_F(LightRequest, WriteAppliesTheStateInOrder) {
    OPENIPMI_LED_REQUEST l_Request(Control());
    l_Request.m_State.m_LocalControl = 1;
    l_Request.m_State.m_OnTime = 500;
    l_Request.m_State.m_OffTime = 300;
    l_Request.m_State.m_Color = 5;
    l_Request.m_State.m_ColorSupported = {true, true, true, true, true, true};
    l_Request.Write();
    EXPECT_THAT(Fake().Controls().m_SetLights, ElementsAre(ipmi_light_setting_s{1, 500, 300, 5}));
    EXPECT_THAT(Fake().Controls().m_Calls,
                ElementsAre("ipmi_control_pointer_cb", "ipmi_alloc_light_settings",
                            "ipmi_light_setting_set_local_control", "ipmi_light_setting_set_on_time",
                            "ipmi_light_setting_set_off_time", "ipmi_light_setting_set_color",
                            "ipmi_control_set_light"));
    EXPECT_THAT(l_Request.m_State.m_ColorSupported, testing::Each(true)) << "a write leaves them alone";
    EXPECT_THAT(
        m_Log.Texts("OPENIPMI_LED_REQUEST"),
        ElementsAre("OPENIPMI_LED_REQUEST::Write", "OPENIPMI_LED_REQUEST::s_ID2Pointer_Handler",
                    "OPENIPMI_LED_REQUEST::ID2Pointer_Handler", "OPENIPMI_LED_REQUEST::s_SetLightComplete_Handler",
                    "OPENIPMI_LED_REQUEST::SetLightComplete_Handler",
                    "OPENIPMI_LED_REQUEST::SetLightComplete_Handler - NO ERROR", "OPENIPMI_LED_REQUEST::Write - Done"));
}

TEST_F(LightRequest, FailingSetterIsLoggedAndTheNextOnesStillRun) {
    const std::pair<const char*, const char*> l_Setters[] = {
        {"ipmi_light_setting_set_local_control", "Failed setting light to local control"},
        {"ipmi_light_setting_set_on_time", "Failed ipmi_light_setting_set_on_time"},
        {"ipmi_light_setting_set_off_time", "Failed ipmi_light_setting_set_off_time"},
        {"ipmi_light_setting_set_color", "Failed sipmi_light_setting_set_color"},
    };
    for (const auto& [l_Function, l_Text] : l_Setters) {
        Fake().Controls() = {};
        Fake().Controls().m_Results[l_Function] = {22};
        m_Log.Clear();
        OPENIPMI_LED_REQUEST l_Request(Control());
        l_Request.Write();
        EXPECT_TRUE(m_Log.Has(l_Text, BM_LOG_ERROR)) << l_Text;
        EXPECT_EQ(m_Log.Texts("Failed").size(), 1U);
        EXPECT_EQ(Fake().Controls().m_Calls.size(), 7U) << "the write goes on";
    }
}

TEST_F(LightRequest, FailedWriteIsLoggedAndReleasesTheCaller) {
    Fake().Controls().m_CompletionError = 5;
    OPENIPMI_LED_REQUEST l_Request(Control());
    l_Request.Write();
    EXPECT_TRUE(m_Log.Has("OPENIPMI_LED_REQUEST::SetLightComplete_Handler - ERROR", BM_LOG_ERROR));
    EXPECT_FALSE(m_Log.Has("OPENIPMI_LED_REQUEST::SetLightComplete_Handler - NO ERROR"));
}

TEST_F(LightRequest, CanBeUsedAgain) {
    OPENIPMI_LED_REQUEST l_Request(Control());
    for (int i = 1; i <= 3; ++i) {
        l_Request.m_State.m_OnTime = i;
        l_Request.Write();
        l_Request.m_State.m_OnTime = 0;
        l_Request.Read();
        EXPECT_EQ(l_Request.m_State.m_OnTime, i);
    }
}

TEST_F(LightRequest, HostThreadsUseTheirOwnAtTheSameTime) {
    IPMI_CONTROL* const l_Control = Control();
    m_Light->m_Light = {0, 1, 0, 2};
    std::vector<std::thread> l_Threads;
    std::atomic<int> l_Valid = 0;
    for (int i = 0; i < 8; ++i) {
        l_Threads.emplace_back([&] {
            for (int j = 0; j < 50; ++j) {
                OPENIPMI_LED_REQUEST l_Request(l_Control);
                l_Request.Read();
                l_Valid += l_Request.m_State.m_Valid;
            }
        });
    }
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    EXPECT_EQ(l_Valid.load(), 400);
}

TEST_F(LightRequest, OutsideARequestTheControlIsNotTouched) {
    OPENIPMI_LED_REQUEST l_Request(Control());
    l_Request.ID2Pointer_Handler(m_Light);
    EXPECT_THAT(Fake().Controls().m_Calls, IsEmpty());
}

TEST_F(LightRequest, AfterARequestTheControlIsNotTouchedAnyMore) {
    OPENIPMI_LED_REQUEST l_Request(Control());
    l_Request.Read();
    const auto l_Calls = Fake().Controls().m_Calls;
    l_Request.ID2Pointer_Handler(m_Light);
    EXPECT_EQ(Fake().Controls().m_Calls, l_Calls);
    l_Request.Write();
    const auto l_WithWrite = Fake().Controls().m_Calls;
    l_Request.ID2Pointer_Handler(m_Light);
    EXPECT_EQ(Fake().Controls().m_Calls, l_WithWrite);
}

TEST_F(LightRequest, TrampolinesWithoutARequestEndTheProcess) {
    const auto l_ToStderr = [] {
        fflush(stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO);
    };
    EXPECT_EXIT((l_ToStderr(), OPENIPMI_LED_REQUEST::s_ID2Pointer_Handler(m_Light, nullptr)), ExitedWithCode(1),
                "ERROR SELF==NULL");
    EXPECT_EXIT((l_ToStderr(), OPENIPMI_LED_REQUEST::s_GetLightComplete_Handler(m_Light, 0, nullptr, nullptr)),
                ExitedWithCode(1), "ERROR SELF==NULL");
    EXPECT_EXIT((l_ToStderr(), OPENIPMI_LED_REQUEST::s_SetLightComplete_Handler(m_Light, 0, nullptr)),
                ExitedWithCode(1), "ERROR SELF==NULL");
}

#ifndef NDEBUG
TEST_F(LightRequest, InACallbackOfOpenIpmiItIsRefusedByADebugBuild) {
    OPENIPMI_LED_REQUEST l_Request(Control());
    EXPECT_DEATH((CALLBACK_SCOPE(), l_Request.Read()), "InCallback");
}
#endif

// ---- requests that nothing completes: the caller stays blocked

struct REFUSAL {
    const char* m_Name;
    const char* m_Function; ///< fails; null: the light's settings cannot be allocated
    bool m_bWrite;
    const char* m_Line;
};

void PrintTo(const REFUSAL& a_Refusal, std::ostream* a_Stream) {
    *a_Stream << a_Refusal.m_Name;
}

class RefusedLightRequest : public ADAPTOR_PROCESS_TEST, public testing::WithParamInterface<REFUSAL> {};

TEST_P(RefusedLightRequest, KeepsItsCallerBlocked) {
    class PIPE_LOG final : public CBaseOsLog {
    public:
        explicit PIPE_LOG(int a_File) : m_File(a_File) {}
        void Log(int, const char*, const char* a_Text) override {
            const std::string l_Line = std::string(a_Text) + "\n";
            [[maybe_unused]] const auto l_Written = write(m_File, l_Line.data(), l_Line.size());
        }

    private:
        int m_File;
    };
    int l_Pipe[2] = {-1, -1};
    ASSERT_EQ(pipe(l_Pipe), 0);
    PIPE_LOG l_Log(l_Pipe[1]);
    IPMI_CONTROL l_Control;
    const CHILD_END l_End = CallInChild(
        [&] {
            g_Logger2 = &l_Log;
            l_Control.m_ControlID = Fake().AddControl(nullptr, "light", IPMI_CONTROL_LIGHT)->m_ControlID;
            Fake().Controls().m_bCompletesAtOnce = true;
            if (GetParam().m_Function != nullptr) Fake().Controls().m_Results[GetParam().m_Function] = {5};
            Fake().Controls().m_bAllocFails = GetParam().m_Function == nullptr;
        },
        [&] {
            OPENIPMI_LED_REQUEST l_Request(&l_Control);
            if (GetParam().m_bWrite) l_Request.Write();
            l_Request.Read();
        });
    EXPECT_EQ(l_End, CHILD_END::StaysBlocked);
    close(l_Pipe[1]);
    std::string l_Text(4096, '\0');
    l_Text.resize(static_cast<std::size_t>(std::max<ssize_t>(read(l_Pipe[0], l_Text.data(), l_Text.size()), 0)));
    close(l_Pipe[0]);
    EXPECT_THAT(l_Text, testing::HasSubstr(GetParam().m_Line));
    EXPECT_THAT(l_Text, Not(testing::HasSubstr("Done")));
}

INSTANTIATE_TEST_SUITE_P(
    Refusals, RefusedLightRequest,
    testing::Values(REFUSAL{"ReadOfALostControl", "ipmi_control_pointer_cb", false,
                            "OPENIPMI_LED_REQUEST - no such control: rc=5\n"},
                    REFUSAL{"WriteToALostControl", "ipmi_control_pointer_cb", true,
                            "OPENIPMI_LED_REQUEST - no such control: rc=5\n"},
                    REFUSAL{"GetLight", "ipmi_control_get_light", false, "Failed ipmi_control_get_light: rc=5\n"},
                    REFUSAL{"SetLight", "ipmi_control_set_light", true, "Failed ipmi_control_set_light\n"},
                    REFUSAL{"NoSettings", nullptr, true,
                            "Failed setting light to local control\nFailed ipmi_light_setting_set_on_time\n"
                            "Failed ipmi_light_setting_set_off_time\nFailed sipmi_light_setting_set_color\n"}),
    [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
