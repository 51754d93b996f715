// The status of an upgrade: who may begin one, and the event that tells of its end.
#include "adaptor/upgrade/IPMI_UpgradeStatus.h"

#include "adaptor/upgrade/UpgradeTest.h"

#include <stdexcept>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::IsEmpty;

namespace {

using Access = IPMI_TEST_ACCESS;

// ---- one upgrade after the other

TEXTS RowOf(const UPGRADE_STATUS& a_Status) {
    CBMIParams l_Row;
    a_Status.AddTo(l_Row);
    return TextsOf(l_Row);
}

TEST(UpgradeStatus, SecondBeginChangesNothingUntilTheFirstOneHasEnded) {
    UPGRADE_STATUS l_Status;
    EXPECT_TRUE(l_Status.Begin(UPGRADETARGET_MODULE, 3));
    EXPECT_FALSE(l_Status.Begin(UPGRADETARGET_BASEBOARD, 9));
    EXPECT_EQ(RowOf(l_Status), UpgradeRow(1, 3, 0));
    l_Status.SetOutcome(UPGRADE_DONE);
    l_Status.End();
    EXPECT_EQ(RowOf(l_Status), UpgradeRow(1, 3, 2));
    EXPECT_TRUE(l_Status.Begin(UPGRADETARGET_BASEBOARD, 9));
    EXPECT_EQ(RowOf(l_Status), UpgradeRow(0, 9, 0));
}

TEST(UpgradeStatus, UpgradeThatEndsWithoutAnOutcomeHasFailed) {
    UPGRADE_STATUS l_Status;
    l_Status.Begin(UPGRADETARGET_MODULE, 3);
    { const UPGRADE_END l_End(l_Status); }
    EXPECT_EQ(RowOf(l_Status), UpgradeRow(1, 3, 3));
}

TEST(UpgradeStatus, UpgradeThatWasLeftToItsThreadGoesOn) {
    UPGRADE_STATUS l_Status;
    l_Status.Begin(UPGRADETARGET_MODULE, 3);
    {
        UPGRADE_END l_End(l_Status);
        l_End.LeaveToThread();
    }
    EXPECT_EQ(RowOf(l_Status), UpgradeRow(1, 3, 0));
    EXPECT_FALSE(l_Status.Begin(UPGRADETARGET_MODULE, 3));
}

// ---- its event

using FirmwareEvent = UPGRADE_TEST;

TEST_F(FirmwareEvent, CarriesTargetBayAndOutcome) {
    m_Board.m_ToolResults = {Exited(4)};
    Upgrade();
    const auto l_Events = m_Host.Events();
    ASSERT_EQ(l_Events.size(), 1U);
    EXPECT_EQ(l_Events[0].m_Event, 0x600U);
    EXPECT_EQ(l_Events[0].m_Number, 5U);
    EXPECT_EQ(TextsOf(l_Events[0].m_Params), UpgradeRow(1, 3, 3));
}

TEST_F(FirmwareEvent, ComesWhenTheOutcomeCanBeReadAndTheNextUpgradeCannotStartYet) {
    TEXTS l_Row;
    int l_Second = -1;
    m_Host.m_OnEvent = [&] {
        l_Row = Row();
        l_Second = Write();
    };
    Upgrade();
    EXPECT_EQ(l_Row, UpgradeRow(1, 3, 2));
    EXPECT_EQ(l_Second, 0);
}

TEST_F(FirmwareEvent, IsAnnouncedBefore) {
    bool l_bAnnounced = false;
    m_Host.m_OnEvent = [&] { l_bAnnounced = m_Log.Has("UPGRADETHEAD :: run - sending event"); };
    Upgrade();
    EXPECT_TRUE(l_bAnnounced);
}

TEST_F(FirmwareEvent, ExceptionOfTheManagerIsLoggedAndTheNextUpgradeCanStart) {
    m_Host.m_OnEvent = [] { throw std::runtime_error("no room"); };
    Upgrade();
    EXPECT_THAT(Lines(), Contains(LOG_LINE{3, "IPMI Adaptor", "IPMIAdaptor::Firmware_Update event() - no room"}));
    Upgrade();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
}

TEST_F(FirmwareEvent, WithoutAManagerIsNotSent) {
    Access::Manager(m_Adaptor) = nullptr;
    Upgrade();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
    EXPECT_THAT(m_Host.Events(), IsEmpty());
}

} // namespace
