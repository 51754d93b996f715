// What the web door is good for, on a full blade: readers while the controller is frozen compared with the same while
// it answers; and many readers and streams of events at once, beside firmware upgrades.
#include "bench/Asking.h"
#include "bench/InBlade.h"
#include "bench/Load.h"
#include "bench/Median.h"
#include "bench/Programs.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using bench::Asking;
using bench::Fail;
using bench::Host;
using bench::Ran;
using bench::Words;
using Clock = std::chrono::steady_clock;

constexpr std::size_t Rounds = 7;
constexpr std::size_t Asks = 200;
constexpr std::size_t Readers = 200;
constexpr std::size_t StreamsOfEachPath = 25;
constexpr std::chrono::milliseconds BetweenOrders(50);
constexpr int UsualSeconds = 15;

const std::vector<std::string> StreamPaths = {"/v1/events", "/redfish/v1/EventService/SSE"};
const std::vector<std::string> Paths = {"/metrics", "/redfish/v1/Chassis/Blade", "/v1/blade"};

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

uint16_t FreePort() {
    const bm_dev::UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        ::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
        Fail("there is no free port");
    return ntohs(address.sin_port);
}

/// The web door, once it has the host's picture.
class Door {
public:
    Door() : m_port(FreePort()), m_program({BM_BIN_DIR "/bmhost-web", "--listen", Address()}) {
        const auto begin = Clock::now();
        while (!Serves()) {
            if (SecondsSince(begin) > 30) Fail("the web door does not come up");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    uint16_t Port() const { return m_port; }
    /// In KiB.
    uint64_t AnonymousMemory() const { return m_program.AnonymousMemory(); }

private:
    std::string Address() const { return "127.0.0.1:" + std::to_string(m_port); }
    bool Serves() const {
        Asking client(m_port);
        return client.Connected() && client.Get("/metrics").find("\nbmhost_up 1") != std::string::npos;
    }

    const uint16_t m_port;
    bench::Program m_program;
};

double MedianAnswer(const Door& door, const std::string& path) {
    Asking client(door.Port());
    std::vector<double> times;
    for (std::size_t i = 0; i < Asks; ++i) {
        const auto start = Clock::now();
        client.Get(path);
        times.push_back(SecondsSince(start));
    }
    return bench::MedianOf(times);
}

/// Of one path, of each round.
struct Times {
    std::vector<double> m_answering;
    std::vector<double> m_frozen;
    std::vector<double> m_ratios;
};

void MeasureFrozen() {
    const Host host({"--sweep", "1"});
    const Door door;
    std::vector<Times> times(Paths.size());
    for (std::size_t round = 0; round < Rounds; ++round) {
        for (std::size_t i = 0; i < Paths.size(); ++i)
            times[i].m_answering.push_back(MedianAnswer(door, Paths[i]));
        Ran({BM_BIN_DIR "/bladesim", "fault", "add", "2c ??", "lost"}); // no reply to PICMG, and so the LEDs' neither
        std::this_thread::sleep_for(std::chrono::milliseconds(200));    // until the sweep has met it
        for (std::size_t i = 0; i < Paths.size(); ++i) {
            times[i].m_frozen.push_back(MedianAnswer(door, Paths[i]));
            times[i].m_ratios.push_back(times[i].m_frozen.back() / times[i].m_answering.back());
        }
        Ran({BM_BIN_DIR "/bladesim", "fault", "clear"});
        Ran({BM_BIN_DIR "/bladesim", "fault", "release"});
    }
    std::printf("\nOne reader at the web door, medians of %zu answers, medians of %zu rounds\n", Asks, Rounds);
    for (std::size_t i = 0; i < Paths.size(); ++i) {
        std::printf("%s: controller answers: %.3f ms, controller frozen: %.3f ms\n", Paths[i].c_str(),
                    bench::MedianOf(times[i].m_answering) * 1e3, bench::MedianOf(times[i].m_frozen) * 1e3);
        std::printf("ratio: %.3f (at most 1.2)\n", bench::MedianOf(times[i].m_ratios));
    }
}

/// Upgrades one after the other, and orders, for as long as this lives.
class Work {
public:
    explicit Work(const std::string& image) : m_image(image) {
        Ran({BM_BIN_DIR "/bladesim", "tool", "set", "fwburn", "--delay", "3000"});
        m_upgrades = std::thread([this] {
            while (!m_ends) {
                Ran({BM_BIN_DIR "/bmhost", "firmware", "update", "--target", "amc", "--bay", "3", "--yes", m_image});
                ++m_count;
            }
        });
        m_orders = std::thread([this] {
            Asking host;
            for (bool on = true; !m_ends; on = !on) {
                bench::SetLed(host, on);
                std::this_thread::sleep_for(BetweenOrders);
            }
        });
    }
    ~Work() { End(); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    /// How many upgrades there were.
    int End() {
        m_ends = true;
        if (m_upgrades.joinable()) m_upgrades.join();
        if (m_orders.joinable()) m_orders.join();
        return m_count;
    }

private:
    const std::string m_image;
    std::atomic<bool> m_ends{false};
    std::atomic<int> m_count{0};
    std::thread m_upgrades;
    std::thread m_orders;
};

std::string MadeImage() {
    const char* const folder = std::getenv("BLADESIM_RUN_DIR");
    const std::string path = std::string(folder != nullptr ? folder : ".") + "/bench.img";
    std::ofstream(path) << std::string(1'000'000, 'i');
    return path;
}

int LoadSeconds() {
    const char* const text = std::getenv("WEB_BENCH_SECONDS");
    return text != nullptr ? std::max(1, std::atoi(text)) : UsualSeconds;
}

double At(const std::vector<double>& sorted, double part) {
    return sorted.at(static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1)));
}

void Print(bench::PathLoad& path) {
    if (path.m_times.empty()) Fail("nobody has read " + path.m_path);
    std::ranges::sort(path.m_times);
    const double middle = At(path.m_times, 0.5);
    const double slow = At(path.m_times, 0.99);
    std::printf("%s: %zu answers, p50 %.2f ms, p99 %.2f ms\n", path.m_path.c_str(), path.m_times.size(), middle * 1e3,
                slow * 1e3);
    std::printf("ratio: %.2f (at most 10)\n", slow / middle);
}

bench::LoadResult LoadFor(const Door& door, const std::string& image, std::chrono::seconds time, int& upgrades) {
    bench::Load load(door.Port(), Paths, StreamPaths);
    load.OpenStreams(StreamsOfEachPath);
    Work work(image);
    load.Read(Readers, time);
    upgrades = work.End();
    load.Settle(std::chrono::seconds(1));
    return load.End();
}

void MeasureLoad() {
    const char* const folder = std::getenv("BLADESIM_RUN_DIR");
    const Host host({"--state", std::string(folder != nullptr ? folder : ".") + "/state"});
    const Door door;
    const std::string image = MadeImage();
    bench::FillTheRings();
    int upgrades = 0;
    LoadFor(door, image, std::chrono::seconds(2), upgrades); // what the door and the host need for so many
    const uint64_t doorBefore = door.AnonymousMemory();
    const uint64_t hostBefore = host.AnonymousMemory();
    const std::chrono::seconds time(LoadSeconds());
    bench::LoadResult result = LoadFor(door, image, time, upgrades);
    std::printf("\n%zu readers and %zu streams of events at the web door for %lld s, beside %d upgrades\n", Readers,
                StreamsOfEachPath * StreamPaths.size(), static_cast<long long>(time.count()), upgrades);
    for (bench::PathLoad& path : result.m_paths)
        Print(path);
    std::printf("errors: %llu, events: %llu to each stream, lost: %llu\n",
                static_cast<unsigned long long>(result.m_errors), static_cast<unsigned long long>(result.m_events),
                static_cast<unsigned long long>(result.m_lost));
    std::printf("memory of its own (RssAnon) before and after, once nobody is connected: bmhost-web %llu and %llu KiB, "
                "bmhostd %llu and %llu KiB\n",
                static_cast<unsigned long long>(doorBefore), static_cast<unsigned long long>(door.AnonymousMemory()),
                static_cast<unsigned long long>(hostBefore), static_cast<unsigned long long>(host.AnonymousMemory()));
    if (result.m_errors > 0) Fail("there were errors: " + result.m_firstError);
    if (result.m_lost > 0) Fail("events were lost");
    if (result.m_events == 0) Fail("there were no events");
}

} // namespace

// Ignores arguments that are meant for other benchmark programs.
int main(int count, char** arguments) {
    if (bench::IsInBlade(count, arguments)) {
        const std::string what = arguments[2];
        if (what == "frozen") MeasureFrozen();
        if (what == "load") MeasureLoad();
        std::fflush(stdout);
        return 0;
    }
    return bench::RunInBlade("full", {"--timeout", "0"}, "frozen") && bench::RunInBlade("full", {}, "load") ? 0 : 1;
}
