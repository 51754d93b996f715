// How a look ends: by what it found, and by where that comes from.
#include "host/context/Context.h"

#include "host/context/FakeContext.h"
#include "host/words/Error.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

Source NoDevice() {
    return {Source::Kind::Missing, "/dev/ipmi0: No such file or directory"};
}

std::string Nothing(const Picture&, const Style&) {
    return "";
}

bool IsOne(const Picture& picture) {
    return picture.m_revision == 1;
}

TEST(RunLook, IsGoodWhenWhatItShowsIs) {
    FakeContext context;
    EXPECT_FALSE(RunLook(context, {"leds", Nothing, IsOne}));
    context.m_picture.m_revision = 1;
    EXPECT_TRUE(RunLook(context, {"leds", Nothing, IsOne}));
    EXPECT_EQ(std::nullopt, context.Ending());
    EXPECT_EQ(0, context.m_sessions) << "a look asks for the picture only";
}

TEST(RunLook, EndsWithStatusFourOnASimulatedInventory) {
    FakeContext context;
    context.m_picture.m_source = NoDevice();
    EXPECT_FALSE(RunLook(context, {"leds", Nothing, IsOne}));
    EXPECT_EQ(ExitSimulated, context.Ending());
}

TEST(RunLook, EndsByWhatItFoundWhenASimulatedInventoryIsAskedFor) {
    GlobalOptions globals;
    globals.m_simulated = true;
    FakeContext context(globals);
    context.m_picture.m_source = NoDevice();
    EXPECT_FALSE(RunLook(context, {"leds", Nothing, IsOne}));
    EXPECT_EQ(std::nullopt, context.Ending());
}

} // namespace
