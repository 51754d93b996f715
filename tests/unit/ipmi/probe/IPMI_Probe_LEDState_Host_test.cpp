// The LED commands and the host's own code: callbacks of OpenIPMI, lines in which the host takes locks or gives
// commands.
#include "LEDCommandFixture.h"

#include "ipmi/model/IPMI_Callback.h"

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

using ProbeLEDCommand = LED_COMMAND_TEST;

#ifndef NDEBUG
TEST_F(ProbeLEDCommand, InACallbackOfOpenIpmiItIsRefusedByADebugBuild) {
    EXPECT_DEATH((CALLBACK_SCOPE(), Get()), "InCallback");
    EXPECT_DEATH((CALLBACK_SCOPE(), Set(LED_STATE())), "InCallback");
}
#else
TEST_F(ProbeLEDCommand, InACallbackOfOpenIpmiItIsRefused) {
    const CALLBACK_SCOPE l_Callback;
    EXPECT_EQ(Get(), -1);
    EXPECT_EQ(Set(Setting(1, 0)), -1);
    EXPECT_EQ(Fake().SentCount(), 0U);
}
#endif

/// A host's logger that needs the model and the probe's maps for itself at every line: it hangs where one is locked.
class LOCKING_LOG : public CBaseOsLog {
public:
    explicit LOCKING_LOG(OSAL::OSALMutex& a_Maps) : m_Maps(a_Maps) {}
    virtual ~LOCKING_LOG() = default;

    void Log(int, const char*, const char*) override {
        {
            const MODEL_WRITER l_Model(g_EntityMapLock);
            ++m_Lines;
        }
        m_Maps.Lock();
        m_Maps.Unlock();
    }

    int m_Lines = 0; ///< counted under the model's lock

private:
    OSAL::OSALMutex& m_Maps;
};

TEST_F(ProbeLEDCommand, HoldsNeitherModelNorMapsWhileTheHostLogs) {
    OnGet(Hex("00 00 01 FF 00 03"));
    OnSet({0x00, 0x00});
    LOCKING_LOG l_Log(ACCESS::MapMutex(*m_Probe));
    g_Logger2 = &l_Log;
    EXPECT_EQ(Get(), 1);
    EXPECT_EQ(Set(Setting(1, 1)), 0);
    EXPECT_EQ(Get(5, 4), -1);
    EXPECT_EQ(Set(Setting(1, 1), 9), -1);
    m_Probe->SendFRUControl(5, 0);
    Fake().WaitUntilIdle();
    g_Logger2 = &m_Log;
    EXPECT_GT(l_Log.m_Lines, 20);
}

TEST_F(ProbeLEDCommand, HoldsNeitherModelNorMapsDuringTheInventory) {
    ENTITYCAPTURE l_Probe(Fake().Domain(), nullptr, &m_Log); // without a domain thread, which has lines of its own
    LOCKING_LOG l_Log(ACCESS::MapMutex(l_Probe));
    ScriptController({{0, 0, 3, {2, 4}, AreaOf(64, "board")}, {7, 1, 1, {2}, AreaOf(64, "AMC")}});
    g_Logger2 = &l_Log;
    l_Probe.StartCapture();
    Fake().WaitUntilIdle();
    g_Logger2 = &m_Log;
    EXPECT_EQ(g_EntityMap.size(), 2U);
    EXPECT_GT(l_Log.m_Lines, 100);
}

/// A host's logger that gives LED commands itself, out of every line of one.
class COMMANDING_LOG : public CBaseOsLog {
public:
    explicit COMMANDING_LOG(std::function<void()> a_Commands) : m_Commands(std::move(a_Commands)) {}
    virtual ~COMMANDING_LOG() = default;

    void Log(int, const char*, const char* a_Text) override {
        const bool l_InTurn = std::string_view(a_Text).starts_with(m_From);
        if (std::exchange(m_bInside, true)) return;
        if (l_InTurn) m_Commands();
        m_bInside = false;
    }

    std::string m_From;

private:
    std::function<void()> m_Commands;
    inline static thread_local bool m_bInside = false; ///< the replies' thread logs, too
};

TEST_F(ProbeLEDCommand, OutOfALineOfAnotherOneItIsRefusedAndTheOtherOneGoesOn) {
    OnGet(Hex("00 00 01 FF 00 03"));
    OnSet({0x00, 0x00});
    std::vector<int> l_Inner;
    COMMANDING_LOG l_Log([&] {
        LED_STATE l_State = Setting(1, 0);
        l_Inner.push_back(m_Probe->SendGetPICMCLEDState(5, 1, &l_State));
        l_Inner.push_back(m_Probe->SendSetPICMCLEDState(5, 1, &l_State));
    });
    g_Logger2 = &l_Log;
    for (const char* l_Line :
         {"ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=2 - Sending command",
          "ENTITYCAPTURE :: SendGetPICMCLEDState - rc", "ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=2 - Cleanup Mutex",
          "ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=2 - returning"}) {
        l_Log.m_From = l_Line;
        l_Inner.clear();
        EXPECT_EQ(Get(), 1) << l_Line;
        EXPECT_THAT(l_Inner, ElementsAre(-1, -1)) << l_Line;
    }
    l_Log.m_From = "ENTITYCAPTURE :: SendSetPICMCLEDState - rc";
    l_Inner.clear();
    EXPECT_EQ(Set(Setting(1, 0)), 0);
    EXPECT_THAT(l_Inner, ElementsAre(-1, -1));
    g_Logger2 = &m_Log;
    EXPECT_EQ(Get(5, 1), 1) << "when its turn comes";
}

} // namespace
