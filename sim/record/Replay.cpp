// Answers requests from a recording: each with the next answer that it has to the same request.
#include "sim/record/Replay.h"

#include "sim/blade/HexText.h"

#include <algorithm>
#include <utility>

namespace bladesim {

Replay::Replay(Recording recording, NameCommand name, Tell tell)
    : m_recording(std::move(recording)),
      m_name(std::move(name)),
      m_tell(std::move(tell)) {
    for (size_t index = 0; index < m_recording.m_exchanges.size(); ++index)
        m_left[m_recording.m_exchanges[index].m_request].push_back(index);
}

ReplayedAnswer Replay::Answer(const Bytes& request) {
    ++m_asked;
    const auto left = m_left.find(request);
    if (left == m_left.end() || left->second.empty()) {
        if (!std::exchange(m_differs, true)) TellDifference(request);
        return {Bytes{NotRecorded}, {}};
    }
    const RecordedExchange& exchange = m_recording.m_exchanges[left->second.front()];
    left->second.pop_front();
    return {exchange.m_reply, exchange.m_delay};
}

std::string Replay::Describe(const Bytes& request) const {
    const std::string name = m_name(request[0], request[1]);
    return name.empty() ? HexText(request) : name + " (" + HexText(request) + ")";
}

void Replay::TellDifference(const Bytes& request) {
    const auto& exchanges = m_recording.m_exchanges;
    const auto times = std::ranges::count(exchanges, request, &RecordedExchange::m_request);
    std::string line = m_recording.m_file + ": request " + std::to_string(m_asked) + " differs: " + Describe(request);
    if (times == 0) line += " is not in the recording";
    if (times == 1) line += " is there only once";
    if (times > 1) line += " is there only " + std::to_string(times) + " times";
    line += m_asked <= exchanges.size() ? ", which has " + Describe(exchanges[m_asked - 1].m_request) + " at this place"
                                        : ", which has " + std::to_string(exchanges.size()) + " requests";
    m_tell(line);
}

} // namespace bladesim
