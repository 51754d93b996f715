// Events as Redfish tells them: from the resident host's news, and from what differs between two pictures.
#pragma once

#include "host/news/NewsRing.h"
#include "host/web/redfish/TreeFacts.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace bmhost {

/// The records of an event of the adaptor and of a fault that the monitor found; none of other news.
std::vector<nlohmann::ordered_json> RecordsOfNews(const News& news);
/// The records of upgrades that began or ended, and of ports and addresses that were written.
std::vector<nlohmann::ordered_json> RecordsOfChange(const Picture& before, const Picture& after);

/// An Event with these records, which get their MemberIds and, where they have none, the time and an EventId.
nlohmann::ordered_json EventOf(uint64_t id, const std::vector<nlohmann::ordered_json>& records, WallTime now);
/// The Event as a stream carries it, its blank line included.
std::string StreamedEvent(uint64_t id, const nlohmann::ordered_json& event);
/// What a stream carries now and then, so that a client that has gone is noticed.
inline constexpr const char* StreamedComment = ": here\n\n";

} // namespace bmhost
