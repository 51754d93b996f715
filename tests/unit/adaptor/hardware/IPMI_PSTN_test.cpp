// The RTM's overrides, in the environment and in a file, and what the board's PCI driver is told.
#include "adaptor/BoardTest.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct OVERRIDE {
    const char* m_Variable; ///< null: unset
    int m_Mode;
    std::vector<int> m_Values; ///< framer type, framers, trunks; -1 as the caller set them
};

void PrintTo(const OVERRIDE& a_Override, std::ostream* a_Stream) {
    *a_Stream << "MAVK_RTM " << (a_Override.m_Variable != nullptr ? a_Override.m_Variable : "unset");
}

const std::vector<int> UNTOUCHED = {-1, -1, -1};

class RtmOverride : public ADAPTOR_TEST, public testing::WithParamInterface<OVERRIDE> {};

TEST_P(RtmOverride, GivesModeAndValues) {
    if (GetParam().m_Variable != nullptr) setenv("MAVK_RTM", GetParam().m_Variable, 1);
    std::vector<int> l_Values = UNTOUCHED;
    EXPECT_EQ(m_Adaptor.ReadRTMConfig(&l_Values[0], &l_Values[1], &l_Values[2]), GetParam().m_Mode);
    EXPECT_EQ(l_Values, GetParam().m_Values);
}

INSTANTIATE_TEST_SUITE_P(
    Values, RtmOverride,
    testing::Values(OVERRIDE{nullptr, 0, UNTOUCHED}, OVERRIDE{"", 0, UNTOUCHED}, // set, but no digit
                    OVERRIDE{"0", 0, UNTOUCHED}, OVERRIDE{"0184", 0, UNTOUCHED}, // the digits behind are ignored
                    OVERRIDE{"1", 1, UNTOUCHED}, OVERRIDE{"1184", 1, UNTOUCHED}, OVERRIDE{"2184", 2, {1, 8, 4}},
                    OVERRIDE{"2000", 2, {0, 0, 0}}, OVERRIDE{"2999", 2, {9, 9, 9}},
                    OVERRIDE{"218477", 2, {1, 8, 4}},                              // nothing behind the fourth counts
                    OVERRIDE{"2x8-", 2, {0, 8, 0}},                                // no digit is 0
                    OVERRIDE{"2", 2, UNTOUCHED},                                   // too short
                    OVERRIDE{"218", 2, UNTOUCHED}, OVERRIDE{"3184", 3, UNTOUCHED}, // passed on
                    OVERRIDE{"9", 9, UNTOUCHED}, OVERRIDE{"x184", 0, UNTOUCHED},   // no digit is 0
                    OVERRIDE{"/184", 0, UNTOUCHED}, OVERRIDE{":184", 0, UNTOUCHED}));

using RtmOverrideLines = ADAPTOR_TEST;

TEST_F(RtmOverrideLines, TooShortASimulationIsReported) {
    int l_Value = -1;
    for (const std::string l_Text : {"2", "21", "218"}) {
        setenv("MAVK_RTM", l_Text.c_str(), 1);
        EXPECT_EQ(m_Adaptor.ReadRTMConfig(&l_Value, &l_Value, &l_Value), 2);
        EXPECT_THAT(Lines(), ElementsAre(Error("Invalid simuation data = " + l_Text)));
    }
}

TEST_F(RtmOverrideLines, AnyOtherValueIsTakenSilently) {
    int l_Value = -1;
    for (const char* l_Text : {"", "0", "1", "2184", "3"}) {
        setenv("MAVK_RTM", l_Text, 1);
        m_Adaptor.ReadRTMConfig(&l_Value, &l_Value, &l_Value);
        EXPECT_THAT(Lines(), IsEmpty());
    }
}

// ---- the override file

class RtmOverrideFile : public BOARD_TEST {
protected:
    /// Mode and values of a file with this content.
    std::vector<int> Read(const std::optional<std::string>& a_Content) {
        Kernel().m_OverrideFile = a_Content;
        std::vector<int> l_Values = {7, 7, 7, 7};
        l_Values[0] = m_Adaptor.ReadRTMConfigFile(&l_Values[1], &l_Values[2], &l_Values[3]);
        return l_Values;
    }
};

