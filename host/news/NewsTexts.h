// Texts of the adaptor, as news has them.
#pragma once

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace bmhost {

inline nlohmann::ordered_json TextsOf(const std::vector<std::string>& texts) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const std::string& text : texts)
        list.push_back(bm_dev::Utf8OfBytes(text));
    return list;
}

} // namespace bmhost
