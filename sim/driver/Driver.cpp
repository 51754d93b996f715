// The part of the kernel's IPMI driver: stands between the programs that opened /dev/ipmi0 and the controller's VM
// port.
#include "sim/driver/Driver.h"

#include "sim/base/DriverAddress.h"
#include "sim/base/Error.h"
#include "sim/base/PassedFd.h"

#include <linux/ipmi.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace BLADESIM {
namespace {

// The kernel keeps as many answers for an opener as there are. This is room for more than anybody leaves unread.
constexpr int g_OpenerQueue = 16 * 1024 * 1024;

int AddressTypeOf(const BRIDGE_PACKET& a_Packet) {
    int l_Type = 0;
    std::memcpy(&l_Type, a_Packet.m_Address, sizeof(l_Type));
    return l_Type;
}

std::optional<uint8_t> IPMBAddressOf(const BRIDGE_PACKET& a_Packet) {
    if (AddressTypeOf(a_Packet) == IPMI_SYSTEM_INTERFACE_ADDR_TYPE) return std::nullopt;
    return a_Packet.m_Address[offsetof(ipmi_ipmb_addr, slave_addr)];
}

std::vector<uint8_t> BytesOf(const BRIDGE_PACKET& a_Packet) {
    std::vector<uint8_t> l_Bytes(size_t{2} + a_Packet.m_DataLength);
    l_Bytes[0] = a_Packet.m_NetFn;
    l_Bytes[1] = a_Packet.m_Command;
    std::copy_n(a_Packet.m_Data, a_Packet.m_DataLength, l_Bytes.begin() + 2);
    return l_Bytes;
}

int MillisecondsUntil(const std::optional<REQUEST_QUEUE::CLOCK::time_point>& a_Deadline) {
    if (!a_Deadline) return -1;
    const auto l_Left = std::chrono::ceil<std::chrono::milliseconds>(*a_Deadline - REQUEST_QUEUE::CLOCK::now());
    return static_cast<int>(std::max<int64_t>(l_Left.count(), 0));
}

} // namespace

UNIQUE_FD ListenForOpeners() {
    UNIQUE_FD l_Listener(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!l_Listener) ThrowErrno("no socket for /dev/ipmi0");
    const SOCKET_ADDRESS l_Address = DriverAddress();
    if (::bind(l_Listener.Get(), l_Address.Get(), l_Address.m_Length) != 0 ||
        ::listen(l_Listener.Get(), SOMAXCONN) != 0) {
        ThrowErrno("the socket for /dev/ipmi0 cannot be bound");
    }
    return l_Listener;
}

DRIVER::DRIVER(DRIVER_SETUP a_Setup)
    : m_VMPort(std::move(a_Setup.m_VMPort)),
      m_Listener(std::move(a_Setup.m_Openers)),
      m_Controller(std::move(a_Setup.m_Controller)),
      m_Guest(a_Setup.m_IPMI == SYSTEM_INTERFACE::GUEST),
      m_Verbose(a_Setup.m_Verbose),
      m_Control(std::move(a_Setup.m_Orders),
                [this](CLIENT_ID a_Client, const std::string& a_Line) { TakeOrder(a_Client, a_Line); }),
      m_Queue(a_Setup.m_TimeOut),
      m_Wire(m_Faults) {
    for (const FAULT& l_Fault : a_Setup.m_Faults)
        m_Faults.Add(l_Fault);
}

void DRIVER::Run() {
    std::vector<pollfd> l_Events;
    for (;;) {
        WaitForEvents(l_Events);
        for (const pollfd& l_Event : l_Events) {
            if (l_Event.revents != 0) Handle(l_Event);
        }
        DoWhatIsDue();
        SendNext();
    }
}

void DRIVER::WaitForEvents(std::vector<pollfd>& a_Events) const {
    a_Events = {{m_Listener.Get(), POLLIN, 0}, {m_Controller.Get(), POLLIN, 0}, {m_VMPort.Get(), POLLIN, 0}};
    m_Control.AddEvents(a_Events);
    for (const auto& l_Opener : m_Openers)
        a_Events.push_back({l_Opener.first, POLLIN, 0});
    if (::poll(a_Events.data(), a_Events.size(), MillisecondsUntil(NextDeadline())) <= 0) {
        for (pollfd& l_Event : a_Events)
            l_Event.revents = 0;
    }
}

