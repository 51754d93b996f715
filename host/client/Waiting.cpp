// What a client tells whose time is up.
#include "host/client/Waiting.h"

#include "host/client/HostSocket.h"
#include "host/client/HttpWire.h"

#include <array>
#include <cstdio>
#include <exception>
#include <unistd.h>

namespace bmhost {

namespace {

constexpr std::chrono::milliseconds TimeToSay(1000);

nlohmann::json CallsUnderWay(const HostPlace& place) {
    const Deadline deadline = DeadlineAfter(TimeToSay);
    HostSocket socket(place, deadline);
    const std::string request = RequestHeadFor(place, {"GET", "/v1/blade/calls", "", 0});
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

// Asked by this process.
bool IsOwn(const nlohmann::json& call) {
    const auto asker = call.value("asker", "");
    return asker.ends_with("process " + std::to_string(getpid())) ||
           asker.ends_with("process " + std::to_string(getpid()) + ")");
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
        const nlohmann::json* shown = nullptr;
        for (const auto& call : calls) {
            const auto since = call.at("since").get<std::string>();
            if (shown != nullptr) {
                const bool isOwn = IsOwn(call);
                if (isOwn != IsOwn(*shown) ? !isOwn : since >= oldest) continue;
            }
            oldest = since;
            shown = &call;
        }
        if (shown == nullptr) return "it names no call that it waits for";
        const std::string name = "waiting for `" + shown->at("operation").get<std::string>() + "` since " + oldest;
        if (shown->value("waiting", false)) {
            const auto front = shown->value("waits_for", "");
            return name + ", which has not begun" + (front.empty() ? "" : ": first comes " + front);
        }
        const std::size_t others = calls.size() - 1;
        return name + (others != 0 ? ", and for " + std::to_string(others) + " more" : std::string());
    } catch (const std::exception&) {
        return "it does not tell what it waits for either";
    }
}

} // namespace bmhost
