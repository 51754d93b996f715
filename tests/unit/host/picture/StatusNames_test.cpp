// Run status, upgrade target and upgrade state by name.
#include "host/picture/StatusNames.h"

#include "common/veldo_common_protocol.h"
#include "host/HostParams.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(StatusNames, OfRunStatusesComeWithTheirNumber) {
    EXPECT_EQ("not started", RunStatusName(1));
    EXPECT_EQ("starting (2)", RunStatusText(2));
    EXPECT_EQ("initialising (3)", RunStatusText(3));
    EXPECT_EQ("running (4)", RunStatusText(4));
    EXPECT_EQ("failed (5)", RunStatusText(5));
    EXPECT_EQ("unknown (0)", RunStatusText(0));
    EXPECT_EQ("unknown (-1)", RunStatusText(-1));
}

TEST(StatusNames, OfUpgradesAreThoseOfTheirStates) {
    EXPECT_EQ("in progress", UpgradeStateName(0));
    EXPECT_EQ("done", UpgradeStateName(2));
    EXPECT_EQ("failed", UpgradeStateName(3));
    EXPECT_EQ("unknown", UpgradeStateName(1));
}

TEST(StatusNames, OfUpgradeTargetsAreThePlaces) {
    EXPECT_EQ("baseboard", UpgradeTargetText({UpgradeOfBaseboard, 3, 0}));
    EXPECT_EQ("AMC bay 3", UpgradeTargetText({UpgradeOfModule, 3, 0}));
    EXPECT_EQ("RTM", UpgradeTargetText({UpgradeOfModule, 9, 0}));
}

TEST(StatusNames, AreOfWhatTheRowHas) {
    const UpgradeRow all =
        UpgradeOf(Row(Int(BM_ADAPTOR::BMI_FW_UPDATE_TARGET, 1), Int(BM_ADAPTOR::BMI_FW_UPDATE_BAY, 4),
                      Int(BM_ADAPTOR::BMI_FW_UPDATE_STATE, 3)));
    EXPECT_EQ(UpgradeOfModule, all.m_target);
    EXPECT_EQ(4, all.m_bay);
    EXPECT_EQ(UpgradeHasFailed, all.m_state);
    const UpgradeRow none = UpgradeOf(Row());
    EXPECT_EQ(UpgradeOfBaseboard, none.m_target);
    EXPECT_EQ(0, none.m_bay);
    EXPECT_EQ(UpgradeIsDone, none.m_state);
}

} // namespace
