// The log and what becomes of calls, as entries of the journal.
#include "host/service/JournalLog.h"

#include "common/veldo_common_protocol.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

using Fields = std::vector<std::string>;

struct Journal {
    Fields m_last;
    JournalLog m_log{"bmhostd", [this](const Fields& fields) { m_last = fields; }};
};

TEST(JournalLog, ALineHasItsLevelAsPriority) {
    Journal journal;
    journal.m_log.Line(BM_LOG_ERROR, "IPMI Adaptor", "Monitor Thread stopped");
    EXPECT_THAT(journal.m_last, ElementsAre("MESSAGE=[IPMI Adaptor] Monitor Thread stopped", "PRIORITY=3",
                                            "SYSLOG_IDENTIFIER=bmhostd", "COMPONENT=IPMI Adaptor"));
    journal.m_log.Line(BM_LOG_DEBUG, "IPMI", "a trace");
    EXPECT_THAT(journal.m_last, Contains("PRIORITY=7"));
}

TEST(JournalLog, ALevelBeyondThoseOfTheJournalBecomesTheNearest) {
    Journal journal;
    journal.m_log.Line(9, "IPMI", "text");
    EXPECT_THAT(journal.m_last, Contains("PRIORITY=7"));
    journal.m_log.Line(-1, "IPMI", "text");
    EXPECT_THAT(journal.m_last, Contains("PRIORITY=0"));
}

TEST(JournalLog, ATextOfSeveralLinesIsOneEntry) {
    Journal journal;
    journal.m_log.Line(BM_LOG_ERROR, "IPMI", "one\ntwo");
    EXPECT_THAT(journal.m_last, Contains("MESSAGE=[IPMI] one\ntwo"));
}

TEST(JournalLog, ANoteIsFoundByOperationBayAndResult) {
    Journal journal;
    journal.m_log.Note({"led-set", "health LED of bay 3: on", 3, 0, true, "uid 0, process 4711"});
    EXPECT_THAT(journal.m_last,
                ElementsAre("MESSAGE=health LED of bay 3: on", "PRIORITY=5", "SYSLOG_IDENTIFIER=bmhostd",
                            "OPERATION=led-set", "BAY=3", "RESULT=0", "ASKER=uid 0, process 4711"));
}

TEST(JournalLog, ANoteHasOnlyTheFieldsThatItKnows) {
    Journal journal;
    journal.m_log.Note({.m_operation = "fin", .m_text = "fin"});
    EXPECT_THAT(journal.m_last, Contains("OPERATION=fin"));
    for (const char* name : {"BAY=", "RESULT=", "ASKER="})
        EXPECT_THAT(journal.m_last, Not(Contains(StartsWith(name))));
}

TEST(JournalLog, WhoAskedThroughADoorIsFoundByAccountAndAddress) {
    Journal journal;
    journal.m_log.Note({.m_operation = "start", .m_asker = "anna (2001:db8::7) (uid 990, process 4711)"});
    EXPECT_THAT(journal.m_last, testing::IsSupersetOf({"ACCOUNT=anna", "ADDRESS=2001:db8::7",
                                                       "ASKER=anna (2001:db8::7) (uid 990, process 4711)"}));
    journal.m_log.Note({.m_operation = "start", .m_asker = "anna (192.0.2.7)"});
    EXPECT_THAT(journal.m_last, testing::IsSupersetOf({"ACCOUNT=anna", "ADDRESS=192.0.2.7"}));
    journal.m_log.Note({.m_operation = "start", .m_asker = "anna (uid 990, process 4711)"});
    EXPECT_THAT(journal.m_last, Contains("ACCOUNT=anna"));
    EXPECT_THAT(journal.m_last, Not(Contains(StartsWith("ADDRESS="))));
    journal.m_log.Note({.m_operation = "start", .m_asker = "uid 990, process 4711"});
    EXPECT_THAT(journal.m_last, Not(Contains(StartsWith("ACCOUNT="))));
}

