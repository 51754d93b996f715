// Requests to the web door, from the HTTP library to the resident host's API: who is let in, which service answers,
// what is passed on. An input is four letters (who asks, where, of which blade, what the host answers), then the
// request.
#include "support/Require.h"
#include "support/SmallWeb.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <set>
#include <strings.h>

using namespace fuzzing;

namespace {

enum Who { Nobody, Reader, Operator, Admin, OperatorByPassword, WhoCount };
constexpr std::array<const char*, WhoCount> Names = {"", "reader", "operator", "admin", "operator"};

struct Scene {
    unsigned m_who;
    unsigned m_listener;
    ScriptedResident::Answers m_answers;
};

// Nobody can find it by trying.
const std::string& SecretEnd() {
    static const std::string end = [] {
        std::random_device random;
        std::string letters;
        for (int i = 0; i < 24; ++i)
            letters += static_cast<char>('a' + random() % 26);
        return letters;
    }();
    return end;
}

std::string Base64(const std::string& text) {
    constexpr const char* letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    unsigned bits = 0;
    unsigned count = 0;
    for (const char letter : text) {
        bits = bits << 8U | static_cast<unsigned char>(letter);
        for (count += 8; count >= 6; count -= 6)
            encoded += letters[bits >> (count - 6) & 63U];
    }
    if (count > 0) encoded += letters[bits << (6 - count) & 63U];
    while (encoded.size() % 4 != 0)
        encoded += '=';
    return encoded;
}

void ShowAccount(SmallWeb& web, HttpText& text, unsigned who) {
    auto& headers = text.m_request.m_headers;
    // What only the door may write.
    headers.insert(headers.begin(), {{"Bmhost-Account", "mallory (198.51.100.1)"}, {"bmhost-ROLE", "Administrator"}});
    if (who == Nobody) return;
    const std::string name = Names.at(who);
    if (who == OperatorByPassword) {
        std::erase_if(headers,
                      [](const auto& header) { return strcasecmp(header.first.c_str(), "X-Auth-Token") == 0; });
        headers.insert(headers.begin(), {"Authorization", "Basic " + Base64(name + ":" + name + SecretEnd())});
    } else {
        headers.insert(headers.begin(), {"X-Auth-Token", web.TokenOf(name)});
    }
}

bool IsOpen(const std::string& path) {
    static const std::set<std::string> open = {
        "/redfish",          "/redfish/",          "/redfish/v1",           "/redfish/v1/",
        "/redfish/v1/odata", "/redfish/v1/odata/", "/redfish/v1/$metadata", "/redfish/v1/$metadata/"};
    return open.contains(path);
}

// Orders and calls came from somebody who may give them, under his own name.
void CheckOrders(const Scene& scene, const ScriptedResident& resident, const bmhost::Request& request) {
    const bool any = !resident.m_orders.empty() || !resident.m_calls.empty();
    if (!any) return;
    const std::string what = request.Operation() + " as " + Names.at(scene.m_who);
    Require(scene.m_who != Nobody && scene.m_who != Reader, what + ": an order of somebody who may give none");
    Require(request.m_method == "POST" || request.m_method == "PATCH", what + ": an order by a look");
    Require(resident.m_orders.size() + resident.m_calls.size() == 1, what + ": two orders of one request");
    Require(resident.m_calls.empty() || scene.m_who == Admin, what + ": a call of the adaptor");
    for (const bmhost::Order& order : resident.m_orders) {
        const bool own = order.m_name != "firmware-update" || order.m_values.at("path") == ImagePath;
        Require(own, what + ": a firmware image of the blade's own disk");
    }
    const std::string address = scene.m_listener == 1 ? SmallWeb::Elsewhere : "127.0.0.1";
    Require(resident.m_askers.front().m_account == std::string(Names.at(scene.m_who)) + " (" + address + ")",
            what + ": the order is " + resident.m_askers.front().m_account + "'s");
}

void CheckRefused(const Scene& scene, SmallWeb& web, const bmhost::Request& request, const Asked& asked,
                  std::size_t sessions) {
    const unsigned status = asked.m_reply.m_status;
    const std::string what = request.Operation() + " answered " + std::to_string(status);
    if (scene.m_who == Nobody && scene.m_listener == 1 && status < 400)
        Require(IsOpen(request.m_path), what + " to nobody");
    if (scene.m_who == Nobody)
        Require(web.OpenSessions().List().size() == sessions, what + " and opened or ended a session");
    if (status < 400 || status >= 500) return;
    const ScriptedResident& resident = web.Resident();
    Require(resident.m_orders.empty() && resident.m_calls.empty(), what + ", and it was carried out");
    Require(web.OpenSessions().List().size() == sessions, what + ", and the sessions are others");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    Scene scene{};
    scene.m_who = TakeChoice(input, WhoCount);
    scene.m_listener = TakeChoice(input, 2);
    SmallWeb::Options options;
    const unsigned blade = TakeChoice(input, BladeCount + 1);
    options.m_reachable = blade < BladeCount;
    options.m_blade = options.m_reachable ? blade : 0;
    scene.m_answers = static_cast<ScriptedResident::Answers>(TakeChoice(input, 5));
    options.m_answers = scene.m_answers;
    options.m_wordEnd = SecretEnd();
    TakeLine(input);
    HttpText text = HttpTextOf(input);
    if (!text.m_good) return 0;

    SmallWeb web(options);
    ShowAccount(web, text, scene.m_who);
    const std::size_t sessions = web.OpenSessions().List().size();
    const Asked asked = web.Ask(text, scene.m_listener);
    CheckOrders(scene, web.Resident(), text.m_request);
    CheckRefused(scene, web, text.m_request, asked, sessions);
    if (asked.m_reply.m_status == 500)
        Require(scene.m_answers != ScriptedResident::Answers::Good, text.m_request.Operation() + " answered 500");
    return 0;
}
