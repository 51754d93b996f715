// Requests from bytes, as the HTTP library hands them over.
#include "support/HttpText.h"

#include <algorithm>
#include <strings.h>
#include <utility>

namespace fuzzing {

namespace {

int DigitOf(char letter) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto found = digits.find(static_cast<char>(letter >= 'A' && letter <= 'F' ? letter + ('a' - 'A') : letter));
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

// A NUL becomes another control character, as in Daemon.cpp.
std::string Unescaped(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escaped =
            text[i] == '%' && i + 2 < text.size() && DigitOf(text[i + 1]) >= 0 && DigitOf(text[i + 2]) >= 0;
        bytes += escaped ? static_cast<char>(DigitOf(text[i + 1]) * 16 + DigitOf(text[i + 2])) : text[i];
        if (escaped) i += 2;
    }
    std::replace(bytes.begin(), bytes.end(), '\0', '\x01');
    return bytes;
}

bool TakeQuery(std::string_view query, std::map<std::string, std::string>& values) {
    while (!query.empty()) {
        const auto end = std::min(query.find('&'), query.size());
        std::string argument(query.substr(0, end));
        query.remove_prefix(std::min(end + 1, query.size()));
        std::replace(argument.begin(), argument.end(), '+', ' ');
        const auto equals = std::min(argument.find('='), argument.size());
        const std::string name = Unescaped(argument.substr(0, equals));
        const std::string value = equals < argument.size() ? Unescaped(argument.substr(equals + 1)) : "";
        if (!values.emplace(name, value).second) return false;
    }
    return true;
}

bool IsName(const std::string& text, const char* name) {
    return strcasecmp(text.c_str(), name) == 0;
}

} // namespace

std::string_view TakeLine(std::string_view& text) {
    const auto end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

unsigned TakeChoice(std::string_view& text, unsigned count) {
    if (text.empty()) return 0;
    const auto letter = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    return static_cast<unsigned char>(letter - '0') % count;
}

HttpText HttpTextOf(std::string_view text) {
    HttpText read;
    std::string first(TakeLine(text));
    std::replace(first.begin(), first.end(), '\0', ' ');
    std::string_view line = first;
    const auto method = std::min(line.find(' '), line.size());
    read.m_request.m_method = line.substr(0, method);
    line.remove_prefix(std::min(method + 1, line.size()));
    const std::string_view target = line.substr(0, line.find(' '));
    const auto query = std::min(target.find('?'), target.size());
    read.m_request.m_path = Unescaped(target.substr(0, query));
    read.m_good = !read.m_request.m_method.empty() && !read.m_request.m_path.empty();
    if (query < target.size()) read.m_good = TakeQuery(target.substr(query + 1), read.m_request.m_query) && read.m_good;
    for (;;) {
        std::string header(TakeLine(text));
        if (header.empty()) break;
        std::replace(header.begin(), header.end(), '\0', ' ');
        std::replace(header.begin(), header.end(), '\r', ' ');
        const auto colon = header.find(':');
        if (colon == std::string::npos || colon == 0) continue;
        std::string name = header.substr(0, colon);
        const auto begin = std::min(header.find_first_not_of(" \t", colon + 1), header.size());
        if (IsName(name, "Content-Length") || IsName(name, "Transfer-Encoding")) continue;
        read.m_request.m_headers.emplace_back(std::move(name), header.substr(begin));
    }
    read.m_body = text;
    if (!read.m_body.empty()) read.m_request.m_headers.emplace_back("Content-Length", std::to_string(text.size()));
    return read;
}

} // namespace fuzzing
