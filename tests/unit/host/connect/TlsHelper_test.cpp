// The helper that speaks TLS, played by scripts: what it tells, and that nothing stays of it.
#include "host/connect/TlsHelper.h"

#include "host/TestFolder.h"
#include "host/words/Error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;

class HelperPlayed : public testing::Test {
protected:
    /// A program that does this; its standard output takes what it tells.
    std::string Plays(const std::string& lines) const {
        const std::string file = m_folder.Path() + "/helper";
        std::ofstream(file) << "#!/bin/sh\n" << lines << "\n";
        chmod(file.c_str(), 0755);
        return file;
    }
    /// What an attempt throws, by its kind and text.
    std::string ErrorOf(const std::string& lines) const {
        bm_dev::UniqueFd socket;
        try {
            TlsHelper helper(Plays(lines), m_place, socket);
            helper.AwaitReady(DeadlineAfter(m_patient));
        } catch (const UsageError& error) {
            return std::string("usage: ") + error.what();
        } catch (const Unreachable& error) {
            return std::string("unreachable: ") + error.what();
        } catch (const NotAdmitted& error) {
            return std::string("not admitted: ") + error.what();
        }
        return "ready";
    }
    static std::ptrdiff_t Descriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    static bool IsGone(pid_t process) { return kill(process, 0) != 0 && errno == ESRCH; }

    const std::chrono::milliseconds m_patient = 60s;
    const TestFolder m_folder;
    Elsewhere m_place = ElsewhereOf("https://blade7");
};

TEST_F(HelperPlayed, ItsWordsBecomeErrors) {
    EXPECT_EQ("ready", ErrorOf("echo ready; cat"));
    EXPECT_EQ("usage: --tls-ca x: No such file", ErrorOf("echo 'usage --tls-ca x: No such file'"));
    EXPECT_EQ("unreachable: https://blade7:8443: Connection refused", ErrorOf("echo 'unreachable Connection refused'"));
    EXPECT_EQ("not admitted: https://blade7:8443: it has expired", ErrorOf("echo 'untrusted it has expired'"));
    EXPECT_EQ("not admitted: https://blade7:8443: bmhost-tls has ended", ErrorOf("exit 0"));
    EXPECT_EQ("not admitted: https://blade7:8443: bmhost-tls has ended (signal 9)", ErrorOf("kill -9 $$"));
    EXPECT_EQ("not admitted: https://blade7:8443: bmhost-tls has ended (signal 9)", ErrorOf("printf rea; kill -9 $$"));
}

TEST_F(HelperPlayed, ItIsToldWhereToConnectAndNoPassword) {
    m_place.m_tlsCa = "ca file.pem";
    m_place.m_account = "anna";
    m_place.m_password = "horse";
    EXPECT_EQ("unreachable: https://blade7:8443: 3 blade7 8443 ca file.pem", ErrorOf("echo unreachable $# \"$@\""));
    EXPECT_EQ("unreachable: https://blade7:8443: 0", ErrorOf("echo unreachable $(env | grep -c -e horse -e anna)"));
}

TEST_F(HelperPlayed, OneThatIsNotInstalledIsNamed) {
    bm_dev::UniqueFd socket;
    TlsHelper helper(m_folder.Path() + "/none", m_place, socket);
    try {
        helper.AwaitReady({});
        FAIL() << "it is there";
    } catch (const NotAdmitted& error) {
        EXPECT_EQ(m_folder.Path() +
                      "/none: No such file or directory; https:// needs it, and it is installed with bmhost",
                  std::string(error.what()));
    }
}

TEST_F(HelperPlayed, TheDeadlineEndsTheWaitAndTheHelper) {
    pid_t process = 0;
    {
        bm_dev::UniqueFd socket;
        TlsHelper helper(Plays("exec sleep 1000"), m_place, socket);
        process = helper.Process();
        EXPECT_THROW(helper.AwaitReady(DeadlineAfter(50ms)), DeadlinePassed);
    }
    EXPECT_TRUE(IsGone(process));
}

TEST_F(HelperPlayed, TheEndOfTheConnectionIsItsEndAndLeavesNothing) {
    const auto before = Descriptors();
    pid_t process = 0;
    {
        bm_dev::UniqueFd socket;
        TlsHelper helper(Plays("echo ready; exec cat >&0"), m_place, socket);
        process = helper.Process();
        helper.AwaitReady({});
        ASSERT_EQ(5, write(socket.Get(), "hello", 5));
        WaitFor(socket.Get(), POLLIN, DeadlineAfter(m_patient));
        std::array<char, 16> bytes{};
        ASSERT_EQ(5, read(socket.Get(), bytes.data(), bytes.size())) << "what it is given goes through it";
        socket.Reset();
    }
    EXPECT_TRUE(IsGone(process));
    EXPECT_EQ(before, Descriptors());
}

TEST_F(HelperPlayed, OnlyAnEndThatTheOtherSideMadeIsNoFault) {
    struct EndCase {
        const char* m_lines;
        const char* m_fault;
    };
    const EndCase cases[] = {
        {"echo ready; echo ended", ""},
        {"echo ready; echo 'unreachable the connection broke'", "the connection broke"},
        {"echo ready; kill -9 $$", "bmhost-tls has ended (signal 9)"},
        {"echo ready", "bmhost-tls has ended"},
    };
    for (const EndCase& testCase : cases) {
        bm_dev::UniqueFd socket;
        TlsHelper helper(Plays(testCase.m_lines), m_place, socket);
        helper.AwaitReady({});
        EXPECT_EQ(testCase.m_fault, helper.Fault()) << testCase.m_lines;
    }
}

TEST(HelperFile, StandsBesideTheProgramOrWhereItIsInstalled) {
    const std::string folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    EXPECT_THAT(HelperFile(), testing::AnyOf(folder + "/bmhost-tls", EndsWith("/libexec/bmhost/bmhost-tls")));
}

} // namespace
