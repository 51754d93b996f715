// Where the password for a blade elsewhere comes from, and which files are refused.
#include "host/connect/PasswordFile.h"

#include "host/TestFolder.h"
#include "host/UsageError.h"

#include "bm_dev/UniqueFd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::EndsWith;
using testing::HasSubstr;

class PasswordFile : public testing::Test {
protected:
    std::string File(const std::string& text, mode_t mode = 0600) const {
        std::ofstream(m_path) << text;
        chmod(m_path.c_str(), mode);
        return m_path;
    }

    const TestFolder m_folder;
    const std::string m_path = m_folder.Path() + "/password";
};

TEST_F(PasswordFile, HasItAsItsOnlyLine) {
    EXPECT_EQ("correct horse", PasswordIn(File("correct horse")));
    EXPECT_EQ("correct horse", PasswordIn(File("correct horse\n")));
    EXPECT_EQ(" correct horse ", PasswordIn(File(" correct horse \r\n")));
    EXPECT_EQ(std::string(256, 'x'), PasswordIn(File(std::string(256, 'x') + "\n")));
    EXPECT_EQ("h\xC3\xBC", PasswordIn(File("h\xC3\xBC\n", 0400)));
}

TEST_F(PasswordFile, ThatIsNotGoodIsRefusedWithTheReason) {
    const auto error = [](const std::string& file) { return UsageErrorOf([&] { PasswordIn(file); }); };
    EXPECT_THAT(error(m_path), EndsWith("password: No such file or directory"));
    EXPECT_THAT(error(File("")), HasSubstr("there is no password in it"));
    EXPECT_THAT(error(File("\n")), HasSubstr("there is no password in it"));
    EXPECT_THAT(error(File("one\ntwo\n")), HasSubstr("more than one line"));
    EXPECT_THAT(error(File(std::string(257, 'x'))), HasSubstr("no password has more than 256 bytes"));
    EXPECT_THAT(error(m_folder.Path()), HasSubstr("it is no plain file"));
    EXPECT_THAT(error("/dev/zero"), HasSubstr("it is no plain file"));
}

TEST_F(PasswordFile, ThatOthersCanReadIsRefused) {
    for (const mode_t mode : {0604, 0640, 0620, 0602, 0644})
        EXPECT_THAT(UsageErrorOf([&] { PasswordIn(File("correct horse\n", mode)); }),
                    EndsWith("others than its owner may read or write it; `chmod 600 " + m_path + "` ends that"));
    File("correct horse\n");
    if (geteuid() != 0) return; // only root can make one of somebody else
    ASSERT_EQ(0, chown(m_path.c_str(), 4711, 4711));
    EXPECT_THAT(UsageErrorOf([&] { PasswordIn(m_path); }), EndsWith("it belongs to user 4711"));
}

TEST_F(PasswordFile, StandardInputGivesOneLineAndKeepsTheRest) {
    const bm_dev::UniqueFd before(dup(STDIN_FILENO));
    const bm_dev::UniqueFd file(open(File("correct horse\nled show\n").c_str(), O_RDONLY | O_CLOEXEC));
    dup2(file.Get(), STDIN_FILENO);
    EXPECT_EQ("correct horse", PasswordIn("-"));
    std::string rest(64, '\0');
    rest.resize(static_cast<std::size_t>(read(STDIN_FILENO, rest.data(), rest.size())));
    EXPECT_EQ("led show\n", rest);
    EXPECT_THAT(UsageErrorOf([] { PasswordIn("-"); }), HasSubstr("--password-file -: "));
    dup2(before.Get(), STDIN_FILENO);
}

} // namespace
