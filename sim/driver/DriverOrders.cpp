// The driver's orders: faults, the log, and the controller's coming and going.
#include "sim/driver/Driver.h"

#include "sim/base/Error.h"
#include "sim/driver/FaultText.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <iterator>

namespace BLADESIM {
namespace {

using nlohmann::json;

struct CONTROLLER_ORDER_NAME {
    const char* m_Name;
    CONTROLLER_ORDER m_Order;
};

constexpr CONTROLLER_ORDER_NAME g_ControllerOrders[] = {
    {"controller stop", CONTROLLER_ORDER::STOP},
    {"controller start", CONTROLLER_ORDER::START},
    {"controller restart", CONTROLLER_ORDER::RESTART},
};

constexpr char g_RequestsOfGuest[] =
    "the requests of a virtual machine do not pass here: show leds, show controls and controller work, the rest does not";

json ErrorAnswer(const std::string& a_Reason) {
    return {{"error", a_Reason}};
}

json ResultAnswer(json a_Result) {
    return {{"result", std::move(a_Result)}};
}

/// The other side is gone, and with it the connections: without waiting for what is still under way.
void CloseAtOnce(UNIQUE_FD& a_Socket) {
    const linger l_Reset{1, 0};
    ::setsockopt(a_Socket.Get(), SOL_SOCKET, SO_LINGER, &l_Reset, sizeof(l_Reset));
    a_Socket.Reset();
}

} // namespace

/// An order is {"order": NAME, …}, its answer {"result": …} or {"error": REASON}.
void DRIVER::TakeOrder(CLIENT_ID a_Client, const std::string& a_Line) {
    struct ORDER {
        const char* m_Name;
        json (DRIVER::*m_Do)(const json&);
        bool m_OfRequests = true; ///< wants requests that pass here, which those of a guest do not
    };
    static constexpr ORDER l_Orders[] = {
        {"fault add", &DRIVER::AddFault},         {"fault list", &DRIVER::ListFaults},
        {"fault clear", &DRIVER::ClearFaults},    {"fault release", &DRIVER::ReleaseReplies},
        {"show requests", &DRIVER::ShowRequests}, {"show log", &DRIVER::ShowLog},
        {"show clear", &DRIVER::ClearLog},        {"controller state", &DRIVER::ControllerState, false},
    };
    try {
        const json l_Order = json::parse(a_Line);
        const auto l_Name = l_Order.at("order").get<std::string>();
        for (const ORDER& l_Known : l_Orders) {
            if (l_Name == l_Known.m_Name) {
                if (m_Guest && l_Known.m_OfRequests) throw BLADE_ERROR(g_RequestsOfGuest);
                m_Control.Answer(a_Client, ResultAnswer((this->*l_Known.m_Do)(l_Order)).dump());
                return;
            }
        }
        for (const CONTROLLER_ORDER_NAME& l_Known : g_ControllerOrders) {
            if (l_Name == l_Known.m_Name) {
                OrderController(l_Known.m_Order, a_Client);
                return;
            }
        }
        throw BLADE_ERROR("no such order: " + l_Name);
    } catch (const std::exception& l_Error) {
        // What is no UTF-8 in the order is shown as such.
        m_Control.Answer(a_Client, ErrorAnswer(l_Error.what()).dump(-1, ' ', false, json::error_handler_t::replace));
    }
}

json DRIVER::AddFault(const json& a_Order) {
    return m_Faults.Add(FaultFromJson(a_Order.at("fault")));
}

json DRIVER::ListFaults(const json& /*a_Order*/) {
    json l_Faults = json::array();
    for (const ORDERED_FAULT& l_Fault : m_Faults.List())
        l_Faults.push_back(FaultToJson(l_Fault));
    return l_Faults;
}

/// One by its number, or all.
json DRIVER::ClearFaults(const json& a_Order) {
    if (!a_Order.contains("number")) {
        m_Faults.Clear();
    } else if (!m_Faults.Remove(a_Order["number"].get<unsigned>())) {
        throw BLADE_ERROR("there is no fault " + a_Order["number"].dump());
    }
    return json();
}

/// The result is how many replies were kept.
json DRIVER::ReleaseReplies(const json& /*a_Order*/) {
    const auto l_Replies = m_Wire.Release();
    for (const WIRE_REPLY& l_Reply : l_Replies)
        Accept(l_Reply);
    return l_Replies.size();
}

json DRIVER::ShowRequests(const json& /*a_Order*/) {
    return m_Log.Counts();
}

json DRIVER::ShowLog(const json& /*a_Order*/) {
    return m_Log.Entries();
}

json DRIVER::ClearLog(const json& /*a_Order*/) {
    m_Log.Clear();
    return json();
}

/// Whether it is there.
json DRIVER::ControllerState(const json& /*a_Order*/) {
    return m_ControllerIsUp;
}

void DRIVER::OrderController(CONTROLLER_ORDER a_Order, CLIENT_ID a_Client) {
    m_ComeBack.reset();
    if (a_Order != CONTROLLER_ORDER::START) m_ControllerIsUp = false;
    if (a_Order != CONTROLLER_ORDER::START && m_VMPort) {
        CloseAtOnce(m_VMPort);
        m_Wire.ForgetController();
    }
    SendOrder(m_Controller.Get(), a_Order);
    m_AwaitingController.push_back({a_Client, a_Order});
}

void DRIVER::ReadControllerAnswer() {
    auto l_Answer = ReceiveAnswer(m_Controller.Get());
    // Whoever does the orders ends with the blade.
    if (!l_Answer || m_AwaitingController.empty()) ::_exit(EXIT_FAILURE);
    const auto [l_Client, l_Order] = m_AwaitingController.front();
    m_AwaitingController.pop_front();
    if (l_Order != CONTROLLER_ORDER::STOP && l_Answer->m_Error.empty()) m_ControllerIsUp = true;
    if (l_Answer->m_VMPort) {
        m_VMPort = std::move(l_Answer->m_VMPort);
        m_Decoder = VM_DECODER();
    }
    if (l_Client == 0 && !l_Answer->m_Error.empty()) std::fprintf(stderr, "bladesim: %s\n", l_Answer->m_Error.c_str());
    m_Control.Answer(l_Client,
                     (l_Answer->m_Error.empty() ? ResultAnswer(json()) : ErrorAnswer(l_Answer->m_Error)).dump());
}

} // namespace BLADESIM
