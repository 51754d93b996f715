// The wire between the driver and the controller, with the faults that happen on it: what becomes of each request on
// its way there and of each reply on its way back.
#include "sim/driver/FaultyWire.h"

#include <algorithm>

namespace bladesim {
namespace {

constexpr uint8_t Storage = 0x0A;
constexpr uint8_t GroupExtension = 0x2C;

std::vector<uint8_t> BytesOf(const VmMessage& request) {
    std::vector<uint8_t> bytes(2 + request.m_data.size());
    bytes[0] = request.m_netFn;
    bytes[1] = request.m_command;
    std::copy(request.m_data.begin(), request.m_data.end(), bytes.begin() + 2);
    return bytes;
}

VmMessage ReplyTo(const VmMessage& request, const std::vector<uint8_t>& data) {
    return {request.m_sequence, static_cast<uint8_t>(request.m_netFn | 1), request.m_lun, request.m_command, data};
}

/// FRU inventory commands name the FRU first, those of PICMG after the group's id. A request that names none stays as
/// it is.
VmMessage ForOtherFru(VmMessage request, unsigned fru) {
    const bool named = request.m_netFn == Storage || request.m_netFn == GroupExtension;
    const size_t place = request.m_netFn == Storage ? 0 : 1;
    if (named && place < request.m_data.size()) request.m_data[place] = static_cast<uint8_t>(fru);
    return request;
}

} // namespace

WireRequest FaultyWire::Send(const VmMessage& request) {
    // Sequence numbers wrap around: what an older request of this number left must not count as the new one's.
    m_owed.erase(request.m_sequence);
    std::erase_if(m_held, [&](const Held& held) { return held.m_reply.m_sequence == request.m_sequence; });

    const Fault* const fault = m_faults.Hit(BytesOf(request));
    if (fault == nullptr) return {request, {}, {}, {}};
    switch (fault->m_kind) {
    case FaultKind::CompletionCode:
        return {{}, ReplyTo(request, {static_cast<uint8_t>(fault->m_argument)}), {}, fault->m_kind};
    case FaultKind::Reply:
        return {{}, ReplyTo(request, fault->m_reply), {}, fault->m_kind};
    case FaultKind::Gone:
        return {{}, {}, std::chrono::milliseconds(fault->m_argument), fault->m_kind};
    case FaultKind::Restarted:
        return {{}, {}, {}, fault->m_kind, true};
    case FaultKind::OtherFru:
        return {ForOtherFru(request, fault->m_argument), {}, {}, fault->m_kind};
    default:
        m_owed.emplace(request.m_sequence, *fault);
        return {request, {}, {}, fault->m_kind};
    }
}

std::vector<WireReply> FaultyWire::Receive(const VmMessage& reply, Clock::time_point now) {
    const auto found = m_owed.find(reply.m_sequence);
    if (found == m_owed.end()) return {{reply}};
    const Fault fault = found->second;
    m_owed.erase(found);
    VmMessage changed = reply;
    switch (fault.m_kind) {
    case FaultKind::Lost:
        m_held.push_back({reply, {}});
        return {};
    case FaultKind::Late:
        m_held.push_back({reply, now + std::chrono::milliseconds(fault.m_argument)});
        return {};
    case FaultKind::Short:
        changed.m_data.resize(std::min<size_t>(changed.m_data.size(), fault.m_argument));
        return {{changed}};
    case FaultKind::Doubled:
        return {{reply}, {reply}};
    case FaultKind::AnsweredTwice:
        return {{reply, true}};
    default:
        return {{reply}};
    }
}

std::vector<WireReply> FaultyWire::Due(Clock::time_point now) {
    std::vector<WireReply> replies;
    std::erase_if(m_held, [&](const Held& held) {
        const bool due = held.m_due && *held.m_due <= now;
        if (due) replies.push_back({held.m_reply});
        return due;
    });
    return replies;
}

std::optional<FaultyWire::Clock::time_point> FaultyWire::Deadline() const {
    std::optional<Clock::time_point> first;
    for (const Held& held : m_held) {
        if (held.m_due && (!first || *held.m_due < *first)) first = held.m_due;
    }
    return first;
}

bool FaultyWire::Keeps(uint8_t sequence) const {
    return std::ranges::any_of(m_held, [=](const Held& held) { return held.m_reply.m_sequence == sequence; });
}

std::vector<WireReply> FaultyWire::Release() {
    std::erase_if(m_owed, [](const auto& owed) { return owed.second.m_kind == FaultKind::Lost; });
    std::vector<WireReply> replies;
    std::erase_if(m_held, [&](const Held& held) {
        if (!held.m_due) replies.push_back({held.m_reply});
        return !held.m_due;
    });
    return replies;
}

void FaultyWire::ForgetController() {
    m_owed.clear();
}

} // namespace bladesim
