// What `status` shows.
#include "host/HostParams.h"
#include "host/views/Views.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

WallTime Noon() {
    return WallTime(std::chrono::milliseconds(1795348800000));
}

Picture OneModule() {
    Picture picture;
    picture.m_inventory.m_result = 1;
    picture.m_inventory.m_board = {Row(Text(0x30001, "FB-7200"))};
    picture.m_inventory.m_modules = {Row(Int(0x30201, 3, true), Text(0x30202, "QS"), Int(0x30208, 5))};
    picture.m_leds = {{3, 3, 1, Row(Int(0x202, 1), Int(0x203, 0), Int(0x20c, 2)), {}}};
    return picture;
}

TEST(StatusView, OfACommandsOwnAdaptorHasNoHealthAndNoUpgrade) {
    EXPECT_EQ("  place      product name  run status  out of service LED  health LED\n"
              "  baseboard  FB-7200       -           -                   -\n"
              "  AMC bay 3  QS            failed (5)  -                   on red\n"
              "\n"
              "health: not monitored\n"
              "controller: unknown\n"
              "firmware upgrade: no upgrade yet\n",
              StatusText(OneModule(), {}));
}

TEST(StatusView, TellsSinceWhenAndWhy) {
    Picture picture = OneModule();
    picture.m_host.m_start = CallOutcome{"start", 0x30012, Noon(), {"DSP 5 has no\naddress"}};
    picture.m_health = {HealthState::Fault, Noon(), {"AMC failed"}};
    picture.m_controller = {Controller::State::Lost, Noon()};
    picture.m_upgrades = {{1, 3, 3, Noon(), std::nullopt, "", "", "", "", ""}};
    picture.m_faults = {{"AMC bay 3", "run status failed (5)", "DSP test", {}, "", "run status failed (5)"},
                        {"controller", "lost", "it does not answer", {}, "", "lost"}};
    EXPECT_THAT(StatusText(picture, {}),
                HasSubstr("\n\nstart: 0x30012 (switch not taught, or DSPs not loaded or not passed) since "
                          "2026-11-22T12:00:00.000Z\n"
                          "  DSP 5 has no?address\n"
                          "health: fault since 2026-11-22T12:00:00.000Z; no longer monitored, until the next start\n"
                          "  AMC failed\n"
                          "controller: lost since 2026-11-22T12:00:00.000Z\n"
                          "firmware upgrade: AMC bay 3: failed since 2026-11-22T12:00:00.000Z\n"
                          "last fault: controller: lost: it does not answer (1 of 2: bmhost why)\n"));
    EXPECT_FALSE(UpgradeIsGood(picture));
}

TEST(StatusView, TellsOfCallsUnderWayAndOfThoseThatWait) {
    Picture picture = OneModule();
    picture.m_calls = {{"start", Noon(), ""}, {"stop", Noon(), "uid 0, process 5", true, "`start` since then"}};
    EXPECT_THAT(StatusText(picture, {}),
                testing::EndsWith("under way: start since 2026-11-22T12:00:00.000Z\n"
                                  "waiting: stop since 2026-11-22T12:00:00.000Z, for `start` since then\n"));
}

TEST(StatusView, SaysThatMonitoringHasEndedAndThatAControllerIsSimulated) {
    Picture picture = OneModule();
    picture.m_health.m_state = HealthState::Ended;
    picture.m_source = {Source::Kind::Missing, "/dev/ipmi0: No such file or directory"};
    EXPECT_THAT(StatusText(picture, {}), HasSubstr("health: no longer monitored\n"
                                                   "controller: none, the inventory is simulated\n"));
}

TEST(StatusView, ColorsWhatHasFailedAndTheLedsThatSaySo) {
    Style style;
    style.m_color = true;
    const std::string text = StatusText(OneModule(), style);
    EXPECT_THAT(text, HasSubstr("\033[91mfailed (5)\033[0m"));
    EXPECT_THAT(text, HasSubstr("\033[91mon red\033[0m"));
    EXPECT_THAT(text, testing::Not(HasSubstr("\033[91m-"))) << "the other LED says nothing of it";
}

TEST(UpgradeText, SaysThatThereWasNone) {
    EXPECT_EQ("no upgrade yet", UpgradeText({}));
    EXPECT_TRUE(UpgradeIsGood({}));
}

} // namespace