TEST_F(RtmOverrideFile, HoldsModeAndValuesInFourLines) {
    EXPECT_THAT(Read("2\n1\n8\n4\n"), ElementsAre(2, 1, 8, 4));
    EXPECT_THAT(Read("2\n1\n8\n4"), ElementsAre(2, 1, 8, 4));
    EXPECT_THAT(Read("0\n11\n-2\n300\n5\n"), ElementsAre(0, 11, -2, 300)); // a fifth is not read
}

TEST_F(RtmOverrideFile, LineWithoutANumberIsZero) {
    EXPECT_THAT(Read("two\n\n 8 of them\nx4\n"), ElementsAre(0, 0, 8, 0));
}

TEST_F(RtmOverrideFile, WithFewerLinesKeepsWhatItReadAndGivesZero) {
    EXPECT_THAT(Read("2\n1\n8\n"), ElementsAre(0, 1, 8, -1));
    EXPECT_THAT(Read("2\n"), ElementsAre(0, -1, -1, -1));
    EXPECT_THAT(Read(""), ElementsAre(0, -1, -1, -1));
}

TEST_F(RtmOverrideFile, ThatIsNotThereGivesMinusOne) {
    EXPECT_THAT(Read(std::nullopt), ElementsAre(-1, -1, -1, -1));
}

TEST_F(RtmOverrideFile, LongLineIsReadAsSeveral) {
    EXPECT_THAT(Read(std::string(1023, '0') + "1\n8\n4\n"), ElementsAre(0, 1, 8, 4));
}

// ---- what the driver is told

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

class DriverFile : public BOARD_TEST {
protected:
    static IPMI_ENTITY& AddRTM() { return AddEntity(ENTITY_ID_RTM, 9); }

    static LOG_LINE FileRead(const std::string& a_Values) {
        return Trace("IPMIAdaptor :: WriteProcFile - file read " + a_Values);
    }
    static LOG_LINE NotSimulated() { return FileRead("rc=0 l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1"); }
};

const LOG_LINE NO_OVERRIDE = Trace("IPMIAdaptor :: WriteProcFile - Using FRU data (no override)");
const LOG_LINE NAME = Trace("IPMIAdaptor :: WriteProcFile");

TEST_F(DriverFile, GetsTheRtmsFramersOneRecordAWrite) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(0xF8, 1, 4));
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 1);
    EXPECT_EQ(Kernel().m_Records, BothPasses("1", "248", "4"));
    EXPECT_THAT(Lines(),
                ElementsAre(NotSimulated(), NO_OVERRIDE, NAME, Trace("IPMIAdaptor :: WriteProcFile - returning OK ")));
}

TEST_F(DriverFile, IsOpenedForReadingAndWritingAndNeverCreated) {
    m_Adaptor.WriteProcFile();
    EXPECT_EQ(Kernel().m_OpenFlags & O_ACCMODE, O_RDWR);
    EXPECT_EQ(Kernel().m_OpenFlags & (O_CREAT | O_TRUNC | O_APPEND), 0);
    EXPECT_NE(Kernel().m_OpenFlags & O_CLOEXEC, 0);
}

TEST_F(DriverFile, WithoutAnRtmGetsTheFirstPassOnly) {
    AddAMC(3, 4);
    g_EntityMap[{0, 0, ENTITY_ID_RTM, 0}] = nullptr;
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 12);
    EXPECT_EQ(Kernel().m_Records, FIRST_PASS);
    EXPECT_THAT(Lines(), ElementsAre(NotSimulated(), NO_OVERRIDE, NAME,
                                     Error("IPMIAdaptor :: WriteProcFile - NO AMC INSTALLED ")));
}

TEST_F(DriverFile, WithoutRtmDataGetsTheFirstPassOnly) {
    AddRTM().m_FRUMap["null"] = nullptr;
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 12);
    EXPECT_EQ(Kernel().m_Records, FIRST_PASS);
    EXPECT_THAT(Lines(),
                ElementsAre(NotSimulated(), NO_OVERRIDE, NAME, Error("IPMIAdaptor :: WriteProcFile - No RTM data ")));
}

