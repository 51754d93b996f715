// One port of the switch: what it tells and asks the board driver, and what it stores.
#include "adaptor/switch/IPMI_SwitchPort.h"

#include "adaptor/BoardTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* QUERY_FAILED =
    "Fail to Query Switch Port[3] and backend Id = 5 - firmware return error code = 9\n";
constexpr const char* SET_FAILED = "Fail to set Switch Port[3] and backend Id = 5 - firmware return error code = 9";
constexpr const char* LINK_FAILED =
    "Fail to Retrieve Switch Port[3] Status and backend Id = 5 - firmware return error code = 9\n";

class SwitchPort : public BOARD_TEST {
protected:
    SwitchPort() : m_Port(3, 5, TELQ_EXT_IF_RTM, "Port three", &m_Adaptor) {}

    std::string Stored() {
        auto& l_Rows = m_Storage.m_Files["telq_qub_switchport_cfg.xml"];
        return l_Rows.contains(3) ? TextOf(*l_Rows[3].GetParamById(BMI_HW_AMC_SWITCHPORT_ADMIN)) : "none";
    }

    IPMI_SWITCHPORT m_Port;
};

TEST_F(SwitchPort, KeepsWhatItWasMadeWith) {
    EXPECT_EQ(m_Port.GetPortNumber(), 3);
    EXPECT_EQ(m_Port.GetType(), 3);
    EXPECT_EQ(m_Port.GetName(), "Port three");
    EXPECT_EQ(m_Port.GetAdminStatus(), 0);
}

// ---- the driver

TEST_F(SwitchPort, QueryTakesTheSwitchsState) {
    for (const int l_Enabled : {1, 0, 2, -1}) {
        BoardDriver().m_Enabled[5] = l_Enabled;
        EXPECT_EQ(m_Port.QuerySwitchPort(), 1);
        EXPECT_EQ(m_Port.GetAdminStatus(), l_Enabled == 1 ? 1 : 0) << l_Enabled;
        EXPECT_THAT(Lines(), ElementsAre(BmiTrace("get admin status from fw = " + std::to_string(l_Enabled) +
                                                  ", SW port Port three, Backend Id = 5")));
    }
    EXPECT_THAT(BoardDriver().m_Calls, testing::Each("PortEnable 5 mode 2"));
}

TEST_F(SwitchPort, QueryThatFailsKeepsTheState) {
    BoardDriver().m_Enabled[5] = 1;
    m_Port.QuerySwitchPort();
    Lines();
    BoardDriver().m_Errors = {{"PortEnable 5 mode 2", 9}};
    EXPECT_EQ(m_Port.QuerySwitchPort(), 0);
    EXPECT_EQ(m_Port.GetAdminStatus(), 1);
    EXPECT_THAT(Lines(), ElementsAre(BmiError(QUERY_FAILED)));
}

TEST_F(SwitchPort, SettingDrivesTheSwitchToTheState) {
    EXPECT_EQ(m_Port.SetUseSetting(), 1);
    BoardDriver().m_Enabled[5] = 1;
    m_Port.QuerySwitchPort();
    EXPECT_EQ(m_Port.SetUseSetting(), 1);
    EXPECT_THAT(BoardDriver().m_Calls,
                ElementsAre("PortEnable 5 mode 0", "PortEnable 5 mode 2", "PortEnable 5 mode 1"));
    Lines();
    BoardDriver().m_Errors = {{"PortEnable", 9}};
    EXPECT_EQ(m_Port.SetUseSetting(), 0);
    EXPECT_THAT(Lines(), ElementsAre(BmiError(SET_FAILED)));
}

TEST_F(SwitchPort, LinkIsUpDownOrUnknown) {
    for (const int l_Link : {0, 1, 2}) {
        BoardDriver().m_Link[5] = l_Link;
        EXPECT_EQ(m_Port.GetOperStatus(), l_Link == 1 ? 1 : 0) << l_Link;
    }
    EXPECT_THAT(Lines(), IsEmpty());
    BoardDriver().m_Errors = {{"CheckLink", 9}};
    EXPECT_EQ(m_Port.GetOperStatus(), 2);
    EXPECT_THAT(Lines(), ElementsAre(BmiError(LINK_FAILED)));
}

// ---- a new state

