// The picture as JSON, and back.
#include "host/picture/PictureJson.h"

#include "host/picture/PictureParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace {

using namespace bmhost;
using nlohmann::json;
using nlohmann::ordered_json;
using testing::HasSubstr;

json Read(const Picture& picture) {
    return json::parse(PictureJson(picture).dump());
}

std::string ErrorOf(const json& document) {
    try {
        PictureOf(document);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

TEST(PictureJson, OfAFullPictureIsThatPicture) {
    const Picture picture = FullPicture();
    EXPECT_EQ(Everything(picture), Everything(PictureOf(Read(picture))));
}

TEST(PictureJson, OfAnEmptyPictureIsThatPicture) {
    EXPECT_EQ(Everything(Picture()), Everything(PictureOf(Read(Picture()))));
}

TEST(PictureJson, IsTheSameAfterAReader) {
    const Picture picture = FullPicture();
    EXPECT_EQ(PictureJson(picture)["status"], PictureJson(PictureOf(Read(picture)))["status"]);
    EXPECT_EQ(Read(picture), Read(PictureOf(Read(picture))));
}

TEST(PictureJson, ShowsRowsUnderTheNamesOfTheirColumns) {
    const ordered_json inventory = PictureJson(FullPicture())["inventory"];
    EXPECT_EQ(ordered_json::parse(R"({"product_name": "Board \u00e9\u009f", "location": 5})"), inventory["board"][0]);
    EXPECT_EQ(ordered_json::parse(R"({"bay": 3, "product_name": "QS", "run_status": 5, "run_status_name": "failed",
                                     "place": "AMC bay 3"})"),
              inventory["modules"][0]);
    EXPECT_EQ(ordered_json::parse(R"({"dsp_type": 2, "dsps": 4, "bay": 3})"), inventory["amcs"][0]);
    EXPECT_EQ(-7, inventory["modules"][1]["0x30209"]);
}

TEST(PictureJson, ShowsWhatAnLedDoesAndHowOldTheReadingIs) {
    const ordered_json leds = PictureJson(FullPicture())["leds"];
    ordered_json blinking = leds[1];
    blinking.erase("row");
    EXPECT_EQ(ordered_json::parse(R"({"place": "AMC bay 3", "bay": 3, "led": 3, "led_name": "health", "result": 0,
        "result_name": "nothing done", "color": "red", "state": "blink", "on_ms": 200, "off_ms": 1250,
        "control": "local", "read_at": "2026-11-22T09:30:00.600Z", "age_ms": 1400})"),
              blinking);
    EXPECT_EQ("on", leds[0]["state"]);
    EXPECT_FALSE(leds[0].contains("on_ms"));
    EXPECT_FALSE(leds[2].contains("state")) << "it was never read";
}

TEST(PictureJson, BeginsTheStatusWithItsOldestKeys) {
    const ordered_json status = PictureJson(FullPicture())["status"];
    std::vector<std::string> keys;
    for (const auto& [key, value] : status.items())
        keys.push_back(key);
    EXPECT_THAT(keys, testing::ElementsAre("good", "modules", "upgrade", "health", "controller", "source", "faults"));
    EXPECT_EQ(nullptr, PictureJson(Picture())["status"]["upgrade"]) << "no upgrade yet";
    EXPECT_EQ(ordered_json::parse(R"({"place": "baseboard", "state": 0, "state_name": "in progress"})"),
              status["upgrade"]);
}

TEST(PictureJson, HasNoVersionAfterAnUpgradeBeforeItIsRead) {
    Picture picture;
    picture.m_upgrades.resize(2);
    picture.m_upgrades[1].m_versionAfter = "2.8";
    const json upgrades = Read(picture)["upgrades"];
    EXPECT_EQ(nullptr, upgrades[0]["version_after"]);
    EXPECT_EQ("2.8", upgrades[1]["version_after"]);
    EXPECT_EQ("", PictureOf(Read(picture)).m_upgrades[0].m_versionAfter);
}

TEST(PictureOf, NamesWhatIsMissing) {
    const json whole = Read(FullPicture());
    for (const char* const key : {"revision", "time", "source", "host", "health", "controller", "inventory", "leds",
                                  "dsps", "ports", "upgrades", "calls", "faults"}) {
        json document = whole;
        document.erase(key);
        EXPECT_EQ("picture: " + std::string(key) + ": is missing", ErrorOf(document));
    }
    json document = whole;
    document["leds"][1].erase("bay");
    EXPECT_EQ("picture: leds[1].bay: is missing", ErrorOf(document));
    document = whole;
    document["host"]["start"].erase("reasons");
    EXPECT_EQ("picture: host.start.reasons: is missing", ErrorOf(document));
}

TEST(PictureOf, NamesWhatIsOfAnotherType) {
    const auto error = [](const char* pointer, const json& value) {
        json document = Read(FullPicture());
        document[json::json_pointer(pointer)] = value;
        return ErrorOf(document);
    };
    EXPECT_EQ("picture: revision: expected a number from 0", error("/revision", -1));
    EXPECT_EQ("picture: revision: expected a number from 0", error("/revision", "1"));
    EXPECT_EQ("picture: time: expected a time", error("/time", "today"));
    EXPECT_EQ("picture: host.process: expected a number of 32 bits", error("/host/process", 4294967296));
    EXPECT_EQ("picture: host.resident: expected true or false", error("/host/resident", 1));
    EXPECT_EQ("picture: health.state: expected a word that this version knows", error("/health/state", "fine"));
    EXPECT_EQ("picture: source: expected an object", error("/source", nullptr));
    EXPECT_EQ("picture: leds: expected an array", error("/leds", json::object()));
    EXPECT_EQ("picture: faults[0].evidence[1]: expected a text", error("/faults/0/evidence/1", 1));
    EXPECT_EQ("picture: inventory.board[0].location: expected a text, true or false, or a number of 32 bits",
              error("/inventory/board/0/location", 1.5));
    EXPECT_EQ("picture: ports[0].link: expected a word that this version knows", error("/ports/0/link", "yes"));
    EXPECT_THAT(ErrorOf(json::array()), HasSubstr("expected an object"));
}

TEST(PictureOf, LeavesOutWhatALaterVersionAdds) {
    json document = Read(FullPicture());
    document["new"] = 1;
    document["inventory"]["board"][0]["place"] = "baseboard";
    document["leds"][0]["new"] = nullptr;
    EXPECT_EQ(Everything(FullPicture()), Everything(PictureOf(document)));
}

} // namespace
