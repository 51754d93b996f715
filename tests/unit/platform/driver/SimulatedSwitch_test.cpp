// The simulated switch's state file: its text, what is refused, and several processes at once.
#include "bm_dev/SimulatedSwitch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace bm_dev;
using testing::EndsWith;

namespace {

constexpr const char* Fresh = "bladesim switch 1\n"
                              "port 3 enabled up\nport 4 enabled up\nport 5 enabled up\n"
                              "port 6 enabled up\nport 7 enabled up\nport 8 enabled up\n"
                              "end\n";

class SimulatedSwitch : public testing::Test {
protected:
    SimulatedSwitch() {
        std::string name = testing::TempDir() + "switchXXXXXX";
        m_folder = mkdtemp(name.data());
        m_file = m_folder + "/switch";
    }
    ~SimulatedSwitch() override { std::filesystem::remove_all(m_folder); }

    void Write(const std::string& text) const { std::ofstream(m_file, std::ios::binary) << text; }

    std::string Read() const {
        std::ostringstream text;
        text << std::ifstream(m_file, std::ios::binary).rdbuf();
        return text.str();
    }

    /// Why the file is refused; "" when it is not.
    std::string Refusal() const {
        try {
            ReadSwitch(m_file);
            return {};
        } catch (const SwitchStateError& error) {
            return error.what();
        }
    }

    std::string m_folder;
    std::string m_file;
};

TEST_F(SimulatedSwitch, IsFreshWithoutAFile) {
    EXPECT_EQ(TextOfSwitch(ReadSwitch(m_file)), Fresh);
    EXPECT_FALSE(std::filesystem::exists(m_file));
}

TEST_F(SimulatedSwitch, TextHoldsAllThatIsKnown) {
    SwitchState state;
    state.m_ports = {{3, {false, true}}, {8, {true, false}}};
    state.m_learnt = {{{2, 0, 0, 0, 0, 0xAB}, {true, 31}}, {{0, 0, 0, 0, 0, 1}, {false, 7}}};
    state.SetFailure("mavkAmcSwitchPortEnable", std::nullopt, 5);
    state.SetFailure("mavkAmcSwitchMACLearnByDSP", 2, -1);
    const std::string text = TextOfSwitch(state);
    EXPECT_EQ(text, "bladesim switch 1\n"
                    "port 3 disabled up\nport 8 enabled down\n"
                    "learnt 00:00:00:00:00:01 port 7\nlearnt 02:00:00:00:00:AB dsp 31\n"
                    "fail mavkAmcSwitchMACLearnByDSP -1 2\nfail mavkAmcSwitchPortEnable 5\n"
                    "end\n");
    EXPECT_EQ(SwitchOfText(text, "text"), state);
}

TEST_F(SimulatedSwitch, PersonMayWriteCommentsBlankLinesAndNothingBehindTheEnd) {
    Write("bladesim switch 1\n\n# the fabric\n  port   3 disabled down # unplugged\nend\nport x\n");
    EXPECT_EQ(ReadSwitch(m_file).m_ports, (std::map<int, SwitchPort>{{3, {false, false}}}));
}

TEST_F(SimulatedSwitch, FailureIsForAllOrForOne) {
    SwitchState state;
    state.SetFailure("mavkAmcSwitchMACLearn", std::nullopt, 5);
    state.SetFailure("mavkAmcSwitchMACLearn", 7, 6);
    EXPECT_EQ(state.FailureOf("mavkAmcSwitchMACLearn", 7), 6);
    EXPECT_EQ(state.FailureOf("mavkAmcSwitchMACLearn", 8), 5);
    EXPECT_EQ(state.FailureOf("uPCIMemOpen"), 0);
    state.SetFailure("mavkAmcSwitchMACLearn", std::nullopt, 0);
    EXPECT_EQ(state.FailureOf("mavkAmcSwitchMACLearn", 8), 0);
    EXPECT_EQ(state.FailureOf("mavkAmcSwitchMACLearn", 7), 6);
}

struct Refused {
    const char* m_text;
    const char* m_reason; ///< behind the file's name
};

void PrintTo(const Refused& testCase, std::ostream* stream) {
    *stream << testCase.m_reason;
}

class RefusedSwitch : public SimulatedSwitch, public testing::WithParamInterface<Refused> {};

TEST_P(RefusedSwitch, IsReportedWithItsLineAndLeftAlone) {
    Write(GetParam().m_text);
    EXPECT_EQ(Refusal(), m_file + GetParam().m_reason);
    EXPECT_THROW(ChangeSwitch(m_file, [](SwitchState& state) { state.m_ports.clear(); }), SwitchStateError);
    EXPECT_EQ(Read(), GetParam().m_text);
}

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedSwitch,
    testing::Values(
        Refused{"", ":1: does not begin with \"bladesim switch 1\""},
        Refused{"<?xml?>\n", ":1: does not begin with \"bladesim switch 1\""},
        Refused{"bladesim switch 2\nend\n", ":1: does not begin with \"bladesim switch 1\""},
        Refused{"bladesim switch 1\n", ":2: incomplete: no \"end\""},
        Refused{"bladesim switch 1\nport 3 enabled up\nen", ":3: \"en\" is not a valid keyword"},
        Refused{"bladesim switch 1\nport\n", ":2: missing port"},
        Refused{"bladesim switch 1\nport 3x enabled up\n", ":2: \"3x\" is not a valid port"},
        Refused{"bladesim switch 1\nport 9999999999 enabled up\n", ":2: \"9999999999\" is not a valid port"},
        Refused{"bladesim switch 1\nport 3 on up\n", ":2: \"on\" is not a valid administrative state"},
        Refused{"bladesim switch 1\nport 3 enabled\n", ":2: missing link state"},
        Refused{"bladesim switch 1\nport 3 enabled up now\n", ":2: \"now\" is unexpected"},
        Refused{"bladesim switch 1\nport 3 enabled up\nport 3 enabled up\n", ":3: port 3 appears twice"},
        Refused{"bladesim switch 1\nlearnt 02:00 dsp 1\n", ":2: \"02:00\" is not a valid address"},
        Refused{"bladesim switch 1\nlearnt 02:00:00:00:00:0 dsp 1\n",
                ":2: \"02:00:00:00:00:0\" is not a valid address"},
        Refused{"bladesim switch 1\nlearnt 02:00:00:00:00:01 cpu 1\n", ":2: \"cpu\" is not a valid destination"},
        Refused{"bladesim switch 1\nlearnt 02:00:00:00:00:01 dsp 1\nlearnt 02:00:00:00:00:01 dsp 2\n",
                ":3: 02:00:00:00:00:01 appears twice"},
        Refused{"bladesim switch 1\nfail mavkNothing 5\n", ":2: \"mavkNothing\" is not a valid call"},
        Refused{"bladesim switch 1\nfail uPCIMemOpen\n", ":2: missing code"}));