TEST_F(SwitchPort, NewStateIsDrivenAndThenStored) {
    EXPECT_EQ(m_Port.SetSwitch(1), 1);
    EXPECT_EQ(m_Port.GetAdminStatus(), 1);
    EXPECT_EQ(BoardDriver().m_Enabled[5], 1);
    EXPECT_THAT(m_Storage.m_Calls,
                ElementsAre("StartTransaction",
                            "SetRow telq_qub_switchport_cfg.xml 0x30e02 i:3 key | 0x30e02 i:3 key, 0x30e03 i:1",
                            "EndTransaction"));
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace("set admin = 1, SW port Port three, Backend Id = 5")));
}

TEST_F(SwitchPort, EveryValueBut1DisablesAndIsKeptAsItCame) {
    for (const int l_Admin : {5, 0, 2, -1}) {
        BoardDriver().m_Enabled[5] = 1;
        EXPECT_EQ(m_Port.SetSwitch(l_Admin), 1);
        EXPECT_EQ(BoardDriver().m_Enabled[5], 0) << l_Admin;
        EXPECT_EQ(m_Port.GetAdminStatus(), l_Admin);
        EXPECT_EQ(Stored(), "0x30e03 i:" + std::to_string(l_Admin));
    }
}

TEST_F(SwitchPort, StateThatTheDriverRefusesChangesNothing) {
    BoardDriver().m_Errors = {{"PortEnable 5 mode 1", 9}};
    EXPECT_EQ(m_Port.SetSwitch(1), 0);
    EXPECT_EQ(m_Port.GetAdminStatus(), 0);
    EXPECT_THAT(m_Storage.m_Calls, IsEmpty());
    EXPECT_THAT(Lines(),
                ElementsAre(BmiTrace("set admin = 1, SW port Port three, Backend Id = 5"), BmiError(SET_FAILED)));
}

TEST_F(SwitchPort, StateThatCannotBeStoredIsDrivenAllTheSame) {
    for (const auto& [l_Call, l_Result] : std::map<std::string, int>{{"SetRow", 21}, {"EndTransaction", 0}}) {
        m_Storage.m_Refusals = {{l_Call, l_Result}};
        BoardDriver().m_Enabled[5] = 0;
        EXPECT_EQ(m_Port.SetSwitch(1), l_Result) << l_Call;
        EXPECT_EQ(BoardDriver().m_Enabled[5], 1);
        EXPECT_EQ(m_Port.GetAdminStatus(), 1);
    }
    for (const int l_Result : {0, 21}) {
        m_Storage.m_Refusals = {{"StartTransaction", l_Result}};
        EXPECT_EQ(m_Port.SetSwitch(0), l_Result);
        EXPECT_EQ(m_Port.GetAdminStatus(), 0);
    }
}

TEST_F(SwitchPort, WithoutAStorageANewStateIsDrivenAndNotStored) {
    Access::Storage(m_Adaptor) = nullptr;
    IPMI_SWITCHPORT l_Port(3, 5, TELQ_EXT_IF_RTM, "Port three", &m_Adaptor);
    EXPECT_EQ(l_Port.SetSwitch(1), 0);
    EXPECT_EQ(BoardDriver().m_Enabled[5], 1);
    EXPECT_EQ(l_Port.Init(), 1); // the switch's state
}

// ---- its beginning

TEST_F(SwitchPort, BeginsWithItsStoredState) {
    for (const int l_Admin : {1, 0, 5}) {
        StorePort(3, l_Admin);
        EXPECT_EQ(m_Port.Init(), 1);
        EXPECT_EQ(m_Port.GetAdminStatus(), l_Admin);
        EXPECT_EQ(BoardDriver().m_Enabled[5], l_Admin == 1 ? 1 : 0);
        EXPECT_THAT(Lines(), ElementsAre(BmiTrace("Set User's setting for Switch Port[3] and backend Id = 5 ")));
    }
    EXPECT_EQ(m_Storage.m_Calls[1], "RetrieveRow telq_qub_switchport_cfg.xml 0x30e02 i:3 key force 0");
}

TEST_F(SwitchPort, StoredStateThatTheDriverRefusesIsKept) {
    StorePort(3, 1);
    BoardDriver().m_Errors = {{"PortEnable", 9}};
    EXPECT_EQ(m_Port.Init(), 0);
    EXPECT_EQ(m_Port.GetAdminStatus(), 1);
    EXPECT_EQ(Errors(), TEXTS{SET_FAILED});
}

