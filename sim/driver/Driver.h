// Plays the kernel's IPMI driver, between the programs that opened /dev/ipmi0 and the controller's VM port. Faults and
// reports are ordered through a control socket.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/controller/ControllerOrders.h"
#include "sim/controller/SystemInterface.h"
#include "sim/controller/VMCodec.h"
#include "sim/driver/ControlServer.h"
#include "sim/driver/Faults.h"
#include "sim/driver/FaultyWire.h"
#include "sim/driver/InterfaceCalls.h"
#include "sim/driver/RequestLog.h"
#include "sim/driver/RequestQueue.h"
#include "sim/record/Recorder.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct pollfd;

namespace bladesim {

/// The socket for openers, who may connect before the driver runs. Throws a BladeError.
bm_dev::UniqueFd ListenForOpeners();

/// The socket that tells openers that they may not open. Throws a BladeError.
bm_dev::UniqueFd DenyOpeners();

/// The descriptors that a driver works with; it closes all of them when it ends. When a guest serves the system
/// interface there are no connection and no openers, only the orders to stop and start the controller.
struct DriverSetup {
    bm_dev::UniqueFd m_vmPort;     ///< a connection to the controller
    bm_dev::UniqueFd m_openers;    ///< as from ListenForOpeners
    bm_dev::UniqueFd m_orders;     ///< as from ListenForOrders
    bm_dev::UniqueFd m_controller; ///< takes each ControllerOrder
    SystemInterface m_ipmi = SystemInterface::Bridge;
    std::vector<Fault> m_faults;
    std::chrono::milliseconds m_timeOut = DriverTimeOut;
    bool m_timeOutWhenLost = false; ///< the time-out comes when no reply can come any more, and only then
    bool m_verbose = false;
    Recorder m_recorder;
};

class Driver {
public:
    explicit Driver(DriverSetup setup);

    /// Never returns; the process ends with the blade.
    [[noreturn]] void Run();

private:
    using Clock = RequestQueue::Clock;
    using ClientId = ControlServer::ClientId;

    struct Ordered {
        ClientId m_client; ///< who gets the answer; 0: no one
        ControllerOrder m_order;
    };

    struct Opener {
        bm_dev::UniqueFd m_socket;
        unsigned m_number = 0; ///< counted from 1 in the order of opening
    };

    void WaitForEvents(std::vector<pollfd>& events) const;
    void Handle(const pollfd& event);
    std::optional<Clock::time_point> NextDeadline() const;
    void DoWhatIsDue();

    void TakeOpener();
    void ReadOpener(int opener);
    void TakeRequest(int opener, const BridgePacket& request);
    void Call(int opener, const BridgePacket& call, int answerSocket);

    void SendNext();
    void GiveUpWhatIsLost();
    void SendToController(const VmMessage& request);
    void ReadVMPort();
    void Accept(const WireReply& reply);
    void Deliver(const Answer& answer);
    void Trace(const char* what, const BridgePacket& packet) const;

    // DriverOrders.cpp
    void TakeOrder(ClientId client, const std::string& line);
    nlohmann::json AddFault(const nlohmann::json& order);
    nlohmann::json ListFaults(const nlohmann::json& order);
    nlohmann::json ClearFaults(const nlohmann::json& order);
    nlohmann::json ReleaseReplies(const nlohmann::json& order);
    nlohmann::json ShowRequests(const nlohmann::json& order);
    nlohmann::json ShowLog(const nlohmann::json& order);
    nlohmann::json ClearLog(const nlohmann::json& order);
    nlohmann::json ControllerState(const nlohmann::json& order);
    void OrderController(ControllerOrder order, ClientId client);
    void ReadControllerAnswer();

    bm_dev::UniqueFd m_vmPort;
    bm_dev::UniqueFd m_listener;
    bm_dev::UniqueFd m_controller;
    bool m_guest;
    bool m_verbose;
    bool m_timeOutWhenLost;
    ControlServer m_control;
    std::map<int, Opener> m_openers;
    unsigned m_lastOpener = 0;
    InterfaceCalls m_calls;
    RequestQueue m_queue;
    FaultTable m_faults;
    FaultyWire m_wire;
    VmDecoder m_decoder;
    RequestLog m_log;
    Recorder m_recorder;
    std::array<uint64_t, 256> m_entryOf{};       ///< by sequence number
    std::deque<Ordered> m_awaitingController;    ///< who waits for the controller's answers, in order
    bool m_controllerIsUp = true;                ///< judged by its connection and the orders
    bool m_restarting = false;                   ///< a fault restarts it; no request is sent meanwhile
    std::optional<Clock::time_point> m_comeBack; ///< when to start the controller again
};

} // namespace bladesim
