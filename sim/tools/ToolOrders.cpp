// The tools' orders: a file in the run folder that `bladesim tool set` writes.
#include "sim/tools/ToolOrders.h"

#include "sim/base/JsonReader.h"
#include "sim/tools/InstallFolder.h"
#include "sim/tools/RunFiles.h"

#include <algorithm>
#include <array>
#include <csignal>

namespace bladesim {
namespace {

using nlohmann::ordered_json;

std::string OrdersFile(const std::string& runFolder) {
    return runFolder + "/tools.json";
}

FileLock LockOrders(const std::string& runFolder) {
    return FileLock(runFolder + "/tools.lock");
}

ToolOrder OrderOf(JsonObject object) {
    ToolOrder result;
    result.m_exit = static_cast<int>(object.Integer("exit", 0, 255, 0));
    result.m_signal = static_cast<int>(object.Integer("signal", 0, MaxToolSignal, 0));
    result.m_delay = static_cast<unsigned>(object.Integer("delay_ms", 0, MaxToolDelay, 0));
    result.m_times = static_cast<unsigned>(object.Integer("times", 0, MaxToolTimes, 0));
    if (result.m_signal != 0 && result.m_exit != 0) object.Fail("signal", "a tool ends by a signal or with a status");
    if (result.m_signal != 0 && !SignalEnds(result.m_signal))
        object.Fail("signal", "this signal does not end a process");
    object.RejectOthers();
    return result;
}

ordered_json JsonOf(const ToolOrder& order) {
    ordered_json result = ordered_json::object();
    if (order.m_exit != 0) result["exit"] = order.m_exit;
    if (order.m_signal != 0) result["signal"] = order.m_signal;
    if (order.m_delay != 0) result["delay_ms"] = order.m_delay;
    if (order.m_times != 0) result["times"] = order.m_times;
    return result;
}

void WriteOrders(const std::string& runFolder, const ToolOrders& orders) {
    ordered_json all = ordered_json::object();
    for (const auto& [tool, result] : orders)
        all[tool] = JsonOf(result);
    ReplaceFile(OrdersFile(runFolder), all.dump() + "\n");
}

bool ChangesNothing(const ToolOrder& order) {
    return order.m_exit == 0 && order.m_signal == 0 && order.m_delay == 0;
}

} // namespace

bool SignalEnds(int signal) {
    constexpr std::array others = {SIGCHLD, SIGCONT, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};
    // The C library keeps 32 and 33 for its threads.
    return signal > 0 && signal <= SIGRTMAX && (signal < 32 || signal >= SIGRTMIN) &&
           std::ranges::find(others, signal) == others.end();
}

ToolOrders ReadToolOrders(const std::string& runFolder) {
    const std::string file = OrdersFile(runFolder);
    ToolOrders all;
    if (!FileExists(file)) return all;
    const JsonFile json = ReadJsonFile(file);
    JsonObject object(json);
    for (const Tool& tool : Tools) {
        const std::string name(tool.m_name);
        if (object.Has(name)) all[name] = OrderOf(object.Object(name));
    }
    object.RejectOthers("there is no such tool");
    return all;
}

void SetToolOrder(const std::string& runFolder, const std::string& tool, const ToolOrder& order) {
    const FileLock lock = LockOrders(runFolder);
    ToolOrders all = ReadToolOrders(runFolder);
    all.erase(tool);
    if (!ChangesNothing(order)) all[tool] = order;
    WriteOrders(runFolder, all);
}

ToolOrder TakeToolOrder(const std::string& runFolder, const std::string& tool) {
    const FileLock lock = LockOrders(runFolder);
    ToolOrders all = ReadToolOrders(runFolder);
    const auto found = all.find(tool);
    if (found == all.end()) return {};
    const ToolOrder result = found->second;
    if (result.m_times == 0) return result;
    if (--found->second.m_times == 0) all.erase(found);
    WriteOrders(runFolder, all);
    return result;
}

void ClearToolOrders(const std::string& runFolder) {
    const FileLock lock = LockOrders(runFolder);
    RemoveFile(OrdersFile(runFolder));
}

} // namespace bladesim
