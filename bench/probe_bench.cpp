// What the probe costs beyond the wire: the time of a probe compared with that of its own requests sent bare, in the
// same run, through the same OpenIPMI domain and on the same thread, where each reply triggers the next request.
#include "bench/InBlade.h"
#include "bench/Median.h"
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
using bench::MedianOf;
using bench::recorded;

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t Rounds = 15;
constexpr int BladeSizes[] = {1, 10, 100};

/// Runs within a blade: probe and bare requests in turn, on OpenIPMI's thread.
class Measurement {
public:
    [[noreturn]] void Run() {
        m_osHandler = ipmi_posix_thread_setup_os_handler(SIGUSR2);
        ipmi_init(m_osHandler);
        ipmi_con_t* connection = nullptr;
        if (ipmi_smi_setup_con(0, m_osHandler, nullptr, &connection) != 0) Fail("there is no /dev/ipmi0");
        char name[] = "";
        ipmi_open_option_t nothing{};
        nothing.option = IPMI_OPEN_OPTION_ALL;
        if (ipmi_open_domain(name, &connection, 1, Open, this, nullptr, nullptr, &nothing, 1, nullptr) != 0)
            Fail("the domain cannot be opened");
        for (;;) {
            m_osHandler->perform_one_op(m_osHandler, nullptr);
            if (m_probing && ShownInModel() != m_shownBefore) ProbeEnded();
        }
    }

    [[noreturn]] static void Fail(const char* reason) {
        std::fprintf(stderr, "probe_bench: %s\n", reason);
        std::_Exit(1);
    }

private:
    static void Open(ipmi_domain_t* domain, int error, unsigned, unsigned, int, void* context) {
        if (error != 0) Fail("the domain did not open");
        auto& self = *static_cast<Measurement*>(context);
        if (std::exchange(self.m_domain, domain) == nullptr) self.StartProbe();
    }

    static int BareReply(ipmi_domain_t*, ipmi_msgi_t* item) {
        auto& self = *static_cast<Measurement*>(item->data1);
        ++self.m_next;
        if (self.m_next < recorded.size())
            self.SendNextBare();
        else
            self.BareEnded();
        return IPMI_MSG_ITEM_NOT_USED;
    }

    /// Each probe ends by putting entities of its own into the model, all of them within one reply.
    static const IPMI_ENTITY* ShownInModel() { return g_EntityMap.empty() ? nullptr : g_EntityMap.begin()->second; }

    void ProbeEnded() {
        m_probes.push_back(SecondsSinceStart());
        m_probing = false;
        bench::recording = false; // the first probe's requests are all there is to know
        m_next = 0;
        m_start = Clock::now();
        SendNextBare();
    }

    double SecondsSinceStart() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

    // The objects stay: a probe is never deleted in the adaptor either.
    void StartProbe() {
        auto* const capture = new ENTITYCAPTURE(m_domain, new IPMITHREAD(nullptr, nullptr), nullptr);
        bench::recording = recorded.empty();
        m_shownBefore = ShownInModel();
        m_probing = true;
        m_start = Clock::now();
        capture->StartCapture();
    }

    void SendNextBare() {
        if (bench::SendBare(m_domain, recorded[m_next], BareReply, this) != 0) Fail("a request cannot be sent");
    }

    void BareEnded() {
        m_bare.push_back(SecondsSinceStart());
        if (m_bare.size() < Rounds) return StartProbe();
        Report();
        std::fflush(stdout);
        std::_Exit(0);
    }

    void Report() const {
        std::vector<double> ratios;
        for (size_t i = 0; i < Rounds; ++i)
            ratios.push_back(m_probes[i] / m_bare[i]);
        const auto requests = static_cast<double>(recorded.size());
        std::printf("%8zu %12.1f %14.1f %12.1f %10.3f\n", recorded.size(), MedianOf(m_probes) * 1e3,
                    MedianOf(m_bare) / requests * 1e6, MedianOf(m_probes) / requests * 1e6, MedianOf(ratios));
    }

    os_handler_t* m_osHandler = nullptr;
    ipmi_domain_t* m_domain = nullptr;
    bool m_probing = false;
    const IPMI_ENTITY* m_shownBefore = nullptr; ///< before this probe
    Clock::time_point m_start;
    size_t m_next = 0;
    std::vector<double> m_probes; // seconds
    std::vector<double> m_bare;
};

nlohmann::json FRUOf(int id) {
    const bool board = id == 0;
    const std::string number = std::to_string(1000 + id);
    return {{"id", id},
            {"site", {{"hardware_address", 0x10}, {"type", board ? 0 : 7}, {"number", board ? 5 : id}}},
            {"leds", 4},
            {"inventory",
             {{"board",
               {{"manufacturer", "Harrow Blade Works"},
                {"product_name", "Module " + number},
                {"serial_number", "SN-" + number},
                {"part_number", "PN-" + number}}},
              {"product",
               {{"manufacturer", "Harrow Systems"},
                {"name", "Bench " + number},
                {"part_number", "BP-" + number},
                {"version", "Rev. A"},
                {"serial_number", "BS-" + number},
                {"asset_tag", "AT-" + number}}}}}};
}

std::string WriteBlade(const std::string& folder, int frus) {
    nlohmann::json blade = {{"controller",
                             {{"address", 0x20},
                              {"device_id", 1},
                              {"device_revision", 1},
                              {"manufacturer_id", 32473},
                              {"product_id", 1},
                              {"firmware", {{"major", 1}, {"minor", 0}}}}}};
    for (int i = 0; i < frus; ++i)
        blade["frus"].push_back(FRUOf(i));
    std::string file = folder + "/bench-" + std::to_string(frus) + ".json";
    std::ofstream(file) << blade;
    return file;
}

} // namespace

// Ignores arguments that are meant for other benchmark programs.
int main(int count, char** arguments) {
    if (bench::IsInBlade(count, arguments)) {
        static Measurement measurement;
        measurement.Run();
    }
    char folder[] = "/tmp/probe_bench.XXXXXX";
    if (::mkdtemp(folder) == nullptr) Measurement::Fail("no folder for the blade files");
    std::printf("Probe against its own requests sent bare, medians of %zu rounds\n\n", Rounds);
    std::printf("%5s %8s %12s %14s %12s %10s\n", "FRUs", "requests", "probe ms", "bare us/req", "us/request", "ratio");
    bool good = true;
    for (const int frus : BladeSizes) {
        std::printf("%5d ", frus);
        good = bench::RunInBlade(WriteBlade(folder, frus)) && good;
    }
    std::filesystem::remove_all(folder);
    return good ? 0 : 1;
}
