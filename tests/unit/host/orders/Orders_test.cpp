// The table of the orders, and those that are a single call.
#include "host/orders/Order.h"

#include "host/UsageError.h"
#include "host/orders/ScriptedSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Orders, RefuseANameThatIsNone) {
    EXPECT_THAT(UsageErrorOf([] {
                    CheckOrder({"led-get", json::object()});
                }),
                HasSubstr("order 'led-get': expected one of led-set, dsp-set-ip, switch-set, board-reset"));
}

TEST(Orders, StartAndStopTellTheResultAndWhyItIsNone) {
    ScriptedSession blade;
    blade.m_logged = "no DSP";
    const OrderOutcome started = CarryOut({"start", json::object()}, blade, {});
    EXPECT_TRUE(started.m_good);
    EXPECT_EQ("start: 1 (success)\n", started.m_text);
    EXPECT_THAT(started.m_reasons, IsEmpty());
    blade.m_result = 0;
    const OrderOutcome stopped = CarryOut({"stop", json::object()}, blade, {});
    EXPECT_FALSE(stopped.m_good || stopped.m_changed);
    EXPECT_EQ("stop: 0 (nothing done)\n", stopped.m_text);
    EXPECT_THAT(stopped.m_reasons, ElementsAre("no DSP"));
    EXPECT_EQ("", stopped.m_cure) << "of what is not known";
    blade.m_logged = "";
    EXPECT_THAT(CarryOut({"start", json::object()}, blade, {}).m_cure, HasSubstr("see what `Init` returned"));
    blade.m_logged = "Fail to initialize DSP";
    EXPECT_THAT(CarryOut({"start", json::object()}, blade, {}).m_cure, HasSubstr("MAVK_INIT:"));
    EXPECT_THAT(blade.m_lifecycle, ElementsAre(Operation::Start, Operation::Stop, Operation::Start, Operation::Start));
    EXPECT_THAT(UsageErrorOf([] {
                    CheckOrder({"start", {{"now", true}}});
                }),
                HasSubstr("\"now\": it has no such value"));
}

TEST(Orders, ResetTheBoardByOneWrite) {
    ScriptedSession blade;
    const OrderOutcome outcome = CarryOut({"board-reset", json::object()}, blade, {});
    EXPECT_TRUE(outcome.m_good && outcome.m_changed);
    EXPECT_EQ(1, blade.m_writes);
    EXPECT_EQ("baseboard: a cold reset was sent; the adaptor does not wait for the controller's answer\n",
              outcome.m_text);
    blade.m_result = NotFound;
    EXPECT_THAT(CarryOut({"board-reset", json::object()}, blade, {}).m_remarks,
                ElementsAre("baseboard: no reset was sent; the adaptor answered 12 (not found)"));
}

TEST(Orders, DoNothingToSimulatedDataThatNobodyAskedFor) {
    ScriptedSession blade;
    Picture picture;
    picture.m_source = {Source::Kind::NoPermission, "/dev/ipmi0: Permission denied"};
    const OrderOutcome refused = CarryOut({"board-reset", json::object()}, blade, picture);
    EXPECT_TRUE(IsRefusedAsSimulated(refused));
    EXPECT_FALSE(refused.m_good || refused.m_changed);
    EXPECT_EQ(0, blade.m_writes);
    EXPECT_THAT(refused.m_remarks, ElementsAre("simulated inventory: /dev/ipmi0: Permission denied",
                                               "nothing was done: simulated data were not asked for (--simulated)"));
    EXPECT_EQ("permission", refused.m_values.at("source").at("kind"));
    EXPECT_FALSE(CarryOut({"board-reset", {{"simulated", false}}}, blade, picture).m_good);
    EXPECT_TRUE(CarryOut({"board-reset", {{"simulated", true}}}, blade, picture).m_good);
    EXPECT_EQ(1, blade.m_writes);
    EXPECT_TRUE(CarryOut({"start", json::object()}, blade, picture).m_good) << "it finds out what there is";
    EXPECT_THAT(UsageErrorOf([] {
                    CheckOrder({"board-reset", {{"simulated", "yes"}}});
                }),
                HasSubstr("\"simulated\": expected true or false"));
}

TEST(Orders, SetASwitchPortAndTellWhetherThatChangedIt) {
    ScriptedSession blade;
    EXPECT_FALSE(CarryOut({"switch-set", {{"port", 2}, {"enabled", true}}}, blade, {}).m_changed);
    const OrderOutcome outcome = CarryOut({"switch-set", {{"port", 2}, {"enabled", false}}}, blade, {});
    EXPECT_TRUE(outcome.m_good && outcome.m_changed);
    EXPECT_EQ(0, blade.m_admin);
    for (const json& values : {json{{"port", 5}, {"enabled", true}}, json{{"port", 1}}, json{{"enabled", true}}})
        EXPECT_NE("", UsageErrorOf([&] { CheckOrder({"switch-set", values}); }));
}

} // namespace
