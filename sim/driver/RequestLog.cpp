// The requests to /dev/ipmi0: how often each command came, and all requests in order with their outcomes.
#include "sim/driver/RequestLog.h"

#include "sim/driver/CommandNames.h"
#include "sim/driver/FaultText.h"

namespace bladesim {

using nlohmann::json;

uint64_t RequestLog::Add(unsigned opener, const std::vector<uint8_t>& request, std::optional<uint8_t> ipmb) {
    ++m_counts[{request.at(0), request.at(1)}];
    m_entries.push_back({opener, request, ipmb});
    if (m_entries.size() > m_bound) {
        m_entries.pop_front();
        ++m_first;
    }
    return m_first + m_entries.size() - 1;
}

void RequestLog::Hit(uint64_t number, FaultKind fault) {
    if (Entry* const entry = Find(number)) entry->m_fault = fault;
}

void RequestLog::Answer(uint64_t number, uint8_t completionCode) {
    if (Entry* const entry = Find(number)) entry->m_completionCode = completionCode;
}

void RequestLog::Drop(uint64_t number) {
    if (Entry* const entry = Find(number)) ++entry->m_dropped;
}

void RequestLog::Clear() {
    m_first += m_entries.size();
    m_entries.clear();
    m_counts.clear();
}

RequestLog::Entry* RequestLog::Find(uint64_t number) {
    const bool kept = number >= m_first && number - m_first < m_entries.size();
    return kept ? &m_entries[static_cast<size_t>(number - m_first)] : nullptr;
}

json RequestLog::Counts() const {
    json counts = json::array();
    for (const auto& [command, count] : m_counts) {
        counts.push_back({{"netfn", command.first},
                          {"command", command.second},
                          {"name", CommandName(command.first, command.second)},
                          {"count", count}});
    }
    return counts;
}

json RequestLog::Entries() const {
    json entries = json::array();
    uint64_t number = m_first;
    for (const Entry& entry : m_entries) {
        json line = {{"number", number++}, {"opener", entry.m_opener}, {"request", HexText(entry.m_request)}};
        line["code"] = entry.m_completionCode ? json(*entry.m_completionCode) : json();
        if (entry.m_ipmb) line["ipmb"] = *entry.m_ipmb;
        if (entry.m_fault) line["fault"] = FaultKindName(*entry.m_fault);
        if (entry.m_dropped != 0) line["dropped"] = entry.m_dropped;
        entries.push_back(std::move(line));
    }
    return entries;
}

} // namespace bladesim
