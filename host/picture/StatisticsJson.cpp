// The resident host's counts as JSON, and back: what the socket carries.
#include "host/picture/StatisticsJson.h"

#include "host/words/Names.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

ordered_json TimeJson(WallTime time) {
    return time == WallTime{} ? ordered_json(nullptr) : ordered_json(Rfc3339(time));
}

ordered_json RequestsJson(const RequestCounts& requests) {
    return {{"good", requests.m_good},
            {"refused", requests.m_refused},
            {"failed", requests.m_failed},
            {"latencies",
             {{"bounds_s", Latencies::Bounds},
              {"counts", requests.m_latencies.m_counts},
              {"sum_us", requests.m_latencies.m_microseconds}}}};
}

ordered_json CallJson(const CallCount& call) {
    return {{"operation", call.m_operation},
            {"group", call.m_group == 0 ? ordered_json(nullptr) : ordered_json(Hex(call.m_group))},
            {"result", call.m_result},
            {"count", call.m_count}};
}

ordered_json OrderJson(const OrderCount& order) {
    return {{"order", order.m_order}, {"result", order.m_result}, {"good", order.m_good}, {"count", order.m_count}};
}

template <typename Items, typename ToJson>
ordered_json ListOf(const Items& items, const ToJson& toJson) {
    ordered_json list = ordered_json::array();
    for (const auto& item : items)
        list.push_back(toJson(item));
    return list;
}

uint64_t Count(const ordered_json& object, const char* key) {
    const ordered_json& value = object.at(key);
    if (!value.is_number_integer() || (!value.is_number_unsigned() && value < 0))
        throw std::runtime_error("statistics: " + std::string(key) + ": expected a number from 0");
    return value.get<uint64_t>();
}

WallTime TimeIn(const ordered_json& object, const char* key) {
    const ordered_json& value = object.at(key);
    if (value.is_null()) return {};
    const auto time = WallTimeOf(value.get<std::string>());
    if (!time) throw std::runtime_error("statistics: " + std::string(key) + ": expected a time");
    return *time;
}

uint32_t NumberIn(const ordered_json& object, const char* key) {
    const ordered_json& value = object.at(key);
    if (value.is_null()) return 0;
    const auto text = value.get<std::string>();
    uint32_t number = 0;
    const auto read =
        std::from_chars(text.data() + std::min<std::size_t>(2, text.size()), text.data() + text.size(), number, 16);
    if (!text.starts_with("0x") || read.ec != std::errc() || read.ptr != text.data() + text.size())
        throw std::runtime_error("statistics: " + std::string(key) + ": expected a number in hexadecimal");
    return number;
}

RequestCounts RequestsOf(const ordered_json& object) {
    RequestCounts requests{Count(object, "good"), Count(object, "refused"), Count(object, "failed"), {}};
    const ordered_json& latencies = object.at("latencies");
    // Another version's buckets cannot be taken for these.
    if (latencies.at("bounds_s") != ordered_json(Latencies::Bounds) ||
        latencies.at("counts").size() != requests.m_latencies.m_counts.size())
        throw std::runtime_error("statistics: latencies: the buckets are another version's");
    requests.m_latencies.m_counts = latencies.at("counts").get<decltype(Latencies::m_counts)>();
    requests.m_latencies.m_microseconds = Count(latencies, "sum_us");
    return requests;
}

Statistics Read(const ordered_json& object) {
    Statistics read;
    read.m_since = TimeIn(object, "since");
    read.m_time = TimeIn(object, "time");
    const ordered_json& requests = object.at("requests");
    read.m_requestsUnderWay = Count(requests, "under_way");
    read.m_reads = RequestsOf(requests.at("read"));
    read.m_writes = RequestsOf(requests.at("write"));
    for (const ordered_json& code : object.at("completion_codes"))
        read.m_completionCodes[static_cast<int32_t>(NumberIn(code, "code"))] = Count(code, "count");
    for (const ordered_json& call : object.at("calls")) {
        read.m_calls.push_back({call.at("operation").get<std::string>(), NumberIn(call, "group"),
                                call.at("result").get<int32_t>(), Count(call, "count")});
    }
    for (const ordered_json& order : object.at("orders")) {
        read.m_orders.push_back({order.at("order").get<std::string>(), order.at("result").get<int32_t>(),
                                 order.at("good").get<bool>(), Count(order, "count")});
    }
    for (const ordered_json& event : object.at("events"))
        read.m_events[NumberIn(event, "event")] = Count(event, "count");
    const ordered_json& upgrades = object.at("upgrades");
    read.m_upgradesBegun = Count(upgrades, "begun");
    read.m_upgradesRefused = Count(upgrades, "refused");
    read.m_upgradesDone = Count(upgrades, "done");
    read.m_upgradesFailed = Count(upgrades, "failed");
    read.m_restarts = Count(object, "restarts");
    return read;
}

} // namespace

ordered_json StatisticsJson(const Statistics& statistics) {
    return {{"since", TimeJson(statistics.m_since)},
            {"time", TimeJson(statistics.m_time)},
            {"requests",
             {{"under_way", statistics.m_requestsUnderWay},
              {"read", RequestsJson(statistics.m_reads)},
              {"write", RequestsJson(statistics.m_writes)}}},
            {"completion_codes",
             ListOf(statistics.m_completionCodes,
                    [](const auto& code) {
                        return ordered_json({{"code", Hex(static_cast<unsigned>(code.first))}, {"count", code.second}});
                    })},
            {"calls", ListOf(statistics.m_calls, CallJson)},
            {"orders", ListOf(statistics.m_orders, OrderJson)},
            {"events", ListOf(statistics.m_events,
                              [](const auto& event) {
                                  return ordered_json({{"event", Hex(event.first)}, {"count", event.second}});
                              })},
            {"upgrades",
             {{"begun", statistics.m_upgradesBegun},
              {"refused", statistics.m_upgradesRefused},
              {"done", statistics.m_upgradesDone},
              {"failed", statistics.m_upgradesFailed}}},
            {"restarts", statistics.m_restarts}};
}

Statistics StatisticsOf(const ordered_json& object) {
    try {
        return Read(object);
    } catch (const nlohmann::json::exception& error) {
        throw std::runtime_error("statistics: " + std::string(error.what()));
    }
}

} // namespace bmhost
