// Uploads of firmware by Redfish. An input is two letters (in what pieces it comes, what the host answers), a line with
// the content type, and the body.
#include "support/Require.h"
#include "support/SmallWeb.h"

#include "host/web/serve/Multipart.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

using namespace fuzzing;

namespace {

struct Part {
    std::string m_name;
    std::string m_file;
    std::string m_bytes;
    bool m_ended = false;

    bool operator==(const Part&) const = default;
};

class Recorder final : public bmhost::MultipartParts {
public:
    void BeginPart(const std::string& name, const std::string& file) override {
        Require(m_parts.empty() || m_parts.back().m_ended, "a part begins within another one");
        m_parts.push_back({name, file, ""});
    }
    void AddToPart(std::string_view bytes) override {
        Require(!m_parts.empty() && !m_parts.back().m_ended && !bytes.empty(), "bytes outside of a part");
        m_parts.back().m_bytes += bytes;
    }
    void EndPart() override {
        Require(!m_parts.empty() && !m_parts.back().m_ended, "the end of no part");
        m_parts.back().m_ended = true;
    }

    std::vector<Part> m_parts;
    bool m_whole = false;
};

Recorder ReadInPieces(const std::string& boundary, std::string_view body, std::size_t piece) {
    Recorder parts;
    bmhost::MultipartReader reader(boundary, parts);
    for (std::size_t done = 0; done < body.size(); done += piece)
        reader.Take(body.substr(done, piece));
    parts.m_whole = reader.IsWhole();
    return parts;
}

// What the whole body says, by a slow reader that has all of it: the bytes of its parts. Nothing unless the last
// boundary has come.
std::optional<std::vector<std::string>> BytesOfParts(const std::string& boundary, const std::string& body) {
    const std::string text = "\r\n" + body;
    const std::string mark = "\r\n--" + boundary;
    std::vector<std::string> parts;
    std::size_t at = text.find(mark);
    while (at != std::string::npos) {
        at += mark.size();
        if (text.compare(at, 2, "--") == 0) return parts;
        const std::size_t line = text.find("\r\n", at);
        const std::size_t blanks = std::min(text.find_first_not_of(" \t", at), text.size());
        if (line == std::string::npos || blanks != line || line - at > 64) return std::nullopt;
        const std::size_t headers = text.find("\r\n\r\n", line);
        if (headers == std::string::npos) return std::nullopt;
        const std::size_t begin = headers + 4;
        at = text.find(mark, begin);
        if (at != std::string::npos) parts.push_back(text.substr(begin, at - begin));
    }
    return std::nullopt;
}

void CheckParts(const std::string& boundary, const std::string& body, const Recorder& parts) {
    const auto expected = BytesOfParts(boundary, body);
    Require(parts.m_whole == expected.has_value(), parts.m_whole ? "half a form is whole" : "a whole form is half");
    if (!expected) return;
    std::vector<std::string> bytes;
    for (const Part& part : parts.m_parts) {
        Require(part.m_ended, "a part without an end");
        bytes.push_back(part.m_bytes);
    }
    Require(bytes == *expected, "other parts than there are");
}

// The host has the image that stands in the form, or none.
void CheckUpload(SmallWeb& web, const Asked& asked, const std::optional<Recorder>& parts) {
    const ScriptedResident& resident = web.Resident();
    const std::string what = "an upload answered " + std::to_string(asked.m_reply.m_status);
    if (resident.m_orders.empty()) {
        Require(asked.m_reply.m_status >= 400, what + ", and nobody was asked");
        return;
    }
    Require(parts && parts->m_whole, what + " is no whole form");
    const auto isImage = [](const Part& part) { return part.m_name == "UpdateFile"; };
    const auto image = std::find_if(parts->m_parts.begin(), parts->m_parts.end(), isImage);
    Require(image != parts->m_parts.end() && std::count_if(parts->m_parts.begin(), parts->m_parts.end(), isImage) == 1,
            what + " has not one image");
    Require(resident.m_image == image->m_bytes && !resident.m_image.empty(), what + ", with another image");
    Require(resident.m_orders.size() == 1 && resident.m_orders.front().m_name == "firmware-update",
            what + ", with another order");
    const std::string name = resident.m_orders.front().m_values.at("name");
    Require(!name.empty() && name.find('/') == std::string::npos, what + ", with an image called " + name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    constexpr std::array<std::size_t, 6> pieces = {1, 2, 3, 7, 16, 1024};
    const std::size_t piece = pieces.at(TakeChoice(input, pieces.size()));
    SmallWeb::Options options;
    options.m_answers = static_cast<ScriptedResident::Answers>(TakeChoice(input, 5));
    TakeLine(input);
    const std::string type(TakeLine(input));
    const std::string body(input);

    const auto boundary = bmhost::BoundaryOf(type);
    std::optional<Recorder> parts;
    if (boundary) {
        Require(!boundary->empty() && boundary->size() <= 70, "the boundary '" + *boundary + "'");
        parts = ReadInPieces(*boundary, body, body.size() + 1);
        const Recorder others = ReadInPieces(*boundary, body, piece);
        Require(parts->m_parts == others.m_parts && parts->m_whole == others.m_whole, "other parts in other pieces");
        CheckParts(*boundary, body, *parts);
    }

    SmallWeb web(options);
    HttpText text = HttpTextOf(
        "POST /redfish/v1/UpdateService/upload HTTP/1.1\nHost: h\nX-Auth-Token: " + web.TokenOf("operator") + "\n\n");
    text.m_request.m_headers.emplace_back("Content-Type", type);
    text.m_body = body;
    const Asked asked = web.Ask(text, 0, piece);
    CheckUpload(web, asked, parts);
    if (!boundary)
        Require(asked.m_reply.m_status == 415,
                "an upload of another type answered " + std::to_string(asked.m_reply.m_status));
    return 0;
}
