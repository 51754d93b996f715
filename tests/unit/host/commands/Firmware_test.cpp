// What `firmware` takes, and what it refuses before anything is written.
#include "host/commands/Firmware.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
namespace fs = std::filesystem;

class FirmwareOrderTest : public testing::Test {
protected:
    FirmwareOrderTest() : m_folder(testing::TempDir() + "firmware-" + std::to_string(getpid())) {
        fs::create_directories(m_folder);
        std::ofstream(m_folder + "/image.bin") << "image";
        std::ofstream(m_folder + "/empty.bin") << "";
        std::ofstream(m_folder + "/a\nb") << "image";
    }
    ~FirmwareOrderTest() override { fs::remove_all(m_folder); }

    std::string Refusal(const std::vector<std::string>& words) const {
        std::vector<std::string> command = {"firmware"};
        for (const std::string& word : words)
            command.push_back(word.starts_with("@") ? m_folder + word.substr(1) : word);
        return UsageErrorOf([&] { ParseFirmwareOrder(command); });
    }

    std::string m_folder;
};

TEST_F(FirmwareOrderTest, NamesItsTarget) {
    struct PlaceCase {
        std::vector<std::string> m_words;
        int m_target;
        int m_bay;
    };
    const PlaceCase cases[] = {
        {{"--target", "board"}, 0, 0}, {{"--target", "rtm"}, 1, 9}, {{"--target", "amc", "--bay", "8"}, 1, 8}};
    for (const PlaceCase& testCase : cases) {
        std::vector<std::string> command = {"firmware", "update", m_folder + "/image.bin"};
        command.insert(command.end(), testCase.m_words.begin(), testCase.m_words.end());
        const FirmwareOrder order = ParseFirmwareOrder(command);
        EXPECT_EQ(testCase.m_target, order.m_place.m_target);
        EXPECT_EQ(testCase.m_bay, order.m_place.m_bay);
        EXPECT_EQ(m_folder + "/image.bin", order.m_file);
        EXPECT_FALSE(order.m_dryRun || order.m_show);
    }
}

TEST_F(FirmwareOrderTest, MakesThePathAbsolute) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    const FirmwareOrder order = ParseFirmwareOrder({"firmware", "update", "--dry-run", "--target", "rtm", "image.bin"});
    fs::current_path(before);
    EXPECT_EQ(fs::path(m_folder) / "image.bin", fs::path(order.m_file));
    EXPECT_TRUE(order.m_dryRun);
}

TEST_F(FirmwareOrderTest, RefusesFilesThatAreNoImage) {
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@/none"}), HasSubstr("/none: No such file or directory"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@"}), HasSubstr(": no regular file"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "/dev/zero"}), HasSubstr("/dev/zero: no regular file"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@/empty.bin"}), HasSubstr("/empty.bin: it is empty"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@/a\nb"}), HasSubstr("/a?b': control characters"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", ""}), HasSubstr("no path can be made of it"));
}

TEST_F(FirmwareOrderTest, RefusesTargetsThatAreNone) {
    EXPECT_THAT(Refusal({"update", "--target", "dsp", "@/image.bin"}), HasSubstr("expected board, amc or rtm"));
    EXPECT_THAT(Refusal({"update", "--target", "amc", "@/image.bin"}), HasSubstr("expected --bay N"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "--bay", "3", "@/image.bin"}), HasSubstr("--bay goes with"));
    EXPECT_THAT(Refusal({"update", "--target", "amc", "--bay", "9", "@/image.bin"}), HasSubstr("--bay"));
    EXPECT_THAT(Refusal({"update", "@/image.bin"}), HasSubstr("expected firmware update --target"));
}

TEST_F(FirmwareOrderTest, RefusesOtherWords) {
    for (const std::vector<std::string>& command : {std::vector<std::string>{},
                                                    {"update"},
                                                    {"show", "--dry-run"},
                                                    {"burn", "@/image.bin", "--target", "rtm"},
                                                    {"update", "--target", "rtm", "@/image.bin", "@/image.bin"}})
        EXPECT_THAT(Refusal(command), HasSubstr("expected firmware update"));
    EXPECT_THAT(Refusal({"update", "--force"}), HasSubstr("--force"));
}

TEST_F(FirmwareOrderTest, ShowsTheState) {
    EXPECT_TRUE(ParseFirmwareOrder({"firmware", "show"}).m_show);
}

} // namespace
