// What `firmware` takes, and what it refuses before anything is written.
#include "host/commands/Firmware.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

using namespace BMHOST;
using testing::HasSubstr;
namespace fs = std::filesystem;

class FirmwareOrder : public testing::Test {
protected:
    FirmwareOrder() : m_Folder(testing::TempDir() + "firmware-" + std::to_string(getpid())) {
        fs::create_directories(m_Folder);
        std::ofstream(m_Folder + "/image.bin") << "image";
        std::ofstream(m_Folder + "/empty.bin") << "";
        std::ofstream(m_Folder + "/a\nb") << "image";
    }
    ~FirmwareOrder() override { fs::remove_all(m_Folder); }

    std::string Refusal(const std::vector<std::string>& a_Words) const {
        std::vector<std::string> l_Words = {"firmware"};
        for (const std::string& l_Word : a_Words)
            l_Words.push_back(l_Word.starts_with("@") ? m_Folder + l_Word.substr(1) : l_Word);
        return UsageErrorOf([&] { ParseFirmwareOrder(l_Words); });
    }

    std::string m_Folder;
};

TEST_F(FirmwareOrder, NamesItsTarget) {
    struct PLACE_CASE {
        std::vector<std::string> m_Words;
        int m_Target;
        int m_Bay;
    };
    const PLACE_CASE l_Cases[] = {
        {{"--target", "board"}, 0, 0}, {{"--target", "rtm"}, 1, 9}, {{"--target", "amc", "--bay", "8"}, 1, 8}};
    for (const PLACE_CASE& l_Case : l_Cases) {
        std::vector<std::string> l_Words = {"firmware", "update", m_Folder + "/image.bin"};
        l_Words.insert(l_Words.end(), l_Case.m_Words.begin(), l_Case.m_Words.end());
        const FIRMWARE_ORDER l_Order = ParseFirmwareOrder(l_Words);
        EXPECT_EQ(l_Case.m_Target, l_Order.m_Place.m_Target);
        EXPECT_EQ(l_Case.m_Bay, l_Order.m_Place.m_Bay);
        EXPECT_EQ(m_Folder + "/image.bin", l_Order.m_File);
        EXPECT_FALSE(l_Order.m_DryRun || l_Order.m_Show);
    }
}

TEST_F(FirmwareOrder, MakesThePathAbsolute) {
    const fs::path l_Before = fs::current_path();
    fs::current_path(m_Folder);
    const FIRMWARE_ORDER l_Order =
        ParseFirmwareOrder({"firmware", "update", "--dry-run", "--target", "rtm", "image.bin"});
    fs::current_path(l_Before);
    EXPECT_EQ(fs::path(m_Folder) / "image.bin", fs::path(l_Order.m_File));
    EXPECT_TRUE(l_Order.m_DryRun);
}

TEST_F(FirmwareOrder, RefusesFilesThatAreNoImage) {
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@/none"}), HasSubstr("/none: No such file or directory"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@"}), HasSubstr(": no regular file"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "/dev/zero"}), HasSubstr("/dev/zero: no regular file"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@/empty.bin"}), HasSubstr("/empty.bin: it is empty"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@/a\nb"}), HasSubstr("/a?b': control characters"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", ""}), HasSubstr("no path can be made of it"));
}

TEST_F(FirmwareOrder, RefusesTargetsThatAreNone) {
    EXPECT_THAT(Refusal({"update", "--target", "dsp", "@/image.bin"}), HasSubstr("expected board, amc or rtm"));
    EXPECT_THAT(Refusal({"update", "--target", "amc", "@/image.bin"}), HasSubstr("expected --bay N"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "--bay", "3", "@/image.bin"}), HasSubstr("--bay goes with"));
    EXPECT_THAT(Refusal({"update", "--target", "amc", "--bay", "9", "@/image.bin"}), HasSubstr("--bay"));
    EXPECT_THAT(Refusal({"update", "@/image.bin"}), HasSubstr("expected firmware update --target"));
}

TEST_F(FirmwareOrder, RefusesOtherWords) {
    for (const std::vector<std::string>& l_Words : {std::vector<std::string>{},
                                                    {"update"},
                                                    {"show", "--dry-run"},
                                                    {"burn", "@/image.bin", "--target", "rtm"},
                                                    {"update", "--target", "rtm", "@/image.bin", "@/image.bin"}})
        EXPECT_THAT(Refusal(l_Words), HasSubstr("expected firmware update"));
    EXPECT_THAT(Refusal({"update", "--force"}), HasSubstr("--force"));
}

TEST_F(FirmwareOrder, ShowsTheState) {
    EXPECT_TRUE(ParseFirmwareOrder({"firmware", "show"}).m_Show);
}

} // namespace
