// What is known of a terminal, and of what is none.
#include "host/output/Style.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using namespace bmhost;

class Color : public testing::Test {
protected:
    Color() { unsetenv("NO_COLOR"); }
    ~Color() override {
        unsetenv("NO_COLOR");
        close(m_terminal);
    }

    const int m_terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
};

TEST_F(Color, IsWantedByATerminalOnly) {
    ASSERT_GE(m_terminal, 0);
    EXPECT_TRUE(ColorWanted(m_terminal));
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    EXPECT_FALSE(ColorWanted(file));
    close(file);
}

TEST_F(Color, IsNotWantedWhereTheUserSaysSo) {
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(ColorWanted(m_terminal));
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(ColorWanted(m_terminal));
}

/// A terminal of 97 columns; the environment is as it was afterwards.
class Terminal : public testing::Test {
protected:
    Terminal() {
        for (const char* const name : {"COLUMNS", "LC_ALL", "LC_CTYPE", "LANG"}) {
            const char* const value = getenv(name);
            m_before[name] = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
            unsetenv(name);
        }
        winsize size{};
        size.ws_col = 97;
        ioctl(m_terminal, TIOCSWINSZ, &size);
    }
    ~Terminal() override {
        for (const auto& [name, value] : m_before)
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
        close(m_terminal);
        close(m_file);
    }

    std::map<std::string, std::optional<std::string>> m_before;
    const int m_terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    const int m_file = open("/dev/null", O_WRONLY | O_CLOEXEC);
};

TEST_F(Terminal, TellsItsWidthUnlessColumnsDo) {
    EXPECT_EQ(97, StyleOf(m_terminal).m_width);
    setenv("COLUMNS", "60", 1);
    EXPECT_EQ(60, StyleOf(m_terminal).m_width);
    setenv("COLUMNS", "wide", 1);
    EXPECT_EQ(97, StyleOf(m_terminal).m_width);
    EXPECT_FALSE(StyleOf(m_terminal).m_wide);
    EXPECT_TRUE(StyleOf(m_terminal, true).m_wide);
}

TEST_F(Terminal, HasUtf8WhereTheLocaleSaysSo) {
    EXPECT_FALSE(StyleOf(m_terminal).m_utf8);
    setenv("LANG", "de_DE.UTF-8", 1);
    EXPECT_TRUE(StyleOf(m_terminal).m_utf8);
    setenv("LC_CTYPE", "C", 1);
    EXPECT_FALSE(StyleOf(m_terminal).m_utf8);
    setenv("LC_ALL", "C.utf8", 1);
    EXPECT_TRUE(StyleOf(m_terminal).m_utf8);
}

TEST_F(Terminal, ThatIsAFileHasNoWidthAndNoUtf8) {
    setenv("COLUMNS", "60", 1);
    setenv("LANG", "C.UTF-8", 1);
    EXPECT_EQ(0, StyleOf(m_file).m_width);
    EXPECT_FALSE(StyleOf(m_file).m_utf8);
}

} // namespace
