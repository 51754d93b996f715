// How the tools were called, in a file of the run folder: a line of JSON when a tool begins, and one when it ends.
#include "sim/tools/ToolLog.h"

#include "bm_dev/ByteText.h"
#include "sim/base/Error.h"
#include "sim/tools/RunFiles.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace bladesim {
namespace {

using nlohmann::ordered_json;

std::string LogFile(const std::string& runFolder) {
    return runFolder + "/tools.jsonl";
}

FileLock LockLog(const std::string& runFolder) {
    return FileLock(runFolder + "/tools.jsonl.lock");
}

/// Rounded to the microsecond.
double Rounded(double time) {
    return std::round(time * 1000) / 1000;
}

double ClockMilliseconds() {
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now().time_since_epoch();
    return Rounded(time.count());
}

bool IsBeginning(const ordered_json& line) {
    return line.contains("tool");
}

void ForEachLine(const std::string& file, const std::function<void(const ordered_json&)>& visit) {
    std::istringstream lines(ReadFile(file));
    unsigned number = 1;
    try {
        for (std::string line; std::getline(lines, line); ++number)
            visit(ordered_json::parse(line));
    } catch (const nlohmann::json::exception& error) {
        throw BladeError(file + ":" + std::to_string(number) + ": " + error.what());
    }
}

/// Without parsing the lines, which is slow when there are hundreds: within a JSON text the quotes would have
/// backslashes.
unsigned CountBeginnings(const std::string& log) {
    constexpr std::string_view key = "\"tool\":";
    unsigned count = 0;
    for (size_t i = log.find(key); i != std::string::npos; i = log.find(key, i + key.size()))
        ++count;
    return count;
}

ordered_json Begun(const ordered_json& line, double first) {
    return {{"number", line.at("number")},
            {"tool", line.at("tool")},
            {"argv", line.at("argv")},
            {"process", line.at("process")},
            {"start_ms", Rounded(line.at("clock_ms").get<double>() - first)},
            {"end_ms", nullptr},
            {"exit", nullptr},
            {"signal", nullptr}};
}

void Enter(ordered_json& runs, const ordered_json& line, double first) {
    if (IsBeginning(line)) {
        runs.push_back(Begun(line, first));
        return;
    }
    // A run that was forgotten while it was under way has an end only, perhaps with another run's number.
    const auto found = std::ranges::find_if(runs, [&](const ordered_json& run) {
        return run["number"] == line.at("number") && run["process"] == line.at("process");
    });
    if (found == runs.end()) return;
    (*found)["end_ms"] = Rounded(line.at("clock_ms").get<double>() - first);
    (*found)["exit"] = line.at("exit");
    (*found)["signal"] = line.at("signal");
}

} // namespace

ToolRun::ToolRun(std::string runFolder, const std::string& tool, const std::vector<std::string>& arguments)
    : m_runFolder(std::move(runFolder)) {
    const FileLock lock = LockLog(m_runFolder);
    m_number = CountBeginnings(ReadFile(LogFile(m_runFolder))) + 1;
    ordered_json words = ordered_json::array();
    for (const std::string& argument : arguments)
        words.push_back(bm_dev::Utf8OfBytes(argument));
    const ordered_json line = {{"number", m_number},
                               {"tool", tool},
                               {"argv", std::move(words)},
                               {"process", ::getpid()},
                               {"clock_ms", ClockMilliseconds()}};
    AppendLine(LogFile(m_runFolder), line.dump());
}

void ToolRun::End(int exit, int signal) const {
    const bool bySignal = signal != 0;
    const ordered_json line = {{"number", m_number},
                               {"process", ::getpid()},
                               {"exit", bySignal ? ordered_json() : ordered_json(exit)},
                               {"signal", bySignal ? ordered_json(signal) : ordered_json()},
                               {"clock_ms", ClockMilliseconds()}};
    const FileLock lock = LockLog(m_runFolder);
    AppendLine(LogFile(m_runFolder), line.dump());
}

ordered_json ReadToolLog(const std::string& runFolder) {
    ordered_json runs = ordered_json::array();
    std::optional<double> first;
    ForEachLine(LogFile(runFolder), [&](const ordered_json& line) {
        if (!first && IsBeginning(line)) first = line.at("clock_ms").get<double>();
        Enter(runs, line, first.value_or(0));
    });
    return runs;
}

void ClearToolLog(const std::string& runFolder) {
    const FileLock lock = LockLog(runFolder);
    RemoveFile(LogFile(runFolder));
}

} // namespace bladesim
