// The driver's orders: faults, the log, and stopping and starting the controller.
#include "sim/driver/Driver.h"

#include "sim/base/Error.h"
#include "sim/driver/FaultText.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <iterator>

namespace bladesim {
namespace {

using nlohmann::json;

struct ControllerOrderName {
    const char* m_name;
    ControllerOrder m_order;
};

constexpr ControllerOrderName ControllerOrders[] = {
    {"controller stop", ControllerOrder::Stop},
    {"controller start", ControllerOrder::Start},
    {"controller restart", ControllerOrder::Restart},
};

constexpr char RequestsOfGuest[] =
    "the requests of a virtual machine do not pass here: show leds, show controls and controller work, the rest does not";

json ErrorAnswer(const std::string& reason) {
    return {{"error", reason}};
}

json ResultAnswer(json result) {
    return {{"result", std::move(result)}};
}

/// Closes like a lost peer, without waiting for data in transit.
void CloseAtOnce(bm_dev::UniqueFd& socket) {
    const linger reset{1, 0};
    ::setsockopt(socket.Get(), SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
    socket.Reset();
}

} // namespace

/// An order is {"order": NAME, …}, its answer {"result": …} or {"error": REASON}.
void Driver::TakeOrder(ClientId client, const std::string& line) {
    struct Order {
        const char* m_name;
        json (Driver::*m_do)(const json&);
        bool m_ofRequests = true; ///< needs requests to pass through the driver, which a guest's do not
    };
    static constexpr Order orders[] = {
        {"fault add", &Driver::AddFault},         {"fault list", &Driver::ListFaults},
        {"fault clear", &Driver::ClearFaults},    {"fault release", &Driver::ReleaseReplies},
        {"show requests", &Driver::ShowRequests}, {"show log", &Driver::ShowLog},
        {"show clear", &Driver::ClearLog},        {"controller state", &Driver::ControllerState, false},
    };
    try {
        const json order = json::parse(line);
        const auto name = order.at("order").get<std::string>();
        for (const Order& known : orders) {
            if (name == known.m_name) {
                if (m_guest && known.m_ofRequests) throw BladeError(RequestsOfGuest);
                m_control.Answer(client, ResultAnswer((this->*known.m_do)(order)).dump());
                return;
            }
        }
        for (const ControllerOrderName& known : ControllerOrders) {
            if (name == known.m_name) {
                OrderController(known.m_order, client);
                return;
            }
        }
        throw BladeError("no such order: " + name);
    } catch (const std::exception& error) {
        // Replaces bytes of the order that are not UTF-8.
        m_control.Answer(client, ErrorAnswer(error.what()).dump(-1, ' ', false, json::error_handler_t::replace));
    }
}

json Driver::AddFault(const json& order) {
    return m_faults.Add(FaultFromJson(order.at("fault")));
}

json Driver::ListFaults(const json& /*order*/) {
    json faults = json::array();
    for (const OrderedFault& fault : m_faults.List())
        faults.push_back(FaultToJson(fault));
    return faults;
}

/// Clears one fault by its number, or all.
json Driver::ClearFaults(const json& order) {
    if (!order.contains("number")) {
        m_faults.Clear();
    } else if (!m_faults.Remove(order["number"].get<unsigned>())) {
        throw BladeError("there is no fault " + order["number"].dump());
    }
    return json();
}

/// The result is how many replies had been kept.
json Driver::ReleaseReplies(const json& /*order*/) {
    const auto replies = m_wire.Release();
    for (const WireReply& reply : replies)
        Accept(reply);
    return replies.size();
}

json Driver::ShowRequests(const json& /*order*/) {
    return m_log.Counts();
}

json Driver::ShowLog(const json& /*order*/) {
    return m_log.Entries();
}

json Driver::ClearLog(const json& /*order*/) {
    m_log.Clear();
    return json();
}

/// Whether the controller is running.
json Driver::ControllerState(const json& /*order*/) {
    return m_controllerIsUp;
}

void Driver::OrderController(ControllerOrder order, ClientId client) {
    m_comeBack.reset();
    if (order != ControllerOrder::Start) m_controllerIsUp = false;
    if (order != ControllerOrder::Start && m_vmPort) {
        CloseAtOnce(m_vmPort);
        m_wire.ForgetController();
    }
    SendOrder(m_controller.Get(), order);
    m_awaitingController.push_back({client, order});
}

void Driver::ReadControllerAnswer() {
    auto answer = ReceiveAnswer(m_controller.Get());
    // The process that carries the orders out ends with the blade.
    if (!answer || m_awaitingController.empty()) ::_exit(EXIT_FAILURE);
    const auto [client, order] = m_awaitingController.front();
    m_awaitingController.pop_front();
    if (order != ControllerOrder::Stop && answer->m_error.empty()) m_controllerIsUp = true;
    if (order == ControllerOrder::Restart && client == 0) m_restarting = false;
    if (answer->m_vmPort) {
        m_vmPort = std::move(answer->m_vmPort);
        m_decoder = VmDecoder();
    }
    if (client == 0 && !answer->m_error.empty()) std::fprintf(stderr, "bladesim: %s\n", answer->m_error.c_str());
    m_control.Answer(client, (answer->m_error.empty() ? ResultAnswer(json()) : ErrorAnswer(answer->m_error)).dump());
}

} // namespace bladesim
