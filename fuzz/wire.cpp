// The simulated blade's wires: the controller's byte stream, packets and ioctls of whoever opened /dev/ipmi0, the
// driver's queue of requests. An input is a byte that says which, then the bytes.
#include "support/Bytes.h"
#include "support/Require.h"

#include "sim/base/BridgePacket.h"
#include "sim/controller/VMCodec.h"
#include "sim/driver/FaultyWire.h"
#include "sim/driver/InterfaceCalls.h"
#include "sim/driver/KernelRules.h"
#include "sim/driver/RequestQueue.h"

#include <cstring>
#include <deque>
#include <iterator>
#include <memory>
#include <sys/ioctl.h>

using namespace bladesim;
using fuzzing::Require;
using Stream = std::vector<uint8_t>;
using Time = std::chrono::milliseconds;

namespace {

// The frames of a whole stream: cut at the two ends, then each piece looked at by itself.
std::vector<VmFrame> FramesOf(const Stream& stream) {
    std::vector<VmFrame> frames;
    auto begin = stream.begin();
    for (auto end = begin; end != stream.end(); ++end) {
        if (*end != 0xA0 && *end != 0xA1) continue;
        Stream bytes;
        for (auto at = begin; at != end; ++at)
            if (*at != 0xAA) bytes.push_back(at != begin && at[-1] == 0xAA ? *at & 0xEF : *at);
        const bool cut = begin != end && end[-1] == 0xAA;
        begin = end + 1;
        unsigned sum = 0;
        for (const uint8_t byte : bytes)
            sum += byte;
        if (cut || bytes.empty() || bytes.size() > 300) continue;
        if (*end == 0xA1) {
            frames.emplace_back(VmControl{bytes});
        } else if (bytes.size() >= 4 && sum % 256 == 0) {
            const auto lun = static_cast<uint8_t>(bytes[1] % 4);
            const auto netFn = static_cast<uint8_t>(bytes[1] / 4);
            frames.emplace_back(VmMessage{bytes[0], netFn, lun, bytes[2], {bytes.begin() + 3, bytes.end() - 1}});
        }
    }
    return frames;
}

std::vector<VmFrame> Decoded(const Stream& stream) {
    std::vector<VmFrame> frames;
    VmDecoder decoder;
    for (const uint8_t byte : stream)
        if (auto frame = decoder.Feed(byte)) frames.push_back(*frame);
    return frames;
}

void ReadStream(fuzzing::Bytes input) {
    const Stream stream(input.Rest().begin(), input.Rest().end());
    const auto frames = Decoded(stream);
    Require(frames == FramesOf(stream), "other frames than the stream has");
    Stream again;
    for (const VmFrame& frame : frames) {
        const Stream bytes = std::visit([](const auto& content) { return Encode(content); }, frame);
        again.insert(again.end(), bytes.begin(), bytes.end());
    }
    Require(Decoded(again) == frames, "frames are others when they are sent on");
}

// A packet is whole when its lengths say what has arrived. Its request is taken or refused without a look beyond it.
void ReadPacket(fuzzing::Bytes input) {
    BridgePacket packet{};
    const auto bytes = input.Some(sizeof packet);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<uint8_t*>(&packet));
    const bool whole = IsWhole(packet, bytes.size());
    uint16_t lengths[2] = {};
    if (bytes.size() >= PacketHeader)
        std::memcpy(lengths, bytes.data() + offsetof(BridgePacket, m_addressLength), sizeof lengths);
    Require(whole ==
                (bytes.size() >= PacketHeader && lengths[0] <= MaxAddress && bytes.size() == PacketHeader + lengths[1]),
            "a packet is whole or it is not");
    if (!whole) return;
    const auto address = std::make_unique<uint8_t[]>(lengths[0]); // alone on the heap
    std::copy_n(packet.m_address, lengths[0], address.get());
    ipmi_req request{};
    request.addr = address.get();
    request.addr_len = lengths[0];
    request.msg = {packet.m_netFn, packet.m_command, packet.m_dataLength, packet.m_data};
    const int error = CheckRequest(request);
    Require(error == 0 || error == EINVAL || error == EMSGSIZE, "refused with " + std::to_string(error));
    int type = 0;
    if (lengths[0] >= sizeof type) std::memcpy(&type, address.get(), sizeof type);
    Require(error != 0 || AddressLength(type) != 0, "a request for an address of no known type is taken");
}

