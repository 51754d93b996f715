// What is shown while something takes its time: on a terminal, and elsewhere.
#include "host/output/Progress.h"

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <pty.h>
#include <string>
#include <unistd.h>

namespace {

using namespace bmhost;

constexpr const char* What = "AMC bay 3: upgrade in progress";

std::string TextAt(int descriptor) {
    std::array<char, 512> text{};
    const ssize_t size = read(descriptor, text.data(), text.size());
    return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : "";
}

/// Of its two ends, the second is what is written to.
class Ends {
public:
    explicit Ends(bool terminal) {
        EXPECT_EQ(0, terminal ? openpty(m_ends.data(), &m_ends[1], nullptr, nullptr, nullptr)
                              : pipe2(m_ends.data(), O_CLOEXEC));
        EXPECT_EQ(0, fcntl(m_ends[0], F_SETFL, O_NONBLOCK));
    }
    Ends(const Ends&) = delete;
    Ends& operator=(const Ends&) = delete;
    ~Ends() {
        for (const int end : m_ends)
            close(end);
    }
    int Written() const { return m_ends[1]; }
    std::string Text() const { return TextAt(m_ends[0]); }

private:
    std::array<int, 2> m_ends{-1, -1};
};

TEST(Progress, IsPlainLinesNowAndAgainWhereThereIsNoTerminal) {
    const Ends ends(false);
    Progress progress(What, ends.Written(), true);
    progress.Tick();
    progress.Tick();
    progress.Clear();
    EXPECT_EQ("AMC bay 3: upgrade in progress, 0 s\n", ends.Text());
    progress.Line("AMC bay 3: upgraded, 0 s");
    EXPECT_EQ("AMC bay 3: upgraded, 0 s\n", ends.Text());
}

TEST(Progress, IsOneLineOnATerminalWhichGoes) {
    const Ends ends(true);
    Progress progress(What, ends.Written(), true);
    progress.Tick();
    EXPECT_EQ("\rAMC bay 3: upgrade in progress, 0 s", ends.Text());
    progress.Clear();
    EXPECT_EQ("\r\033[K", ends.Text());
}

TEST(Progress, ThatIsNotShownLeavesTheLastLine) {
    const Ends ends(false);
    Progress progress(What, ends.Written(), false);
    progress.Tick();
    progress.Clear();
    progress.Line("AMC bay 3: upgraded, 0 s");
    EXPECT_EQ("AMC bay 3: upgraded, 0 s\n", ends.Text());
}

TEST(Progress, OnADescriptorThatIsNoneHarmsNobody) {
    Progress(What, -1, true).Tick();
    Progress progress(What, 4711, true);
    progress.Tick();
    progress.Line("text");
    EXPECT_GE(progress.Seconds(), 0);
}

} // namespace
