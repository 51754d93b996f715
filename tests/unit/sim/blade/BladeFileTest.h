// A sample blade file to spoil, and the reader's errors.
#pragma once

#include "sim/base/Error.h"
#include "sim/blade/BladeFile.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace bladesim {

inline nlohmann::json SampleJson() {
    return nlohmann::json::parse(R"({
        "controller": { "address": "0x20", "device_id": 53, "device_revision": 1, "manufacturer_id": 32473,
                        "product_id": "0x0B1A", "firmware": { "major": 3, "minor": "0x12" } },
        "frus": [
            { "id": 0, "site": { "hardware_address": 16, "type": 0, "number": 5 }, "leds": 2,
              "inventory": {
                  "board": { "manufacturer": "Maker", "product_name": "Board", "serial_number": "S-1", "part_number": "P-1" },
                  "product": { "manufacturer": "Seller", "name": "Product", "part_number": "Model", "version": "V1",
                               "serial_number": "S-2", "asset_tag": "Tag" },
                  "dsps": [ { "type": 1, "mac": "02:00:5e:10:00:01" }, { "type": 2, "mac": "02:00:5E:10:00:02" } ],
                  "framers": { "count": 2, "type": 1, "trunks_per_framer": 4 },
                  "multirecords": [ { "type": "0xD1", "data": "01 a2 FF" } ] } },
            { "id": 3, "site": { "type": 7, "number": 1 },
              "leds": [ { "id": 0, "colors": ["blue"] },
                        { "id": 2, "colors": ["red", "white"], "local_color": "red", "override_color": "white",
                          "local_control": false } ] } ],
        "faults": [ { "request": "2c 02 ?? 03", "do": "completion-code", "argument": "0xC1" } ]
    })");
}

class BladeFileTest : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(m_file); }

    Blade Read(const std::string& text) {
        std::ofstream(m_file, std::ios::binary) << text;
        return ReadBladeFile(m_file);
    }

    Blade ReadSample() { return Read(SampleJson().dump()); }

    /// The sample with another value at this place.
    Blade ReadWith(const char* pointer, const nlohmann::json& value) {
        nlohmann::json json = SampleJson();
        json[nlohmann::json::json_pointer(pointer)] = value;
        return Read(json.dump());
    }

    /// The error for the sample with another value at this place.
    std::string ErrorWith(const char* pointer, const nlohmann::json& value) {
        nlohmann::json json = SampleJson();
        json[nlohmann::json::json_pointer(pointer)] = value;
        return ErrorOf(json.dump());
    }

    std::string ErrorOf(const std::string& text) {
        try {
            Read(text);
        } catch (const BladeError& error) {
            return error.what();
        }
        return "no error";
    }

    std::string m_file = testing::TempDir() + "blade-" + std::to_string(::getpid()) + ".json";
};

struct BadValue {
    const char* m_pointer;
    nlohmann::json m_value;
    const char* m_key;
    const char* m_reason;
};

/// Tables of values that are refused with the key and what was expected.
class BladeFileValueTest : public BladeFileTest, public testing::WithParamInterface<BadValue> {
protected:
    void ExpectRefusal() {
        EXPECT_THAT(ErrorWith(GetParam().m_pointer, GetParam().m_value),
                    testing::AllOf(testing::StartsWith(m_file + ":1: " + GetParam().m_key + ": "),
                                   testing::HasSubstr(GetParam().m_reason)));
    }
};

} // namespace bladesim
