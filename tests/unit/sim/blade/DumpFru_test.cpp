// One FRU's image in a file.
#include "sim/blade/DumpFru.h"

#include "sim/base/Error.h"
#include "sim/blade/FruImage.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

using namespace BLADESIM;

namespace {

class DumpFruTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(m_Folder);
        m_Blade.m_File = "/blades/sample.json";
        m_Blade.m_FRUs.resize(2);
        m_Blade.m_FRUs[0].m_Inventory.emplace().m_Board = {"Maker", "Board", "S-1", "P-1"};
        m_Blade.m_FRUs[1].m_Id = 4;
    }
    void TearDown() override { std::filesystem::remove_all(m_Folder); }

    std::string ErrorOf(unsigned a_Id, const std::string& a_File) {
        try {
            DumpFru(m_Blade, a_Id, a_File);
        } catch (const BLADE_ERROR& l_Error) {
            return l_Error.what();
        }
        return "no error";
    }

    std::vector<uint8_t> Image() const { return BuildFruImage(*m_Blade.m_FRUs[0].m_Inventory); }

    static std::vector<uint8_t> Contents(const std::string& a_File) {
        std::ifstream l_Stream(a_File, std::ios::binary);
        return {std::istreambuf_iterator<char>(l_Stream), {}};
    }

    size_t Files() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(m_Folder), {}));
    }

    std::string m_Folder = testing::TempDir() + "dump-fru-" + std::to_string(::getpid());
    std::string m_File = m_Folder + "/fru.bin";
    BLADE m_Blade;
};

} // namespace

TEST_F(DumpFruTest, WritesTheImageAndLeavesNothingElse) {
    DumpFru(m_Blade, 0, m_File);
    EXPECT_EQ(Contents(m_File), Image());
    EXPECT_EQ(Files(), 1U);
}

TEST_F(DumpFruTest, ReplacesALongerFileWhole) {
    std::ofstream(m_File) << std::string(1000, 'x');
    DumpFru(m_Blade, 0, m_File);
    EXPECT_EQ(Contents(m_File), Image());
}

TEST_F(DumpFruTest, WritesWhereASymbolicLinkPoints) {
    std::filesystem::create_symlink("fru.bin", m_Folder + "/link");
    std::ofstream(m_File) << "old";
    DumpFru(m_Blade, 0, m_Folder + "/link");
    EXPECT_TRUE(std::filesystem::is_symlink(m_Folder + "/link"));
    EXPECT_EQ(Contents(m_File), Image());
}

TEST_F(DumpFruTest, WritesIntoADeviceWithoutReplacingIt) {
    std::filesystem::create_symlink("/dev/null", m_File);
    DumpFru(m_Blade, 0, m_File);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_TRUE(std::filesystem::is_symlink(m_File));
}

TEST_F(DumpFruTest, NamesAFRUThatIsNotThere) {
    EXPECT_EQ(ErrorOf(1, m_File), "/blades/sample.json: FRU 1 is not in this blade");
    EXPECT_EQ(ErrorOf(256, m_File), "/blades/sample.json: FRU 256 is not in this blade");
    EXPECT_EQ(Files(), 0U);
}

TEST_F(DumpFruTest, NamesAFRUWithoutInventory) {
    EXPECT_EQ(ErrorOf(4, m_File), "/blades/sample.json: FRU 4 has no inventory");
    EXPECT_EQ(Files(), 0U);
}

TEST_F(DumpFruTest, SaysThatTheFileCannotBeWrittenAndLeavesNothingBehind) {
    EXPECT_EQ(ErrorOf(0, "/nowhere/fru.bin"), "/nowhere/fru.bin: cannot be written: No such file or directory");
    EXPECT_EQ(ErrorOf(0, m_Folder), m_Folder + ": cannot be written: Is a directory");
    EXPECT_EQ(ErrorOf(0, "/dev/full"), "/dev/full: cannot be written: No space left on device");
    EXPECT_EQ(Files(), 0U);
}
