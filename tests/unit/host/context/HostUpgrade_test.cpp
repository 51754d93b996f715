// Which order for an upgrade the resident host is sent.
#include "host/context/HostUpgrade.h"

#include <gtest/gtest.h>

namespace bmhost {

TEST(HostUpgrade, SendsTheFilesNameWithoutItsFolder) {
    const Order board{"firmware-update", {{"target", "board"}, {"name", "/root/images/image one.bin"}}};
    EXPECT_EQ("/v1/firmware?target=board&name=image%20one.bin", PathOfUpgrade(board));
    const Order module{"firmware-update", {{"target", "amc"}, {"bay", 3}, {"name", "image.bin"}}};
    EXPECT_EQ("/v1/firmware?target=amc&bay=3&name=image.bin", PathOfUpgrade(module));
}

TEST(HostUpgrade, ReasonsAreTheErrorsThatWereLoggedMeanwhile) {
    UpgradeFacts upgrade;
    upgrade.m_begun = WallTime(std::chrono::milliseconds(1000));
    upgrade.m_ended = WallTime(std::chrono::milliseconds(2000));
    const auto log = nlohmann::ordered_json::parse(R"({"lines":[
        {"time":"1970-01-01T00:00:00.999Z","level":3,"component":"c","text":"before"},
        {"time":"1970-01-01T00:00:01.000Z","level":3,"component":"c","text":"update returned 768"},
        {"time":"1970-01-01T00:00:01.500Z","level":7,"component":"c","text":"a trace"},
        {"time":"1970-01-01T00:00:02.000Z","level":3,"component":"c","text":"sent"},
        {"time":"1970-01-01T00:00:02.001Z","level":3,"component":"c","text":"after"},
        {"level":3}, 7]})");
    EXPECT_EQ((std::vector<std::string>{"update returned 768", "sent"}), ReasonsOfUpgrade(log, upgrade));
    EXPECT_TRUE(ReasonsOfUpgrade({}, upgrade).empty());
    EXPECT_TRUE(ReasonsOfUpgrade({{"lines", 1}}, upgrade).empty());
}

} // namespace bmhost
