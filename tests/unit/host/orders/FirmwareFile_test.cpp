// A firmware image of the host's own.
#include "host/orders/FirmwareFile.h"

#include "host/TestFolder.h"
#include "tests/SizeLimit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
namespace fs = std::filesystem;

class FirmwareFileTest : public testing::Test {
protected:
    static std::string ErrorOf(const std::function<void()>& work) {
        try {
            work();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }
    static mode_t ModeOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(0, stat(path.c_str(), &status));
        return status.st_mode & 07777;
    }

    const TestFolder m_own;
    const std::string m_folder = m_own.Path() + "/firmware";
};

TEST_F(FirmwareFileTest, HasTheBytesForItsOwnerAloneUntilItsEnd) {
    std::string path;
    {
        FirmwareFile file(m_folder, 5);
        file.Write("im");
        file.Write("age");
        file.Close();
        path = file.Path();
        EXPECT_EQ(0600U, ModeOf(path));
        EXPECT_EQ(0700U, ModeOf(m_folder));
        EXPECT_EQ("6105d6cc76af400325e94d588ce511be5bfdbb73b437dc51eca43917d7a43e3d", file.Sha256());
        std::ifstream stream(path);
        EXPECT_EQ("image", std::string(std::istreambuf_iterator<char>(stream), {}));
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(FirmwareFileTest, TakesTheFolderBackFromEverybodyElse) {
    fs::create_directories(m_folder);
    fs::permissions(m_folder, fs::perms::all);
    const FirmwareFile file(m_folder, 1);
    EXPECT_EQ(0700U, ModeOf(m_folder));
}

TEST_F(FirmwareFileTest, StaysWhenItIsReleasedAndHasANameOfItsOwn) {
    FirmwareFile one(m_folder, 0);
    FirmwareFile other(m_folder, 0);
    EXPECT_NE(one.Path(), other.Path());
    const std::string path = one.Path();
    { const FirmwareFile moved(std::move(one)); }
    EXPECT_FALSE(fs::exists(path));
    const std::string kept = other.Path();
    {
        FirmwareFile moved(std::move(other));
        moved.Release();
    }
    EXPECT_TRUE(fs::exists(kept));
}

TEST_F(FirmwareFileTest, RefusesMoreAndFewerBytesThanAnnounced) {
    FirmwareFile file(m_folder, 3);
    EXPECT_EQ("firmware image: it is longer than announced", ErrorOf([&] { file.Write("four"); }));
    file.Write("tw");
    EXPECT_EQ("firmware image: 2 of 3 bytes came", ErrorOf([&] { file.Close(); }));
}

TEST_F(FirmwareFileTest, NamesBothNumbersWhereThereIsNoRoom) {
    EXPECT_THAT(ErrorOf([&] { const FirmwareFile file(m_folder, uint64_t{1} << 62); }),
                testing::MatchesRegex("firmware image: .*/firmware has room for [0-9]+ bytes, and the image has "
                                      "4611686018427387904"));
    EXPECT_TRUE(fs::is_empty(m_folder));
}

TEST_F(FirmwareFileTest, LeavesNothingWhenItCannotBeWritten) {
    signal(SIGXFSZ, SIG_IGN);
    {
        FirmwareFile file(m_folder, 100);
        const SizeLimit limit(64);
        EXPECT_THAT(ErrorOf([&] { file.Write(std::string(100, 'x')); }), HasSubstr("File too large"));
    }
    EXPECT_TRUE(fs::is_empty(m_folder));
}

TEST_F(FirmwareFileTest, SaysWhyTheFolderCannotBeHad) {
    std::ofstream(m_folder) << "a file";
    EXPECT_THAT(ErrorOf([&] { const FirmwareFile file(m_folder, 1); }), HasSubstr("/firmware: Not a directory"));
    fs::remove(m_folder);
    fs::create_directory_symlink("/tmp", m_folder);
    EXPECT_NE("", ErrorOf([&] { const FirmwareFile file(m_folder, 1); }));
}

TEST(StateFolder, IsTheSimulatedBladesOrTheUsers) {
    setenv("BLADESIM_RUN_DIR", "/run/blade", 1);
    EXPECT_EQ("/run/blade/bmhost", StateFolder());
    setenv("BLADESIM_RUN_DIR", "", 1);
    EXPECT_THAT(StateFolder(), testing::EndsWith(geteuid() == 0 ? "/lib/bmhost" : "/bmhost"));
    unsetenv("BLADESIM_RUN_DIR");
}

} // namespace
