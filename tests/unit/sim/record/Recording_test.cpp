// Recordings as they are read: exchanges with their delays, and the errors of files that are none.
#include "sim/record/Recording.h"

#include "sim/base/Error.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace bladesim;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

class RecordingTest : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(m_file); }

    Recording Read(const std::string& lines) {
        std::ofstream(m_file, std::ios::binary) << "{\"bladesim_recording\":1}\n" << lines;
        return ReadRecording(m_file);
    }

    std::string ErrorOf(const std::string& lines) {
        try {
            Read(lines);
        } catch (const BladeError& error) {
            return error.what();
        }
        return "no error";
    }

    std::string m_file = testing::TempDir() + "recording-" + std::to_string(::getpid());
};

} // namespace

TEST_F(RecordingTest, HasEachRequestWithItsAnswer) {
    const auto exchanges = Read(R"({"ms":1,"request":1,"opener":1,"bytes":"06 01"}
{"ms":3.5,"answer":1,"bytes":"00 20"}
{"ms":4,"request":2,"opener":1,"bytes":"2c 00 00"}
)")
                               .m_exchanges;
    ASSERT_THAT(exchanges, SizeIs(2));
    EXPECT_THAT(exchanges[0].m_request, ElementsAre(6, 1));
    EXPECT_THAT(*exchanges[0].m_reply, ElementsAre(0, 0x20));
    EXPECT_EQ(exchanges[0].m_delay, 2500us);
    EXPECT_FALSE(exchanges[1].m_reply) << "it was never answered";
}

TEST_F(RecordingTest, CountsADelayFromWhenTheDriverCouldSendTheRequest) {
    const auto exchanges = Read(R"({"ms":1,"request":1,"opener":1,"bytes":"06 01"}
{"ms":1,"request":2,"opener":2,"bytes":"06 01"}
{"ms":10,"answer":1,"bytes":"00"}
{"ms":12,"answer":2,"bytes":"00"}
)")
                               .m_exchanges;
    EXPECT_EQ(exchanges[0].m_delay, 9ms);
    EXPECT_EQ(exchanges[1].m_delay, 2ms);
}

TEST_F(RecordingTest, LeavesOutRequestsToTheIPMBAndSecondAnswers) {
    const auto exchanges = Read(R"({"ms":1,"request":1,"opener":1,"bytes":"06 01","ipmb":130}
{"ms":1,"answer":1,"bytes":"c3"}
{"ms":2,"request":2,"opener":1,"bytes":"06 01"}
{"ms":3,"answer":2,"bytes":"00"}
{"ms":4,"answer":2,"bytes":"c1"}
)")
                               .m_exchanges;
    ASSERT_THAT(exchanges, SizeIs(1));
    EXPECT_THAT(*exchanges[0].m_reply, ElementsAre(0));
}

TEST_F(RecordingTest, NamesTheLineThatIsWrong) {
    const struct {
        const char* m_lines;
        const char* m_error;
    } cases[] = {
        {"[]\n", ":2: is not a JSON object"},
        {"{\"ms\":1}\n", ":2: is neither a request nor an answer"},
        {"{\"request\":1,\"bytes\":\"06 01\"}\n", ":2: ms: expected a number"},
        {"{\"ms\":1,\"request\":\"1\",\"bytes\":\"06 01\"}\n", ":2: request: expected a number"},
        {"{\"ms\":1,\"request\":1,\"bytes\":\"06\"}\n",
         ":2: bytes: expected pairs of hexadecimal digits with blanks between"},
        {"{\"ms\":1,\"request\":1,\"bytes\":6}\n",
         ":2: bytes: expected pairs of hexadecimal digits with blanks between"},
        {"{\"ms\":1,\"answer\":1,\"bytes\":\"00\"}\n", ":2: answers request 1, which is not there"},
        {"{\"ms\":1,\"request\":1,\"bytes\":\"06 01\"}",
         ":2: is cut off in the middle of a line: the end of the recording is missing"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(ErrorOf(each.m_lines), m_file + each.m_error) << each.m_lines;
}
