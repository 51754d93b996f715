// Who comes in at the web door: by Basic, by a session's token, by opening a session, and by which file of accounts. An
// input is a letter (which of these), then the text.
#include "support/Require.h"
#include "support/SmallWeb.h"

#include "host/accounts/AccountFile.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace fuzzing;
using nlohmann::json;

namespace {

const std::map<std::string, std::string> Passwords = {
    {"reader", "readerword"}, {"operator", "operatorword"}, {"admin", "adminword"}};

bool IsRight(const std::string& name, const std::string& password) {
    const auto known = Passwords.find(name);
    return known != Passwords.end() && known->second == password;
}

HttpText Look(const std::string& header, const std::string& value) {
    HttpText text = HttpTextOf("GET /v1 HTTP/1.1\nHost: h\n\n");
    text.m_request.m_headers.emplace_back(header, value);
    return text;
}

unsigned StatusOf(SmallWeb& web, const std::string& header, const std::string& value) {
    HttpText text = Look(header, value);
    return web.Ask(text, 1).m_reply.m_status;
}

std::string HeaderOf(const bmhost::Reply& reply, const std::string& name) {
    for (const auto& [known, value] : reply.m_headers) {
        if (known == name) return value;
    }
    return "";
}

// A slow reader that takes whatever a decoder of Base64 may take.
std::string Decoded(std::string_view text) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned bits = 0;
    unsigned count = 0;
    for (const char letter : text.substr(0, text.find('='))) {
        const auto value = letters.find(letter);
        if (value == std::string_view::npos) continue;
        bits = (bits << 6U | static_cast<unsigned>(value)) & 0xFFFFFU;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFFU);
    }
    return bytes;
}

void TryBasic(const std::string& value) {
    const auto credentials = bmhost::BasicCredentials(value);
    bool right = false;
    if (credentials) {
        Require(!credentials->m_name.empty() && credentials->m_name.find(':') == std::string::npos,
                "Basic with the name " + credentials->m_name);
        const auto blank = value.find(' ');
        Require(blank == 5 &&
                    Decoded(std::string_view(value).substr(6)) == credentials->m_name + ":" + credentials->m_password,
                "Basic read as " + credentials->m_name + ":" + credentials->m_password);
        right = IsRight(credentials->m_name, credentials->m_password);
    }
    SmallWeb web({});
    for (int i = 0; i < 2; ++i) { // by comparison, and then remembered
        const unsigned status = StatusOf(web, "Authorization", value);
        const bool in = status == 200;
        Require(in == (right && !value.empty()) && (in || status == 401), "Basic answered " + std::to_string(status));
    }
}

void TryToken(std::string value) {
    SmallWeb web({});
    const std::string token = web.TokenOf("operator");
    if (const auto at = value.find('@'); at != std::string::npos) value.replace(at, 1, token);
    const unsigned status = StatusOf(web, "X-Auth-Token", value);
    Require(status == (value == token ? 200 : 401), "a token answered " + std::to_string(status));
}

bool IsRightBody(const std::string& body) {
    const auto parsed = nlohmann::ordered_json::parse(body, nullptr, false);
    if (!parsed.is_object()) return false;
    const auto text = [&](const char* name) {
        const auto found = parsed.find(name);
        return found != parsed.end() && found->is_string() ? found->get<std::string>() : std::string();
    };
    return IsRight(text("UserName"), text("Password"));
}

void TrySession(const std::string& body) {
    SmallWeb web({});
    HttpText text = HttpTextOf(
        "POST /redfish/v1/SessionService/Sessions HTTP/1.1\nHost: h\nContent-Type: application/json\n\n" + body);
    const Asked asked = web.Ask(text, 1);
    const std::string token = HeaderOf(asked.m_reply, "X-Auth-Token");
    const std::string what = "a login answered " + std::to_string(asked.m_reply.m_status);
    if (asked.m_reply.m_status != 201) {
        Require(token.empty() && web.OpenSessions().List().empty(), what + ", and there is a session");
        return;
    }
    Require(IsRightBody(body), what);
    Require(web.OpenSessions().List().size() == 1 && StatusOf(web, "X-Auth-Token", token) == 200,
            what + ", and its token is none");
    HttpText end = HttpTextOf("DELETE " + HeaderOf(asked.m_reply, "Location") +
                              " HTTP/1.1\nHost: h\nX-Auth-Token: " + token + "\n\n");
    const unsigned ended = web.Ask(end, 1).m_reply.m_status;
    Require(ended == 204 && StatusOf(web, "X-Auth-Token", token) == 401, "a logout answered " + std::to_string(ended));
}

/// A file of accounts in a folder that goes with the process.
class AccountPlace {
public:
    AccountPlace() {
        std::string name = "/dev/shm/fuzz-accounts.XXXXXX";
        Require(mkdtemp(name.data()) != nullptr, "no folder in /dev/shm");
        m_folder = name;
    }
    ~AccountPlace() {
        std::error_code error;
        std::filesystem::remove_all(m_folder, error);
    }
    AccountPlace(const AccountPlace&) = delete;
    AccountPlace& operator=(const AccountPlace&) = delete;

    std::string Path() const { return m_folder + "/accounts"; }
    void Write(std::string_view text) const {
        std::ofstream(Path(), std::ios::binary | std::ios::trunc) << text;
        chmod(Path().c_str(), S_IRUSR | S_IWUSR);
    }
    std::string Text() const {
        std::ifstream file(Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

private:
    std::string m_folder;
};

std::optional<bmhost::AccountFile> AccountsAt(const std::string& path) {
    try {
        return bmhost::AccountFile::Read(path);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

void TryFile(const std::string& text) {
    static const AccountPlace place;
    place.Write(text);
    const auto accounts = AccountsAt(place.Path());
    bool updated = false;
    try {
        bmhost::AccountFile::Update(place.Path(), [](bmhost::AccountFile&) {});
        updated = true;
    } catch (const std::runtime_error&) {
        updated = false; // what is odd stays as it is
    }
    Require(updated == accounts.has_value(),
            "a file of accounts is read, and cannot be changed, or the other way round");
    Require(place.Text() == text, "a file of accounts is another one after no change");
    if (!accounts) return;
    for (const bmhost::Account& account : accounts->All()) {
        Require(bmhost::IsAccountName(account.m_name) && accounts->Find(account.m_name) == &account,
                "an account is called " + account.m_name);
        Require(account.m_hash.find_first_of(":\n") == std::string::npos, "a hash with a colon in it");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    const unsigned kind = TakeChoice(input, 4);
    const std::string text(input);
    switch (kind) {
    case 0:
        TryBasic(text);
        break;
    case 1:
        TryToken(text);
        break;
    case 2:
        TrySession(text);
        break;
    default:
        TryFile(text);
        break;
    }
    return 0;
}
