// What reading the LED panel costs beyond the wire: every LED of a full blade read through the adaptor, against the
// same requests sent bare, in one run, through the same OpenIPMI domain and with the same hand-over: a host thread
// waits for what the domain thread receives.
#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/IPMI_Adaptor_Groups.h"
#include "bench/InBlade.h"
#include "bench/Recorder.h"
#include "bm/OSAL.h"
#include "tests/SilentHost.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace BM_ADAPTOR;

namespace {

using CLOCK = std::chrono::steady_clock;

constexpr size_t g_Rounds = 51;
constexpr int g_LastBay = 9;
constexpr int g_LEDs = 4;

[[noreturn]] void Fail(const char* a_Reason) {
    std::fprintf(stderr, "led_panel_bench: %s\n", a_Reason);
    std::_Exit(1);
}

void AddKey(CBMIKeys& a_Keys, unsigned a_Id, int a_Value) {
    CBMIParam l_Key(BMI_PARAM_INT, a_Id, true);
    l_Key.SetInt(a_Value);
    a_Keys.Add(l_Key);
}

/// Reads every LED of baseboard, AMCs and RTM, as a host does.
void ReadPanel(CBaseAdaptor& a_Adaptor) {
    for (int l_Bay = 0; l_Bay <= g_LastBay; ++l_Bay) {
        for (int l_LED = 1; l_LED <= g_LEDs; ++l_LED) {
            CBMIKeys l_Keys;
            AddKey(l_Keys, l_Bay == 0 ? BMI_HW_BB_LED_ID : BMI_HW_AMC_LED_ID, l_LED);
            if (l_Bay != 0) AddKey(l_Keys, BMI_HW_AMC_LED_BAY, l_Bay);
            CBMIParams* l_Row = nullptr;
            const unsigned l_Group =
                l_Bay == 0 ? BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL : BMI_GROUP_HARDWARE_AMC_LED_INTERNAL;
            if (a_Adaptor.ReadParams(l_Group, &l_Keys, l_Row) != 1) Fail("an LED cannot be read");
            delete l_Row;
        }
    }
}

int Received(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    static_cast<OSAL::OSALMutex*>(a_Item->data1)->Unlock();
    return IPMI_MSG_ITEM_NOT_USED;
}

void SendAllBare() {
    for (auto& l_Request : BENCH::g_Recorded) {
        OSAL::OSALMutex l_Reply;
        l_Reply.Lock();
        if (BENCH::SendBare(BENCH::g_RecordedDomain, l_Request, Received, &l_Reply) != 0)
            Fail("a request cannot be sent");
        l_Reply.Lock();
    }
}

template <typename WORK>
double SecondsOf(const WORK& a_Work) {
    const auto l_Start = CLOCK::now();
    a_Work();
    return std::chrono::duration<double>(CLOCK::now() - l_Start).count();
}

[[noreturn]] void Measure() {
    // Never destroyed: the domain thread uses them as long as the process lives.
    auto& l_Host = *new SILENT_HOST;
    auto& l_Adaptor = *new IPMIAdaptor;
    l_Adaptor.Init(&l_Host);
    BENCH::g_Recording = true;
    ReadPanel(l_Adaptor);
    BENCH::g_Recording = false;
    std::vector<double> l_Panels;
    std::vector<double> l_Bare;
    std::vector<double> l_Ratios;
    for (size_t i = 0; i < g_Rounds; ++i) {
        l_Panels.push_back(SecondsOf([&] { ReadPanel(l_Adaptor); }));
        l_Bare.push_back(SecondsOf(SendAllBare));
        l_Ratios.push_back(l_Panels.back() / l_Bare.back());
    }
    const auto l_Requests = static_cast<double>(BENCH::g_Recorded.size());
    std::printf("\nLEDs of a full blade, %zu requests, medians of %zu rounds\n", BENCH::g_Recorded.size(), g_Rounds);
    std::printf("panel: %.2f ms, a bare round trip: %.1f us\n", BENCH::MedianOf(l_Panels) * 1e3,
                BENCH::MedianOf(l_Bare) / l_Requests * 1e6);
    std::printf("ratio: %.3f\n", BENCH::MedianOf(l_Ratios));
    std::fflush(stdout);
    std::_Exit(0);
}

} // namespace

// Arguments of other benchmark programs are of no meaning here.
int main(int a_Count, char** a_Arguments) {
    if (BENCH::IsInBlade(a_Count, a_Arguments)) Measure();
    return BENCH::RunInBlade("full") ? 0 : 1;
}
