// What clients have done: calls of the adaptor, orders, firmware upgrades.
#include "host/api/Asks.h"

#include "common/veldo_common_protocol.h"
#include "host/api/CallJson.h"
#include "host/api/Routes.h"
#include "host/client/AccountHeader.h"
#include "host/words/Value.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <filesystem>
#include <memory>
#include <system_error>

namespace bmhost {

using nlohmann::json;

namespace {

constexpr std::array<std::string_view, 6> OrderNames = {"led-set",     "dsp-set-ip", "switch-set",
                                                        "board-reset", "start",      "stop"};
constexpr std::size_t LongestName = 255;

// Whoever may connect is trusted to say for whom it asks.
Asker AskerOf(const Request& request) {
    Asker asker;
    asker.m_process = request.m_peer.m_process;
    asker.m_user = request.m_peer.m_user;
    asker.m_group = request.m_peer.m_group;
    asker.m_account = request.Header(AccountHeader);
    if (!IsAccountText(asker.m_account)) {
        throw Refusal(400, AccountHeader,
                      "expected at most " + std::to_string(LongestAccount) + " printable characters of ASCII");
    }
    return asker;
}

const std::string& NeededParameter(const Request& request, const std::string& name) {
    const auto found = request.m_query.find(name);
    if (found == request.m_query.end()) throw Refusal(400, name, "the parameter is missing");
    return found->second;
}

// The order's values as the address gives them.
json ImageValues(const Request& request) {
    json values;
    const std::string& target = NeededParameter(request, "target");
    if (target != "board" && target != "amc" && target != "rtm")
        throw Refusal(400, "target=" + target, "expected board, amc or rtm");
    values["target"] = target;

    const auto bay = request.m_query.find("bay");
    if (bay != request.m_query.end() && target != "amc")
        throw Refusal(400, "bay=" + bay->second, "a bay goes with target=amc only");
    if (target == "amc") {
        const auto number = ParseNumber(NeededParameter(request, "bay"));
        if (!number || *number < BM_ADAPTOR::AMC_BAY_FIRST || *number > BM_ADAPTOR::AMC_BAY_LAST)
            throw Refusal(400, "bay=" + bay->second, "expected a number from 1 to 8");
        values["bay"] = *number;
    }

    const std::string& name = NeededParameter(request, "name");
    const bool plain =
        std::none_of(name.begin(), name.end(), [](unsigned char letter) { return iscntrl(letter) || letter == '/'; });
    if (name.empty() || name.size() > LongestName || !plain)
        throw Refusal(400, "name=" + name, "expected a file's name without its folder, of at most 255 bytes");
    values["name"] = name;

    for (const char* const flag : {"dry_run", OrderTakesSimulated}) {
        const auto given = request.m_query.find(flag);
        if (given == request.m_query.end()) continue;
        if (!given->second.empty() && given->second != "true" && given->second != "false")
            throw Refusal(400, flag + ("=" + given->second), "expected true or false");
        values[flag] = given->second != "false";
    }
    return values;
}

/// An image whose order is refused, or dropped, goes.
struct ImageOfOrder {
    explicit ImageOfOrder(std::string path) : m_path(std::move(path)) {}
    ~ImageOfOrder() { Drop(); }
    ImageOfOrder(const ImageOfOrder&) = delete;
    ImageOfOrder& operator=(const ImageOfOrder&) = delete;

    void Drop() const {
        std::error_code error; // it may be gone already
        if (!m_accepted) std::filesystem::remove(m_path, error);
    }

    const std::string m_path;
    std::atomic<bool> m_accepted{false};
};

} // namespace

Outcome AskCall(Api& api, Request& request, const Answered& answered) {
    api.m_host.Ask(AskerOf(request), CallOf(JsonOf(request.m_body)), answered);
    return Waits{};
}

Outcome AskOrder(Api& api, Request& request, const Answered& answered) {
    Order order;
    order.m_name = request.m_captured.at(0);
    if (std::find(OrderNames.begin(), OrderNames.end(), order.m_name) == OrderNames.end()) {
        std::string known;
        for (const std::string_view word : OrderNames)
            known += (known.empty() ? "" : ", ") + std::string(word);
        throw Refusal(404, order.m_name,
                      "no such order: the orders are " + known + "; firmware goes to POST /v1/firmware");
    }
    // An order that needs no values needs no body.
    order.m_values = request.m_body.empty() ? json::object() : JsonOf(request.m_body);
    if (const auto name = order.m_values.find("order"); name != order.m_values.end()) {
        if (*name != order.m_name)
            throw Refusal(400, "order: " + name->dump(), "the path names the order " + order.m_name);
        order.m_values.erase(name);
    }
    api.m_host.Ask(AskerOf(request), std::move(order), answered);
    return Waits{};
}

std::unique_ptr<UploadSink> BeginImage(Api& api, const Request& request, uint64_t size) {
    ImageValues(request);
    AskerOf(request);
    const std::string bytes = std::to_string(size) + " bytes";
    const ApiLimits& limits = api.m_limits;
    if (size == 0) throw Refusal(400, bytes, "the image is empty");
    if (size > limits.m_imageSize)
        throw Refusal(413, bytes, "an image may have " + std::to_string(limits.m_imageSize) + " bytes");
    if (!api.m_makeSink || limits.m_imageFolder.empty()) throw Refusal(503, bytes, "this host takes no images");
    std::error_code error; // the folder may have to be made; whoever makes the file says what else is wrong
    const uint64_t space = std::filesystem::space(limits.m_imageFolder, error).available;
    if (!error && size > space) {
        throw Refusal(507, bytes, limits.m_imageFolder + " has room for " + std::to_string(space) + " bytes");
    }
    return api.m_makeSink(size);
}

Outcome AskFirmware(Api& api, Request& request, const Answered& answered) {
    Order order;
    order.m_name = "firmware-update";
    order.m_values = ImageValues(request);
    auto& sink = static_cast<UploadSink&>(*request.m_sink); // as BeginImage has made it
    sink.Finish();
    const std::string path = sink.Path();
    order.m_values["path"] = path;
    order.m_values["sha256"] = sink.Sha256();
    request.m_sink.reset();
    const bool dry = order.m_values.value("dry_run", false);
    const auto image = std::make_shared<ImageOfOrder>(path);
    const auto passOn = [answered, image, dry](Answer answer) {
        // A dry run needs it no more, nor does an upgrade that the adaptor did not begin.
        const bool begun = !answer.m_body.is_object() || answer.m_body.value("good", true);
        image->m_accepted = answer.m_status < 400 && begun && !dry;
        image->Drop(); // before the answer: a client that has it finds nothing left
        if (answer.m_status == 200 && !dry) answer.m_status = 202;
        answered(std::move(answer));
    };
    api.m_host.Ask(AskerOf(request), std::move(order), passOn);
    return Waits{};
}

} // namespace bmhost