constexpr uint32_t Calls[] = {
    IPMICTL_REGISTER_FOR_CMD,
    IPMICTL_UNREGISTER_FOR_CMD,
    IPMICTL_REGISTER_FOR_CMD_CHANS,
    IPMICTL_UNREGISTER_FOR_CMD_CHANS,
    IPMICTL_SET_GETS_EVENTS_CMD,
    IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD,
    IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD,
    IPMICTL_SET_MY_CHANNEL_LUN_CMD,
    IPMICTL_GET_MY_CHANNEL_LUN_CMD,
    IPMICTL_SET_MY_ADDRESS_CMD,
    IPMICTL_GET_MY_ADDRESS_CMD,
    IPMICTL_SET_MY_LUN_CMD,
    IPMICTL_GET_MY_LUN_CMD,
    IPMICTL_SET_TIMING_PARMS_CMD,
    IPMICTL_GET_TIMING_PARMS_CMD,
    IPMICTL_GET_MAINTENANCE_MODE_CMD,
    IPMICTL_SET_MAINTENANCE_MODE_CMD,
};

// What an opener can ask of an interface.
std::vector<Stream> SettingsOf(InterfaceCalls calls, int opener) {
    std::vector<Stream> settings;
    for (const uint32_t get : {IPMICTL_GET_MY_ADDRESS_CMD, IPMICTL_GET_MY_LUN_CMD, IPMICTL_GET_TIMING_PARMS_CMD,
                               IPMICTL_GET_MAINTENANCE_MODE_CMD})
        settings.push_back(calls.Do(opener, get, Stream(_IOC_SIZE(get))).m_data);
    for (uint16_t channel = 0; channel < IPMI_NUM_CHANNELS; ++channel) {
        const ipmi_channel_lun_address_set asked{channel, 0};
        Stream argument(sizeof asked);
        std::memcpy(argument.data(), &asked, sizeof asked);
        settings.push_back(calls.Do(opener, IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, argument).m_data);
        settings.push_back(calls.Do(opener, IPMICTL_GET_MY_CHANNEL_LUN_CMD, argument).m_data);
    }
    return settings;
}

void CallInterface(fuzzing::Bytes input) {
    InterfaceCalls calls;
    while (!input.IsEmpty()) {
        const int opener = static_cast<int>(input.Choice(3));
        const unsigned what = input.Choice(std::size(Calls) + 2);
        if (what == std::size(Calls)) {
            calls.Forget(opener);
            continue;
        }
        const uint32_t request = what < std::size(Calls) ? Calls[what] : input.Number();
        const auto before = SettingsOf(calls, opener);
        Stream argument = input.Some(_IOC_SIZE(request));
        argument.resize(input.Choice(8) == 0 ? input.Byte() : _IOC_SIZE(request));
        const CallResult result = calls.Do(opener, request, argument);
        Require(result.m_error >= 0, "an error below 0");
        Require(result.m_error == 0 || (result.m_data.empty() && SettingsOf(calls, opener) == before),
                "a refused call has changed something");
    }
}