TEST_F(DriverFile, RtmWithoutItsRecordIsThereAllTheSame) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), AMCRecord(4, 1));
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 1);
    EXPECT_EQ(Kernel().m_Records, BothPasses("-1", "-1", "-1"));
    EXPECT_THAT(Lines(), ElementsAre(NotSimulated(), NO_OVERRIDE, NAME));
}

TEST_F(DriverFile, GetsTheSimulatedRtm) {
    setenv("MAVK_RTM", "2184", 1);
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 1);
    EXPECT_EQ(Kernel().m_Records, BothPasses("1", "8", "4"));
    EXPECT_THAT(Lines(), ElementsAre(FileRead("rc=2 l_FramerType=1 l_NumFramers=8 l_NumTrunksPerFramer=4"),
                                     Trace("IPMIAdaptor :: WriteProcFile - Using simulated data")));
}

TEST_F(DriverFile, SimulatedRtmWithoutDigitsIsMinusOne) {
    setenv("MAVK_RTM", "2", 1);
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 1);
    EXPECT_EQ(Kernel().m_Records, BothPasses("-1", "-1", "-1"));
}

TEST_F(DriverFile, SimulatedAbsenceGetsTheFirstPassOnly) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(8, 1, 4));
    setenv("MAVK_RTM", "1", 1);
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 12);
    EXPECT_EQ(Kernel().m_Records, FIRST_PASS);
    EXPECT_THAT(Lines(), ElementsAre(FileRead("rc=1 l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1"),
                                     Trace("IPMIAdaptor :: WriteProcFile - returning simulated no RTM")));
}

TEST_F(DriverFile, ModeZeroReadsTheModelWhateverFollowsTheDigit) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(2, 3, 5));
    setenv("MAVK_RTM", "0184", 1);
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 1);
    EXPECT_EQ(Kernel().m_Records, BothPasses("3", "2", "5"));
}

TEST_F(DriverFile, AnyOtherModeWritesWithoutValuesOfItsOwn) {
    AddMultiRecord(AddFRU(AddRTM(), "FRU"), RTMRecord(8, 1, 4));
    setenv("MAVK_RTM", "3184", 1);
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 1);
    EXPECT_EQ(Kernel().m_Records, BothPasses("-1", "-1", "-1"));
    EXPECT_THAT(Lines(), ElementsAre(FileRead("rc=3 l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1")));
}

TEST_F(DriverFile, ThatCannotBeOpenedAtFirstEndsTheExport) {
    Kernel().m_OpenErrors = {{1, ENOENT}};
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 0);
    EXPECT_THAT(Kernel().m_Records, IsEmpty());
    EXPECT_THAT(Lines(),
                ElementsAre(Error("OS Error ID = 2 OS Error String=No such file or directory"),
                            Error("IPMIAdaptor :: WriteProcFile - error - Can't open pci Driver for initial write")));
}

TEST_F(DriverFile, ThatCannotBeOpenedAgainKeepsTheFirstPass) {
    setenv("MAVK_RTM", "2184", 1);
    Kernel().m_OpenErrors = {{2, EACCES}};
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 0);
    EXPECT_EQ(Kernel().m_Records, FIRST_PASS);
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

TEST_P(DriverRecord, ThatIsNotTakenWholeEndsTheExport) {
    setenv("MAVK_RTM", "2184", 1);
    for (const long l_Written : {-1L, 0L, 3L}) {
        Kernel() = {};
        Kernel().m_Writes = {{GetParam().m_Record, l_Written}};
        EXPECT_EQ(m_Adaptor.WriteProcFile(), 0);
        EXPECT_THAT(Kernel().m_Records, testing::SizeIs(GetParam().m_Taken)) << l_Written;
        EXPECT_EQ(Errors(),
                  TEXTS{std::string("IPMIAdaptor :: WriteProcFile - error - Can't write ") + GetParam().m_Name});
    }
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
