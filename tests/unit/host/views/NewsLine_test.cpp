// What happens at the resident host, as lines for people.
#include "host/views/NewsLine.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using bmhost::NewsLine;
using nlohmann::ordered_json;

const std::string Time = "2026-11-22T09:30:00.125Z";

// The line after its time.
std::string LineOf(const std::string& kind, ordered_json data) {
    data["time"] = Time;
    const std::string line = NewsLine(kind, data);
    EXPECT_EQ(Time + "  ", line.substr(0, Time.size() + 2));
    EXPECT_EQ('\n', line.back());
    return line.substr(Time.size() + 2, line.size() - Time.size() - 3);
}

TEST(NewsLine, AnEventIsItsText) {
    EXPECT_EQ("run status of AMC bay 3: running (4)",
              LineOf("event", {{"op", "event"},
                               {"event", "0x70402"},
                               {"number", 5},
                               {"params", ordered_json::array()},
                               {"text", "run status of AMC bay 3: running (4)"}}));
}

TEST(NewsLine, HealthIsASentence) {
    const auto health = [](const char* state, const ordered_json& reasons) {
        return LineOf("health", {{"op", "health"}, {"state", state}, {"reasons", reasons}});
    };
    EXPECT_EQ("health: monitored", health("monitored", ordered_json::array()));
    EXPECT_EQ("health: fault: AMC failed; media; no longer monitored, until the next start",
              health("fault", {"AMC failed", "media"}));
    EXPECT_EQ("health: no longer monitored", health("ended", ordered_json::array()));
}

TEST(NewsLine, ACallOfTheLifecycleHasItsResultByNameReasonsAndWhoAsked) {
    const auto call = [](const char* operation, int result, const ordered_json& reasons, const char* asker) {
        return LineOf(
            "call",
            {{"op", operation}, {"result", result}, {"result_name", "x"}, {"reasons", reasons}, {"asker", asker}});
    };
    EXPECT_EQ("init: 1 (success)", call("init", 1, ordered_json::array(), ""));
    EXPECT_EQ("start: 0x30011 (DSPs not initialised): no address; no file; asked by uid 0, process 4711",
              call("start", 0x30011, {"no address", "no file"}, "uid 0, process 4711"));
}

TEST(NewsLine, AnOrderHasItsPlaceWhetherItWasGoodAndWhatItChanged) {
    const auto order = [](bool good, bool changed, int result, const char* place) {
        return LineOf("call", {{"op", "order"},
                               {"order", "led-set"},
                               {"place", place},
                               {"result", result},
                               {"good", good},
                               {"changed", changed},
                               {"reasons", good ? ordered_json::array() : ordered_json{"LED not set"}},
                               {"asker", "uid 0, process 5"}});
    };
    EXPECT_EQ("order led-set, AMC bay 3, LED health: done (0), changed; asked by uid 0, process 5",
              order(true, true, 0, "AMC bay 3, LED health"));
    EXPECT_EQ("order led-set: done (1), nothing changed; asked by uid 0, process 5", order(true, false, 1, ""));
    EXPECT_EQ("order led-set, RTM: failed, result 193 (refused by the controller): LED not set; asked by uid 0, "
              "process 5",
              order(false, false, 0xC1, "RTM"));
}

TEST(NewsLine, EventsThatAreNotKeptAreCounted) {
    EXPECT_EQ("-  events are lost, for they are not kept any more: those from 6 to 11\n",
              NewsLine("lost", {{"after", 5}, {"first", 12}}));
}

TEST(NewsLine, AChangeOfThePictureIsNone) {
    EXPECT_EQ("", NewsLine("picture", {{"revision", 9}, {"parts", {"leds"}}}));
}

TEST(NewsLine, WhatIsUnknownIsShownWithAllItsFields) {
    EXPECT_EQ("door: op opened, by none, which a, 2",
              LineOf("door", {{"op", "opened"}, {"by", ordered_json::array()}, {"which", {"a", 2}}}));
    EXPECT_EQ("call: op start, result many", LineOf("call", {{"op", "start"}, {"result", "many"}}));
    EXPECT_EQ("event: text 7", LineOf("event", {{"text", 7}}));
    EXPECT_EQ("health: state ", LineOf("health", {{"state", ""}}));
}

TEST(NewsLine, IsOneLineThatSteersNoTerminal) {
    EXPECT_EQ("health: fault: a b?; no longer monitored, until the next start",
              LineOf("health", {{"state", "fault"}, {"reasons", {"a\nb\x1B"}}}));
}

} // namespace