TEST_F(SwitchPort, WithoutAStoredStateTheSwitchsIsStored) {
    BoardDriver().m_Enabled[5] = 1;
    EXPECT_EQ(m_Port.Init(), 1);
    EXPECT_EQ(m_Port.GetAdminStatus(), 1);
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("PortEnable 5 mode 2"));
    EXPECT_THAT(m_Storage.m_Calls,
                ElementsAre("StartTransaction", "RetrieveRow telq_qub_switchport_cfg.xml 0x30e02 i:3 key force 0",
                            "EndTransaction", "StartTransaction",
                            "CreateRow telq_qub_switchport_cfg.xml 0x30e02 i:3 key | 0x30e02 i:3 key, 0x30e03 i:1",
                            "EndTransaction"));
}

TEST_F(SwitchPort, DriverIsNeverAskedInATransaction) {
    int l_Calls = 0;
    BoardDriver().m_AtCall = [&](const std::string& a_Call) {
        EXPECT_FALSE(m_Storage.m_IsOpen) << a_Call;
        ++l_Calls;
    };
    m_Port.Init(); // asks
    m_Port.Init(); // sets
    m_Port.SetSwitch(1);
    m_Port.GetOperStatus();
    EXPECT_EQ(l_Calls, 4);
}

TEST_F(SwitchPort, StateThatAnotherProcessStoresWhileTheSwitchIsAskedCounts) {
    BoardDriver().m_Enabled[5] = 1;
    BoardDriver().m_AtCall = [&](const std::string& a_Call) {
        if (a_Call == "PortEnable 5 mode 2") StorePort(3, 0);
    };
    EXPECT_EQ(m_Port.Init(), 1);
    EXPECT_EQ(m_Port.GetAdminStatus(), 0);
    EXPECT_EQ(BoardDriver().m_Enabled[5], 0);
    EXPECT_EQ(Stored(), "0x30e03 i:0");
    EXPECT_THAT(Lines(), Contains(BmiTrace("Set User's setting for Switch Port[3] and backend Id = 5 ")));
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("PortEnable 5 mode 2", "PortEnable 5 mode 0"));
}

TEST_F(SwitchPort, DebugLinesComeAtLevel3AndErrorsAlways) {
    for (const int l_Level : {0, 1, 2, 3, 4, 7}) {
        BM_LOG_LEVEL = l_Level;
        const std::size_t l_Debug = l_Level == 3 ? 1 : 0;
        BoardDriver() = {};
        m_Storage.m_Files.clear();
        m_Port.Init();
        EXPECT_THAT(Lines(), testing::SizeIs(l_Debug)) << l_Level; // asked
        m_Port.Init();
        EXPECT_THAT(Lines(), testing::SizeIs(l_Debug)) << l_Level; // the stored state
        m_Port.SetSwitch(1);
        EXPECT_THAT(Lines(), testing::SizeIs(l_Debug)) << l_Level;
        BoardDriver().m_Errors = {{"PortEnable", 9}, {"CheckLink", 9}};
        m_Port.QuerySwitchPort();
        m_Port.SetUseSetting();
        m_Port.GetOperStatus();
        EXPECT_THAT(Lines(), ElementsAre(BmiError(QUERY_FAILED), BmiError(SET_FAILED), BmiError(LINK_FAILED)));
    }
}

TEST_F(SwitchPort, RowWithoutAStateIsNoStoredState) {
    m_Storage.m_Files["telq_qub_switchport_cfg.xml"][3] = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 3);
    EXPECT_EQ(m_Port.Init(), 0); // the row is there already
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("PortEnable 5 mode 2"));
}

TEST_F(SwitchPort, StateThatTheSwitchCannotTellIsNotStored) {
    BoardDriver().m_Errors = {{"PortEnable", 9}};
    EXPECT_EQ(m_Port.Init(), 0);
    EXPECT_EQ(Stored(), "none");
    EXPECT_EQ(Errors(), TEXTS{QUERY_FAILED});
}

TEST_F(SwitchPort, StorageThatRefusesGivesItsResult) {
    m_Storage.m_Refusals = {{"RetrieveRow", 21}, {"CreateRow", 21}};
    EXPECT_EQ(m_Port.Init(), 21);
    m_Storage.m_Refusals = {{"EndTransaction", 0}};
    EXPECT_EQ(m_Port.Init(), 0);
    m_Storage.m_Refusals = {{"StartTransaction", 0}};
    BoardDriver().m_Enabled[5] = 1;
    EXPECT_EQ(m_Port.Init(), 0);
    EXPECT_EQ(m_Port.GetAdminStatus(), 1); // the switch's
}

} // namespace
