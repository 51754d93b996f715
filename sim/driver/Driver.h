// The part of the kernel's IPMI driver: stands between the programs that opened /dev/ipmi0 and the controller's VM
// port. What goes wrong on the way and what is told about it is ordered through a control socket.
#pragma once

#include "sim/base/UniqueFd.h"
#include "sim/controller/ControllerOrders.h"
#include "sim/controller/SystemInterface.h"
#include "sim/controller/VMCodec.h"
#include "sim/driver/ControlServer.h"
#include "sim/driver/Faults.h"
#include "sim/driver/FaultyWire.h"
#include "sim/driver/InterfaceCalls.h"
#include "sim/driver/RequestLog.h"
#include "sim/driver/RequestQueue.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct pollfd;

namespace BLADESIM {

/// The socket on which the driver takes openers; openers may come before it runs. Throws a BLADE_ERROR.
UNIQUE_FD ListenForOpeners();

/// What a driver works on; all of it is closed with the driver. Where a guest works the system interface, it has
/// neither a connection nor openers, and only takes the orders for the controller's coming and going.
struct DRIVER_SETUP {
    UNIQUE_FD m_VMPort;     ///< a connection to the controller
    UNIQUE_FD m_Openers;    ///< as from ListenForOpeners
    UNIQUE_FD m_Orders;     ///< as from ListenForOrders
    UNIQUE_FD m_Controller; ///< takes CONTROLLER_ORDERs
    SYSTEM_INTERFACE m_IPMI = SYSTEM_INTERFACE::BRIDGE;
    std::vector<FAULT> m_Faults;
    std::chrono::milliseconds m_TimeOut = g_DriverTimeOut;
    bool m_Verbose = false;
};

class DRIVER {
public:
    explicit DRIVER(DRIVER_SETUP a_Setup);

    /// Serves for ever; the process ends with the blade.
    [[noreturn]] void Run();

private:
    using CLOCK = REQUEST_QUEUE::CLOCK;
    using CLIENT_ID = CONTROL_SERVER::CLIENT_ID;

    struct ORDERED {
        CLIENT_ID m_Client; ///< who gets the answer; 0: nobody
        CONTROLLER_ORDER m_Order;
    };

    struct OPENER {
        UNIQUE_FD m_Socket;
        unsigned m_Number = 0; ///< counted from 1 in the order of open
    };

    void WaitForEvents(std::vector<pollfd>& a_Events) const;
    void Handle(const pollfd& a_Event);
    std::optional<CLOCK::time_point> NextDeadline() const;
    void DoWhatIsDue();

    void TakeOpener();
    void ReadOpener(int a_Opener);
    void TakeRequest(int a_Opener, const BRIDGE_PACKET& a_Request);
    void Call(int a_Opener, const BRIDGE_PACKET& a_Call, int a_AnswerSocket);

    void SendNext();
    void SendToController(const VM_MESSAGE& a_Request);
    void ReadVMPort();
    void Accept(const WIRE_REPLY& a_Reply);
    void Deliver(const ANSWER& a_Answer);
    void Trace(const char* a_What, const BRIDGE_PACKET& a_Packet) const;

    // DriverOrders.cpp
    void TakeOrder(CLIENT_ID a_Client, const std::string& a_Line);
    nlohmann::json AddFault(const nlohmann::json& a_Order);
    nlohmann::json ListFaults(const nlohmann::json& a_Order);
    nlohmann::json ClearFaults(const nlohmann::json& a_Order);
    nlohmann::json ReleaseReplies(const nlohmann::json& a_Order);
    nlohmann::json ShowRequests(const nlohmann::json& a_Order);
    nlohmann::json ShowLog(const nlohmann::json& a_Order);
    nlohmann::json ClearLog(const nlohmann::json& a_Order);
    nlohmann::json ControllerState(const nlohmann::json& a_Order);
    void OrderController(CONTROLLER_ORDER a_Order, CLIENT_ID a_Client);
    void ReadControllerAnswer();

    UNIQUE_FD m_VMPort;
    UNIQUE_FD m_Listener;
    UNIQUE_FD m_Controller;
    bool m_Guest;
    bool m_Verbose;
    CONTROL_SERVER m_Control;
    std::map<int, OPENER> m_Openers;
    unsigned m_LastOpener = 0;
    INTERFACE_CALLS m_Calls;
    REQUEST_QUEUE m_Queue;
    FAULT_TABLE m_Faults;
    FAULTY_WIRE m_Wire;
    VM_DECODER m_Decoder;
    REQUEST_LOG m_Log;
    std::array<uint64_t, 256> m_EntryOf{};       ///< by sequence number
    std::deque<ORDERED> m_AwaitingController;    ///< what is to be answered next
    bool m_ControllerIsUp = true;                ///< as its connection and the orders tell
    std::optional<CLOCK::time_point> m_ComeBack; ///< when the controller is to be started again
};

} // namespace BLADESIM
