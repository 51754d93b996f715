// Plays the kernel's IPMI driver, between the programs that opened /dev/ipmi0 and the controller's VM port.
#include "sim/driver/Driver.h"

#include "sim/base/Error.h"
#include "sim/base/PassedFd.h"
#include "sim/base/Sockets.h"

#include <linux/ipmi.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace bladesim {
namespace {

// The kernel keeps any number of answers for an opener. This is room for more than a program leaves unread.
constexpr int OpenerQueue = 16 * 1024 * 1024;

int AddressTypeOf(const BridgePacket& packet) {
    int type = 0;
    std::memcpy(&type, packet.m_address, sizeof(type));
    return type;
}

std::optional<uint8_t> IPMBAddressOf(const BridgePacket& packet) {
    if (AddressTypeOf(packet) == IPMI_SYSTEM_INTERFACE_ADDR_TYPE) return std::nullopt;
    return packet.m_address[offsetof(ipmi_ipmb_addr, slave_addr)];
}

std::vector<uint8_t> BytesOf(const BridgePacket& packet) {
    std::vector<uint8_t> bytes(size_t{2} + packet.m_dataLength);
    bytes[0] = packet.m_netFn;
    bytes[1] = packet.m_command;
    std::copy_n(packet.m_data, packet.m_dataLength, bytes.begin() + 2);
    return bytes;
}

int MillisecondsUntil(const std::optional<RequestQueue::Clock::time_point>& deadline) {
    if (!deadline) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - RequestQueue::Clock::now());
    return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

} // namespace

bm_dev::UniqueFd ListenForOpeners() {
    return ListenAt(DriverAddress(), SOCK_SEQPACKET, "/dev/ipmi0");
}

bm_dev::UniqueFd DenyOpeners() {
    bm_dev::UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const SocketAddress denied = DeniedAddress();
    if (!socket || ::bind(socket.Get(), denied.Get(), denied.m_length) != 0) ThrowErrno("/dev/ipmi0 cannot be denied");
    return socket;
}

Driver::Driver(DriverSetup setup)
    : m_vmPort(std::move(setup.m_vmPort)),
      m_listener(std::move(setup.m_openers)),
      m_controller(std::move(setup.m_controller)),
      m_guest(setup.m_ipmi == SystemInterface::Guest),
      m_verbose(setup.m_verbose),
      m_timeOutWhenLost(setup.m_timeOutWhenLost),
      m_control(std::move(setup.m_orders),
                [this](ClientId client, const std::string& line) { TakeOrder(client, line); }),
      m_queue(setup.m_timeOutWhenLost ? std::chrono::milliseconds(0) : setup.m_timeOut),
      m_wire(m_faults),
      m_recorder(std::move(setup.m_recorder)) {
    for (const Fault& fault : setup.m_faults)
        m_faults.Add(fault);
}

void Driver::Run() {
    std::vector<pollfd> events;
    for (;;) {
        WaitForEvents(events);
        for (const pollfd& event : events) {
            if (event.revents != 0) Handle(event);
        }
        DoWhatIsDue();
        SendNext();
        if (m_timeOutWhenLost) GiveUpWhatIsLost();
    }
}

void Driver::WaitForEvents(std::vector<pollfd>& events) const {
    events = {{m_listener.Get(), POLLIN, 0}, {m_controller.Get(), POLLIN, 0}, {m_vmPort.Get(), POLLIN, 0}};
    m_control.AddEvents(events);
    for (const auto& opener : m_openers)
        events.push_back({opener.first, POLLIN, 0});
    if (::poll(events.data(), events.size(), MillisecondsUntil(NextDeadline())) <= 0) {
        for (pollfd& event : events)
            event.revents = 0;
    }
}

void Driver::Handle(const pollfd& event) {
    if (event.fd == m_listener.Get())
        TakeOpener();
    else if (event.fd == m_vmPort.Get())
        ReadVMPort();
    else if (event.fd == m_controller.Get())
        ReadControllerAnswer();
    else if (m_openers.contains(event.fd))
        ReadOpener(event.fd);
    else
        m_control.Handle(event);
}

std::optional<Driver::Clock::time_point> Driver::NextDeadline() const {
    std::optional<Clock::time_point> next;
    for (const auto& deadline : {m_queue.Deadline(), m_wire.Deadline(), m_comeBack}) {
        if (deadline && (!next || *deadline < *next)) next = deadline;
    }
    return next;
}

/// In order of their times, even when several are overdue.
void Driver::DoWhatIsDue() {
    const Clock::time_point now = Clock::now();
    for (auto next = NextDeadline(); next && *next <= now; next = NextDeadline()) {
        for (const WireReply& reply : m_wire.Due(*next))
            Accept(reply);
        if (const auto answer = m_queue.Expire(*next)) Deliver(*answer);
        if (m_comeBack && *m_comeBack <= *next) OrderController(ControllerOrder::Start, {});
    }
}

void Driver::TakeOpener() {
    bm_dev::UniqueFd opener(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!opener) return;
    // Beyond the machine's limit only where root's rights reach that far.
    if (::setsockopt(opener.Get(), SOL_SOCKET, SO_SNDBUFFORCE, &OpenerQueue, sizeof(OpenerQueue)) != 0)
        ::setsockopt(opener.Get(), SOL_SOCKET, SO_SNDBUF, &OpenerQueue, sizeof(OpenerQueue));
    const int fd = opener.Get();
    m_openers.emplace(fd, Opener{std::move(opener), ++m_lastOpener});
}

