// The run status of all AMCs: what the host is told, and what their LEDs show.
#include "adaptor/startup/IPMI_RunStatus.h"

#include "adaptor/leds/LedTest.h"

#include "common/veldo_common_rows.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A controller that takes every LED's state.
class RunStatus : public LED_TEST {
protected:
    RunStatus() { Fake().OnRequest({0x2C, 0x07}, BYTES{0x00, 0x00}); }

    IPMI_ENTITY& AddModule(int a_EntityID, int a_Bay) {
        IPMI_ENTITY& l_Module = AddWithLEDs(a_EntityID, a_Bay, static_cast<uint8_t>(a_Bay));
        AddFRU(l_Module, "FRU");
        return l_Module;
    }
    int Set(int a_Status) { return IPMI_TEST_ACCESS::mSetAmcRTMStatus(m_Adaptor, a_Status); }
    static void Refuse(uint8_t a_FRUID, uint8_t a_LEDID, uint8_t a_Code) {
        Fake().OnRequest({0x2C, 0x07, 0x00, a_FRUID, a_LEDID}, BYTES{a_Code});
    }
    /// What the host was told, in order.
    std::vector<TEXTS> Told() const {
        std::vector<TEXTS> l_Told;
        for (const auto& l_Event : m_Manager.Events()) {
            EXPECT_EQ(l_Event.m_Event, 0x70402U);
            EXPECT_EQ(l_Event.m_Number, 5U);
            l_Told.push_back(TextsOf(l_Event.m_Params));
        }
        return l_Told;
    }
    /// The lines of start-up itself since the last call.
    std::vector<LOG_LINE> StartupLines() {
        std::vector<LOG_LINE> l_Lines = Lines();
        std::erase_if(l_Lines, [](const LOG_LINE& a_Line) { return a_Line.m_Component != "IPMI"; });
        return l_Lines;
    }
    static LOG_LINE Ipmi(const std::string& a_Text) { return {BM_LOG_ERROR, "IPMI", a_Text}; }
};

const BYTES HEALTH_ON = {3, 2, 0xFF, 0, 3}; ///< of bay 3's AMC

TEST_F(RunStatus, WithoutAModuleGives1AndDoesNothing) {
    AddBoard();
    EXPECT_EQ(Set(3), 1);
    EXPECT_THAT(Told(), IsEmpty());
    EXPECT_THAT(Sets(), IsEmpty());
    EXPECT_THAT(sg_AMC_MAP, IsEmpty());
}

TEST_F(RunStatus, IsToldBayByBayWithTheRtmLast) {
    AddModule(ENTITY_ID_RTM, 9);
    AddModule(ENTITY_ID_AMC, 5);
    AddModule(ENTITY_ID_AMC, 3);
    EXPECT_EQ(Set(4), 1);
    EXPECT_THAT(Told(), ElementsAre(TEXTS{"0x30208 i:4", "0x30201 i:3 key"}, TEXTS{"0x30208 i:4", "0x30201 i:5 key"},
                                    TEXTS{"0x30208 i:4", "0x30201 i:9 key"}));
    for (const int l_Bay : {3, 5, 9}) {
        CBMIParams l_Row;
        const CBMIKeys l_Key = KeyOf(BMI_HW_AMC_BAY, l_Bay);
        EXPECT_EQ(m_Adaptor.AMC_HW_ReadParams(&l_Key, &l_Row), 1);
        EXPECT_EQ(IntParam(&l_Row, BMI_HW_AMC_RUN_STATUS), 4) << l_Bay;
    }
}

TEST_F(RunStatus, OutOfServiceLedShowsItAndTheHealthLedIsOnWhateverItIs) {
    AddModule(ENTITY_ID_AMC, 3);
    const struct {
        int m_Status;
        BYTES m_OutOfService; ///< red
    } l_Cases[] = {
        {2, {3, 1, 50, 50, 2}},  {3, {3, 1, 50, 50, 2}},  {4, {3, 1, 0x00, 0, 2}},
        {5, {3, 1, 0xFF, 0, 2}}, {1, {3, 1, 0xFF, 0, 2}}, {77, {3, 1, 0xFF, 0, 2}},
    };
    for (const auto& l_Case : l_Cases) {
        const std::size_t l_Before = Sets().size();
        EXPECT_EQ(Set(l_Case.m_Status), 1);
        const auto l_Sets = Sets();
        ASSERT_EQ(l_Sets.size(), l_Before + 2) << l_Case.m_Status;
        EXPECT_EQ(l_Sets.at(l_Before), l_Case.m_OutOfService) << l_Case.m_Status;
        EXPECT_EQ(l_Sets.at(l_Before + 1), HEALTH_ON) << l_Case.m_Status;
    }
}

