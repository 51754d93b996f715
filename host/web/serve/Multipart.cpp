// A body of multipart/form-data, read while it comes.
#include "host/web/serve/Multipart.h"

#include "host/words/Names.h"

#include <algorithm>
#include <cctype>

namespace bmhost {

namespace {

constexpr std::size_t LongestBoundary = 70;
/// Blanks that may follow a boundary.
constexpr std::size_t LongestPadding = 64;

std::string_view WithoutBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// The value at the text's beginning, in quotes or not, which is taken off.
std::string TakeValue(std::string_view& text) {
    std::string value;
    if (!text.starts_with('"')) {
        const auto end = std::min(text.find(';'), text.size());
        value = WithoutBlanks(text.substr(0, end));
        text.remove_prefix(end);
        return value;
    }
    text.remove_prefix(1);
    while (!text.empty() && text.front() != '"') {
        // Browsers do not escape backslashes in names of files, so only a quote is one.
        if (text.starts_with("\\\"")) text.remove_prefix(1);
        value += text.front();
        text.remove_prefix(1);
    }
    text.remove_prefix(std::min(text.find(';'), text.size()));
    return value;
}

// Of "word; name=value; …"; nothing without this parameter.
std::optional<std::string> ParameterOf(std::string_view text, std::string_view wanted) {
    text.remove_prefix(std::min(text.find(';'), text.size()));
    while (!text.empty()) {
        text.remove_prefix(1);
        const auto end = std::min(text.find_first_of("=;"), text.size());
        const std::string name = LowerCase(WithoutBlanks(text.substr(0, end)));
        text.remove_prefix(end);
        if (!text.starts_with('=')) continue;
        text.remove_prefix(1);
        while (text.starts_with(' '))
            text.remove_prefix(1);
        std::string value = TakeValue(text);
        if (name == wanted) return value;
    }
    return std::nullopt;
}

// Of a part's headers; empty without it.
std::string_view HeaderIn(std::string_view headers, std::string_view wanted) {
    while (!headers.empty()) {
        const auto end = std::min(headers.find("\r\n"), headers.size());
        const std::string_view line = headers.substr(0, end);
        headers.remove_prefix(std::min(end + 2, headers.size()));
        const auto colon = line.find(':');
        if (colon != std::string_view::npos && LowerCase(WithoutBlanks(line.substr(0, colon))) == wanted)
            return WithoutBlanks(line.substr(colon + 1));
    }
    return {};
}

} // namespace

std::optional<std::string> BoundaryOf(std::string_view contentType) {
    const std::string_view type = WithoutBlanks(contentType.substr(0, contentType.find(';')));
    if (LowerCase(type) != "multipart/form-data") return std::nullopt;
    auto boundary = ParameterOf(contentType, "boundary");
    if (!boundary || boundary->empty() || boundary->size() > LongestBoundary) return std::nullopt;
    const bool plain =
        std::all_of(boundary->begin(), boundary->end(), [](unsigned char letter) { return isprint(letter) != 0; });
    return plain ? boundary : std::nullopt;
}

MultipartReader::MultipartReader(const std::string& boundary, MultipartParts& parts)
    : m_boundary("\r\n--" + boundary),
      m_parts(parts) {}

void MultipartReader::Take(std::string_view bytes) {
    if (m_state == State::Done || m_state == State::Broken) return;
    m_waiting += bytes;
    bool goesOn = true;
    while (goesOn) {
        switch (m_state) {
        case State::Preamble:
        case State::Body:
            goesOn = TakeBody();
            break;
        case State::AfterBoundary:
            goesOn = TakeBoundary();
            break;
        case State::PartHeaders:
            goesOn = TakeHeaders();
            break;
        case State::Done:
        case State::Broken:
            m_waiting.clear();
            return;
        }
    }
}

bool MultipartReader::TakeBody() {
    const auto found = m_waiting.find(m_boundary);
    const bool whole = found != std::string::npos;
    // Of what comes last, some may be the beginning of the boundary.
    const std::size_t kept = std::min(m_boundary.size() - 1, m_waiting.size());
    const std::size_t size = whole ? found : m_waiting.size() - kept;
    if (m_state == State::Body) {
        const bool good = GivePart(std::string_view(m_waiting).substr(0, size)) && (!whole || m_decoder->IsWhole());
        if (!good) return Drop(0, State::Broken);
        if (whole) m_parts.EndPart();
    }
    m_waiting.erase(0, whole ? size + m_boundary.size() : size);
    if (whole) m_state = State::AfterBoundary;
    return whole;
}

bool MultipartReader::GivePart(std::string_view bytes) {
    const auto decoded = m_decoder->Take(bytes);
    if (decoded && !decoded->empty()) m_parts.AddToPart(*decoded);
    return decoded.has_value();
}

bool MultipartReader::TakeBoundary() {
    if (m_waiting.size() < 2) return false;
    if (m_waiting.starts_with("--")) return Drop(2, State::Done);
    const auto end = m_waiting.find("\r\n");
    const std::size_t padding = std::min(end, m_waiting.size());
    const std::size_t blanks = std::min(m_waiting.find_first_not_of(" \t"), m_waiting.size());
    // The end of a line may have come half.
    const bool half = end == std::string::npos && m_waiting.back() == '\r';
    if (blanks < padding - (half ? 1 : 0) || padding > LongestPadding) return Drop(0, State::Broken);
    return end != std::string::npos && Drop(end, State::PartHeaders);
}

bool MultipartReader::TakeHeaders() {
    // The end of the line before them is still there: headers may be none.
    const auto end = m_waiting.find("\r\n\r\n");
    if (end == std::string::npos) return m_waiting.size() > LongestHeaders && Drop(0, State::Broken);
    const std::string headers = m_waiting.substr(0, end);
    m_decoder = PartDecoder::For(HeaderIn(headers, "content-transfer-encoding"));
    if (!m_decoder) return Drop(0, State::Broken);
    const std::string_view disposition = HeaderIn(headers, "content-disposition");
    m_parts.BeginPart(ParameterOf(disposition, "name").value_or(""), ParameterOf(disposition, "filename").value_or(""));
    return Drop(end + std::string_view("\r\n\r\n").size(), State::Body);
}

bool MultipartReader::Drop(std::size_t size, State next) {
    m_waiting.erase(0, size);
    m_state = next;
    return true;
}

} // namespace bmhost
