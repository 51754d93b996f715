// A request of a client, free of how it is carried.
#include "host/http/Request.h"

#include <algorithm>
#include <cctype>
#include <strings.h>

namespace bmhost {

namespace {

bool IsSameName(std::string_view one, std::string_view other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

} // namespace

std::string_view Request::Header(std::string_view name) const {
    for (const auto& [known, value] : m_headers) {
        if (IsSameName(known, name)) return value;
    }
    return {};
}

std::string Request::MediaType() const {
    const std::string_view header = Header("Content-Type");
    std::string type(header.substr(0, header.find(';')));
    while (!type.empty() && type.back() == ' ')
        type.pop_back();
    std::transform(type.begin(), type.end(), type.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return type;
}

void Request::ExpectMediaType(const std::string& expected) const {
    if (MediaType() == expected) return;
    throw Refusal(415, std::string(Header("Content-Type")), "expected the content type " + expected);
}

} // namespace bmhost