TEST_F(SimulatedSwitch, LargeFileIsRefused) {
    Write(std::string(Fresh) + std::string(70000, '#'));
    EXPECT_THAT(Refusal(), EndsWith("/switch: larger than 64 KiB"));
}

TEST_F(SimulatedSwitch, TooManyAddressesAreRefused) {
    std::string text = "bladesim switch 1\n";
    for (int i = 0; i <= 512; ++i) {
        char line[64];
        snprintf(line, sizeof(line), "learnt 02:00:00:00:%02x:%02x dsp 0\n", i / 256, i % 256);
        text += line;
    }
    Write(text + "end\n");
    EXPECT_THAT(Refusal(), EndsWith("/switch:514: too many addresses"));
}

TEST_F(SimulatedSwitch, WhatIsNoFileIsRefusedAtOnce) {
    std::filesystem::create_directory(m_file);
    EXPECT_THAT(Refusal(), EndsWith("/switch: not a regular file"));
    std::filesystem::remove(m_file);
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0); // nobody writes to it
    EXPECT_THAT(Refusal(), EndsWith("/switch: not a regular file"));
    std::filesystem::remove(m_file);
    std::filesystem::create_symlink("/etc/passwd", m_file);
    EXPECT_THAT(Refusal(), EndsWith("/switch: Too many levels of symbolic links"));
}

TEST_F(SimulatedSwitch, ChangeIsWrittenWholeAndOnlyWhenThereIsOne) {
    ChangeSwitch(m_file, [](SwitchState&) {});
    EXPECT_FALSE(std::filesystem::exists(m_file));
    ChangeSwitch(m_file, [](SwitchState& state) { state.m_ports[3].m_cable = false; });
    EXPECT_THAT(Read(), testing::StartsWith("bladesim switch 1\nport 3 enabled down\nport 4 enabled up\n"));
    EXPECT_FALSE(std::filesystem::exists(m_file + ".new"));
}

TEST_F(SimulatedSwitch, LeftoverOfAKilledProcessIsNoHindrance) {
    std::ofstream(m_file + ".new") << "half a st";
    ChangeSwitch(m_file, [](SwitchState& state) { state.m_ports[3].m_cable = false; });
    EXPECT_FALSE(ReadSwitch(m_file).m_ports[3].m_cable);
}

TEST_F(SimulatedSwitch, FolderThatIsNotThereIsReported) {
    m_file = m_folder + "/none/switch";
    EXPECT_EQ(Refusal(), ""); // no file: a fresh switch
    try {
        ChangeSwitch(m_file, [](SwitchState& state) { state.m_ports.clear(); });
        FAIL();
    } catch (const SwitchStateError& error) {
        EXPECT_THAT(error.what(), EndsWith("/none/switch.lock: No such file or directory"));
    }
}

TEST_F(SimulatedSwitch, ChangesOfSeveralProcessesAreAllKept) {
    constexpr int Processes = 4;
    constexpr int Changes = 25;
    std::vector<pid_t> processes;
    for (unsigned char i = 0; i < Processes; ++i) {
        const pid_t process = fork();
        ASSERT_GE(process, 0);
        if (process == 0) {
            for (unsigned char j = 0; j < Changes; ++j)
                ChangeSwitch(m_file, [&](SwitchState& state) { state.m_learnt[{2, i, j, 0, 0, 0}] = {true, i}; });
            _exit(0);
        }
        processes.push_back(process);
    }
    for (const pid_t process : processes) {
        int status = -1;
        EXPECT_EQ(waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(ReadSwitch(m_file).m_learnt.size(), static_cast<std::size_t>(Processes * Changes));
}

} // namespace
