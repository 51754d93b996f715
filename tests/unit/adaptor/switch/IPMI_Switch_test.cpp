// The switch port table, how the ports are made, and the results of opening the board driver.
#include "adaptor/switch/IPMI_Switch.h"

#include "adaptor/BoardTest.h"
#include "adaptor/switch/IPMI_PCIHandle.h"
#include "adaptor/switch/IPMI_SwitchPort.h"
#include "common/veldo_common_rows.h"

#include <atomic>
#include <memory>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

const TEXTS PORT_1 = {"0x30e01 i:0 key", "0x30e02 i:1 key", "0x30e06 i:2 key", "0x30e05 s:Switch Port Fabric 1",
                      "0x30e03 i:1",     "0x30e04 i:0"};
const TEXTS PORT_2 = {"0x30e01 i:0 key", "0x30e02 i:2 key", "0x30e06 i:2 key", "0x30e05 s:Switch Port Fabric 2",
                      "0x30e03 i:0",     "0x30e04 i:1"};
const TEXTS PORT_3 = {"0x30e01 i:0 key", "0x30e02 i:3 key", "0x30e06 i:3 key", "0x30e05 s:Switch Port RTM 1",
                      "0x30e03 i:0",     "0x30e04 i:0"};
const TEXTS PORT_4 = {"0x30e01 i:0 key", "0x30e02 i:4 key", "0x30e06 i:3 key", "0x30e05 s:Switch Port RTM 2",
                      "0x30e03 i:0",     "0x30e04 i:2"};

class SwitchPorts : public BOARD_TEST {
protected:
    SwitchPorts() { m_Macs.Replace({{1, "02:00:00:00:00:12"}}); }
    ~SwitchPorts() override { PCI_HANDLE(m_Handle).Close(); }

    int InitSwitch() { return m_Switch.Init(&m_Adaptor); }

    int Write(int a_Port, int a_Admin) {
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, a_Port);
        CBMIParams l_Values;
        AddInt(l_Values, BMI_HW_AMC_SWITCHPORT_ADMIN, a_Admin);
        return m_Switch.Write(&l_Keys, &l_Values);
    }

    std::vector<TEXTS> Rows() {
        CBMITable* l_Made = nullptr;
        EXPECT_EQ(m_Switch.ReadTable(l_Made), 1);
        return TextsOf(*std::unique_ptr<CBMITable>(l_Made));
    }

    SWITCH_PORTS Ports() const { return *m_Ports.Get(); }

    SNAPSHOT<DSP_MACS> m_Macs;
    std::atomic<void*> m_Handle = nullptr;
    SNAPSHOT<SWITCH_PORTS> m_Ports;
    const SWITCH m_Switch{m_Macs, m_Handle, m_Ports};
};

// ---- opening

TEST_F(SwitchPorts, AreMadeWhenTheDriverIsOpen) {
    EXPECT_EQ(InitSwitch(), 1);
    EXPECT_THAT(Ports(), SizeIs(4));
    ASSERT_THAT(BoardDriver().m_Opened, SizeIs(1));
    EXPECT_EQ(BoardDriver().m_Opened[0].m_Content, (std::array<unsigned char, 8>{}));
    EXPECT_EQ(BoardDriver().m_Opened[0].m_First, 1);
    EXPECT_EQ(BoardDriver().m_Opened[0].m_Second, 0);
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.front(), BmiTrace("Entering mInitSwitchInfo()"));
    EXPECT_EQ(l_Lines[1], BmiTrace("Success Openning PCI Memory Handle\n"));
    EXPECT_EQ(l_Lines.back(), BmiTrace("Exit mInitSwitchInfo"));
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("PortEnable 3 mode 2", "PortEnable 4 mode 2", "PortEnable 5 mode 2",
                                                   "PortEnable 6 mode 2"));
}

TEST_F(SwitchPorts, AreMadeAnewByASecondOpening) {
    InitSwitch();
    EXPECT_EQ(InitSwitch(), 1);
    EXPECT_THAT(Ports(), SizeIs(4));
}

TEST_F(SwitchPorts, AreNotMadeWithoutADsp) {
    m_Macs.Clear();
    EXPECT_EQ(InitSwitch(), 0);
    EXPECT_THAT(BoardDriver().m_Opened, IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace("Exit mInitSwitchInfo")));
}

struct OPEN_FAILURE {
    int m_Result;
    std::vector<std::string> m_Errors;
};

void PrintTo(const OPEN_FAILURE& a_Case, std::ostream* a_Stream) {
    *a_Stream << "result " << a_Case.m_Result;
}

class SwitchOpening : public SwitchPorts, public testing::WithParamInterface<OPEN_FAILURE> {};

TEST_P(SwitchOpening, ThatFailsMakesNoPorts) {
    BoardDriver().m_OpenResult = GetParam().m_Result;
    EXPECT_EQ(InitSwitch(), 0);
    EXPECT_THAT(Ports(), IsEmpty());
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.front(), BmiTrace("Entering mInitSwitchInfo()"));
    EXPECT_EQ(l_Lines.back(), BmiTrace("Exit mInitSwitchInfo"));
    std::vector<LOG_LINE> l_Expected;
    for (const std::string& l_Error : GetParam().m_Errors)
        l_Expected.push_back(BmiError(l_Error));
    EXPECT_EQ(std::vector<LOG_LINE>(l_Lines.begin() + 1, l_Lines.end() - 1), l_Expected);
}