TEST(JournalLog, EntriesAreThoseOfTheProgram) {
    Fields last;
    const JournalLog log("bmhost-web", [&](const Fields& fields) { last = fields; });
    log.Line(BM_LOG_ERROR, "IPMI", "text");
    EXPECT_THAT(last, Contains("SYSLOG_IDENTIFIER=bmhost-web"));
    log.Note({.m_operation = "start"});
    EXPECT_THAT(last, Contains("SYSLOG_IDENTIFIER=bmhost-web"));
}

TEST(JournalLog, ACallThatFailedIsAWarning) {
    Journal journal;
    journal.m_log.Note({.m_operation = "start", .m_text = "start: 0x30012", .m_result = 0x30012, .m_good = false});
    EXPECT_THAT(journal.m_last, Contains("PRIORITY=4"));
    EXPECT_THAT(journal.m_last, Contains("RESULT=196626"));
}

UpgradeFacts Upgrade(int32_t target, int32_t bay, int32_t state) {
    UpgradeFacts upgrade;
    upgrade.m_target = target;
    upgrade.m_bay = bay;
    upgrade.m_state = state;
    upgrade.m_asker = "uid 0, process 4711";
    return upgrade;
}

TEST(JournalLog, TheEndOfAnUpgradeIsFoundLikeItsOrder) {
    Journal journal;
    journal.m_log.Note(NoteOfUpgrade(Upgrade(BM_ADAPTOR::UPGRADETARGET_MODULE, 3, BM_ADAPTOR::UPGRADE_DONE)));
    EXPECT_THAT(journal.m_last,
                ElementsAre("MESSAGE=firmware upgrade of AMC bay 3: done", "PRIORITY=5", "SYSLOG_IDENTIFIER=bmhostd",
                            "OPERATION=firmware-update", "BAY=3", "RESULT=2", "ASKER=uid 0, process 4711"));
}

TEST(JournalLog, AnUpgradeThatFailedIsAWarningAndTheBaseboardHasNoBay) {
    Journal journal;
    journal.m_log.Note(NoteOfUpgrade(Upgrade(BM_ADAPTOR::UPGRADETARGET_BASEBOARD, 0, BM_ADAPTOR::UPGRADE_FAILED)));
    EXPECT_THAT(journal.m_last, testing::AllOf(Contains("MESSAGE=firmware upgrade of baseboard: failed"),
                                               Contains("PRIORITY=4"), Contains("RESULT=3")));
    EXPECT_THAT(journal.m_last, Not(Contains(StartsWith("BAY="))));
}

TEST(JournalLog, AJournalThatThrowsHarmsNobody) {
    const JournalLog log("bmhostd", [](const Fields&) { throw std::runtime_error("no memory"); });
    EXPECT_NO_THROW(log.Line(BM_LOG_ERROR, "IPMI", "text"));
}

class Stream : public testing::Test {
protected:
    Stream() {
        EXPECT_EQ(0, ::pipe2(m_pipe, O_CLOEXEC));
        EXPECT_EQ(0, ::fstat(m_pipe[1], &m_file));
    }
    ~Stream() override {
        ::close(m_pipe[0]);
        ::close(m_pipe[1]);
        ::unsetenv("JOURNAL_STREAM");
    }
    void Say(uint64_t device, uint64_t inode) {
        ::setenv("JOURNAL_STREAM", (std::to_string(device) + ":" + std::to_string(inode)).c_str(), 1);
    }

    int m_pipe[2] = {-1, -1};
    struct stat m_file {};
};

TEST_F(Stream, LeadsToTheJournalWhenItsNumbersAreTheVariables) {
    Say(m_file.st_dev, m_file.st_ino);
    EXPECT_TRUE(LeadsToJournal(m_pipe[1]));
}

TEST_F(Stream, LeadsElsewhereWhenItWasRedirected) {
    Say(m_file.st_dev, m_file.st_ino + 1);
    EXPECT_FALSE(LeadsToJournal(m_pipe[1]));
}

TEST_F(Stream, LeadsElsewhereWithoutTheVariableOrTheDescriptor) {
    ::unsetenv("JOURNAL_STREAM");
    EXPECT_FALSE(LeadsToJournal(m_pipe[1]));
    Say(m_file.st_dev, m_file.st_ino);
    EXPECT_FALSE(LeadsToJournal(-1));
}

} // namespace
