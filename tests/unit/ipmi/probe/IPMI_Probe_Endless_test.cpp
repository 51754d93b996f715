// Areas whose reading never completes: what is asked for then, for as long as the controller answers, and that memory
// stays flat.
#include "ProbeFixture.h"
#include "ipmi/LiveMemory.h"

using namespace BM_ADAPTOR;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::SizeIs;

namespace {

constexpr std::size_t REPLIES = 100000;
constexpr std::size_t SETTLED = 2000;               ///< replies after which everything that is made once is there
constexpr std::size_t FLAT = std::size_t{8} * 1024; ///< tolerance: the fake's own containers breathe

BYTES Odd(std::size_t a_Size) {
    BYTES l_Area = FRUImage({}, {}, Records({{0xC0, {1, 2, 3}}, {0xC1, {4, 5}}}));
    l_Area.resize(a_Size, 0);
    return l_Area;
}

class ProbeEndlessReading : public PROBE_TEST {
protected:
    /// Runs the inventory for many replies; the requests of the last `a_Tail` of them.
    std::vector<std::string> RunLong(std::size_t a_Tail) {
        BM_LOG_LEVEL = 0;
        m_Probe->StartCapture();
        Fake().RecordRequests(false);
        EXPECT_EQ(Fake().Run(SETTLED), SETTLED);
        const std::size_t l_Before = LiveBytes();
        EXPECT_EQ(Fake().Run(REPLIES), REPLIES) << "it ends only when the controller falls silent";
        EXPECT_LT(LiveBytes(), l_Before + FLAT);
        Fake().RecordRequests(true);
        const std::size_t l_From = Requests().size();
        Fake().Run(a_Tail);
        std::vector<std::string> l_Requests = Requests();
        l_Requests.erase(l_Requests.begin(), l_Requests.begin() + static_cast<long>(l_From));
        return l_Requests;
    }
};

TEST(LiveMemory, SeesWhatIsAllocated) {
    const std::size_t l_Before = LiveBytes();
    const BYTES l_Held(std::size_t{100} * 1024, 1);
    EXPECT_GE(LiveBytes(), l_Before + l_Held.size());
}

TEST_F(ProbeEndlessReading, OfA40ByteFRU0AsksBehindItsEndForEver) {
    ScriptController({{0, 0, 0, {}, Odd(40)}});
    const std::vector<std::string> l_Tail = RunLong(10);
    EXPECT_THAT(l_Tail, SizeIs(10));
    EXPECT_THAT(l_Tail, Each("0A 11 00 30 00 10"));
    EXPECT_FALSE(IsOver());
}

TEST_F(ProbeEndlessReading, BeginsByReadingOnPastTheEnd) {
    ScriptController({{0, 0, 0, {}, Odd(40)}});
    Capture(12);
    std::vector<std::string> l_Requests = Requests();
    l_Requests.erase(l_Requests.begin(), l_Requests.begin() + 5); // up to the size
    EXPECT_THAT(l_Requests,
                ElementsAre("0A 11 00 00 00 10", "0A 11 00 10 00 10", "0A 11 00 20 00 10", "0A 11 00 30 00 10",
                            "0A 11 00 30 00 10", "0A 11 00 30 00 10", "0A 11 00 30 00 10", "0A 11 00 30 00 10"));
}

TEST_F(ProbeEndlessReading, OfA40ByteFRU1AsksFRU0ForEverWhenThatIsShorter) {
    ScriptController({{0, 0, 0, {}, Odd(48)}, {7, 1, 0, {}, Odd(40)}});
    EXPECT_THAT(RunLong(10), Each("0A 11 00 30 00 10"));
}

TEST_F(ProbeEndlessReading, OfA40ByteFRU1ReadsFRU0sEndAgainAndAgainWhenThatIsLonger) {
    ScriptController({{0, 0, 0, {}, Odd(64)}, {7, 1, 0, {}, Odd(40)}});
    const std::vector<std::string> l_Tail = RunLong(12);
    const std::vector<std::string> l_Round = {"0A 10 01",          "0A 11 01 00 00 10", "0A 11 01 10 00 10",
                                              "0A 11 01 20 00 10", "0A 11 01 30 00 10", "0A 11 00 30 00 10"};
    ASSERT_THAT(l_Tail, SizeIs(12));
    const auto l_Begin = std::find(l_Round.begin(), l_Round.end(), l_Tail[0]) - l_Round.begin();
    for (std::size_t i = 0; i < l_Tail.size(); ++i) {
        EXPECT_EQ(l_Tail[i], l_Round[(static_cast<std::size_t>(l_Begin) + i) % l_Round.size()]) << i;
    }
    const IPMI_ENTITY& l_Board = *ACCESS::FRUEntities(*m_Probe).at(0);
    EXPECT_EQ(l_Board.m_FRUMap.size(), 1U);
    EXPECT_EQ(l_Board.FirstFRU()->m_MultiRecords.size(), 2U) << "parsed thousands of times";
}

TEST_F(ProbeEndlessReading, OfAnAreaThatAlwaysAnswersWrapsItsOffset) {
    ScriptController({{0, 0, 0, {}, Odd(40)}});
    Fake().OnRequest({0x0A, 0x11, 0}, [](const SENT_REQUEST&) {
        BYTES l_Reply = {0, 16};
        l_Reply.resize(18, 0x11);
        return l_Reply;
    });
    const std::vector<std::string> l_Tail = RunLong(4096);
    EXPECT_THAT(l_Tail, SizeIs(4096));
    EXPECT_EQ(std::count(l_Tail.begin(), l_Tail.end(), "0A 11 00 F0 FF 10"), 1);
    EXPECT_EQ(std::count(l_Tail.begin(), l_Tail.end(), "0A 11 00 00 00 10"), 1);
}

TEST_F(ProbeEndlessReading, OfAddressesThatNeverAdvanceStaysFlatToo) {
    ScriptController({{0, 0, 0, {}, {}}, {7, 1, 0, {}, {}}});
    Fake().OnRequest({0x2C, 0x01, 0x00, 0x01}, Hex("00 00 41 82 FF 00 01 00"));
    EXPECT_THAT(RunLong(10), Each("2C 01 00 01"));
}

} // namespace
