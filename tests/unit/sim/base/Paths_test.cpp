// Where bladesim finds its own files, and those of its blades.
#include "sim/base/Paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace bladesim;

namespace {

namespace fs = std::filesystem;

/// A folder of blades with one in it.
class BladeNames : public testing::Test {
protected:
    BladeNames() {
        std::string name = testing::TempDir() + "blades-XXXXXX";
        m_paths.m_blades = ::mkdtemp(name.data());
        std::ofstream(m_paths.m_blades + "/typical.json") << "{}";
    }
    ~BladeNames() override { fs::remove_all(m_paths.m_blades); }

    Paths m_paths;
};

} // namespace

TEST(Paths, BeginAtTheFolderOfTheProgram) {
    EXPECT_EQ(ProgramFolder(), fs::read_symlink("/proc/self/exe").parent_path().string());
}

TEST_F(BladeNames, AreThoseOfTheFilesThatCameWithTheProgram) {
    EXPECT_EQ(FindBlade(m_paths, "typical"), m_paths.m_blades + "/typical.json");
}

TEST_F(BladeNames, StayAsTheyAreWhenNoFileHasThem) {
    EXPECT_EQ(FindBlade(m_paths, "unheard-of"), "unheard-of");
}

TEST_F(BladeNames, WithAFolderArePaths) {
    EXPECT_EQ(FindBlade(m_paths, "./typical"), "./typical");
}

TEST_F(BladeNames, OfAFileInTheWorkingFolderAreThatFile) {
    const fs::path before = fs::current_path();
    fs::current_path(m_paths.m_blades);
    std::ofstream("typical") << "{}";
    const std::string found = FindBlade(m_paths, "typical");
    fs::current_path(before);
    EXPECT_EQ(found, "typical");
}

TEST_F(BladeNames, AreListedWithoutWhatIsNoBlade) {
    for (const char* name : {"a.json", "blade.schema.json", "notes.txt"})
        std::ofstream(m_paths.m_blades + "/" + name) << "{}";
    EXPECT_EQ(ShippedBlades(m_paths), (std::vector<std::string>{"a", "typical"}));
}
