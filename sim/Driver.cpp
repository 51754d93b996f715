// The part of the kernel's IPMI driver: stands between the programs that opened /dev/ipmi0 and the controller's VM
// port.
#include "sim/Driver.h"

#include "sim/DriverAddress.h"
#include "sim/Error.h"

#include <linux/ipmi.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

namespace BLADESIM {
namespace {

int AddressTypeOf(const BRIDGE_PACKET& a_Packet) {
    int l_Type = 0;
    std::memcpy(&l_Type, a_Packet.m_Address, sizeof(l_Type));
    return l_Type;
}

int TimeOutOf(const std::optional<REQUEST_QUEUE::CLOCK::time_point>& a_Deadline) {
    if (!a_Deadline) return -1;
    const auto l_Left = std::chrono::ceil<std::chrono::milliseconds>(*a_Deadline - REQUEST_QUEUE::CLOCK::now());
    return static_cast<int>(std::max<int64_t>(l_Left.count(), 0));
}

} // namespace

UNIQUE_FD ListenForOpeners() {
    UNIQUE_FD l_Listener(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!l_Listener) ThrowErrno("no socket for /dev/ipmi0");
    const sockaddr_un l_Address = DriverAddress();
    if (::bind(l_Listener.Get(), reinterpret_cast<const sockaddr*>(&l_Address), g_DriverAddressLength) != 0 ||
        ::listen(l_Listener.Get(), SOMAXCONN) != 0) {
        ThrowErrno("the socket for /dev/ipmi0 cannot be bound");
    }
    return l_Listener;
}

DRIVER::DRIVER(UNIQUE_FD a_Controller, UNIQUE_FD a_Listener, bool a_Verbose)
    : m_Controller(std::move(a_Controller)),
      m_Listener(std::move(a_Listener)),
      m_Verbose(a_Verbose) {}

void DRIVER::Run() {
    std::vector<pollfd> l_Events;
    for (;;) {
        WaitForEvents(l_Events);
        for (const pollfd& l_Event : l_Events) {
            if (l_Event.revents == 0) continue;
            if (l_Event.fd == m_Listener.Get())
                TakeOpener();
            else if (l_Event.fd == m_Controller.Get())
                ReadController();
            else
                ReadOpener(l_Event.fd);
        }
        Deliver(m_Queue.Expire(REQUEST_QUEUE::CLOCK::now()));
        SendNext();
    }
}

void DRIVER::WaitForEvents(std::vector<pollfd>& a_Events) const {
    a_Events = {{m_Listener.Get(), POLLIN, 0}, {m_Controller.Get(), POLLIN, 0}};
    for (const auto& l_Opener : m_Openers)
        a_Events.push_back({l_Opener.first, POLLIN, 0});
    if (::poll(a_Events.data(), a_Events.size(), TimeOutOf(m_Queue.Deadline())) <= 0) {
        for (pollfd& l_Event : a_Events)
            l_Event.revents = 0;
    }
}

void DRIVER::TakeOpener() {
    UNIQUE_FD l_Opener(::accept4(m_Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (l_Opener) m_Openers.emplace(l_Opener.Get(), std::move(l_Opener));
}

void DRIVER::ReadOpener(int a_Opener) {
    BRIDGE_PACKET l_Request{};
    const ssize_t l_Size = ::recv(a_Opener, &l_Request, sizeof(l_Request), 0);
    if (l_Size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (l_Size <= 0 || !IsWhole(l_Request, static_cast<size_t>(l_Size))) {
        m_Queue.Forget(a_Opener);
        m_Openers.erase(a_Opener);
        return;
    }
    Trace("request", l_Request);
    if (AddressTypeOf(l_Request) == IPMI_SYSTEM_INTERFACE_ADDR_TYPE) {
        m_Queue.Add(a_Opener, l_Request);
    } else {
        // Nobody else is on the IPMB; the kernel says so after its retries, here there is no need to wait.
        Deliver(ANSWER{a_Opener, TimeOutAnswer(l_Request)});
    }
}

void DRIVER::ReadController() {
    std::array<uint8_t, 1024> l_Bytes;
    const ssize_t l_Size = ::recv(m_Controller.Get(), l_Bytes.data(), l_Bytes.size(), MSG_DONTWAIT);
    if (l_Size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (l_Size <= 0) {
        std::fprintf(stderr, "bladesim: the controller is gone; requests to it will time out\n");
        m_Controller.Reset();
        return;
    }
    for (ssize_t l_Index = 0; l_Index < l_Size; ++l_Index) {
        const auto l_Frame = m_Decoder.Feed(l_Bytes[static_cast<size_t>(l_Index)]);
        // Control commands of the controller (attention, power, reset) have no meaning for this host.
        if (const auto* l_Reply = l_Frame ? std::get_if<VM_MESSAGE>(&*l_Frame) : nullptr)
            Deliver(m_Queue.Accept(*l_Reply));
    }
}

void DRIVER::SendNext() {
    const auto l_Request = m_Queue.Start(REQUEST_QUEUE::CLOCK::now());
    if (!l_Request || !m_Controller) return;
    const std::vector<uint8_t> l_Bytes = Encode(*l_Request);
    // What cannot be sent gets no reply: the time-out answers.
    if (::send(m_Controller.Get(), l_Bytes.data(), l_Bytes.size(), MSG_NOSIGNAL) < 0) m_Controller.Reset();
}

void DRIVER::Deliver(const std::optional<ANSWER>& a_Answer) const {
    if (!a_Answer) return;
    Trace("answer ", a_Answer->m_Packet);
    // An opener that does not read loses what does not fit into its queue; one that has closed is noticed by its end of
    // file.
    if (::send(a_Answer->m_Opener, &a_Answer->m_Packet, PacketSize(a_Answer->m_Packet), MSG_NOSIGNAL | MSG_DONTWAIT) <
        0) {
        Trace("lost   ", a_Answer->m_Packet);
    }
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
