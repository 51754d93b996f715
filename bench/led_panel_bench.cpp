// What reading the LED panel costs beyond the wire: every LED of a full blade read through the adaptor, compared with
// the same requests sent bare, in the same run, through the same OpenIPMI domain and with the same hand-over: a host
// thread waits for the reply that the domain thread receives.
#include "adaptor/IPMI_Adaptor.h"
#include "bench/InBlade.h"
#include "bench/Median.h"
#include "bench/Recorder.h"
#include "bm/OSAL.h"
#include "common/veldo_common_protocol.h"
#include "tests/SilentHost.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace BM_ADAPTOR;

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t Rounds = 51;
constexpr int LastBay = 9;
constexpr int Leds = 4;

[[noreturn]] void Fail(const char* reason) {
    std::fprintf(stderr, "led_panel_bench: %s\n", reason);
    std::_Exit(1);
}

void AddKey(CBMIKeys& keys, unsigned id, int value) {
    CBMIParam key(BMI_PARAM_INT, id, true);
    key.SetInt(value);
    keys.Add(key);
}

/// Reads every LED of baseboard, AMCs and RTM, as a host does.
void ReadPanel(CBaseAdaptor& adaptor) {
    for (int bay = 0; bay <= LastBay; ++bay) {
        for (int led = 1; led <= Leds; ++led) {
            CBMIKeys keys;
            AddKey(keys, bay == 0 ? BMI_HW_BB_LED_ID : BMI_HW_AMC_LED_ID, led);
            if (bay != 0) AddKey(keys, BMI_HW_AMC_LED_BAY, bay);
            CBMIParams* row = nullptr;
            const unsigned group =
                bay == 0 ? BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL : BMI_GROUP_HARDWARE_AMC_LED_INTERNAL;
            if (adaptor.ReadParams(group, &keys, row) != 1) Fail("an LED cannot be read");
            delete row;
        }
    }
}

int Received(ipmi_domain_t*, ipmi_msgi_t* item) {
    static_cast<OSAL::OSALMutex*>(item->data1)->Unlock();
    return IPMI_MSG_ITEM_NOT_USED;
}

void SendAllBare() {
    for (auto& request : bench::recorded) {
        OSAL::OSALMutex reply;
        reply.Lock();
        if (bench::SendBare(bench::recordedDomain, request, Received, &reply) != 0) Fail("a request cannot be sent");
        reply.Lock();
    }
}

template <typename Work>
double SecondsOf(const Work& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

[[noreturn]] void Measure() {
    // Never destroyed: the domain thread uses them as long as the process lives.
    auto& host = *new SilentHost;
    auto& adaptor = *new IPMIAdaptor;
    adaptor.Init(&host);
    bench::recording = true;
    ReadPanel(adaptor);
    bench::recording = false;
    std::vector<double> panels;
    std::vector<double> bare;
    std::vector<double> ratios;
    for (size_t i = 0; i < Rounds; ++i) {
        panels.push_back(SecondsOf([&] { ReadPanel(adaptor); }));
        bare.push_back(SecondsOf(SendAllBare));
        ratios.push_back(panels.back() / bare.back());
    }
    const auto requests = static_cast<double>(bench::recorded.size());
    std::printf("\nLEDs of a full blade, %zu requests, medians of %zu rounds\n", bench::recorded.size(), Rounds);
    std::printf("panel: %.2f ms, a bare round trip: %.1f us\n", bench::MedianOf(panels) * 1e3,
                bench::MedianOf(bare) / requests * 1e6);
    std::printf("ratio: %.3f\n", bench::MedianOf(ratios));
    std::fflush(stdout);
    std::_Exit(0);
}

} // namespace

// Ignores arguments that are meant for other benchmark programs.
int main(int count, char** arguments) {
    if (bench::IsInBlade(count, arguments)) Measure();
    return bench::RunInBlade("full") ? 0 : 1;
}
