// The lines of a recording.
#include "sim/record/Recorder.h"

#include "sim/base/Error.h"
#include "sim/record/Recording.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

class RecorderTest : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(m_file); }

    std::vector<nlohmann::json> Lines() const {
        std::vector<nlohmann::json> lines;
        std::ifstream stream(m_file);
        for (std::string line; std::getline(stream, line);)
            lines.push_back(nlohmann::json::parse(line));
        return lines;
    }

    std::string m_file = testing::TempDir() + "recorder-" + std::to_string(::getpid());
};

constexpr uint8_t AskedBytes[] = {6, 1};
constexpr uint8_t AnsweredBytes[] = {0, 0x20};

} // namespace

TEST_F(RecorderTest, HasALineForEachRequestAndAnswerAtOnce) {
    Recorder recorder(m_file);
    recorder.Request(1, 3, AskedBytes, {});
    ASSERT_THAT(Lines(), SizeIs(2)) << "while the recorder still lives";
    recorder.Request(2, 3, AskedBytes, 0x82);
    recorder.Answer(1, AnsweredBytes);
    const auto lines = Lines();
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_EQ(lines[0][RecordingKey], RecordingVersion);
    EXPECT_EQ(lines[1]["request"], 1);
    EXPECT_EQ(lines[1]["opener"], 3);
    EXPECT_EQ(lines[1]["bytes"], "06 01");
    EXPECT_FALSE(lines[1].contains("ipmb"));
    EXPECT_EQ(lines[2]["ipmb"], 0x82);
    EXPECT_EQ(lines[3]["answer"], 1);
    EXPECT_EQ(lines[3]["bytes"], "00 20");
    EXPECT_LE(lines[1]["ms"], lines[3]["ms"]);
}

TEST_F(RecorderTest, IsReadAgain) {
    {
        Recorder recorder(m_file);
        recorder.Request(1, 1, AskedBytes, {});
        recorder.Answer(1, AnsweredBytes);
    }
    const Recording recording = ReadRecording(m_file);
    ASSERT_THAT(recording.m_exchanges, SizeIs(1));
    EXPECT_THAT(recording.m_exchanges[0].m_request, ElementsAre(6, 1));
    EXPECT_THAT(*recording.m_exchanges[0].m_reply, ElementsAre(0, 0x20));
}

TEST_F(RecorderTest, BelongsToItsOwnerAndBeginsAnew) {
    std::ofstream(m_file) << "before\n";
    std::filesystem::remove(m_file);
    const Recorder recorder(m_file);
    struct stat status {};
    ASSERT_EQ(::stat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_THAT(Lines(), SizeIs(1));
}

TEST_F(RecorderTest, RecordsNothingWithoutAFile) {
    Recorder recorder;
    recorder.Request(1, 1, AskedBytes, {});
    recorder.Answer(1, AnsweredBytes);
    EXPECT_FALSE(std::filesystem::exists(m_file));
}

TEST_F(RecorderTest, NamesAFileThatCannotBeWritten) {
    try {
        const Recorder recorder(m_file + "/none");
        FAIL() << "no error";
    } catch (const BladeError& error) {
        EXPECT_EQ(error.what(), m_file + "/none: cannot be written: No such file or directory");
    }
}
