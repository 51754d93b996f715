// The looks' JSON: one object each.
#include "host/views/LookJson.h"

#include "host/picture/PictureParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace bmhost;
using nlohmann::ordered_json;
using testing::ElementsAre;

std::vector<std::string> KeysOf(const ordered_json& object) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.items())
        keys.push_back(key);
    return keys;
}

TEST(LookJson, IsOneLineThatBeginsWithTheOperation) {
    for (const char* const operation : {"inventory", "leds", "status", "dsp", "switch", "firmware show"}) {
        const std::string line = LookJson(operation, false, FullPicture());
        EXPECT_EQ(line.size() - 1, line.find('\n')) << operation;
        const ordered_json object = ordered_json::parse(line);
        EXPECT_EQ(operation, object["op"]);
        EXPECT_EQ(false, object["good"]);
        EXPECT_EQ("permission", object["source"]["kind"]) << operation;
        EXPECT_EQ("/dev/ipmi0: Permission denied", object["source"]["reason"]) << operation;
    }
}

TEST(LookJson, HasThePartOfThePicture) {
    const auto keys = [](const char* operation) {
        return KeysOf(ordered_json::parse(LookJson(operation, true, FullPicture())));
    };
    EXPECT_THAT(keys("inventory"), ElementsAre("op", "good", "result", "result_name", "board", "modules", "amcs",
                                               "rtms", "time", "source"));
    EXPECT_THAT(keys("leds"), ElementsAre("op", "good", "leds", "time", "source"));
    EXPECT_THAT(keys("dsp"), ElementsAre("op", "good", "dsps", "time", "source"));
    EXPECT_THAT(keys("switch"), ElementsAre("op", "good", "ports", "time", "source"));
    EXPECT_THAT(keys("firmware show"), ElementsAre("op", "good", "upgrades", "time", "source"));
    EXPECT_THAT(keys("status"),
                ElementsAre("op", "good", "modules", "upgrade", "health", "controller", "source", "faults", "time"));
}

TEST(LookJson, HasNoCharactersThatATerminalObeys) {
    const std::string line = LookJson("inventory", true, FullPicture());
    EXPECT_EQ(std::string::npos, line.find("\xC2\x9F")) << "the board's name ends so";
    EXPECT_NE(std::string::npos, line.find("\\u009f"));
}

} // namespace
