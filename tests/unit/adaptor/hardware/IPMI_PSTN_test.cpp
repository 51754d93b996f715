// What the board's PCI driver is told of the RTM.
#include "adaptor/hardware/IPMI_PSTN.h"

#include "adaptor/hardware/HardwareTest.h"

#include <cerrno>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using RECORDS = std::vector<std::string>;
const RECORDS FIRST_PASS = {"1 DataValid=1", "1 RtmDetected=0"};

RECORDS BothPasses(const std::string& a_Type, const std::string& a_Framers, const std::string& a_Trunks) {
    RECORDS l_Records = FIRST_PASS;
    for (const std::string& l_Record :
         {"2 FramerType=" + a_Type, "2 NumberOfFramers=" + a_Framers, "2 TrunksPerFramer=" + a_Trunks,
          std::string("2 DataValid=1"), std::string("2 RtmDetected=1")})
        l_Records.push_back(l_Record);
    return l_Records;
}

class DriverFile : public HARDWARE_TEST {
protected:
    int Export() const { return PSTN_EXPORT(m_Frame).WriteProcFile(); }

    /// The texts of the lines of level 3 since the last call.
    TEXTS Errors() {
        TEXTS l_Texts;
        for (const LOG_LINE& l_Line : Lines()) {
            if (l_Line.m_Level == BM_LOG_ERROR) l_Texts.push_back(l_Line.m_Text);
        }
        return l_Texts;
    }

    static IPMI_ENTITY& AddRTM() { return AddEntity(ENTITY_ID_RTM, 9); }

    static LOG_LINE FileRead(const std::string& a_Values) {
        return Trace("IPMIAdaptor :: WriteProcFile - file read " + a_Values);
    }
    static LOG_LINE NotSimulated() { return FileRead("rc=0 l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1"); }
};

const LOG_LINE WRITE_NO_OVERRIDE = Trace("IPMIAdaptor :: WriteProcFile - Using FRU data (no override)");
const LOG_LINE WRITE_NAME = Trace("IPMIAdaptor :: WriteProcFile");

TEST_F(DriverFile, GetsTheRtmsFramersOneRecordAWrite) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(0xF8, 1, 4));
    EXPECT_EQ(Export(), 1);
    EXPECT_EQ(m_Board.Records(), BothPasses("1", "248", "4"));
    EXPECT_THAT(Lines(), ElementsAre(NotSimulated(), WRITE_NO_OVERRIDE, WRITE_NAME,
                                     Trace("IPMIAdaptor :: WriteProcFile - returning OK ")));
}

TEST_F(DriverFile, WithoutAnRtmGetsTheFirstPassOnly) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU"), AMCRecord(4, 1));
    g_EntityMap[{0, 0, ENTITY_ID_RTM, 0}] = nullptr;
    EXPECT_EQ(Export(), 12);
    EXPECT_EQ(m_Board.Records(), FIRST_PASS);
    EXPECT_THAT(Lines(), ElementsAre(NotSimulated(), WRITE_NO_OVERRIDE, WRITE_NAME,
                                     Error("IPMIAdaptor :: WriteProcFile - NO AMC INSTALLED ")));
}

TEST_F(DriverFile, WithoutRtmDataGetsTheFirstPassOnly) {
    AddRTM().m_FRUMap["null"] = nullptr;
    EXPECT_EQ(Export(), 12);
    EXPECT_EQ(m_Board.Records(), FIRST_PASS);
    EXPECT_THAT(Lines(), ElementsAre(NotSimulated(), WRITE_NO_OVERRIDE, WRITE_NAME,
                                     Error("IPMIAdaptor :: WriteProcFile - No RTM data ")));
}

TEST_F(DriverFile, RtmWithoutItsRecordIsThereAllTheSame) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), AMCRecord(4, 1));
    EXPECT_EQ(Export(), 1);
    EXPECT_EQ(m_Board.Records(), BothPasses("-1", "-1", "-1"));
    EXPECT_THAT(Lines(), ElementsAre(NotSimulated(), WRITE_NO_OVERRIDE, WRITE_NAME));
}

TEST_F(DriverFile, GetsTheSimulatedRtm) {
    m_Board.m_Environment["MAVK_RTM"] = "2184";
    EXPECT_EQ(Export(), 1);
    EXPECT_EQ(m_Board.Records(), BothPasses("1", "8", "4"));
    EXPECT_THAT(Lines(), ElementsAre(FileRead("rc=2 l_FramerType=1 l_NumFramers=8 l_NumTrunksPerFramer=4"),
                                     Trace("IPMIAdaptor :: WriteProcFile - Using simulated data")));
}

