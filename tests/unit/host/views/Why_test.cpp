// How `why` shows what is wrong.
#include "host/views/Why.h"

#include "host/views/LookJson.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

Picture WithFaults() {
    Picture picture;
    picture.m_faults = {{"AMC bay 3",
                         "run status failed (5)",
                         "a cause of several words",
                         {"one line", "another"},
                         "a cure",
                         "run status failed"},
                        {"controller", "lost\x1B", "c", {}, "w\xE9it", "lost"}};
    return picture;
}

TEST(Why, HasAParagraphForEachFault) {
    EXPECT_EQ("AMC bay 3: run status failed (5)\n"
              "  cause:    a cause of several words\n"
              "  evidence: one line\n"
              "            another\n"
              "  cure:     a cure\n"
              "\n"
              "controller: lost?\n"
              "  cause:    c\n"
              "  cure:     w?it\n",
              WhyText(WithFaults(), {}));
    EXPECT_FALSE(WhyIsGood(WithFaults()));
}

TEST(Why, BreaksLinesAtTheTerminalsWidthUnlessWide) {
    Picture picture;
    picture.m_faults = {
        {"a", "b", "a cause of several words that is longer than forty columns", {}, std::string(50, 'x'), "b"}};
    EXPECT_EQ("a: b\n"
              "  cause:    a cause of several words\n"
              "            that is longer than forty\n"
              "            columns\n"
              "  cure:     " +
                  std::string(50, 'x') + "\n",
              WhyText(picture, {false, false, 40, false}));
    EXPECT_EQ(std::string::npos, WhyText(picture, {false, false, 40, true}).find("\n            "));
    EXPECT_EQ(std::string::npos, WhyText(picture, {false, false, 0, false}).find("\n            "));
}

TEST(Why, ShowsWhatIsWrongInRed) {
    EXPECT_EQ(0U,
              WhyText(WithFaults(), {true, false, 0, false}).find("\033[91mAMC bay 3: run status failed (5)\033[0m\n"));
}

TEST(Why, SaysThatNothingIsWrong) {
    Picture picture;
    EXPECT_EQ("nothing is wrong\n", WhyText(picture, {}));
    EXPECT_TRUE(WhyIsGood(picture));
    EXPECT_EQ(0U, LookJson("why", true, picture).find("{\"op\":\"why\",\"good\":true,\"faults\":[],\"time\":"));
}

TEST(Why, FindsTheFaultsWhereThePictureNamesNone) {
    Picture picture;
    picture.m_source = {Source::Kind::Missing, "/dev/ipmi0: No such file or directory"};
    EXPECT_EQ(0U, WhyText(picture, {}).find("controller: the inventory is simulated\n"));
    EXPECT_NE(std::string::npos, LookJson("why", false, picture).find("\"what\":\"the inventory is simulated\""));
}

TEST(Why, IsOneLineOfJson) {
    const std::string line = LookJson("why", WhyIsGood(WithFaults()), WithFaults());
    const std::string faults =
        "{\"op\":\"why\",\"good\":false,\"faults\":["
        "{\"place\":\"AMC bay 3\",\"what\":\"run status failed (5)\",\"kind\":\"run status failed\",\"cause\":\"a cause of several words\","
        "\"evidence\":[\"one line\",\"another\"],\"cure\":\"a cure\"},"
        "{\"place\":\"controller\",\"what\":\"lost\\u001b\",\"kind\":\"lost\",\"cause\":\"c\",\"evidence\":[],\"cure\":\"wéit\"}],\"time\":";
    EXPECT_EQ(faults, line.substr(0, faults.size()));
    EXPECT_EQ(line.size() - 1, line.find('\n'));
}

} // namespace
