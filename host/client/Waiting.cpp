// What a client tells whose time is up.
#include "host/client/Waiting.h"

#include "host/client/HostSocket.h"
#include "host/client/HttpWire.h"

#include <array>
#include <cstdio>
#include <exception>

namespace bmhost {

namespace {

constexpr std::chrono::milliseconds TimeToSay(1000);

nlohmann::json CallsUnderWay(const HostPlace& place) {
    const Deadline deadline = DeadlineAfter(TimeToSay);
    HostSocket socket(place, deadline);
    const std::string request = RequestHead({"GET", "/v1/blade/calls", "", 0});
    for (std::string_view rest = request; !rest.empty();) {
        const std::size_t sent = socket.Send(rest, deadline);
        if (sent == 0) break;
        rest.remove_prefix(sent);
    }
    std::string body;
    HttpAnswer answer([&body](std::string_view piece) { body += piece; }, LongestAnswer);
    while (!answer.IsWhole()) {
        std::string bytes;
        if (socket.Receive(bytes, deadline)) {
            answer.Take(bytes);
        } else {
            answer.End();
        }
    }
    nlohmann::json calls = nlohmann::json::parse(body);
    return calls.is_object() ? calls.at("calls") : calls;
}

} // namespace

std::string SecondsText(std::chrono::milliseconds time) {
    std::array<char, 32> text{};
    snprintf(text.data(), text.size(), "%g s", static_cast<double>(time.count()) / 1000);
    return text.data();
}

std::string WaitingFor(const HostPlace& place) {
    try {
        const nlohmann::json calls = CallsUnderWay(place);
        std::string oldest;
        std::string name;
        for (const auto& call : calls) {
            const auto since = call.at("since").get<std::string>();
            if (!oldest.empty() && since >= oldest) continue;
            oldest = since;
            name = call.at("operation").get<std::string>();
        }
        if (oldest.empty()) return "it names no call that it waits for";
        const std::size_t others = calls.size() - 1;
        return "waiting for `" + name + "` since " + oldest +
               (others != 0 ? ", and for " + std::to_string(others) + " more" : std::string());
    } catch (const std::exception&) {
        return "it does not tell what it waits for either";
    }
}

} // namespace bmhost