TEST_F(RunStatus, OfEveryBayIsShownByTheFirstAmc) {
    AddModule(ENTITY_ID_AMC, 3);
    AddModule(ENTITY_ID_AMC, 5);
    AddModule(ENTITY_ID_RTM, 9);
    EXPECT_EQ(Set(5), 1);
    const BYTES l_OutOfService = {3, 1, 0xFF, 0, 2};
    EXPECT_THAT(Sets(), ElementsAre(l_OutOfService, HEALTH_ON, l_OutOfService, HEALTH_ON, l_OutOfService, HEALTH_ON));
}

// ---- LEDs that were set, and others

TEST_F(RunStatus, LedSetByTheProbeIsNoFailureThoughItAnswers0) {
    AddModule(ENTITY_ID_AMC, 3);
    EXPECT_EQ(Set(4), 1);
    EXPECT_THAT(StartupLines(), IsEmpty());
    EXPECT_EQ(Sets().size(), 2U);
}

TEST_F(RunStatus, LedSetByItsControlIsNoFailure) {
    IPMI_ENTITY& l_AMC = AddModule(ENTITY_ID_AMC, 3);
    AddLight(l_AMC, "led 1");
    AddLight(l_AMC, "led 2");
    EXPECT_EQ(Set(3), 1);
    EXPECT_THAT(StartupLines(), IsEmpty());
    EXPECT_THAT(Fake().Controls().m_SetLights,
                ElementsAre(ipmi_light_setting_s{0, 500, 500, 2}, ipmi_light_setting_s{0, 1, 0, 3}));
}

TEST_F(RunStatus, OutOfServiceLedThatIsRefusedIsReportedAndTheWalkGoesOn) {
    AddModule(ENTITY_ID_AMC, 3);
    AddModule(ENTITY_ID_AMC, 5);
    Refuse(3, 1, 0xC1);
    EXPECT_EQ(Set(4), 1);
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi("Fail to set AMC OOS LED on Bay Location = 3, Error Id = 193"),
                                            Ipmi("Fail to set AMC OOS LED on Bay Location = 5, Error Id = 193")));
    EXPECT_EQ(Told().size(), 2U);
    EXPECT_EQ(Sets().size(), 4U);
}

TEST_F(RunStatus, HealthLedThatIsRefusedIsTheResultAndTheWalkGoesOn) {
    AddModule(ENTITY_ID_AMC, 3);
    AddModule(ENTITY_ID_AMC, 5);
    Refuse(3, 2, 0xC9);
    EXPECT_EQ(Set(4), 0xC9);
    const LOG_LINE l_Line = Ipmi("Fail to set AMCs Health LED, Error Id = 201");
    EXPECT_THAT(StartupLines(), ElementsAre(l_Line, l_Line));
    EXPECT_EQ(Told().size(), 2U);
}

TEST_F(RunStatus, ResultIsThatOfTheLastHealthLed) {
    AddModule(ENTITY_ID_AMC, 3);
    AddModule(ENTITY_ID_AMC, 5);
    Refuse(3, 2, 0xC9);
    // From the second bay's event on the controller takes it.
    class RELENTING_MANAGER final : public FAKE_MANAGER {
    public:
        int SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams* a_Params) override {
            const int l_Result = FAKE_MANAGER::SendEvent(a_Event, a_Number, a_Params);
            if (Events().size() == 2) Fake().OnRequest({0x2C, 0x07, 0x00, 3, 2}, BYTES{0x00, 0x00});
            return l_Result;
        }
    } l_Host;
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = &l_Host;
    EXPECT_EQ(Set(4), 1);
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi("Fail to set AMCs Health LED, Error Id = 201")));
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = &m_Manager;
}

TEST_F(RunStatus, OfAnRtmAloneFindsNoLed) {
    AddModule(ENTITY_ID_RTM, 9);
    EXPECT_EQ(Set(5), 12);
    EXPECT_THAT(Told(), ElementsAre(TEXTS{"0x30208 i:5", "0x30201 i:9 key"}));
    EXPECT_THAT(Sets(), IsEmpty());
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi("Fail to set AMC OOS LED on Bay Location = 9, Error Id = 12"),
                                            Ipmi("Fail to set AMCs Health LED, Error Id = 12")));
}