TEST_F(DriverFile, SimulatedRtmWithoutDigitsIsMinusOne) {
    m_Board.m_Environment["MAVK_RTM"] = "2";
    EXPECT_EQ(Export(), 1);
    EXPECT_EQ(m_Board.Records(), BothPasses("-1", "-1", "-1"));
}

TEST_F(DriverFile, SimulatedAbsenceGetsTheFirstPassOnly) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(8, 1, 4));
    m_Board.m_Environment["MAVK_RTM"] = "1";
    EXPECT_EQ(Export(), 12);
    EXPECT_EQ(m_Board.Records(), FIRST_PASS);
    EXPECT_THAT(Lines(), ElementsAre(FileRead("rc=1 l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1"),
                                     Trace("IPMIAdaptor :: WriteProcFile - returning simulated no RTM")));
}

TEST_F(DriverFile, ModeZeroReadsTheModelWhateverFollowsTheDigit) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(2, 3, 5));
    m_Board.m_Environment["MAVK_RTM"] = "0184";
    EXPECT_EQ(Export(), 1);
    EXPECT_EQ(m_Board.Records(), BothPasses("3", "2", "5"));
}

TEST_F(DriverFile, AnyOtherModeWritesWithoutValuesOfItsOwn) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(8, 1, 4));
    m_Board.m_Environment["MAVK_RTM"] = "3184";
    EXPECT_EQ(Export(), 1);
    EXPECT_EQ(m_Board.Records(), BothPasses("-1", "-1", "-1"));
    EXPECT_THAT(Lines(), ElementsAre(FileRead("rc=3 l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1")));
}

TEST_F(DriverFile, ThatCannotBeOpenedAtFirstEndsTheExport) {
    m_Board.m_OpenErrors = {{1, ENOENT}};
    EXPECT_EQ(Export(), 0);
    EXPECT_THAT(m_Board.Records(), IsEmpty());
    EXPECT_THAT(Lines(),
                ElementsAre(Error("OS Error ID = 2 OS Error String=No such file or directory"),
                            Error("IPMIAdaptor :: WriteProcFile - error - Can't open pci Driver for initial write")));
}

TEST_F(DriverFile, ThatCannotBeOpenedAgainKeepsTheFirstPass) {
    m_Board.m_Environment["MAVK_RTM"] = "2184";
    m_Board.m_OpenErrors = {{2, EACCES}};
    EXPECT_EQ(Export(), 0);
    EXPECT_EQ(m_Board.Records(), FIRST_PASS);
    EXPECT_EQ(Errors(), (TEXTS{"OS Error ID = 13 OS Error String=Permission denied",
                               "IPMIAdaptor::WriteProcFile - error - Can't open pci Driver"}));
}

struct FAILED_RECORD {
    const char* m_Record;
    const char* m_Name;
    std::size_t m_Taken; ///< records before it
};

void PrintTo(const FAILED_RECORD& a_Case, std::ostream* a_Stream) {
    *a_Stream << a_Case.m_Record;
}

class DriverRecord : public DriverFile, public testing::WithParamInterface<FAILED_RECORD> {};

TEST_P(DriverRecord, ThatIsNotTakenEndsTheExport) {
    m_Board.m_Environment["MAVK_RTM"] = "2184";
    m_Board.m_RefusedRecords = {GetParam().m_Record};
    EXPECT_EQ(Export(), 0);
    EXPECT_THAT(m_Board.Records(), testing::SizeIs(GetParam().m_Taken));
    EXPECT_EQ(Errors(), TEXTS{std::string("IPMIAdaptor :: WriteProcFile - error - Can't write ") + GetParam().m_Name});
}

INSTANTIATE_TEST_SUITE_P(Records, DriverRecord,
                         testing::Values(FAILED_RECORD{"1 DataValid=1", "DataValid", 0},
                                         FAILED_RECORD{"1 RtmDetected=0", "RtmDetected", 1},
                                         FAILED_RECORD{"2 FramerType=1", "FramerType", 2},
                                         FAILED_RECORD{"2 NumberOfFramers=8", "NumberOfFramers", 3},
                                         FAILED_RECORD{"2 TrunksPerFramer=4", "TrunksPerFramer", 4},
                                         FAILED_RECORD{"2 DataValid=1", "DataValid", 5},
                                         FAILED_RECORD{"2 RtmDetected=1", "RtmDetected", 6}));

} // namespace
