// What a client hears from a resident host: answers, events, the picture. An input is two letters (which of these, in
// what pieces), then the bytes; of the picture, JSON that is merged into a usual one's.
#include "support/HttpText.h"
#include "support/Require.h"
#include "support/ScriptedResident.h"

#include "host/client/HttpWire.h"
#include "host/client/ServerEvents.h"
#include "host/picture/PictureJson.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

using namespace fuzzing;
using nlohmann::ordered_json;

namespace {

// What was read, as a text; "!" when it was refused.
std::string AnswerIn(std::string_view bytes, std::size_t piece) {
    std::string body;
    bmhost::HttpAnswer answer([&body](std::string_view part) { body += part; }, 100'000);
    try {
        for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size())))
            answer.Take(bytes.substr(0, piece));
        if (!answer.IsWhole()) answer.End();
    } catch (const bmhost::NoAnswer&) {
        return "!";
    } catch (const bmhost::HalfAnswer&) {
        return "!"; // a line is not looked at before its end, so half a wrong one may be either
    }
    return std::to_string(answer.Status()) + (answer.KeepsAlive() ? " " : " closed ") + body;
}

std::string EventsIn(std::string_view bytes, std::size_t piece) {
    bmhost::EventLines lines;
    std::string text;
    try {
        for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size())))
            lines.Take(bytes.substr(0, piece));
    } catch (const std::runtime_error&) {
        return "!";
    }
    while (const auto event = lines.Next())
        text += std::to_string(event->m_id) + "|" + event->m_kind + "|" + event->m_data + "\n";
    return text;
}

void ReadPicture(std::string_view text) {
    static const ordered_json usual = bmhost::PictureJson(*BladeOf(0));
    const auto patch = ordered_json::parse(text, nullptr, false);
    if (patch.is_discarded()) return;
    ordered_json told = usual;
    told.merge_patch(patch);
    bmhost::Picture picture;
    try {
        picture = bmhost::PictureOf(told);
    } catch (const std::runtime_error&) {
        return;
    }
    const std::string again = bmhost::PictureJson(picture).dump();
    Require(bmhost::PictureJson(bmhost::PictureOf(ordered_json::parse(again))).dump() == again,
            "a picture is another one when it is read again");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    const unsigned kind = TakeChoice(input, 3);
    constexpr std::array<std::size_t, 4> pieces = {1, 2, 7, 100};
    const std::size_t piece = pieces.at(TakeChoice(input, pieces.size()));
    if (kind == 0) {
        ReadPicture(input);
    } else if (kind == 1) {
        Require(AnswerIn(input, piece) == AnswerIn(input, input.size()), "another answer in other pieces");
    } else {
        Require(EventsIn(input, piece) == EventsIn(input, input.size()), "other events in other pieces");
    }
    return 0;
}
