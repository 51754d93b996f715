// Colours, places and names of LEDs.
#include "host/picture/Led.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace bmhost;

TEST(LedColor, HasTheNumberOfItsName) {
    const char* const names[] = {"white", "red", "green", "blue", "amber", "orange"};
    int number = LedNoColor;
    for (const char* const name : names) {
        EXPECT_EQ(++number, LedColorNumber(name)) << name;
        EXPECT_EQ(name, LedColorName(number));
    }
}

TEST(LedColor, ThatIsNoneCannotBeAskedFor) {
    EXPECT_EQ("-", LedColorName(LedNoColor));
    EXPECT_EQ(std::nullopt, LedColorNumber("-"));
    EXPECT_EQ(std::nullopt, LedColorNumber("pink"));
    EXPECT_EQ(std::nullopt, LedColorNumber(""));
}

TEST(LedColor, OfAnyNumberHasAText) {
    EXPECT_EQ("unknown", LedColorName(7));
    EXPECT_EQ("unknown", LedColorName(-1));
}

TEST(LedGroups, AndNoOthersAskTheController) {
    std::vector<unsigned> asking;
    for (const auto& group : BM_ADAPTOR::g_GroupNames) {
        if (AsksController(group.m_Group)) asking.push_back(group.m_Group);
    }
    EXPECT_EQ((std::vector<unsigned>{0x100, 0x200, 0x30100, 0x30300}), asking);
}

TEST(LedNames, TellPlaceAndPurpose) {
    EXPECT_EQ("baseboard", LedBayText(BaseboardBay));
    EXPECT_EQ("AMC bay 8", LedBayText(LastAmcBay));
    EXPECT_EQ("RTM", LedBayText(RtmBay));
    EXPECT_EQ("1 hot swap", LedText(FirstLed));
    EXPECT_EQ("2 out of service", LedText(2));
    EXPECT_EQ("4 LED 3", LedText(LastLed));
}

TEST(LedNames, OfALedThatIsLitHaveItsColor) {
    constexpr int red = 2;
    EXPECT_EQ("on red", LedShows({1, 1, 0, 0, red}));
    EXPECT_EQ("off", LedShows({0, 0, 1, 0, red}));
    EXPECT_EQ("blink red", LedShows({0, 20, 125, 0, red}));
    EXPECT_EQ("lamp test", LedShows({0, 1, 0, 15, red}));
}

} // namespace
