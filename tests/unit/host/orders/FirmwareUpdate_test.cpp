// A firmware upgrade begun: what is written, what is refused.
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

class FirmwareUpdateOrder : public testing::Test {
protected:
    FirmwareUpdateOrder() {
        m_picture.m_inventory.m_result = Success;
        BM_ADAPTOR::CBMIParams module = KeyOf(BM_ADAPTOR::BMI_HW_AMC_BAY, 3);
        BM_ADAPTOR::CBMIParam version(BM_ADAPTOR::BMI_PARAM_STRING, BM_ADAPTOR::BMI_HW_AMC_FW_VERSION, false);
        version.SetString("1.4");
        module.Add(version);
        m_picture.m_inventory.m_modules.push_back(module);
    }

    OrderOutcome Begin(json values) {
        values["path"] = "/images/a";
        values["name"] = "a.bin";
        return CarryOut({"firmware-update", values}, m_blade, m_picture);
    }

    ScriptedSession m_blade;
    Picture m_picture;
};

TEST_F(FirmwareUpdateOrder, TellsTheVersionBeforeAndThatItHasBegun) {
    const OrderOutcome outcome = Begin({{"target", "amc"}, {"bay", 3}});
    EXPECT_TRUE(outcome.m_good && outcome.m_changed);
    EXPECT_EQ("AMC bay 3: the upgrade has begun\n", outcome.m_text);
    EXPECT_EQ("1.4", outcome.m_values["version_before"]);
    EXPECT_EQ("a.bin", outcome.m_values["file"]);
    EXPECT_EQ(1, m_blade.m_writes);
}

TEST_F(FirmwareUpdateOrder, RefusesAnEmptyBay) {
    EXPECT_EQ("firmware update: AMC bay 4: there is no module", UsageErrorOf([&] {
                  Begin({{"target", "amc"}, {"bay", 4}});
              }));
    EXPECT_EQ("firmware update: RTM: there is no module", UsageErrorOf([&] { Begin({{"target", "rtm"}}); }));
    EXPECT_EQ(0, m_blade.m_writes);
    EXPECT_TRUE(Begin({{"target", "board"}}).m_good);
    m_picture.m_inventory.m_result = 0;
    EXPECT_TRUE(Begin({{"target", "rtm"}}).m_good) << "nobody knows what there is";
}

TEST_F(FirmwareUpdateOrder, RefusesASecondOneBesideTheFirst) {
    UpgradeFacts first;
    first.m_target = 1;
    first.m_bay = 3;
    m_picture.m_upgrades = {first};
    EXPECT_EQ("firmware update: an upgrade of AMC bay 3 is under way since 1970-01-01T00:00:00.000Z", UsageErrorOf([&] {
                  Begin({{"target", "board"}});
              }));
    m_picture.m_upgrades[0].m_ended = WallTime{};
    EXPECT_TRUE(Begin({{"target", "board"}}).m_good);
}

TEST_F(FirmwareUpdateOrder, TellsThatTheAdaptorDidNotBegin) {
    m_blade.m_result = 0;
    m_blade.m_logged = "in progress";
    const OrderOutcome outcome = Begin({{"target", "board"}});
    EXPECT_FALSE(outcome.m_good || outcome.m_changed);
    EXPECT_EQ("baseboard: the adaptor did not begin the upgrade: 0 (nothing done)\n", outcome.m_text);
    EXPECT_THAT(outcome.m_reasons, ElementsAre("in progress"));
}

TEST_F(FirmwareUpdateOrder, DryWritesNothing) {
    const OrderOutcome outcome = Begin({{"target", "amc"}, {"bay", 3}, {"dry_run", true}});
    EXPECT_TRUE(outcome.m_good);
    EXPECT_FALSE(outcome.m_changed);
    EXPECT_THAT(outcome.m_text, HasSubstr("AMC bay 3: nothing is written; an upgrade would write to 0x600\n"));
    EXPECT_EQ(0, m_blade.m_writes);
}

TEST_F(FirmwareUpdateOrder, RefusesValuesThatMakeNone) {
    EXPECT_THAT(UsageErrorOf([&] { Begin({{"target", "dsp"}}); }), HasSubstr("\"target\": expected board, amc, rtm"));
    EXPECT_THAT(UsageErrorOf([&] { Begin({{"target", "amc"}}); }), HasSubstr("\"bay\": expected a number from 1 to 8"));
    EXPECT_THAT(UsageErrorOf([&] { Begin({{"target", "rtm"}, {"bay", 3}}); }), HasSubstr("--bay goes with"));
    EXPECT_THAT(UsageErrorOf([] { CheckOrder({"firmware-update", {{"target", "rtm"}}}); }), HasSubstr("\"path\""));
}

} // namespace
