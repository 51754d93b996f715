// Makes the controller of a blade stand still: it keeps its connections, and answers nothing.
#include "sim/shelf/FrozenController.h"

#include "sim/base/Error.h"

#include <poll.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char Controller[] = "ipmi_sim";
constexpr std::chrono::seconds StopTime{10};
constexpr int PauseMilliseconds = 1;

/// Which process namespace it is in; nothing when it has ended.
std::optional<ino_t> NamespaceOf(const std::string& process) {
    struct stat status {};
    if (::stat(("/proc/" + process + "/ns/pid").c_str(), &status) != 0) return std::nullopt;
    return status.st_ino;
}

std::string NameOf(const std::string& process) {
    std::ifstream file("/proc/" + process + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

std::vector<std::string> Numbers(const std::string& folder) {
    std::vector<std::string> numbers;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos) numbers.push_back(name);
    }
    return numbers;
}

std::string ControllerOf(pid_t inside) {
    const auto blade = NamespaceOf(std::to_string(inside));
    for (const std::string& process : Numbers("/proc")) {
        if (blade && NameOf(process) == Controller && NamespaceOf(process) == blade) return process;
    }
    throw BladeError("it has no running controller");
}

/// A process stands still when all its threads do.
bool IsStopped(const std::string& process) {
    const std::string tasks = "/proc/" + process + "/task/";
    for (const std::string& thread : Numbers(tasks)) {
        std::ifstream file(tasks + thread + "/stat");
        std::string stat;
        std::getline(file, stat);
        const size_t name = stat.rfind(')');
        if (name != std::string::npos && stat[name + 2] != 'T') return false;
    }
    return true;
}

} // namespace

void FreezeController(pid_t inside, bool frozen) {
    const std::string process = ControllerOf(inside);
    if (::kill(std::atoi(process.c_str()), frozen ? SIGSTOP : SIGCONT) != 0) ThrowErrno("its controller");
    const auto deadline = Clock::now() + StopTime;
    while (IsStopped(process) != frozen) {
        if (Clock::now() > deadline) throw BladeError("its controller does not stand still");
        ::poll(nullptr, 0, PauseMilliseconds);
    }
}

} // namespace bladesim