void Driver::ReadOpener(int opener) {
    BridgePacket packet{};
    int passed = -1;
    const ssize_t size = ReceiveWithFd(opener, &packet, sizeof(packet), passed);
    const bm_dev::UniqueFd answerSocket(passed);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size <= 0) {
        m_queue.Forget(opener);
        m_calls.Forget(opener);
        m_openers.erase(opener);
        return;
    }
    // A program wrote to the descriptor; this is not a packet of the preload library.
    if (!IsWhole(packet, static_cast<size_t>(size))) return;
    if (packet.m_receiveType == CallPacket)
        Call(opener, packet, answerSocket.Get());
    else
        TakeRequest(opener, packet);
}

void Driver::TakeRequest(int opener, const BridgePacket& request) {
    Trace("request", request);
    const std::optional<uint8_t> ipmb = IPMBAddressOf(request);
    const uint64_t entry = m_log.Add(m_openers.at(opener).m_number, BytesOf(request), ipmb);
    m_recorder.Request(entry, m_openers.at(opener).m_number, BytesOf(request), ipmb);
    if (!ipmb)
        m_queue.Add(opener, request, entry);
    else // Nothing else is on the IPMB. The kernel reports that after its retries; here there is no need to wait.
        Deliver({opener, entry, TimeOutAnswer(request)});
}

void Driver::Call(int opener, const BridgePacket& call, int answerSocket) {
    const CallResult result =
        m_calls.Do(opener, static_cast<uint32_t>(call.m_messageId), {call.m_data, call.m_data + call.m_dataLength});
    BridgePacket answer{};
    answer.m_messageId = result.m_error;
    answer.m_dataLength = static_cast<uint16_t>(result.m_data.size());
    std::copy(result.m_data.begin(), result.m_data.end(), answer.m_data);
    ::send(answerSocket, &answer, PacketSize(answer), MSG_NOSIGNAL | MSG_DONTWAIT);
}

/// Requests go out one at a time; one that a fault answers makes room for the next at once.
void Driver::SendNext() {
    while (!m_restarting) {
        const auto started = m_queue.Start(Clock::now());
        if (!started) return;
        m_entryOf[started->m_message.m_sequence] = started->m_entry;
        const WireRequest request = m_wire.Send(started->m_message);
        if (request.m_fault) m_log.Hit(started->m_entry, *request.m_fault);
        if (request.m_forController) SendToController(*request.m_forController);
        if (request.m_gone) {
            OrderController(ControllerOrder::Stop, {});
            if (request.m_gone->count() != 0) m_comeBack = Clock::now() + *request.m_gone;
        }
        if (request.m_restarted) {
            OrderController(ControllerOrder::Restart, {});
            m_restarting = true;
        }
        if (request.m_reply) Accept({*request.m_reply});
    }
}

/// Answers each request to which no reply can come any more, without waiting: a reply that only takes long is not lost.
void Driver::GiveUpWhatIsLost() {
    for (auto number = m_queue.Outstanding(); number; number = m_queue.Outstanding()) {
        if (m_vmPort && !m_wire.Keeps(*number)) return;
        Deliver(*m_queue.GiveUp());
        SendNext();
    }
}

void Driver::SendToController(const VmMessage& request) {
    if (!m_vmPort) return;
    const std::vector<uint8_t> bytes = Encode(request);
    // A request that cannot be sent gets no reply; the time-out answers it.
    if (::send(m_vmPort.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) {
        m_vmPort.Reset();
        m_controllerIsUp = false;
    }
}

void Driver::ReadVMPort() {
    std::array<uint8_t, 1024> bytes;
    const ssize_t size = ::recv(m_vmPort.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size <= 0) {
        std::fprintf(stderr, "bladesim: the controller is gone; requests to it will time out\n");
        m_vmPort.Reset();
        m_controllerIsUp = false;
        m_wire.ForgetController();
        return;
    }
    for (ssize_t index = 0; index < size; ++index) {
        const auto frame = m_decoder.Feed(bytes[static_cast<size_t>(index)]);
        // The controller's control commands (attention, power, reset) mean nothing to this host.
        const auto* const message = frame ? std::get_if<VmMessage>(&*frame) : nullptr;
        if (message == nullptr) continue;
        for (const WireReply& reply : m_wire.Receive(*message, Clock::now()))
            Accept(reply);
    }
}

void Driver::Accept(const WireReply& reply) {
    const auto answer = m_queue.Accept(reply.m_message);
    if (!answer) {
        m_log.Drop(m_entryOf[reply.m_message.m_sequence]);
        if (m_verbose) std::fprintf(stderr, "bladesim: dropped a reply to nothing that is outstanding\n");
        return;
    }
    Deliver(*answer);
    if (reply.m_twice) Deliver(*answer);
}

void Driver::Deliver(const Answer& answer) {
    m_log.Answer(answer.m_entry, answer.m_packet.m_data[0]);
    m_recorder.Answer(answer.m_entry, {answer.m_packet.m_data, answer.m_packet.m_dataLength});
    if (answer.m_opener == Nobody) return;
    Trace("answer ", answer.m_packet);
    // An opener that does not read loses what does not fit into its queue; one that has closed shows up as end of file.
    if (::send(answer.m_opener, &answer.m_packet, PacketSize(answer.m_packet), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        Trace("lost   ", answer.m_packet);
}

void Driver::Trace(const char* what, const BridgePacket& packet) const {
    if (!m_verbose) return;
    char line[64 + 3 * MaxMessage];
    int length = std::snprintf(line, sizeof(line), "bladesim: %s netfn 0x%02x cmd 0x%02x:", what, packet.m_netFn,
                               packet.m_command);
    for (size_t index = 0; index < packet.m_dataLength; ++index) {
        length +=
            std::snprintf(line + length, sizeof(line) - static_cast<size_t>(length), " %02x", packet.m_data[index]);
    }
    std::fprintf(stderr, "%s\n", line);
}

} // namespace bladesim
