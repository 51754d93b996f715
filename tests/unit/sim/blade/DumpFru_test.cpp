// One FRU's image in a file.
#include "sim/blade/DumpFru.h"

#include "sim/base/Error.h"
#include "sim/blade/FruImage.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

using namespace bladesim;

namespace {

class DumpFruTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(m_folder);
        m_blade.m_file = "/blades/sample.json";
        m_blade.m_frus.resize(2);
        m_blade.m_frus[0].m_inventory.emplace().m_board = {"Maker", "Board", "S-1", "P-1"};
        m_blade.m_frus[1].m_id = 4;
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string ErrorOf(unsigned id, const std::string& file) {
        try {
            DumpFru(m_blade, id, file);
        } catch (const BladeError& error) {
            return error.what();
        }
        return "no error";
    }

    std::vector<uint8_t> Image() const { return BuildFruImage(*m_blade.m_frus[0].m_inventory); }

    static std::vector<uint8_t> Contents(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    size_t Files() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(m_folder), {}));
    }

    std::string m_folder = testing::TempDir() + "dump-fru-" + std::to_string(::getpid());
    std::string m_file = m_folder + "/fru.bin";
    Blade m_blade;
};

} // namespace

TEST_F(DumpFruTest, WritesTheImageAndLeavesNothingElse) {
    DumpFru(m_blade, 0, m_file);
    EXPECT_EQ(Contents(m_file), Image());
    EXPECT_EQ(Files(), 1U);
}

TEST_F(DumpFruTest, ReplacesALongerFileWhole) {
    std::ofstream(m_file) << std::string(1000, 'x');
    DumpFru(m_blade, 0, m_file);
    EXPECT_EQ(Contents(m_file), Image());
}

TEST_F(DumpFruTest, WritesWhereASymbolicLinkPoints) {
    std::filesystem::create_symlink("fru.bin", m_folder + "/link");
    std::ofstream(m_file) << "old";
    DumpFru(m_blade, 0, m_folder + "/link");
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder + "/link"));
    EXPECT_EQ(Contents(m_file), Image());
}

TEST_F(DumpFruTest, WritesIntoADeviceWithoutReplacingIt) {
    std::filesystem::create_symlink("/dev/null", m_file);
    DumpFru(m_blade, 0, m_file);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_TRUE(std::filesystem::is_symlink(m_file));
}

TEST_F(DumpFruTest, NamesAFRUThatIsNotThere) {
    EXPECT_EQ(ErrorOf(1, m_file), "/blades/sample.json: FRU 1 is not in this blade");
    EXPECT_EQ(ErrorOf(256, m_file), "/blades/sample.json: FRU 256 is not in this blade");
    EXPECT_EQ(Files(), 0U);
}

TEST_F(DumpFruTest, NamesAFRUWithoutInventory) {
    EXPECT_EQ(ErrorOf(4, m_file), "/blades/sample.json: FRU 4 has no inventory");
    EXPECT_EQ(Files(), 0U);
}

TEST_F(DumpFruTest, SaysThatTheFileCannotBeWrittenAndLeavesNothingBehind) {
    EXPECT_EQ(ErrorOf(0, "/nowhere/fru.bin"), "/nowhere/fru.bin: cannot be written: No such file or directory");
    EXPECT_EQ(ErrorOf(0, m_folder), m_folder + ": cannot be written: Is a directory");
    EXPECT_EQ(ErrorOf(0, "/dev/full"), "/dev/full: cannot be written: No space left on device");
    EXPECT_EQ(Files(), 0U);
}