TEST_F(RunStatus, WithoutAProbeIsToldAndNotShown) {
    AddModule(ENTITY_ID_AMC, 3);
    ForgetProbe();
    EXPECT_EQ(Set(5), 12);
    EXPECT_EQ(Told().size(), 1U);
}

TEST_F(RunStatus, WithoutAManagerIsKeptAndShown) {
    AddModule(ENTITY_ID_AMC, 3);
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = nullptr;
    EXPECT_EQ(Set(5), 1);
    EXPECT_EQ(Sets().size(), 2U);
    EXPECT_EQ(sg_AMC_MAP.at(3)->m_RunStatus, 5);
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = &m_Manager;
}

// ---- rows and tables as a host's library may give them

/// Tables that keep what is written, and answer as told.
class KEPT_TABLES final : public RUN_STATUS_TABLES {
public:
    int ReadModules(CBMITable*& a_Table) override {
        a_Table = new CBMITable;
        for (const int l_Bay : m_Bays) {
            CBMIParams l_Row = KeyOf(BMI_HW_AMC_BAY, l_Bay);
            a_Table->AddRow(l_Row);
        }
        return m_ReadResult;
    }
    int WriteModule(CBMIKeys& a_Keys, CBMIParams& a_Values) override { return Keep(a_Keys, a_Values, m_WriteResult); }
    int WriteLED(CBMIKeys& a_Keys, CBMIParams& a_Values) override { return Keep(a_Keys, a_Values, 0); }

    std::vector<int> m_Bays{};
    int m_ReadResult = 1;
    int m_WriteResult = 1;
    std::vector<TEXTS> m_Written{};

private:
    int Keep(const CBMIKeys& a_Keys, const CBMIParams& a_Values, int a_Result) {
        TEXTS l_Texts = TextsOf(a_Keys);
        for (const std::string& l_Text : TextsOf(a_Values))
            l_Texts.push_back(l_Text);
        m_Written.push_back(l_Texts);
        return a_Result;
    }
};

TEST_F(RunStatus, GoesThroughTheModulesTableAndTheLedsTable) {
    KEPT_TABLES l_Tables;
    l_Tables.m_Bays = {3};
    EXPECT_EQ(RUN_STATUS(l_Tables).SetAll(3), 1);
    EXPECT_THAT(
        l_Tables.m_Written,
        ElementsAre(TEXTS{"0x30201 i:3 key", "0x30208 i:3"},
                    TEXTS{"0x20d i:3 key", "0x201 i:2 key", "0x20c i:2", "0x202 i:500", "0x203 i:500", "0x205 i:1"},
                    TEXTS{"0x20d i:3 key", "0x201 i:3 key", "0x20c i:3", "0x202 i:1", "0x203 i:0", "0x205 i:1"}));
}

TEST_F(RunStatus, TableThatCannotBeReadGivesItsResult) {
    KEPT_TABLES l_Tables;
    l_Tables.m_Bays = {3};
    l_Tables.m_ReadResult = 12;
    EXPECT_EQ(RUN_STATUS(l_Tables).SetAll(4), 12);
    EXPECT_THAT(l_Tables.m_Written, IsEmpty());
}

TEST_F(RunStatus, RowThatDoesNotGiveItsBayEndsTheWalk) {
    const CBMIParams l_First = KeyOf(BMI_HW_AMC_BAY, 3);
    const CBMIParams l_NoBay = KeyOf(BMI_HW_AMC_RUN_STATUS, 4);
    for (const CBMIParams* l_Second : std::initializer_list<const CBMIParams*>{&l_NoBay, nullptr}) {
        KEPT_TABLES l_Tables;
        EXPECT_EQ(RUN_STATUS(l_Tables).SetRows(std::vector<const CBMIParams*>{&l_First, l_Second, &l_First}, 4),
                  0x30011);
        EXPECT_THAT(StartupLines(), ElementsAre(Ipmi("Fail to get AMCs bay location")));
        EXPECT_EQ(l_Tables.m_Written.size(), 3U);
    }
}

TEST_F(RunStatus, StatusThatCannotBeSetEndsTheWalk) {
    KEPT_TABLES l_Tables;
    l_Tables.m_Bays = {3, 5};
    l_Tables.m_WriteResult = 16;
    EXPECT_EQ(RUN_STATUS(l_Tables).SetAll(4), 16);
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi("Fail to set AMCs run status, Error Id = 16")));
    EXPECT_EQ(l_Tables.m_Written.size(), 1U);
}

} // namespace
