// How the tools were called, in a file of the run folder: a line of JSON when a tool begins, and one when it ends.
#include "sim/tools/ToolLog.h"

#include "platform/src/ByteText.h"
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

namespace BLADESIM {
namespace {

using nlohmann::ordered_json;

std::string LogFile(const std::string& a_RunFolder) {
    return a_RunFolder + "/tools.jsonl";
}

FILE_LOCK LockLog(const std::string& a_RunFolder) {
    return FILE_LOCK(a_RunFolder + "/tools.jsonl.lock");
}

/// To the microsecond.
double Rounded(double a_Milliseconds) {
    return std::round(a_Milliseconds * 1000) / 1000;
}

double ClockMilliseconds() {
    const std::chrono::duration<double, std::milli> l_Time = std::chrono::steady_clock::now().time_since_epoch();
    return Rounded(l_Time.count());
}

bool IsBeginning(const ordered_json& a_Line) {
    return a_Line.contains("tool");
}

void ForEachLine(const std::string& a_File, const std::function<void(const ordered_json&)>& a_Do) {
    std::istringstream l_Lines(ReadFile(a_File));
    unsigned l_Number = 1;
    try {
        for (std::string l_Line; std::getline(l_Lines, l_Line); ++l_Number)
            a_Do(ordered_json::parse(l_Line));
    } catch (const nlohmann::json::exception& l_Error) {
        throw BLADE_ERROR(a_File + ":" + std::to_string(l_Number) + ": " + l_Error.what());
    }
}

/// Without reading the lines as JSON, which takes its time when there are hundreds: within a text of JSON the quotes
/// would have backslashes.
unsigned CountBeginnings(const std::string& a_Log) {
    constexpr std::string_view l_Key = "\"tool\":";
    unsigned l_Count = 0;
    for (size_t i = a_Log.find(l_Key); i != std::string::npos; i = a_Log.find(l_Key, i + l_Key.size()))
        ++l_Count;
    return l_Count;
}

ordered_json Begun(const ordered_json& a_Line, double a_First) {
    return {{"number", a_Line.at("number")},
            {"tool", a_Line.at("tool")},
            {"argv", a_Line.at("argv")},
            {"process", a_Line.at("process")},
            {"start_ms", Rounded(a_Line.at("clock_ms").get<double>() - a_First)},
            {"end_ms", nullptr},
            {"exit", nullptr},
            {"signal", nullptr}};
}

void Enter(ordered_json& a_Runs, const ordered_json& a_Line, double a_First) {
    if (IsBeginning(a_Line)) {
        a_Runs.push_back(Begun(a_Line, a_First));
        return;
    }
    // Of a run that was forgotten while it was under way there is the end alone, perhaps with another run's number.
    const auto l_Run = std::ranges::find_if(a_Runs, [&](const ordered_json& a_Run) {
        return a_Run["number"] == a_Line.at("number") && a_Run["process"] == a_Line.at("process");
    });
    if (l_Run == a_Runs.end()) return;
    (*l_Run)["end_ms"] = Rounded(a_Line.at("clock_ms").get<double>() - a_First);
    (*l_Run)["exit"] = a_Line.at("exit");
    (*l_Run)["signal"] = a_Line.at("signal");
}

} // namespace

TOOL_RUN::TOOL_RUN(std::string a_RunFolder, const std::string& a_Tool, const std::vector<std::string>& a_Arguments)
    : m_RunFolder(std::move(a_RunFolder)) {
    const FILE_LOCK l_Lock = LockLog(m_RunFolder);
    m_Number = CountBeginnings(ReadFile(LogFile(m_RunFolder))) + 1;
    ordered_json l_Arguments = ordered_json::array();
    for (const std::string& l_Argument : a_Arguments)
        l_Arguments.push_back(BM_PLATFORM::Utf8OfBytes(l_Argument));
    const ordered_json l_Line = {{"number", m_Number},
                                 {"tool", a_Tool},
                                 {"argv", std::move(l_Arguments)},
                                 {"process", ::getpid()},
                                 {"clock_ms", ClockMilliseconds()}};
    AppendLine(LogFile(m_RunFolder), l_Line.dump());
}

void TOOL_RUN::End(int a_Exit, int a_Signal) const {
    const bool l_BySignal = a_Signal != 0;
    const ordered_json l_Line = {{"number", m_Number},
                                 {"process", ::getpid()},
                                 {"exit", l_BySignal ? ordered_json() : ordered_json(a_Exit)},
                                 {"signal", l_BySignal ? ordered_json(a_Signal) : ordered_json()},
                                 {"clock_ms", ClockMilliseconds()}};
    const FILE_LOCK l_Lock = LockLog(m_RunFolder);
    AppendLine(LogFile(m_RunFolder), l_Line.dump());
}

ordered_json ReadToolLog(const std::string& a_RunFolder) {
    ordered_json l_Runs = ordered_json::array();
    std::optional<double> l_First;
    ForEachLine(LogFile(a_RunFolder), [&](const ordered_json& a_Line) {
        if (!l_First && IsBeginning(a_Line)) l_First = a_Line.at("clock_ms").get<double>();
        Enter(l_Runs, a_Line, l_First.value_or(0));
    });
    return l_Runs;
}

void ClearToolLog(const std::string& a_RunFolder) {
    const FILE_LOCK l_Lock = LockLog(a_RunFolder);
    RemoveFile(LogFile(a_RunFolder));
}

} // namespace BLADESIM
