// What is written to the PCI driver's file: the outcome of each call, and its line in the log.
#include "sim/pstn/DriverFileRecords.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace bladesim;

namespace {

DriverFileFault FailingFault(DriverFileCall call, unsigned first, unsigned count, int error) {
    return {call, first, count, error, std::nullopt};
}

DriverFileFault CutFault(unsigned first, unsigned count, size_t bytes) {
    return {DriverFileCall::Write, first, count, 0, bytes};
}

void ExpectAnswer(const DriverFileAnswer& answer, int result, const std::string& line) {
    EXPECT_EQ(answer.m_result, result);
    EXPECT_EQ(answer.m_line, line);
}

} // namespace

TEST(DriverFileRecords, NumberOpensFromOne) {
    DriverFileRecords records({});
    ExpectAnswer(records.Open(), 1, "");
    ExpectAnswer(records.Open(), 2, "");
}

TEST(DriverFileRecords, KeepEachWriteWithItsOpenAndItsNumberInTheBladesLife) {
    DriverFileRecords records({});
    ExpectAnswer(records.Write(1, "DataValid=1"), 11, R"({"open":1,"write":1,"text":"DataValid=1"})");
    ExpectAnswer(records.Write(2, "RtmDetected=0"), 13, R"({"open":2,"write":2,"text":"RtmDetected=0"})");
}

TEST(DriverFileRecords, KeepBytesAbove127AsTheCharactersOfTheseNumbers) {
    DriverFileRecords records({});
    ExpectAnswer(records.Write(1, "\x7F\x80\xBF\xC0\xFF\n"), 6,
                 "{\"open\":1,\"write\":1,\"text\":\"\x7F\u0080\u00BF\u00C0\u00FF\\n\"}");
}

TEST(DriverFileRecords, TakeAPageAtMost) {
    DriverFileRecords records({});
    const std::string page(MaxDriverRecord, 'x');
    EXPECT_EQ(records.Write(1, page).m_result, static_cast<int>(MaxDriverRecord));
    ExpectAnswer(records.Write(1, page + "y"), -EINVAL,
                 R"({"open":1,"write":2,"text":")" + page + R"(","error":"EINVAL"})");
}

TEST(DriverFileRecords, FailTheOpensThatAFaultHitsAndNumberThemAllTheSame) {
    DriverFileRecords records({{FailingFault(DriverFileCall::Open, 2, 2, EACCES)}});
    ExpectAnswer(records.Open(), 1, "");
    ExpectAnswer(records.Open(), -EACCES, R"({"open":2,"error":"EACCES"})");
    ExpectAnswer(records.Open(), -EACCES, R"({"open":3,"error":"EACCES"})");
    ExpectAnswer(records.Open(), 4, "");
}

TEST(DriverFileRecords, FailTheWritesThatAFaultHitsAndNumberThemAllTheSame) {
    DriverFileRecords records({{FailingFault(DriverFileCall::Write, 2, 1, EIO)}});
    EXPECT_EQ(records.Write(1, "a").m_result, 1);
    ExpectAnswer(records.Write(1, "b"), -EIO, R"({"open":1,"write":2,"text":"b","error":"EIO"})");
    ExpectAnswer(records.Write(1, "c"), 1, R"({"open":1,"write":3,"text":"c"})");
}

TEST(DriverFileRecords, FailAllCallsThatFollowWhenAFaultHasNoCount) {
    DriverFileRecords records({{FailingFault(DriverFileCall::Open, 2, 0, ENODEV)}});
    EXPECT_EQ(records.Open().m_result, 1);
    for (int times = 0; times < 100; ++times)
        EXPECT_EQ(records.Open().m_result, -ENODEV);
}

TEST(DriverFileRecords, CutAWriteAndSayWhatWasTaken) {
    DriverFileRecords records({{CutFault(1, 1, 4)}});
    ExpectAnswer(records.Write(1, "DataValid=1"), 4, R"({"open":1,"write":1,"text":"DataValid=1","taken":4})");
    EXPECT_EQ(records.Write(1, "DataValid=1").m_result, 11);
}

TEST(DriverFileRecords, CutAWriteToNothing) {
    DriverFileRecords records({{CutFault(1, 1, 0)}});
    ExpectAnswer(records.Write(1, "a"), 0, R"({"open":1,"write":1,"text":"a","taken":0})");
}

TEST(DriverFileRecords, TakeAllOfAWriteThatIsNotLongerThanWhatIsLeftOfIt) {
    DriverFileRecords records({{CutFault(1, 0, 4)}});
    ExpectAnswer(records.Write(1, "abcd"), 4, R"({"open":1,"write":1,"text":"abcd"})");
}

TEST(DriverFileRecords, LetTheFirstFaultOfAKindHaveItsWay) {
    DriverFileRecords records({{FailingFault(DriverFileCall::Open, 1, 0, EPERM), CutFault(1, 0, 1),
                                FailingFault(DriverFileCall::Write, 1, 0, EIO)}});
    EXPECT_EQ(records.Write(1, "abcd").m_result, 1);
    EXPECT_EQ(records.Open().m_result, -EPERM);
}
