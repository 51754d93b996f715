// What the probe costs beyond the wire: the time of a probe against that of its own requests sent bare, in one run,
// through the same OpenIPMI domain and on the same thread, each sent by the reply to the one before it.
#include "bench/InBlade.h"
#include "bench/Recorder.h"
#include "ipmi/IPMI_Probe.h"
#include "ipmi/IPMI_Thread.h"

#include <OpenIPMI/ipmi_posix.h>
#include <OpenIPMI/ipmi_smi.h>
#include <OpenIPMI/ipmiif.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

using namespace BM_ADAPTOR;
using BENCH::g_Recorded;
using BENCH::MedianOf;

namespace {

using CLOCK = std::chrono::steady_clock;

constexpr size_t g_Rounds = 15;
constexpr int g_BladeSizes[] = {1, 10, 100};

/// Runs within a blade: probe and bare requests in turn, on OpenIPMI's thread.
class MEASUREMENT {
public:
    [[noreturn]] void Run() {
        m_OsHandler = ipmi_posix_thread_setup_os_handler(SIGUSR2);
        ipmi_init(m_OsHandler);
        ipmi_con_t* l_Connection = nullptr;
        if (ipmi_smi_setup_con(0, m_OsHandler, nullptr, &l_Connection) != 0) Fail("there is no /dev/ipmi0");
        char l_Name[] = "";
        ipmi_open_option_t l_Nothing{};
        l_Nothing.option = IPMI_OPEN_OPTION_ALL;
        if (ipmi_open_domain(l_Name, &l_Connection, 1, s_Open, this, nullptr, nullptr, &l_Nothing, 1, nullptr) != 0)
            Fail("the domain cannot be opened");
        for (;;)
            m_OsHandler->perform_one_op(m_OsHandler, nullptr);
    }

    /// The domain's thread unlocked a mutex: the one that it was given says that the model is usable.
    void Unlocked(const OSAL::OSALMutex* a_Mutex) {
        if (a_Mutex != &m_ModelUsable) return;
        BENCH::g_Recording = false; // the first probe's requests are all there is to know
        m_Probes.push_back(SecondsSinceStart());
        m_Next = 0;
        m_Start = CLOCK::now();
        SendNextBare();
    }

    [[noreturn]] static void Fail(const char* a_Reason) {
        std::fprintf(stderr, "probe_bench: %s\n", a_Reason);
        std::_Exit(1);
    }

private:
    static void s_Open(ipmi_domain_t* a_Domain, int a_Error, unsigned, unsigned, int, void* a_Self) {
        if (a_Error != 0) Fail("the domain did not open");
        auto& l_Self = *static_cast<MEASUREMENT*>(a_Self);
        if (std::exchange(l_Self.m_Domain, a_Domain) == nullptr) l_Self.StartProbe();
    }

    static int s_BareReply(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
        auto& l_Self = *static_cast<MEASUREMENT*>(a_Item->data1);
        ++l_Self.m_Next;
        if (l_Self.m_Next < g_Recorded.size())
            l_Self.SendNextBare();
        else
            l_Self.BareEnded();
        return IPMI_MSG_ITEM_NOT_USED;
    }

    double SecondsSinceStart() const { return std::chrono::duration<double>(CLOCK::now() - m_Start).count(); }

    // The objects stay: a probe is never deleted in the adaptor either.
    void StartProbe() {
        m_ModelUsable.Lock();
        auto* const l_Capture = new ENTITYCAPTURE(m_Domain, new IPMITHREAD(nullptr, &m_ModelUsable), nullptr);
        BENCH::g_Recording = g_Recorded.empty();
        m_Start = CLOCK::now();
        l_Capture->StartCapture();
    }

    void SendNextBare() {
        if (BENCH::SendBare(m_Domain, g_Recorded[m_Next], s_BareReply, this) != 0) Fail("a request cannot be sent");
    }

    void BareEnded() {
        m_Bare.push_back(SecondsSinceStart());
        if (m_Bare.size() < g_Rounds) return StartProbe();
        Report();
        std::fflush(stdout);
        std::_Exit(0);
    }

