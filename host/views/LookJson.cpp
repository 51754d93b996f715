// What the looks show with --json: one object each, made of the picture's parts.
#include "host/views/LookJson.h"

#include "host/picture/PictureJson.h"
#include "host/views/Why.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

struct Look {
    std::string_view m_operation;
    const char* m_part;
};

constexpr Look Looks[] = {
    {"inventory", "inventory"},    {"leds", "leds"}, {"status", "status"}, {"dsp", "dsps"}, {"switch", "ports"},
    {"firmware show", "upgrades"}, {"why", "faults"}};

} // namespace

std::string LookJson(const std::string& operation, bool good, const Picture& picture) {
    Picture shown = picture;
    shown.m_faults = FaultsIn(picture);
    ordered_json parts = PictureJson(operation == "why" ? shown : picture);
    ordered_json object = {{"op", operation}, {"good", good}};
    for (const Look& look : Looks) {
        if (look.m_operation != operation) continue;
        ordered_json& part = parts[look.m_part];
        if (part.is_object()) {
            object.update(part);
        } else {
            object[look.m_part] = std::move(part);
        }
    }
    object["time"] = parts["time"];
    object["source"] = parts["source"];
    return bm_dev::EscapedJson(object.dump()) + "\n";
}

} // namespace bmhost
