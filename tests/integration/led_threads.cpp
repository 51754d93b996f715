// Eight host threads on the LEDs of one blade, as long as the first argument says in seconds. Each owns one settable
// LED: it writes it, reads it back, and reads all the others meanwhile. Prints what each wrote last, as JSON.
#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_protocol.h"
#include "tests/SilentHost.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

using namespace BM_ADAPTOR;

namespace {

constexpr int g_LEDsOfPlace = 4;
constexpr int g_Threads = 2 * g_LEDsOfPlace; // baseboard and first AMC
constexpr int g_Unit = 10;                   // ms, what the controller counts in
constexpr int g_ShortestTime = 10;           // units
constexpr int g_Times = 241;                 // from the shortest to the longest, 250 units
constexpr int g_ColorOfLED[] = {4, 2, 3, 5}; // OpenIPMI's blue, red, green, yellow: each LED has one

std::atomic<bool> g_Failed{false};

void Fail(int a_Thread, const char* a_What, int a_Value) {
    std::fprintf(stderr, "led_threads: thread %d: %s %d\n", a_Thread, a_What, a_Value);
    g_Failed = true;
}

template <typename ROW>
void Put(ROW& a_Row, unsigned a_Id, int a_Value) {
    CBMIParam l_Param(BMI_PARAM_INT, a_Id, true);
    l_Param.SetInt(a_Value);
    a_Row.Add(l_Param);
}

/// One settable LED, and what its thread wrote to it last.
class OWN_LED {
public:
    OWN_LED(int a_Index, int a_AMCBay)
        : m_Index(a_Index),
          m_Bay(a_AMCBay),
          m_bBoard(a_Index < g_LEDsOfPlace),
          m_LED(a_Index % g_LEDsOfPlace + 1) {}

    /// Local control, on and off time as the row has them; false when there is no answer.
    bool Read(CBaseAdaptor& a_Adaptor, int& a_On, int& a_Off) const {
        const CBMIKeys l_Keys = Keys();
        CBMIParams* l_Answer = nullptr;
        const int l_Result = a_Adaptor.ReadParams(Group(), &l_Keys, l_Answer);
        const std::unique_ptr<CBMIParams> l_Row(l_Answer);
        const CBMIParam* const l_On = l_Row ? l_Row->GetParamById(Base() + 2) : nullptr;
        const CBMIParam* const l_Off = l_Row ? l_Row->GetParamById(Base() + 3) : nullptr;
        if (l_Result != 1 || l_On == nullptr || l_Off == nullptr) return false;
        a_On = l_On->GetInt();
        a_Off = l_Off->GetInt();
        return true;
    }

    int Write(CBaseAdaptor& a_Adaptor, int a_Round) {
        m_On = (g_ShortestTime + (a_Round * 7 + m_Index) % g_Times) * g_Unit;
        m_Off = (g_ShortestTime + (a_Round * 3 + m_Index) % g_Times) * g_Unit;
        CBMIKeys l_Keys = Keys();
        CBMIParams l_Values;
        Put(l_Values, Base() + 5, 1); // override
        Put(l_Values, Base() + 2, m_On);
        Put(l_Values, Base() + 3, m_Off);
        Put(l_Values, Base() + 0xC, g_ColorOfLED[m_LED - 1]);
        return a_Adaptor.WriteParams(Group(), &l_Keys, &l_Values);
    }

    /// The controller has on-durations and LED functions (off-durations) of 10 ms, and the row gives them as they are.
    bool Holds(int a_On, int a_Off) const { return a_On == m_On / g_Unit && a_Off == m_Off / g_Unit; }

    void Print(bool a_Last) const {
        std::printf(R"({"board": %s, "led": %d, "on": %d, "off": %d}%s)", m_bBoard ? "true" : "false", m_LED, m_On,
                    m_Off, a_Last ? "" : ", ");
    }

private:
    unsigned Group() const {
        return m_bBoard ? BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL : BMI_GROUP_HARDWARE_AMC_LED_INTERNAL;
    }
    unsigned Base() const { return Group(); } // the ids of these groups count from their number

    CBMIKeys Keys() const {
        CBMIKeys l_Keys;
        Put(l_Keys, Base() + 1, m_LED);
        if (!m_bBoard) Put(l_Keys, BMI_HW_AMC_LED_BAY, m_Bay);
        return l_Keys;
    }

    int m_Index;
    int m_Bay;
    bool m_bBoard;
    int m_LED;
    int m_On = 0;
    int m_Off = 0;
};

} // namespace

int main(int a_Count, char** a_Arguments) {
    if (a_Count != 3) {
        std::fprintf(stderr, "usage: led_threads SECONDS BAY-OF-THE-FIRST-AMC\n");
        return 2;
    }
    const auto l_End = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(a_Arguments[1]));
    const int l_AMCBay = std::atoi(a_Arguments[2]);
    // Never destroyed: the domain thread uses them as long as the process lives.
    auto& l_Host = *new SILENT_HOST;
    auto& l_Adaptor = *new IPMIAdaptor;
    if (l_Adaptor.Init(&l_Host) != 1) return 1;

    std::vector<OWN_LED> l_LEDs;
    for (int i = 0; i < g_Threads; ++i)
        l_LEDs.emplace_back(i, l_AMCBay);
    std::array<int, g_Threads> l_Rounds{};
    std::vector<std::thread> l_Threads;
    for (int i = 0; i < g_Threads; ++i) {
        l_Threads.emplace_back([&, i] {
            const auto l_Index = static_cast<size_t>(i);
            while (std::chrono::steady_clock::now() < l_End && !g_Failed) {
                const int l_Round = ++l_Rounds[l_Index];
                int l_On = 0;
                int l_Off = 0;
                const int l_Result = l_LEDs[l_Index].Write(l_Adaptor, l_Round);
                if (l_Result != 0) Fail(i, "a write gave", l_Result);
                if (!l_LEDs[l_Index].Read(l_Adaptor, l_On, l_Off)) Fail(i, "its LED cannot be read in round", l_Round);
                if (!l_LEDs[l_Index].Holds(l_On, l_Off)) Fail(i, "its LED is not as written in round", l_Round);
                const auto l_Other = static_cast<size_t>((i + l_Round) % g_Threads);
                if (!l_LEDs[l_Other].Read(l_Adaptor, l_On, l_Off))
                    Fail(i, "an LED of another thread cannot be read in round", l_Round);
            }
        });
    }
    for (auto& l_Thread : l_Threads)
        l_Thread.join();

    std::printf("{\"rounds\": [");
    for (size_t i = 0; i < l_Rounds.size(); ++i)
        std::printf("%d%s", l_Rounds[i], i + 1 < l_Rounds.size() ? ", " : "], \"leds\": [");
    for (size_t i = 0; i < l_LEDs.size(); ++i)
        l_LEDs[i].Print(i + 1 == l_LEDs.size());
    std::printf("]}\n");
    std::fflush(stdout);
    std::_Exit(g_Failed ? 1 : 0);
}