    void Report() const {
        std::vector<double> l_Ratios;
        for (size_t i = 0; i < g_Rounds; ++i)
            l_Ratios.push_back(m_Probes[i] / m_Bare[i]);
        const auto l_Requests = static_cast<double>(g_Recorded.size());
        std::printf("%8zu %12.1f %14.1f %12.1f %10.3f\n", g_Recorded.size(), MedianOf(m_Probes) * 1e3,
                    MedianOf(m_Bare) / l_Requests * 1e6, MedianOf(m_Probes) / l_Requests * 1e6, MedianOf(l_Ratios));
    }

    os_handler_t* m_OsHandler = nullptr;
    ipmi_domain_t* m_Domain = nullptr;
    OSAL::OSALMutex m_ModelUsable;
    CLOCK::time_point m_Start;
    size_t m_Next = 0;
    std::vector<double> m_Probes; // seconds
    std::vector<double> m_Bare;
};

MEASUREMENT g_Measurement;

nlohmann::json FRUOf(int a_Id) {
    const bool l_Board = a_Id == 0;
    const std::string l_Number = std::to_string(1000 + a_Id);
    return {{"id", a_Id},
            {"site", {{"hardware_address", 0x10}, {"type", l_Board ? 0 : 7}, {"number", l_Board ? 5 : a_Id}}},
            {"leds", 4},
            {"inventory",
             {{"board",
               {{"manufacturer", "Harrow Blade Works"},
                {"product_name", "Module " + l_Number},
                {"serial_number", "SN-" + l_Number},
                {"part_number", "PN-" + l_Number}}},
              {"product",
               {{"manufacturer", "Harrow Systems"},
                {"name", "Bench " + l_Number},
                {"part_number", "BP-" + l_Number},
                {"version", "Rev. A"},
                {"serial_number", "BS-" + l_Number},
                {"asset_tag", "AT-" + l_Number}}}}}};
}

std::string WriteBlade(const std::string& a_Folder, int a_FRUs) {
    nlohmann::json l_Blade = {{"controller",
                               {{"address", 0x20},
                                {"device_id", 1},
                                {"device_revision", 1},
                                {"manufacturer_id", 32473},
                                {"product_id", 1},
                                {"firmware", {{"major", 1}, {"minor", 0}}}}}};
    for (int i = 0; i < a_FRUs; ++i)
        l_Blade["frus"].push_back(FRUOf(i));
    std::string l_File = a_Folder + "/bench-" + std::to_string(a_FRUs) + ".json";
    std::ofstream(l_File) << l_Blade;
    return l_File;
}

} // namespace

extern "C" {
// OSAL::OSALMutex::Unlock(), which stands in the platform: however the adaptor is compiled, the linker leads its calls
// here.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
void __real__ZN4OSAL9OSALMutex6UnlockEv(OSAL::OSALMutex*);

void __wrap__ZN4OSAL9OSALMutex6UnlockEv(OSAL::OSALMutex* a_Mutex) {
    __real__ZN4OSAL9OSALMutex6UnlockEv(a_Mutex);
    g_Measurement.Unlocked(a_Mutex);
}
// NOLINTEND(bugprone-reserved-identifier)
}

// Arguments of other benchmark programs are of no meaning here.
int main(int a_Count, char** a_Arguments) {
    if (BENCH::IsInBlade(a_Count, a_Arguments)) g_Measurement.Run();
    char l_Folder[] = "/tmp/probe_bench.XXXXXX";
    if (::mkdtemp(l_Folder) == nullptr) MEASUREMENT::Fail("no folder for the blade files");
    std::printf("Probe against its own requests sent bare, medians of %zu rounds\n\n", g_Rounds);
    std::printf("%5s %8s %12s %14s %12s %10s\n", "FRUs", "requests", "probe ms", "bare us/req", "us/request", "ratio");
    bool l_Good = true;
    for (const int l_FRUs : g_BladeSizes) {
        std::printf("%5d ", l_FRUs);
        l_Good = BENCH::RunInBlade(WriteBlade(l_Folder, l_FRUs)) && l_Good;
    }
    std::filesystem::remove_all(l_Folder);
    return l_Good ? 0 : 1;
}
