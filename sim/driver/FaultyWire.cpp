// The wire between the driver and the controller, with the faults that happen on it: what becomes of each request on
// its way there and of each reply on its way back.
#include "sim/driver/FaultyWire.h"

#include <algorithm>

namespace BLADESIM {
namespace {

constexpr uint8_t g_Storage = 0x0A;
constexpr uint8_t g_GroupExtension = 0x2C;

std::vector<uint8_t> BytesOf(const VM_MESSAGE& a_Request) {
    std::vector<uint8_t> l_Bytes(2 + a_Request.m_Data.size());
    l_Bytes[0] = a_Request.m_NetFn;
    l_Bytes[1] = a_Request.m_Command;
    std::copy(a_Request.m_Data.begin(), a_Request.m_Data.end(), l_Bytes.begin() + 2);
    return l_Bytes;
}

VM_MESSAGE ReplyTo(const VM_MESSAGE& a_Request, const std::vector<uint8_t>& a_Data) {
    return {a_Request.m_Sequence, static_cast<uint8_t>(a_Request.m_NetFn | 1), a_Request.m_Lun, a_Request.m_Command,
            a_Data};
}

/// FRU inventory commands name the FRU first, those of PICMG behind the group's id. A request without one stays as it
/// is.
VM_MESSAGE ForOtherFru(VM_MESSAGE a_Request, unsigned a_Fru) {
    const bool l_Named = a_Request.m_NetFn == g_Storage || a_Request.m_NetFn == g_GroupExtension;
    const size_t l_Place = a_Request.m_NetFn == g_Storage ? 0 : 1;
    if (l_Named && l_Place < a_Request.m_Data.size()) a_Request.m_Data[l_Place] = static_cast<uint8_t>(a_Fru);
    return a_Request;
}

} // namespace

WIRE_REQUEST FAULTY_WIRE::Send(const VM_MESSAGE& a_Request) {
    // Sequence numbers come round: what an older request of this number left must not pass for the new one's.
    m_Owed.erase(a_Request.m_Sequence);
    std::erase_if(m_Held, [&](const HELD& a_Held) { return a_Held.m_Reply.m_Sequence == a_Request.m_Sequence; });

    const FAULT* const l_Fault = m_Faults.Hit(BytesOf(a_Request));
    if (l_Fault == nullptr) return {a_Request, {}, {}, {}};
    switch (l_Fault->m_Kind) {
    case FAULT_KIND::COMPLETION_CODE:
        return {{}, ReplyTo(a_Request, {static_cast<uint8_t>(l_Fault->m_Argument)}), {}, l_Fault->m_Kind};
    case FAULT_KIND::REPLY:
        return {{}, ReplyTo(a_Request, l_Fault->m_Reply), {}, l_Fault->m_Kind};
    case FAULT_KIND::GONE:
        return {{}, {}, std::chrono::milliseconds(l_Fault->m_Argument), l_Fault->m_Kind};
    case FAULT_KIND::OTHER_FRU:
        return {ForOtherFru(a_Request, l_Fault->m_Argument), {}, {}, l_Fault->m_Kind};
    default:
        m_Owed.emplace(a_Request.m_Sequence, *l_Fault);
        return {a_Request, {}, {}, l_Fault->m_Kind};
    }
}

std::vector<WIRE_REPLY> FAULTY_WIRE::Receive(const VM_MESSAGE& a_Reply, CLOCK::time_point a_Now) {
    const auto l_Found = m_Owed.find(a_Reply.m_Sequence);
    if (l_Found == m_Owed.end()) return {{a_Reply}};
    const FAULT l_Fault = l_Found->second;
    m_Owed.erase(l_Found);
    VM_MESSAGE l_Reply = a_Reply;
    switch (l_Fault.m_Kind) {
    case FAULT_KIND::LOST:
        m_Held.push_back({a_Reply, {}});
        return {};
    case FAULT_KIND::LATE:
        m_Held.push_back({a_Reply, a_Now + std::chrono::milliseconds(l_Fault.m_Argument)});
        return {};
    case FAULT_KIND::SHORT:
        l_Reply.m_Data.resize(std::min<size_t>(l_Reply.m_Data.size(), l_Fault.m_Argument));
        return {{l_Reply}};
    case FAULT_KIND::DOUBLED:
        return {{a_Reply}, {a_Reply}};
    case FAULT_KIND::ANSWERED_TWICE:
        return {{a_Reply, true}};
    default:
        return {{a_Reply}};
    }
}

std::vector<WIRE_REPLY> FAULTY_WIRE::Due(CLOCK::time_point a_Now) {
    std::vector<WIRE_REPLY> l_Replies;
    std::erase_if(m_Held, [&](const HELD& a_Held) {
        const bool l_Due = a_Held.m_Due && *a_Held.m_Due <= a_Now;
        if (l_Due) l_Replies.push_back({a_Held.m_Reply});
        return l_Due;
    });
    return l_Replies;
}

std::optional<FAULTY_WIRE::CLOCK::time_point> FAULTY_WIRE::Deadline() const {
    std::optional<CLOCK::time_point> l_First;
    for (const HELD& l_Held : m_Held) {
        if (l_Held.m_Due && (!l_First || *l_Held.m_Due < *l_First)) l_First = l_Held.m_Due;
    }
    return l_First;
}

std::vector<WIRE_REPLY> FAULTY_WIRE::Release() {
    std::erase_if(m_Owed, [](const auto& a_Owed) { return a_Owed.second.m_Kind == FAULT_KIND::LOST; });
    std::vector<WIRE_REPLY> l_Replies;
    std::erase_if(m_Held, [&](const HELD& a_Held) {
        if (!a_Held.m_Due) l_Replies.push_back({a_Held.m_Reply});
        return !a_Held.m_Due;
    });
    return l_Replies;
}

void FAULTY_WIRE::ForgetController() {
    m_Owed.clear();
}

} // namespace BLADESIM
