// A captured blade's file: what it holds, its rights, and what is left when it cannot be written.
#include "sim/capture/CaptureFile.h"

#include "SimulatedController.h"
#include "sim/base/Error.h"
#include "sim/blade/BladeFile.h"
#include "sim/capture/ComposeBlade.h"
#include "sim/capture/Requests.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace bladesim;
using testing::HasSubstr;

namespace {

class CaptureFileTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(m_folder);
        Conversation conversation = m_controller.Talk();
        m_captured = ReadController(conversation);
        m_blade = ComposeBlade(m_captured, [](const std::string&) {});
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    long Files() const {
        return std::distance(std::filesystem::directory_iterator(m_folder), std::filesystem::directory_iterator());
    }

    std::string m_folder = testing::TempDir() + "capture-" + std::to_string(::getpid());
    std::string m_file = m_folder + "/blade.json";
    SimulatedController m_controller;
    CapturedController m_captured;
    Blade m_blade;
};

} // namespace

TEST_F(CaptureFileTest, HoldsTheBladeForItsOwnerOnly) {
    WriteCaptured(m_file, m_blade, m_captured);
    struct stat status {};
    ASSERT_EQ(::stat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(ReadBladeFile(m_file).m_frus.size(), m_blade.m_frus.size());
    EXPECT_EQ(Files(), 1);
}

TEST_F(CaptureFileTest, IsNotWrittenWhenTheBladeWouldAnswerOtherwise) {
    std::ofstream(m_file) << "before";
    m_captured.m_replies[AddressInfoOf(0)] = {0xC1};
    try {
        WriteCaptured(m_file, m_blade, m_captured);
        FAIL() << "no error";
    } catch (const BladeError& error) {
        EXPECT_THAT(error.what(), HasSubstr("would not answer 2c 01 00 00 with c1"));
    }
    EXPECT_EQ(std::filesystem::file_size(m_file), 6U);
    EXPECT_EQ(Files(), 1);
}

TEST_F(CaptureFileTest, SaysBeforehandThatItCannotBeWritten) {
    CheckWritable(m_file);
    EXPECT_EQ(Files(), 0);
    EXPECT_THROW(CheckWritable(m_folder + "/none/blade.json"), BladeError);
}
