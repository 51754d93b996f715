// What the resident host is good for, on a full blade: a command that asks it compared with one that loads an adaptor
// of its own; a hundred readers of the picture while the controller is frozen compared with the same while it answers;
// and what memory it keeps after many sweeps of the LEDs.
#include "bench/InBlade.h"
#include "bench/Median.h"
#include "bm_dev/UniqueFd.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Words = std::vector<std::string>;

constexpr std::size_t Commands = 31;
constexpr std::size_t ReaderRounds = 7;
constexpr std::size_t Readers = 100;
constexpr std::size_t Reads = 20;
constexpr uint64_t Sweeps[] = {100, 1000, 10000, 100000};

[[noreturn]] void Fail(const std::string& reason) {
    std::fprintf(stderr, "resident_bench: %s\n", reason.c_str());
    std::_Exit(1);
}

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Starts a program whose output nobody reads.
pid_t Started(const Words& words) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast): execv's
    arguments.push_back(nullptr);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

int StatusOf(pid_t child) {
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) Fail("a program was ended by a signal");
    return WEXITSTATUS(status);
}

void Ran(const Words& words) {
    if (const int status = StatusOf(Started(words)); status > 1)
        Fail(words[0] + " " + words[1] + ": status " + std::to_string(status));
}

std::string SocketPath() {
    const char* const folder = std::getenv("BLADESIM_RUN_DIR");
    return std::string(folder != nullptr ? folder : "") + "/bmhost.sock";
}

/// A reader's connection to the resident host.
class Reader {
public:
    Reader() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        SocketPath().copy(address.sun_path, sizeof(address.sun_path) - 1);
        m_connected = ::connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }

    bool Connected() const { return m_connected; }

    /// The body of the answer.
    std::string Get(const std::string& path) {
        const std::string request = "GET " + path + " HTTP/1.1\r\nHost: bmhost\r\n\r\n";
        if (::send(m_socket.Get(), request.data(), request.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(request.size()))
            Fail("a request cannot be sent");
        std::size_t end = 0;
        while ((end = m_read.find("\r\n\r\n")) == std::string::npos)
            ReadOn();
        const std::string head = m_read.substr(0, end + 2);
        const std::size_t field = head.find("Content-Length: ");
        if (head.find(" 200 ") == std::string::npos || field == std::string::npos) Fail("no answer: " + head);
        const std::size_t size = std::stoul(head.substr(field + 16));
        while (m_read.size() < end + 4 + size)
            ReadOn();
        std::string body = m_read.substr(end + 4, size);
        m_read.erase(0, end + 4 + size);
        return body;
    }

private:
    void ReadOn() {
        char bytes[65536];
        const ssize_t count = ::recv(m_socket.Get(), bytes, sizeof(bytes), 0);
        if (count <= 0) Fail("the resident host went away");
        m_read.append(bytes, static_cast<std::size_t>(count));
    }

    bm_dev::UniqueFd m_socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    bool m_connected = false;
    std::string m_read;
};

nlohmann::json Part(const std::string& name) {
    return nlohmann::json::parse(Reader().Get("/v1/blade/" + name));
}