void DRIVER::Handle(const pollfd& a_Event) {
    if (a_Event.fd == m_Listener.Get())
        TakeOpener();
    else if (a_Event.fd == m_VMPort.Get())
        ReadVMPort();
    else if (a_Event.fd == m_Controller.Get())
        ReadControllerAnswer();
    else if (m_Openers.contains(a_Event.fd))
        ReadOpener(a_Event.fd);
    else
        m_Control.Handle(a_Event);
}

std::optional<DRIVER::CLOCK::time_point> DRIVER::NextDeadline() const {
    std::optional<CLOCK::time_point> l_Next;
    for (const auto& l_Deadline : {m_Queue.Deadline(), m_Wire.Deadline(), m_ComeBack}) {
        if (l_Deadline && (!l_Next || *l_Deadline < *l_Next)) l_Next = l_Deadline;
    }
    return l_Next;
}

/// In the order of time, however late it has become.
void DRIVER::DoWhatIsDue() {
    const CLOCK::time_point l_Now = CLOCK::now();
    for (auto l_Next = NextDeadline(); l_Next && *l_Next <= l_Now; l_Next = NextDeadline()) {
        for (const WIRE_REPLY& l_Reply : m_Wire.Due(*l_Next))
            Accept(l_Reply);
        if (const auto l_Answer = m_Queue.Expire(*l_Next)) Deliver(*l_Answer);
        if (m_ComeBack && *m_ComeBack <= *l_Next) OrderController(CONTROLLER_ORDER::START, {});
    }
}

