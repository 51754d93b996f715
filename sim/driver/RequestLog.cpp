// What was asked of /dev/ipmi0: how often each command, and all requests in their order with how they ended.
#include "sim/driver/RequestLog.h"

#include "sim/driver/CommandNames.h"
#include "sim/driver/FaultText.h"

namespace BLADESIM {

using nlohmann::json;

uint64_t REQUEST_LOG::Add(unsigned a_Opener, const std::vector<uint8_t>& a_Request, std::optional<uint8_t> a_IPMB) {
    ++m_Counts[{a_Request.at(0), a_Request.at(1)}];
    m_Entries.push_back({a_Opener, a_Request, a_IPMB});
    if (m_Entries.size() > m_Bound) {
        m_Entries.pop_front();
        ++m_First;
    }
    return m_First + m_Entries.size() - 1;
}

void REQUEST_LOG::Hit(uint64_t a_Entry, FAULT_KIND a_Fault) {
    if (ENTRY* const l_Entry = Find(a_Entry)) l_Entry->m_Fault = a_Fault;
}

void REQUEST_LOG::Answer(uint64_t a_Entry, uint8_t a_CompletionCode) {
    if (ENTRY* const l_Entry = Find(a_Entry)) l_Entry->m_CompletionCode = a_CompletionCode;
}

void REQUEST_LOG::Drop(uint64_t a_Entry) {
    if (ENTRY* const l_Entry = Find(a_Entry)) ++l_Entry->m_Dropped;
}

void REQUEST_LOG::Clear() {
    m_First += m_Entries.size();
    m_Entries.clear();
    m_Counts.clear();
}

REQUEST_LOG::ENTRY* REQUEST_LOG::Find(uint64_t a_Entry) {
    const bool l_Kept = a_Entry >= m_First && a_Entry - m_First < m_Entries.size();
    return l_Kept ? &m_Entries[static_cast<size_t>(a_Entry - m_First)] : nullptr;
}

json REQUEST_LOG::Counts() const {
    json l_Counts = json::array();
    for (const auto& [l_Command, l_Count] : m_Counts) {
        l_Counts.push_back({{"netfn", l_Command.first},
                            {"command", l_Command.second},
                            {"name", CommandName(l_Command.first, l_Command.second)},
                            {"count", l_Count}});
    }
    return l_Counts;
}

json REQUEST_LOG::Entries() const {
    json l_Entries = json::array();
    uint64_t l_Number = m_First;
    for (const ENTRY& l_Entry : m_Entries) {
        json l_Line = {{"number", l_Number++}, {"opener", l_Entry.m_Opener}, {"request", HexText(l_Entry.m_Request)}};
        l_Line["code"] = l_Entry.m_CompletionCode ? json(*l_Entry.m_CompletionCode) : json();
        if (l_Entry.m_IPMB) l_Line["ipmb"] = *l_Entry.m_IPMB;
        if (l_Entry.m_Fault) l_Line["fault"] = FaultKindName(*l_Entry.m_Fault);
        if (l_Entry.m_Dropped != 0) l_Line["dropped"] = l_Entry.m_Dropped;
        l_Entries.push_back(std::move(l_Line));
    }
    return l_Entries;
}

} // namespace BLADESIM