/// The resident host, from its Init's end.
class Host {
public:
    explicit Host(const Words& options) {
        Words words = {BM_BIN_DIR "/bmhostd", "--no-start"};
        words.insert(words.end(), options.begin(), options.end());
        m_process = Started(words);
        const auto begin = Clock::now();
        while (!Reader().Connected() || Part("host")["init"].is_null()) {
            if (SecondsSince(begin) > 30) Fail("the resident host does not come up");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host() {
        ::kill(m_process, SIGTERM);
        StatusOf(m_process);
    }

    /// In KiB.
    uint64_t AnonymousMemory() const {
        std::ifstream status("/proc/" + std::to_string(m_process) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.rfind("RssAnon:", 0) == 0) return std::stoull(line.substr(8));
        }
        Fail("its memory cannot be read");
    }

private:
    pid_t m_process = -1;
};

void MeasureCommands() {
    const Host host({});
    std::vector<double> asking;
    std::vector<double> loading;
    std::vector<double> ratios;
    for (std::size_t i = 0; i < Commands; ++i) {
        const auto once = [](std::vector<double>& times, const Words& words) {
            const auto start = Clock::now();
            Ran(words);
            times.push_back(SecondsSince(start));
        };
        once(asking, {BM_BIN_DIR "/bmhost", "status", "--json"});
        once(loading, {BM_BIN_DIR "/bmhost", "status", "--json", "--direct"});
        ratios.push_back(asking.back() / loading.back());
    }
    std::printf("\nbmhost status on a full blade, medians of %zu commands\n", Commands);
    std::printf("asking the resident host: %.2f ms, with an adaptor of its own: %.2f ms\n",
                bench::MedianOf(asking) * 1e3, bench::MedianOf(loading) * 1e3);
    std::printf("ratio: %.3f\n", bench::MedianOf(ratios));
}

/// How long the slowest of the readers took.
double SlowestReader() {
    std::vector<double> times(Readers);
    std::vector<std::thread> threads;
    for (double& time : times) {
        threads.emplace_back([&time] {
            Reader reader;
            if (!reader.Connected()) Fail("a reader is not let in");
            const auto start = Clock::now();
            for (std::size_t i = 0; i < Reads; ++i)
                reader.Get("/v1/blade");
            time = SecondsSince(start);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    return *std::max_element(times.begin(), times.end());
}

void MeasureReaders() {
    const Host host({"--sweep", "1"});
    std::vector<double> answering;
    std::vector<double> frozen;
    std::vector<double> ratios;
    for (std::size_t i = 0; i < ReaderRounds; ++i) {
        answering.push_back(SlowestReader());
        Ran({BM_BIN_DIR "/bladesim", "fault", "add", "2c ??", "lost"}); // no reply to PICMG, and so the LEDs' neither
        std::this_thread::sleep_for(std::chrono::milliseconds(200));    // until the sweep has met it
        frozen.push_back(SlowestReader());
        Ran({BM_BIN_DIR "/bladesim", "fault", "clear"});
        Ran({BM_BIN_DIR "/bladesim", "fault", "release"});
        ratios.push_back(frozen.back() / answering.back());
    }
    std::printf("\n%zu readers of the whole picture, %zu times each, the slowest of them, medians of %zu rounds\n",
                Readers, Reads, ReaderRounds);
    std::printf("controller answers: %.1f ms, controller frozen: %.1f ms\n", bench::MedianOf(answering) * 1e3,
                bench::MedianOf(frozen) * 1e3);
    std::printf("ratio: %.3f\n", bench::MedianOf(ratios));
}

void WaitForSweeps(uint64_t count) {
    while (Part("controller")["sweeps"].get<uint64_t>() < count)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

void MeasureMemory() {
    const Host host({"--sweep", "0"}); // without a pause
    std::printf("\nThe resident host's memory of its own (RssAnon)\n");
    for (const uint64_t sweeps : Sweeps) {
        WaitForSweeps(sweeps);
        std::printf("after %6llu sweeps: %llu KiB\n", static_cast<unsigned long long>(sweeps),
                    static_cast<unsigned long long>(host.AnonymousMemory()));
    }
}

} // namespace

// Ignores arguments that are meant for other benchmark programs.
int main(int count, char** arguments) {
    if (bench::IsInBlade(count, arguments)) {
        const std::string what = arguments[2];
        if (what == "commands") MeasureCommands();
        if (what == "readers") MeasureReaders();
        if (what == "memory") MeasureMemory();
        std::fflush(stdout);
        return 0;
    }
    return bench::RunInBlade("full", {}, "commands") && bench::RunInBlade("full", {"--timeout", "0"}, "readers") &&
                   bench::RunInBlade("front-board-only", {}, "memory")
               ? 0
               : 1;
}