void DRIVER::TakeOpener() {
    UNIQUE_FD l_Opener(::accept4(m_Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!l_Opener) return;
    ::setsockopt(l_Opener.Get(), SOL_SOCKET, SO_SNDBUFFORCE, &g_OpenerQueue, sizeof(g_OpenerQueue));
    const int l_Fd = l_Opener.Get();
    m_Openers.emplace(l_Fd, OPENER{std::move(l_Opener), ++m_LastOpener});
}

void DRIVER::ReadOpener(int a_Opener) {
    BRIDGE_PACKET l_Packet{};
    int l_Passed = -1;
    const ssize_t l_Size = ReceiveWithFd(a_Opener, &l_Packet, sizeof(l_Packet), l_Passed);
    const UNIQUE_FD l_AnswerSocket(l_Passed);
    if (l_Size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (l_Size <= 0) {
        m_Queue.Forget(a_Opener);
        m_Calls.Forget(a_Opener);
        m_Openers.erase(a_Opener);
        return;
    }
    // Something else than a packet of the preload library was written to the descriptor by hand.
    if (!IsWhole(l_Packet, static_cast<size_t>(l_Size))) return;
    if (l_Packet.m_ReceiveType == g_CallPacket)
        Call(a_Opener, l_Packet, l_AnswerSocket.Get());
    else
        TakeRequest(a_Opener, l_Packet);
}

void DRIVER::TakeRequest(int a_Opener, const BRIDGE_PACKET& a_Request) {
    Trace("request", a_Request);
    const std::optional<uint8_t> l_IPMB = IPMBAddressOf(a_Request);
    const uint64_t l_Entry = m_Log.Add(m_Openers.at(a_Opener).m_Number, BytesOf(a_Request), l_IPMB);
    if (!l_IPMB)
        m_Queue.Add(a_Opener, a_Request, l_Entry);
    else // Nobody else is on the IPMB; the kernel says so after its retries, here there is no need to wait.
        Deliver({a_Opener, l_Entry, TimeOutAnswer(a_Request)});
}

void DRIVER::Call(int a_Opener, const BRIDGE_PACKET& a_Call, int a_AnswerSocket) {
    const CALL_RESULT l_Result = m_Calls.Do(a_Opener, static_cast<uint32_t>(a_Call.m_MessageId),
                                            {a_Call.m_Data, a_Call.m_Data + a_Call.m_DataLength});
    BRIDGE_PACKET l_Answer{};
    l_Answer.m_MessageId = l_Result.m_Error;
    l_Answer.m_DataLength = static_cast<uint16_t>(l_Result.m_Data.size());
    std::copy(l_Result.m_Data.begin(), l_Result.m_Data.end(), l_Answer.m_Data);
    ::send(a_AnswerSocket, &l_Answer, PacketSize(l_Answer), MSG_NOSIGNAL | MSG_DONTWAIT);
}

/// Requests go out one at a time; those that a fault answers make room for the next at once.
void DRIVER::SendNext() {
    while (const auto l_Started = m_Queue.Start(CLOCK::now())) {
        m_EntryOf[l_Started->m_Message.m_Sequence] = l_Started->m_Entry;
        const WIRE_REQUEST l_Request = m_Wire.Send(l_Started->m_Message);
        if (l_Request.m_Fault) m_Log.Hit(l_Started->m_Entry, *l_Request.m_Fault);
        if (l_Request.m_ForController) SendToController(*l_Request.m_ForController);
        if (l_Request.m_Gone) {
            OrderController(CONTROLLER_ORDER::STOP, {});
            if (l_Request.m_Gone->count() != 0) m_ComeBack = CLOCK::now() + *l_Request.m_Gone;
        }
        if (l_Request.m_Reply) Accept({*l_Request.m_Reply});
    }
}

void DRIVER::SendToController(const VM_MESSAGE& a_Request) {
    if (!m_VMPort) return;
    const std::vector<uint8_t> l_Bytes = Encode(a_Request);
    // What cannot be sent gets no reply: the time-out answers.
    if (::send(m_VMPort.Get(), l_Bytes.data(), l_Bytes.size(), MSG_NOSIGNAL) < 0) {
        m_VMPort.Reset();
        m_ControllerIsUp = false;
    }
}

void DRIVER::ReadVMPort() {
    std::array<uint8_t, 1024> l_Bytes;
    const ssize_t l_Size = ::recv(m_VMPort.Get(), l_Bytes.data(), l_Bytes.size(), MSG_DONTWAIT);
    if (l_Size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (l_Size <= 0) {
        std::fprintf(stderr, "bladesim: the controller is gone; requests to it will time out\n");
        m_VMPort.Reset();
        m_ControllerIsUp = false;
        m_Wire.ForgetController();
        return;
    }
    for (ssize_t l_Index = 0; l_Index < l_Size; ++l_Index) {
        const auto l_Frame = m_Decoder.Feed(l_Bytes[static_cast<size_t>(l_Index)]);
        // Control commands of the controller (attention, power, reset) have no meaning for this host.
        const auto* const l_Message = l_Frame ? std::get_if<VM_MESSAGE>(&*l_Frame) : nullptr;
        if (l_Message == nullptr) continue;
        for (const WIRE_REPLY& l_Reply : m_Wire.Receive(*l_Message, CLOCK::now()))
            Accept(l_Reply);
    }
}

void DRIVER::Accept(const WIRE_REPLY& a_Reply) {
    const auto l_Answer = m_Queue.Accept(a_Reply.m_Message);
    if (!l_Answer) {
        m_Log.Drop(m_EntryOf[a_Reply.m_Message.m_Sequence]);
        if (m_Verbose) std::fprintf(stderr, "bladesim: dropped a reply to nothing that is outstanding\n");
        return;
    }
    Deliver(*l_Answer);
    if (a_Reply.m_Twice) Deliver(*l_Answer);
}

void DRIVER::Deliver(const ANSWER& a_Answer) {
    m_Log.Answer(a_Answer.m_Entry, a_Answer.m_Packet.m_Data[0]);
    if (a_Answer.m_Opener == g_Nobody) return;
    Trace("answer ", a_Answer.m_Packet);
    // An opener that does not read loses what does not fit into its queue; one that has closed is noticed by its end of
    // file.
    if (::send(a_Answer.m_Opener, &a_Answer.m_Packet, PacketSize(a_Answer.m_Packet), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        Trace("lost   ", a_Answer.m_Packet);
}

void DRIVER::Trace(const char* a_What, const BRIDGE_PACKET& a_Packet) const {
    if (!m_Verbose) return;
    char l_Line[64 + 3 * g_MaxMessage];
    int l_Length = std::snprintf(l_Line, sizeof(l_Line), "bladesim: %s netfn 0x%02x cmd 0x%02x:", a_What,
                                 a_Packet.m_NetFn, a_Packet.m_Command);
    for (size_t l_Index = 0; l_Index < a_Packet.m_DataLength; ++l_Index) {
        l_Length += std::snprintf(l_Line + l_Length, sizeof(l_Line) - static_cast<size_t>(l_Length), " %02x",
                                  a_Packet.m_Data[l_Index]);
    }
    std::fprintf(stderr, "%s\n", l_Line);
}

} // namespace BLADESIM
