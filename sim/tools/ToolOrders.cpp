// What the tools are told to do: a file of the run folder, with what bladesim tool set orders.
#include "sim/tools/ToolOrders.h"

#include "sim/base/JsonReader.h"
#include "sim/tools/InstallFolder.h"
#include "sim/tools/RunFiles.h"

#include <algorithm>
#include <array>
#include <csignal>

namespace BLADESIM {
namespace {

using nlohmann::ordered_json;

std::string OrdersFile(const std::string& a_RunFolder) {
    return a_RunFolder + "/tools.json";
}

FILE_LOCK LockOrders(const std::string& a_RunFolder) {
    return FILE_LOCK(a_RunFolder + "/tools.lock");
}

TOOL_ORDER OrderOf(JSON_OBJECT a_Object) {
    TOOL_ORDER l_Order;
    l_Order.m_Exit = static_cast<int>(a_Object.Integer("exit", 0, 255, 0));
    l_Order.m_Signal = static_cast<int>(a_Object.Integer("signal", 0, g_MaxToolSignal, 0));
    l_Order.m_Delay = static_cast<unsigned>(a_Object.Integer("delay_ms", 0, g_MaxToolDelay, 0));
    l_Order.m_Times = static_cast<unsigned>(a_Object.Integer("times", 0, g_MaxToolTimes, 0));
    if (l_Order.m_Signal != 0 && l_Order.m_Exit != 0)
        a_Object.Fail("signal", "a tool ends by a signal or with a status");
    if (l_Order.m_Signal != 0 && !SignalEnds(l_Order.m_Signal)) a_Object.Fail("signal", "this one ends no process");
    a_Object.RejectOthers();
    return l_Order;
}

ordered_json JsonOf(const TOOL_ORDER& a_Order) {
    ordered_json l_Order = ordered_json::object();
    if (a_Order.m_Exit != 0) l_Order["exit"] = a_Order.m_Exit;
    if (a_Order.m_Signal != 0) l_Order["signal"] = a_Order.m_Signal;
    if (a_Order.m_Delay != 0) l_Order["delay_ms"] = a_Order.m_Delay;
    if (a_Order.m_Times != 0) l_Order["times"] = a_Order.m_Times;
    return l_Order;
}

void WriteOrders(const std::string& a_RunFolder, const TOOL_ORDERS& a_Orders) {
    ordered_json l_Orders = ordered_json::object();
    for (const auto& [l_Tool, l_Order] : a_Orders)
        l_Orders[l_Tool] = JsonOf(l_Order);
    ReplaceFile(OrdersFile(a_RunFolder), l_Orders.dump() + "\n");
}

bool ChangesNothing(const TOOL_ORDER& a_Order) {
    return a_Order.m_Exit == 0 && a_Order.m_Signal == 0 && a_Order.m_Delay == 0;
}

} // namespace

bool SignalEnds(int a_Signal) {
    constexpr std::array l_Others = {SIGCHLD, SIGCONT, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};
    // The C library keeps 32 and 33 for its threads.
    return a_Signal > 0 && a_Signal <= SIGRTMAX && (a_Signal < 32 || a_Signal >= SIGRTMIN) &&
           std::ranges::find(l_Others, a_Signal) == l_Others.end();
}

TOOL_ORDERS ReadToolOrders(const std::string& a_RunFolder) {
    const std::string l_File = OrdersFile(a_RunFolder);
    TOOL_ORDERS l_Orders;
    if (!FileExists(l_File)) return l_Orders;
    const JSON_FILE l_Json = ReadJsonFile(l_File);
    JSON_OBJECT l_Object(l_Json);
    for (const TOOL& l_Tool : g_Tools) {
        const std::string l_Name(l_Tool.m_Name);
        if (l_Object.Has(l_Name)) l_Orders[l_Name] = OrderOf(l_Object.Object(l_Name));
    }
    l_Object.RejectOthers("there is no such tool");
    return l_Orders;
}

void SetToolOrder(const std::string& a_RunFolder, const std::string& a_Tool, const TOOL_ORDER& a_Order) {
    const FILE_LOCK l_Lock = LockOrders(a_RunFolder);
    TOOL_ORDERS l_Orders = ReadToolOrders(a_RunFolder);
    l_Orders.erase(a_Tool);
    if (!ChangesNothing(a_Order)) l_Orders[a_Tool] = a_Order;
    WriteOrders(a_RunFolder, l_Orders);
}

TOOL_ORDER TakeToolOrder(const std::string& a_RunFolder, const std::string& a_Tool) {
    const FILE_LOCK l_Lock = LockOrders(a_RunFolder);
    TOOL_ORDERS l_Orders = ReadToolOrders(a_RunFolder);
    const auto l_Found = l_Orders.find(a_Tool);
    if (l_Found == l_Orders.end()) return {};
    const TOOL_ORDER l_Order = l_Found->second;
    if (l_Order.m_Times == 0) return l_Order;
    if (--l_Found->second.m_Times == 0) l_Orders.erase(l_Found);
    WriteOrders(a_RunFolder, l_Orders);
    return l_Order;
}

void ClearToolOrders(const std::string& a_RunFolder) {
    const FILE_LOCK l_Lock = LockOrders(a_RunFolder);
    RemoveFile(OrdersFile(a_RunFolder));
}

} // namespace BLADESIM
