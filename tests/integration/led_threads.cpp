// Eight host threads on the LEDs of one blade, as long as the first argument says in seconds. Each owns one settable
// LED: it writes it, reads it back, and reads all the others meanwhile. Prints what each wrote last, as JSON.
#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_protocol.h"
#include "tests/HostThreads.h"
#include "tests/SilentHost.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace BM_ADAPTOR;

namespace {

constexpr int LEDsOfPlace = 4;
constexpr int ThreadCount = 2 * LEDsOfPlace; // baseboard and first AMC
constexpr int Unit = 10;                     // ms, the controller's unit of time
constexpr int ShortestTime = 10;             // units
constexpr int TimeCount = 241;               // from the shortest to the longest, 250 units
constexpr int ColorOfLED[] = {INTERNAL_LED_BLUE, INTERNAL_LED_RED, INTERNAL_LED_GREEN, INTERNAL_LED_AMBER};

std::atomic<bool> failed{false};

void Fail(int thread, const char* what, int value) {
    std::fprintf(stderr, "led_threads: thread %d: %s %d\n", thread, what, value);
    failed = true;
}

template <typename Row>
void Put(Row& row, unsigned id, int value) {
    CBMIParam param(BMI_PARAM_INT, id, true);
    param.SetInt(value);
    row.Add(param);
}

struct LEDIds {
    unsigned m_led;
    unsigned m_localControl;
    unsigned m_onTime;
    unsigned m_offTime;
    unsigned m_color;
};

constexpr LEDIds BoardIds = {BMI_HW_BB_LED_ID, BMI_HW_BB_LED_LOCAL_CONTROL, BMI_HW_BB_LED_ON_TIME,
                             BMI_HW_BB_LED_OFF_TIME, BMI_HW_BB_LED_COLOR};
constexpr LEDIds ModuleIds = {BMI_HW_AMC_LED_ID, BMI_HW_AMC_LED_LOCAL_CONTROL, BMI_HW_AMC_LED_ON_TIME,
                              BMI_HW_AMC_LED_OFF_TIME, BMI_HW_AMC_LED_COLOR};

/// One settable LED, and what its thread wrote to it last.
class OwnLED {
public:
    OwnLED(int index, int amcBay)
        : m_index(index),
          m_bay(amcBay),
          m_isBoard(index < LEDsOfPlace),
          m_led(index % LEDsOfPlace + 1) {}

    /// On and off time from the row; false when there is no answer.
    bool Read(CBaseAdaptor& adaptor, int& onTime, int& offTime) const {
        const CBMIKeys keys = Keys();
        CBMIParams* answer = nullptr;
        const int result = adaptor.ReadParams(Group(), &keys, answer);
        const std::unique_ptr<CBMIParams> row(answer);
        const CBMIParam* const on = row ? row->GetParamById(Ids().m_onTime) : nullptr;
        const CBMIParam* const off = row ? row->GetParamById(Ids().m_offTime) : nullptr;
        if (result != RESULT_OK || on == nullptr || off == nullptr) return false;
        onTime = on->GetInt();
        offTime = off->GetInt();
        return true;
    }

    int Write(CBaseAdaptor& adaptor, int round) {
        m_on = (ShortestTime + (round * 7 + m_index) % TimeCount) * Unit;
        m_off = (ShortestTime + (round * 3 + m_index) % TimeCount) * Unit;
        CBMIKeys keys = Keys();
        CBMIParams values;
        Put(values, Ids().m_localControl, 1); // override
        Put(values, Ids().m_onTime, m_on);
        Put(values, Ids().m_offTime, m_off);
        Put(values, Ids().m_color, ColorOfLED[m_led - 1]);
        return adaptor.WriteParams(Group(), &keys, &values);
    }

    /// The controller has on-durations and LED functions (off-durations) of 10 ms, and the row gives them as they are.
    bool Holds(int onTime, int offTime) const { return onTime == m_on / Unit && offTime == m_off / Unit; }

    void Print(bool last) const {
        std::printf(R"({"board": %s, "led": %d, "on": %d, "off": %d}%s)", m_isBoard ? "true" : "false", m_led, m_on,
                    m_off, last ? "" : ", ");
    }

private:
    unsigned Group() const {
        return m_isBoard ? BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL : BMI_GROUP_HARDWARE_AMC_LED_INTERNAL;
    }
    const LEDIds& Ids() const { return m_isBoard ? BoardIds : ModuleIds; }

    CBMIKeys Keys() const {
        CBMIKeys keys;
        Put(keys, Ids().m_led, m_led);
        if (!m_isBoard) Put(keys, BMI_HW_AMC_LED_BAY, m_bay);
        return keys;
    }

    int m_index;
    int m_bay;
    bool m_isBoard;
    int m_led;
    int m_on = 0;
    int m_off = 0;
};

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: led_threads SECONDS BAY-OF-THE-FIRST-AMC\n");
        return 2;
    }
    const auto end = EndAfter(arguments[1]);
    const int amcBay = std::atoi(arguments[2]);
    // Never destroyed: the domain thread uses them as long as the process lives.
    auto& host = *new SilentHost;
    auto& adaptor = *new IPMIAdaptor;
    if (adaptor.Init(&host) != RESULT_OK) return 1;

    std::vector<OwnLED> leds;
    for (int i = 0; i < ThreadCount; ++i)
        leds.emplace_back(i, amcBay);
    std::array<int, ThreadCount> rounds{};
    RunThreads(ThreadCount, [&](size_t index) {
        const int thread = static_cast<int>(index);
        while (std::chrono::steady_clock::now() < end && !failed) {
            const int round = ++rounds[index];
            int on = 0;
            int off = 0;
            const int result = leds[index].Write(adaptor, round);
            if (result != 0) Fail(thread, "a write gave", result);
            if (!leds[index].Read(adaptor, on, off)) Fail(thread, "its LED cannot be read in round", round);
            if (!leds[index].Holds(on, off)) Fail(thread, "its LED is not as written in round", round);
            const auto other = (index + static_cast<size_t>(round)) % ThreadCount;
            if (!leds[other].Read(adaptor, on, off))
                Fail(thread, "an LED of another thread cannot be read in round", round);
        }
    });

    std::printf("{\"rounds\": [");
    for (size_t i = 0; i < rounds.size(); ++i)
        std::printf("%d%s", rounds[i], i + 1 < rounds.size() ? ", " : "], \"leds\": [");
    for (size_t i = 0; i < leds.size(); ++i)
        leds[i].Print(i + 1 == leds.size());
    std::printf("]}\n");
    std::fflush(stdout);
    std::_Exit(failed ? 1 : 0);
}
