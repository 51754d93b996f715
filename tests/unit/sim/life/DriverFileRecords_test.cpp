// What the PCI driver is told through its file: what becomes of each call, and what is kept of it.
#include "sim/life/DriverFileRecords.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace BLADESIM;

namespace {

DRIVER_FILE_FAULT FailingFault(DRIVER_FILE_CALL a_Call, unsigned a_First, unsigned a_Count, int a_Error) {
    return {a_Call, a_First, a_Count, a_Error, std::nullopt};
}

DRIVER_FILE_FAULT CutFault(unsigned a_First, unsigned a_Count, size_t a_Bytes) {
    return {DRIVER_FILE_CALL::WRITE, a_First, a_Count, 0, a_Bytes};
}

void ExpectAnswer(const DRIVER_FILE_ANSWER& a_Answer, int a_Result, const std::string& a_Line) {
    EXPECT_EQ(a_Answer.m_Result, a_Result);
    EXPECT_EQ(a_Answer.m_Line, a_Line);
}

} // namespace

TEST(DriverFileRecords, NumberOpensFromOne) {
    DRIVER_FILE_RECORDS l_Records({});
    ExpectAnswer(l_Records.Open(), 1, "");
    ExpectAnswer(l_Records.Open(), 2, "");
}

TEST(DriverFileRecords, KeepEachWriteWithItsOpenAndItsNumberInTheBladesLife) {
    DRIVER_FILE_RECORDS l_Records({});
    ExpectAnswer(l_Records.Write(1, "DataValid=1"), 11, R"({"open":1,"write":1,"text":"DataValid=1"})");
    ExpectAnswer(l_Records.Write(2, "RtmDetected=0"), 13, R"({"open":2,"write":2,"text":"RtmDetected=0"})");
}

TEST(DriverFileRecords, KeepBytesAbove127AsTheCharactersOfTheseNumbers) {
    DRIVER_FILE_RECORDS l_Records({});
    ExpectAnswer(l_Records.Write(1, "\x7F\x80\xBF\xC0\xFF\n"), 6,
                 "{\"open\":1,\"write\":1,\"text\":\"\x7F\u0080\u00BF\u00C0\u00FF\\n\"}");
}

TEST(DriverFileRecords, TakeAPageAtMost) {
    DRIVER_FILE_RECORDS l_Records({});
    const std::string l_Page(g_MaxDriverRecord, 'x');
    EXPECT_EQ(l_Records.Write(1, l_Page).m_Result, static_cast<int>(g_MaxDriverRecord));
    ExpectAnswer(l_Records.Write(1, l_Page + "y"), -EINVAL,
                 R"({"open":1,"write":2,"text":")" + l_Page + R"(","error":"EINVAL"})");
}

TEST(DriverFileRecords, FailTheOpensThatAFaultHitsAndNumberThemAllTheSame) {
    DRIVER_FILE_RECORDS l_Records({{FailingFault(DRIVER_FILE_CALL::OPEN, 2, 2, EACCES)}});
    ExpectAnswer(l_Records.Open(), 1, "");
    ExpectAnswer(l_Records.Open(), -EACCES, R"({"open":2,"error":"EACCES"})");
    ExpectAnswer(l_Records.Open(), -EACCES, R"({"open":3,"error":"EACCES"})");
    ExpectAnswer(l_Records.Open(), 4, "");
}

TEST(DriverFileRecords, FailTheWritesThatAFaultHitsAndNumberThemAllTheSame) {
    DRIVER_FILE_RECORDS l_Records({{FailingFault(DRIVER_FILE_CALL::WRITE, 2, 1, EIO)}});
    EXPECT_EQ(l_Records.Write(1, "a").m_Result, 1);
    ExpectAnswer(l_Records.Write(1, "b"), -EIO, R"({"open":1,"write":2,"text":"b","error":"EIO"})");
    ExpectAnswer(l_Records.Write(1, "c"), 1, R"({"open":1,"write":3,"text":"c"})");
}

TEST(DriverFileRecords, FailAllCallsThatFollowWhenAFaultHasNoCount) {
    DRIVER_FILE_RECORDS l_Records({{FailingFault(DRIVER_FILE_CALL::OPEN, 2, 0, ENODEV)}});
    EXPECT_EQ(l_Records.Open().m_Result, 1);
    for (int l_Times = 0; l_Times < 100; ++l_Times)
        EXPECT_EQ(l_Records.Open().m_Result, -ENODEV);
}

TEST(DriverFileRecords, CutAWriteAndSayWhatWasTaken) {
    DRIVER_FILE_RECORDS l_Records({{CutFault(1, 1, 4)}});
    ExpectAnswer(l_Records.Write(1, "DataValid=1"), 4, R"({"open":1,"write":1,"text":"DataValid=1","taken":4})");
    EXPECT_EQ(l_Records.Write(1, "DataValid=1").m_Result, 11);
}

TEST(DriverFileRecords, CutAWriteToNothing) {
    DRIVER_FILE_RECORDS l_Records({{CutFault(1, 1, 0)}});
    ExpectAnswer(l_Records.Write(1, "a"), 0, R"({"open":1,"write":1,"text":"a","taken":0})");
}

TEST(DriverFileRecords, TakeAllOfAWriteThatIsNotLongerThanWhatIsLeftOfIt) {
    DRIVER_FILE_RECORDS l_Records({{CutFault(1, 0, 4)}});
    ExpectAnswer(l_Records.Write(1, "abcd"), 4, R"({"open":1,"write":1,"text":"abcd"})");
}

TEST(DriverFileRecords, LetTheFirstFaultOfAKindHaveItsWay) {
    DRIVER_FILE_RECORDS l_Records({{FailingFault(DRIVER_FILE_CALL::OPEN, 1, 0, EPERM), CutFault(1, 0, 1),
                                    FailingFault(DRIVER_FILE_CALL::WRITE, 1, 0, EIO)}});
    EXPECT_EQ(l_Records.Write(1, "abcd").m_Result, 1);
    EXPECT_EQ(l_Records.Open().m_Result, -EPERM);
}
