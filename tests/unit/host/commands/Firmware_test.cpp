// What `firmware` takes, and what it refuses before anything is written.
#include "host/commands/Firmware.h"

#include "host/TestFolder.h"
#include "host/UsageError.h"
#include "host/context/FakeContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
namespace fs = std::filesystem;

class FirmwareOrderTest : public testing::Test {
protected:
    FirmwareOrderTest() {
        std::ofstream(m_folder + "/image.bin") << "image";
        std::ofstream(m_folder + "/empty.bin") << "";
        std::ofstream(m_folder + "/a\nb") << "image";
    }

    std::string Refusal(const std::vector<std::string>& words) const {
        std::vector<std::string> command = {"firmware"};
        for (const std::string& word : words)
            command.push_back(word.starts_with("@") ? m_folder + word.substr(1) : word);
        FakeContext context;
        return UsageErrorOf([&] { RunWords(context, command); });
    }

    const TestFolder m_own;
    const std::string m_folder = m_own.Path();
};

TEST_F(FirmwareOrderTest, NamesItsTarget) {
    struct PlaceCase {
        const char* m_target;
        std::optional<int> m_bay;
        UpgradeRow m_place;
    };
    const PlaceCase cases[] = {{"board", {}, {0, 0}}, {"rtm", {}, {1, 9}}, {"amc", 8, {1, 8}}};
    for (const PlaceCase& testCase : cases) {
        const FirmwareOrder order = FirmwareOrderOf({testCase.m_target, testCase.m_bay, m_folder + "/image.bin"});
        EXPECT_EQ(testCase.m_place.m_target, order.m_place.m_target);
        EXPECT_EQ(testCase.m_place.m_bay, order.m_place.m_bay);
        EXPECT_EQ(m_folder + "/image.bin", order.m_file);
    }
}

TEST_F(FirmwareOrderTest, MakesThePathAbsolute) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    const FirmwareOrder order = FirmwareOrderOf({"rtm", {}, "image.bin"});
    fs::current_path(before);
    EXPECT_EQ(fs::path(m_folder) / "image.bin", fs::path(order.m_file));
}

TEST_F(FirmwareOrderTest, TakesAFileThatLooksLikeAnOptionAfterTwoDashes) {
    std::ofstream(m_folder + "/-image.bin") << "image";
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    FakeContext context;
    EXPECT_TRUE(RunWords(context, {"firmware", "update", "--target", "rtm", "--yes", "--", "-image.bin"}));
    fs::current_path(before);
    ASSERT_EQ(1U, context.m_session.m_written.size());
    EXPECT_THAT(context.m_session.m_written[0], HasSubstr("/-image.bin"));
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
    EXPECT_THAT(Refusal({"update", "--target", "amx", "--bay", "3", "@/image.bin"}),
                HasSubstr("--target 'amx': expected board, amc or rtm; did you mean amc?"));
    EXPECT_THAT(Refusal({"update", "--target", "bord", "@/image.bin"}), HasSubstr("; did you mean board?"));
    EXPECT_THAT(Refusal({"update", "@/image.bin"}),
                HasSubstr("'firmware update' is not enough: expected firmware update --target T"));
}

TEST_F(FirmwareOrderTest, RefusesOtherWords) {
    EXPECT_THAT(Refusal({}), HasSubstr("'firmware' is not enough: expected firmware update --target T [--bay N] FILE "
                                       "[--dry-run] [--yes], or firmware show"));
    EXPECT_THAT(Refusal({"update"}), HasSubstr("is not enough: expected firmware update"));
    EXPECT_THAT(Refusal({"burn", "@/image.bin", "--target", "rtm"}), HasSubstr("'--target'"));
    EXPECT_THAT(Refusal({"burn", "@/image.bin"}),
                HasSubstr("unknown command 'firmware burn': expected firmware update"));
    EXPECT_THAT(Refusal({"updat", "@/image.bin"}), HasSubstr("; did you mean update?"));
    EXPECT_THAT(Refusal({"update", "--target", "rtm", "@/image.bin", "@/image.bin"}),
                HasSubstr("is too much: expected"));
    EXPECT_THAT(Refusal({"show", "--dry-run"}), HasSubstr("unknown option '--dry-run'"));
    EXPECT_THAT(Refusal({"update", "--force"}), HasSubstr("--force"));
}

TEST_F(FirmwareOrderTest, WhatWouldBeRefusedOnSimulatedDataIsNotAskedAbout) {
    int ends[2] = {};
    ASSERT_EQ(0, pipe(ends));
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"firmware", "update", "--target", "rtm", m_folder + "/image.bin"},
          {"reset", "board"}}) {
        FakeContext context;
        context.m_picture.m_source = {Source::Kind::Missing, "/dev/ipmi0: No such file or directory"};
        context.m_terminal = ends[0];
        testing::internal::CaptureStderr();
        EXPECT_FALSE(RunWords(context, words));
        EXPECT_EQ("bmhost: simulated inventory: /dev/ipmi0: No such file or directory\n"
                  "bmhost: nothing was done: simulated data were not asked for "
                  "(--simulated)\n",
                  testing::internal::GetCapturedStderr());
        EXPECT_EQ(ExitSimulated, context.Ending());
        EXPECT_EQ(0U, context.m_orders.size());
    }
    close(ends[0]);
    close(ends[1]);
}

TEST_F(FirmwareOrderTest, AsksFirstOrHasYes) {
    EXPECT_EQ("firmware update: expected --yes where there is no terminal to ask on",
              Refusal({"update", "--target", "rtm", "@/image.bin"}));
    struct AnswerCase {
        const char* m_answer;
        std::size_t m_orders;
    };
    for (const AnswerCase& each : {AnswerCase{"y\n", 1}, {"yes\n", 1}, {"\n", 0}, {"n\n", 0}, {"", 0}}) {
        int ends[2] = {};
        ASSERT_EQ(0, pipe(ends));
        ASSERT_EQ(static_cast<ssize_t>(strlen(each.m_answer)), write(ends[1], each.m_answer, strlen(each.m_answer)));
        close(ends[1]);
        FakeContext context;
        context.m_terminal = ends[0];
        EXPECT_EQ(each.m_orders != 0,
                  RunWords(context, {"firmware", "update", "--target", "rtm", m_folder + "/image.bin"}));
        EXPECT_EQ(each.m_orders, context.m_orders.size()) << each.m_answer;
        close(ends[0]);
    }
}

TEST(FirmwareHistory, TellsTheLastUpgradeAndAll) {
    EXPECT_EQ("no upgrade yet\n", HistoryText({}, false));
    UpgradeFacts first;
    first.m_target = 1;
    first.m_bay = 3;
    first.m_state = UpgradeIsDone;
    first.m_ended = WallTime{};
    first.m_file = "a\x1B.bin";
    UpgradeFacts second = first;
    second.m_bay = 9;
    second.m_state = UpgradeIsRunning;
    second.m_ended.reset();
    first.m_versionBefore = "UnKn";
    const std::string text = HistoryText({first, second}, false);
    EXPECT_THAT(text, testing::StartsWith("RTM: begun, no end seen\n\n"));
    EXPECT_THAT(text, HasSubstr("1970-01-01T00:00:00.000Z  AMC bay 3  done"));
    EXPECT_THAT(text, HasSubstr("a?.bin"));
    EXPECT_THAT(text, HasSubstr("  unknown\n"));
    EXPECT_THAT(HistoryText({first, second}, true), testing::StartsWith("RTM: in progress\n\n"));
}

} // namespace