Fault FaultFrom(fuzzing::Bytes& input) {
    constexpr FaultKind kinds[] = {FaultKind::CompletionCode, FaultKind::Reply, FaultKind::Lost,
                                   FaultKind::Late,           FaultKind::Short, FaultKind::Doubled,
                                   FaultKind::OtherFru,       FaultKind::Gone,  FaultKind::AnsweredTwice};
    Fault fault;
    for (unsigned i = input.Choice(4); i > 0; --i)
        fault.m_request.push_back(input.Choice(2) == 0 ? std::nullopt : std::optional(input.Byte()));
    fault.m_first = input.Choice(4);
    fault.m_count = input.Choice(4);
    fault.m_kind = kinds[input.Choice(std::size(kinds))];
    fault.m_argument = input.Byte();
    return fault;
}

// The driver's queue on a wire with faults: one request at a time, each answer to its opener, in order, and only once.
void QueueRequests(fuzzing::Bytes input) {
    struct Waiting {
        int m_opener;
        uint64_t m_entry;
    };
    FaultTable faults;
    for (unsigned i = input.Choice(4); i > 0; --i)
        faults.Add(FaultFrom(input));
    FaultyWire wire(faults);
    RequestQueue queue(Time(input.Choice(2) * 100));
    std::deque<Waiting> waiting;
    bool started = false;
    std::vector<VmMessage> atController;
    RequestQueue::Clock::time_point now{};
    uint64_t entries = 0;
    const auto check = [&](const std::optional<Answer>& answer) {
        if (!answer) return;
        Require(started && answer->m_entry == waiting.front().m_entry && answer->m_opener == waiting.front().m_opener,
                "an answer to somebody else");
        Require(answer->m_packet.m_dataLength >= 1 && answer->m_packet.m_dataLength <= MaxMessage, "an odd answer");
        waiting.pop_front();
        started = false;
    };
    const auto arrive = [&](const std::vector<WireReply>& replies) {
        for (const WireReply& reply : replies)
            check(queue.Accept(reply.m_message));
    };
    const auto start = [&] {
        const auto request = queue.Start(now);
        Require(request.has_value() == (!started && !waiting.empty()), "a request starts or it does not");
        if (!request) return;
        Require(request->m_entry == waiting.front().m_entry, "requests overtake each other");
        started = true;
        const WireRequest sent = wire.Send(request->m_message);
        if (sent.m_forController) atController.push_back(*sent.m_forController);
        if (sent.m_reply) check(queue.Accept(*sent.m_reply));
    };
    while (!input.IsEmpty()) {
        const unsigned step = input.Choice(8);
        if (step == 0) {
            BridgePacket packet{};
            packet.m_netFn = input.Byte() & 0x3E;
            packet.m_command = input.Byte();
            const auto data = input.Some(input.Choice(8));
            packet.m_dataLength = static_cast<uint16_t>(data.size());
            std::copy(data.begin(), data.end(), packet.m_data);
            waiting.push_back({static_cast<int>(input.Choice(3)), ++entries});
            queue.Add(waiting.back().m_opener, packet, entries);
        } else if (step == 1) {
            start();
        } else if (step == 2 && !atController.empty()) {
            VmMessage reply = atController.back();
            reply.m_netFn |= 1;
            reply.m_data = input.Some(input.Choice(40));
            arrive(wire.Receive(reply, now));
        } else if (step == 3) {
            now += Time(input.Byte());
            arrive(wire.Due(now));
            check(queue.Expire(now));
        } else if (step == 4) {
            arrive(wire.Release());
        } else if (step == 5) {
            wire.ForgetController();
            atController.clear();
        } else if (step == 6) {
            const int opener = static_cast<int>(input.Choice(3));
            queue.Forget(opener);
            if (started && waiting.front().m_opener == opener) waiting.front().m_opener = Nobody;
            std::erase_if(waiting, [=](const Waiting& one) { return one.m_opener == opener; });
        } else {
            arrive({{{input.Byte(), input.Byte(), 0, input.Byte(), input.Some(4)}}});
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    constexpr void (*wires[])(fuzzing::Bytes) = {ReadStream, ReadPacket, CallInterface, QueueRequests};
    fuzzing::Bytes input(data, size);
    wires[input.Choice(std::size(wires))](input);
    return 0;
}