INSTANTIATE_TEST_SUITE_P(
    Results, SwitchOpening,
    testing::Values(OPEN_FAILURE{2, {"Fail to open PCI Memory Handle due to: File proc bus pci parse error\n"}},
                    OPEN_FAILURE{3, {"Fail to open PCI Memory Handle due to: Could Not Allocate Memory\n"}},
                    OPEN_FAILURE{4, {"Fail to open PCI Memory Handle due to: Handler Passed in as a NULL Pointer\n"}},
                    OPEN_FAILURE{5, {"Fail to open PCI Memory Handle due to: Could Not Register Base Addr\n"}},
                    OPEN_FAILURE{6, {"Fail to open PCI Memory Handle due to: Card Not Found\n"}}, OPEN_FAILURE{1, {}},
                    OPEN_FAILURE{7, {}}, OPEN_FAILURE{-1, {}}));

TEST_F(SwitchPorts, AreServedAsSoonAsEachIsInItsState) {
    std::vector<std::size_t> l_Served;
    BoardDriver().m_AtCall = [&](const std::string&) { l_Served.push_back(Ports().size()); };
    InitSwitch();
    EXPECT_THAT(l_Served, ElementsAre(0, 1, 2, 3));
}

TEST_F(SwitchPorts, DebugLinesComeAtLevel3Only) {
    for (const int l_Level : {0, 1, 2, 4, 7}) {
        BM_LOG_LEVEL = l_Level;
        EXPECT_EQ(InitSwitch(), 1);
        EXPECT_EQ(Write(1, 0), 1);
        EXPECT_THAT(Lines(), IsEmpty()) << l_Level;
    }
}

TEST_F(SwitchPorts, ThatCannotBeBroughtIntoTheirStateAreServedAllTheSame) {
    BoardDriver().m_Errors = {{"PortEnable", 9}};
    m_Storage.m_Refusals = {{"CreateRow", 0}};
    EXPECT_EQ(InitSwitch(), 1);
    EXPECT_THAT(Rows(), SizeIs(4));
}

// ---- the table

TEST_F(SwitchPorts, TableHoldsTheFourInOrder) {
    StorePort(1, 1);
    BoardDriver().m_Link = {{4, 1}};
    BoardDriver().m_Errors = {{"CheckLink 6", 9}};
    InitSwitch();
    EXPECT_THAT(Rows(), ElementsAre(PORT_1, PORT_2, PORT_3, PORT_4));
}

TEST_F(SwitchPorts, TableIsEmptyWithoutPortsOrWithoutADsp) {
    EXPECT_THAT(Rows(), IsEmpty());
    InitSwitch();
    m_Macs.Clear();
    EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(SwitchPorts, RowOfOnePortIsTheTables) {
    InitSwitch();
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 3);
    EXPECT_EQ(m_Switch.ReadRow(&l_Keys, &m_Row), 1);
    EXPECT_EQ(Row(), PORT_3);
    EXPECT_EQ(m_Switch.ReadRow(&l_Keys, nullptr), 4);
}

TEST_F(SwitchPorts, UnknownPortIsNoRow) {
    InitSwitch();
    const CBMIKeys l_NoKeys;
    const CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_SWITCHPORT_NUM, "3");
    const CBMIKeys l_Zero = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 0);
    const CBMIKeys l_Five = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 5);
    for (const CBMIKeys* l_Keys : std::initializer_list<const CBMIKeys*>{nullptr, &l_NoKeys, &l_Text, &l_Zero, &l_Five})
        EXPECT_EQ(m_Switch.ReadRow(l_Keys, &m_Row), 4);
    EXPECT_THAT(Row(), IsEmpty());
}

// ---- writes

TEST_F(SwitchPorts, WriteSetsTheState) {
    InitSwitch();
    EXPECT_EQ(Write(1, 1), 1);
    EXPECT_EQ(BoardDriver().m_Enabled[3], 1);
    EXPECT_EQ(Write(1, 5), 1);
    EXPECT_EQ(BoardDriver().m_Enabled[3], 0);
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 1);
    EXPECT_EQ(m_Switch.ReadRow(&l_Keys, &m_Row), 1);
    EXPECT_THAT(Row(), Contains("0x30e03 i:5"));
    BoardDriver().m_Errors = {{"PortEnable", 9}};
    EXPECT_EQ(Write(1, 1), 0);
}

TEST_F(SwitchPorts, WriteForNoPortIsNoRowAndAMissingStateAMissingValue) {
    InitSwitch();
    BoardDriver().m_Calls.clear();
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 1);
    const CBMIKeys l_NoKeys;
    CBMIParams l_Values;
    AddInt(l_Values, BMI_HW_AMC_SWITCHPORT_ADMIN, 1);
    EXPECT_EQ(m_Switch.Write(nullptr, &l_Values), 4);
    EXPECT_EQ(m_Switch.Write(&l_Keys, nullptr), 4);
    EXPECT_EQ(m_Switch.Write(&l_NoKeys, &l_Values), 4);
    EXPECT_EQ(Write(5, 1), 4);
    EXPECT_EQ(m_Switch.Write(&l_Keys, &m_Row), 23);
    // The key first: without a port it does not matter that there is no state.
    const CBMIKeys l_Unknown = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 5);
    EXPECT_EQ(m_Switch.Write(&l_NoKeys, &m_Row), 4);
    EXPECT_EQ(m_Switch.Write(&l_Unknown, &m_Row), 4);
    const CBMIParams l_Text = TextKeyOf(BMI_HW_AMC_SWITCHPORT_ADMIN, "1");
    EXPECT_EQ(m_Switch.Write(&l_Keys, &l_Text), 23);
    EXPECT_THAT(BoardDriver().m_Calls, Not(Contains("PortEnable 3 mode 1")));
}

} // namespace
