// `bmhost leds` and `bmhost led set`, on an adaptor that has LEDs only.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string NoLedWasSet = "bmhost: the inventory is simulated: no LED was set";

TEST(BmhostLeds, ShowsEveryLedAndThatOneCannotBeRead) {
    const Ended ended = RunStub("leds", {"--simulated", "leds"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ(
        "  place      LED               colour  state                              times                  control\n"
        "  baseboard  1 hot swap        -       off                                                       local\n"
        "  baseboard  2 out of service  red     blink                              250 ms on, 500 ms off  override\n"
        "  baseboard  3 health          -       lamp test                          3.4 s                  override\n"
        "  AMC bay 3  1 hot swap        blue    on                                                        override\n"
        "  AMC bay 3  2 out of service  -       off                                                       local\n"
        "  AMC bay 5  1 hot swap        -       off                                                       local\n"
        "  AMC bay 5  2 out of service  ?       not read, result 0 (nothing done)\n",
        ended.m_out);
}

TEST(BmhostLeds, SaysThatThereIsNone) {
    const Ended ended = RunStub("no_leds", {"--simulated", "leds"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("no LED\n", ended.m_out);
}

TEST(BmhostLeds, AreOneObjectInJson) {
    for (const auto& words :
         {std::vector<std::string>{"--json", "--simulated", "leds"}, {"leds", "--simulated", "--json"}}) {
        const Ended ended = RunStub("leds", words);
        EXPECT_EQ(1, ended.m_status);
        EXPECT_THAT(ended.m_out,
                    HasSubstr(R"({"op":"leds","good":false,"leds":[{"place":"baseboard","bay":0,"led":1,)"));
        EXPECT_THAT(ended.m_out, HasSubstr(R"("source":{"kind":"missing","simulated":true,)"));
        EXPECT_EQ(ended.m_out.size() - 1, ended.m_out.find('\n'));
    }
}

TEST(BmhostLeds, TellThatTheInventoryIsSimulatedByTheirStatus) {
    const Ended ended = RunStub("leds", {"leds"});
    EXPECT_EQ(4, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre("bmhost: simulated inventory: /dev/ipmi0: No such file or directory"));
}

TEST(BmhostLeds, TakeNoWords) {
    EXPECT_EQ(2, RunStub("leds", {"leds", "1"}).m_status);
}

TEST(BmhostLedSet, ShowsTheLedAsItIsReadAfterwards) {
    const Ended ended = RunStub("leds", {"--simulated", "led", "set", "board", "health", "on", "--color", "red"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre(NoLedWasSet));
    EXPECT_EQ("  place      LED       colour  state  times  control\n"
              "  baseboard  3 health  red     on            override\n",
              ended.m_out);
}

TEST(BmhostLedSet, GivesAnLedBackToLocalControl) {
    const Ended ended = RunStub("leds", {"--simulated", "led", "set", "3", "1", "local"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.m_out, HasSubstr("  AMC bay 3  1 hot swap  -       off           local\n"));
}

TEST(BmhostLedSet, RefusesABayWhoseLedTheAdaptorCannotSet) {
    const Ended ended = RunStub("leds", {"--simulated", "led", "set", "5", "2", "on", "--color", "green"});
    EXPECT_EQ(2, ended.m_status);
    EXPECT_EQ("", ended.m_out);
    EXPECT_THAT(ended.ErrorLines(),
                ElementsAre("bmhost: led set: AMC bay 5: the adaptor sets LEDs of the baseboard and of the first AMC "
                            "only, which is AMC bay 3; with --first-amc that one gets it"));
    const Ended none = RunStub("no_leds", {"--simulated", "led", "set", "5", "2", "on", "--first-amc"});
    EXPECT_EQ(2, none.m_status);
    EXPECT_THAT(none.ErrorLines(), ElementsAre(HasSubstr("and there is no AMC")));
}

TEST(BmhostLedSet, WithFirstAmcSaysThatThisOneGetsItAndShowsIt) {
    const Ended ended =
        RunStub("leds", {"--simulated", "led", "set", "5", "2", "on", "--color", "green", "--first-amc"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(),
                ElementsAre("bmhost: the adaptor sets LEDs of the first AMC only: not AMC bay 5 but AMC bay 3 gets it",
                            NoLedWasSet));
    EXPECT_THAT(ended.m_out, HasSubstr("  AMC bay 3  2 out of service  green   on            override\n"));
}

TEST(BmhostLedSet, ChoosesAColorThatIsUsualForTheLed) {
    const Ended ended = RunStub("leds", {"--simulated", "led", "set", "board", "1", "on"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre(NoLedWasSet));
    EXPECT_THAT(ended.m_out, HasSubstr("  baseboard  1 hot swap  blue    on            override\n"));
}

TEST(BmhostLedSet, IsOneLineOfJson) {
    EXPECT_EQ(R"({"op":"led set","result":0,"good":true,"changed":true,"place":"baseboard","bay":0,"led":1,)"
              R"("led_name":"hot swap","color":"red","before":"off","after":"on red",)"
              R"("remarks":["the inventory is simulated: no LED was set"],"reasons":[],"cure":""})"
              "\n",
              RunStub("leds", {"--simulated", "--json", "led", "set", "board", "1", "on", "--color", "red"}).m_out);
    EXPECT_THAT(RunStub("leds", {"--simulated", "led", "set", "3", "1", "on", "--color", "blue", "--json"}).m_out,
                HasSubstr(R"("changed":false)"));
}

TEST(BmhostLedSet, WarnsOfTimesThatAControllerCannotBeTold) {
    const Ended ended = RunStub(
        "leds", {"--simulated", "led", "set", "board", "1", "blink", "--color", "red", "--on", "205", "--off", "2600"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre(HasSubstr("--on 205: a controller is told 200 ms"),
                                                HasSubstr("--off 2600: a controller is told 2500 ms"), NoLedWasSet));
}

TEST(BmhostLedSet, NamesTheCompletionCodeOfARefusal) {
    const Ended ended = RunStub("leds", {"--simulated", "led", "set", "board", "1", "on", "--color", "white"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("", ended.m_out);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre("bmhost: LED 1 of baseboard: the controller refused it with completion "
                                                "code 0xcc (invalid data field in the request)",
                                                "bmhost: LED 1 of baseboard can be red, green, blue, amber, orange"));
}

TEST(BmhostLedSet, SaysThatThereIsNoSuchLed) {
    const Ended ended = RunStub("leds", {"--simulated", "led", "set", "board", "4", "off"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre("bmhost: LED 4 of baseboard: there is no such LED"));
}

TEST(BmhostLedSet, RefusesNonsenseBeforeTheAdaptorIsTouched) {
    const Ended ended = RunStub("good", {"--simulated", "led", "set", "board", "7", "off"});
    EXPECT_EQ(2, ended.m_status);
    EXPECT_EQ("", ended.StubCalls());
}

TEST(BmhostLedSet, HasAHelp) {
    const Ended ended = RunStub("good", {"led", "--help"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.m_out, HasSubstr("Usage: bmhost [OPTIONS] led set BAY LED ACTION"));
}

} // namespace
