// The register of running blades: who has which name, and who is refused.
#include "sim/life/Register.h"

#include "sim/base/Error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace bladesim;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

/// A register in a folder of its own, as a blade within a blade has it.
class Register : public testing::Test {
protected:
    Register() {
        EXPECT_NE(::mkdtemp(m_run.data()), nullptr);
        ::setenv("BLADESIM_RUN_DIR", m_run.c_str(), 1);
        m_folder = m_run + "/blades";
    }
    ~Register() override {
        ::unsetenv("BLADESIM_RUN_DIR");
        fs::remove_all(m_run);
    }

    static std::string ErrorOf(const std::function<void()>& deed) {
        try {
            deed();
        } catch (const BladeError& error) {
            return error.what();
        }
        return "";
    }

    std::string m_run = testing::TempDir() + "register-XXXXXX";
    std::string m_folder;
};

} // namespace

TEST_F(Register, IsForItsUserOnly) {
    EXPECT_EQ(RegisterFolder(), m_folder);
    struct stat state {};
    ASSERT_EQ(::stat(m_folder.c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 07777, 0700U);
    EXPECT_EQ(RegisterFolder(), m_folder) << "the same folder again";
}

TEST_F(Register, IsRefusedWhenOthersCanSeeIt) {
    RegisterFolder();
    fs::permissions(m_folder, fs::perms(0750));
    EXPECT_EQ(ErrorOf([] { RegisterFolder(); }), "no register of running blades: " + m_folder + ": is open to others");
}

TEST_F(Register, IsRefusedWhenItIsALink) {
    fs::create_directory(m_run + "/elsewhere");
    fs::create_directory_symlink(m_run + "/elsewhere", m_folder);
    EXPECT_THAT(ErrorOf([] { RegisterFolder(); }), HasSubstr("/blades: is not a folder"));
}

TEST_F(Register, GoesWithTheLastBladeAndComesWithTheNext) {
    const std::string folder = RegisterFolder();
    {
        const Registration first = Registration::Any(folder, "typical");
        { const Registration second = Registration::Any(folder, "full"); }
        EXPECT_TRUE(fs::exists(folder));
    }
    EXPECT_FALSE(fs::exists(folder));
    const Registration next = Registration::Any(folder, "typical");
    EXPECT_EQ(next.Name(), "typical");
    EXPECT_TRUE(fs::exists(folder));
}

TEST_F(Register, HasABladeAsLongAsItRuns) {
    const std::string folder = RegisterFolder();
    {
        const Registration registration = Registration::Any(folder, "typical");
        EXPECT_EQ(registration.Name(), "typical");
        EXPECT_THAT(RunningBlades(folder), testing::IsEmpty()) << "not entered yet";
        registration.Enter({"typical", "full", {"sleep", "\xFF"}, 17});
        const auto blades = RunningBlades(folder);
        ASSERT_EQ(blades.size(), 1U);
        EXPECT_EQ(blades[0].m_name, "typical");
        EXPECT_EQ(blades[0].m_blade, "full");
        EXPECT_EQ(blades[0].m_command[0], "sleep");
        EXPECT_EQ(blades[0].m_process, 17);
    }
    EXPECT_THAT(RunningBlades(folder), testing::IsEmpty());
    EXPECT_FALSE(fs::exists(folder)) << "nothing is left";
}

TEST_F(Register, GivesTheNextNameWhenOneIsTaken) {
    const std::string folder = RegisterFolder();
    const Registration first = Registration::Any(folder, "typical");
    const Registration second = Registration::Any(folder, "typical");
    EXPECT_EQ(second.Name(), "typical-2");
    EXPECT_EQ(Registration::Any(folder, "typical").Name(), "typical-3");
}

TEST_F(Register, RefusesANameThatIsTakenAndTellsWhoHasIt) {
    const std::string folder = RegisterFolder();
    const Registration first = Registration::Exactly(folder, "mine");
    first.Enter({"mine", "typical", {"true"}, 4711});
    EXPECT_EQ(ErrorOf([&] { Registration::Exactly(folder, "mine"); }),
              "a blade with the name mine is running, of process 4711");
}

TEST_F(Register, TakesNoNoticeOfWhatAKilledBladeLeftBehind) {
    const std::string folder = RegisterFolder();
    std::ofstream(folder + "/typical") << R"({"process":17,"blade":"typical","command":["true"]})";
    EXPECT_THAT(RunningBlades(folder), testing::IsEmpty());
    EXPECT_EQ(Registration::Any(folder, "typical").Name(), "typical");
}

TEST_F(Register, TakesNoNoticeOfAnEntryThatIsNone) {
    const std::string folder = RegisterFolder();
    const Registration registration = Registration::Any(folder, "typical");
    for (const char* text : {"", "{", "[]", "{}", R"({"process":"x","blade":1,"command":{}})"}) {
        std::ofstream(folder + "/typical") << text;
        EXPECT_THAT(RunningBlades(folder), testing::IsEmpty()) << text;
    }
}

TEST(BladeName, HasLettersDigitsDotsDashesAndUnderscores) {
    for (const char* name : {"a", "typical-2", "No_5.x", "0"})
        EXPECT_TRUE(IsBladeName(name)) << name;
    for (const std::string& name :
         {std::string(), std::string("."), std::string("-x"), std::string("../x"), std::string("a b"),
          std::string("a/b"), std::string("\xC3\xA4"), std::string(65, 'a')})
        EXPECT_FALSE(IsBladeName(name)) << name;
}
