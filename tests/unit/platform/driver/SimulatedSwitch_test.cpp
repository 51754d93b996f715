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

using namespace BM_PLATFORM;
using testing::EndsWith;

namespace {

constexpr const char* FRESH = "bladesim switch 1\n"
                              "port 3 enabled up\nport 4 enabled up\nport 5 enabled up\n"
                              "port 6 enabled up\nport 7 enabled up\nport 8 enabled up\n"
                              "end\n";

class SimulatedSwitch : public testing::Test {
protected:
    SimulatedSwitch() {
        std::string l_Name = testing::TempDir() + "switchXXXXXX";
        m_Folder = mkdtemp(l_Name.data());
        m_File = m_Folder + "/switch";
    }
    ~SimulatedSwitch() override { std::filesystem::remove_all(m_Folder); }

    void Write(const std::string& a_Text) const { std::ofstream(m_File, std::ios::binary) << a_Text; }

    std::string Read() const {
        std::ostringstream l_Text;
        l_Text << std::ifstream(m_File, std::ios::binary).rdbuf();
        return l_Text.str();
    }

    /// Why the file is refused; "" when it is not.
    std::string Refusal() const {
        try {
            ReadSwitch(m_File);
            return {};
        } catch (const SWITCH_STATE_ERROR& l_Error) {
            return l_Error.what();
        }
    }

    std::string m_Folder;
    std::string m_File;
};

TEST_F(SimulatedSwitch, IsFreshWithoutAFile) {
    EXPECT_EQ(TextOfSwitch(ReadSwitch(m_File)), FRESH);
    EXPECT_FALSE(std::filesystem::exists(m_File));
}

TEST_F(SimulatedSwitch, TextHoldsAllThatIsKnown) {
    SWITCH_STATE l_State;
    l_State.m_Ports = {{3, {false, true}}, {8, {true, false}}};
    l_State.m_Learnt = {{{2, 0, 0, 0, 0, 0xAB}, {true, 31}}, {{0, 0, 0, 0, 0, 1}, {false, 7}}};
    l_State.SetFailure("mavkAmcSwitchPortEnable", std::nullopt, 5);
    l_State.SetFailure("mavkAmcSwitchMACLearnByDSP", 2, -1);
    const std::string l_Text = TextOfSwitch(l_State);
    EXPECT_EQ(l_Text, "bladesim switch 1\n"
                      "port 3 disabled up\nport 8 enabled down\n"
                      "learnt 00:00:00:00:00:01 port 7\nlearnt 02:00:00:00:00:AB dsp 31\n"
                      "fail mavkAmcSwitchMACLearnByDSP -1 2\nfail mavkAmcSwitchPortEnable 5\n"
                      "end\n");
    EXPECT_EQ(SwitchOfText(l_Text, "text"), l_State);
}

TEST_F(SimulatedSwitch, PersonMayWriteCommentsBlankLinesAndNothingBehindTheEnd) {
    Write("bladesim switch 1\n\n# the fabric\n  port   3 disabled down # unplugged\nend\nport x\n");
    EXPECT_EQ(ReadSwitch(m_File).m_Ports, (std::map<int, SWITCH_PORT>{{3, {false, false}}}));
}

TEST_F(SimulatedSwitch, FailureIsForAllOrForOne) {
    SWITCH_STATE l_State;
    l_State.SetFailure("mavkAmcSwitchMACLearn", std::nullopt, 5);
    l_State.SetFailure("mavkAmcSwitchMACLearn", 7, 6);
    EXPECT_EQ(l_State.FailureOf("mavkAmcSwitchMACLearn", 7), 6);
    EXPECT_EQ(l_State.FailureOf("mavkAmcSwitchMACLearn", 8), 5);
    EXPECT_EQ(l_State.FailureOf("uPCIMemOpen"), 0);
    l_State.SetFailure("mavkAmcSwitchMACLearn", std::nullopt, 0);
    EXPECT_EQ(l_State.FailureOf("mavkAmcSwitchMACLearn", 8), 0);
    EXPECT_EQ(l_State.FailureOf("mavkAmcSwitchMACLearn", 7), 6);
}

struct REFUSED {
    const char* m_Text;
    const char* m_Reason; ///< behind the file's name
};

void PrintTo(const REFUSED& a_Case, std::ostream* a_Stream) {
    *a_Stream << a_Case.m_Reason;
}

class RefusedSwitch : public SimulatedSwitch, public testing::WithParamInterface<REFUSED> {};

TEST_P(RefusedSwitch, IsReportedWithItsLineAndLeftAlone) {
    Write(GetParam().m_Text);
    EXPECT_EQ(Refusal(), m_File + GetParam().m_Reason);
    EXPECT_THROW(ChangeSwitch(m_File, [](SWITCH_STATE& a_State) { a_State.m_Ports.clear(); }), SWITCH_STATE_ERROR);
    EXPECT_EQ(Read(), GetParam().m_Text);
}

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedSwitch,
    testing::Values(REFUSED{"", ":1: does not begin with \"bladesim switch 1\""},
                    REFUSED{"<?xml?>\n", ":1: does not begin with \"bladesim switch 1\""},
                    REFUSED{"bladesim switch 2\nend\n", ":1: does not begin with \"bladesim switch 1\""},
                    REFUSED{"bladesim switch 1\n", ":2: incomplete: no \"end\""},
                    REFUSED{"bladesim switch 1\nport 3 enabled up\nen", ":3: \"en\" is no line of a switch"},
                    REFUSED{"bladesim switch 1\nport\n", ":2: no port"},
                    REFUSED{"bladesim switch 1\nport 3x enabled up\n", ":2: \"3x\" is no port"},
                    REFUSED{"bladesim switch 1\nport 9999999999 enabled up\n", ":2: \"9999999999\" is no port"},
                    REFUSED{"bladesim switch 1\nport 3 on up\n", ":2: \"on\" is no administrative state"},
                    REFUSED{"bladesim switch 1\nport 3 enabled\n", ":2: no link state"},
                    REFUSED{"bladesim switch 1\nport 3 enabled up now\n", ":2: \"now\" is one word too many"},
                    REFUSED{"bladesim switch 1\nport 3 enabled up\nport 3 enabled up\n", ":3: a second port 3"},
                    REFUSED{"bladesim switch 1\nlearnt 02:00 dsp 1\n", ":2: \"02:00\" is no address"},
                    REFUSED{"bladesim switch 1\nlearnt 02:00:00:00:00:0 dsp 1\n",
                            ":2: \"02:00:00:00:00:0\" is no address"},
                    REFUSED{"bladesim switch 1\nlearnt 02:00:00:00:00:01 cpu 1\n", ":2: \"cpu\" is no destination"},
                    REFUSED{"bladesim switch 1\nlearnt 02:00:00:00:00:01 dsp 1\nlearnt 02:00:00:00:00:01 dsp 2\n",
                            ":3: a second entry for 02:00:00:00:00:01"},
                    REFUSED{"bladesim switch 1\nfail mavkNothing 5\n", ":2: \"mavkNothing\" is no call"},
                    REFUSED{"bladesim switch 1\nfail uPCIMemOpen\n", ":2: no code"}));

TEST_F(SimulatedSwitch, LargeFileIsRefused) {
    Write(std::string(FRESH) + std::string(70000, '#'));
    EXPECT_THAT(Refusal(), EndsWith("/switch: larger than 64 KiB"));
}

TEST_F(SimulatedSwitch, TooManyAddressesAreRefused) {
    std::string l_Text = "bladesim switch 1\n";
    for (int i = 0; i <= 512; ++i) {
        char l_Line[64];
        snprintf(l_Line, sizeof(l_Line), "learnt 02:00:00:00:%02x:%02x dsp 0\n", i / 256, i % 256);
        l_Text += l_Line;
    }
    Write(l_Text + "end\n");
    EXPECT_THAT(Refusal(), EndsWith("/switch:514: too many addresses"));
}

TEST_F(SimulatedSwitch, WhatIsNoFileIsRefusedAtOnce) {
    std::filesystem::create_directory(m_File);
    EXPECT_THAT(Refusal(), EndsWith("/switch: no file"));
    std::filesystem::remove(m_File);
    ASSERT_EQ(mkfifo(m_File.c_str(), 0600), 0); // nobody writes to it
    EXPECT_THAT(Refusal(), EndsWith("/switch: no file"));
    std::filesystem::remove(m_File);
    std::filesystem::create_symlink("/etc/passwd", m_File);
    EXPECT_THAT(Refusal(), EndsWith("/switch: Too many levels of symbolic links"));
}

TEST_F(SimulatedSwitch, ChangeIsWrittenWholeAndOnlyWhenThereIsOne) {
    ChangeSwitch(m_File, [](SWITCH_STATE&) {});
    EXPECT_FALSE(std::filesystem::exists(m_File));
    ChangeSwitch(m_File, [](SWITCH_STATE& a_State) { a_State.m_Ports[3].m_Cable = false; });
    EXPECT_THAT(Read(), testing::StartsWith("bladesim switch 1\nport 3 enabled down\nport 4 enabled up\n"));
    EXPECT_FALSE(std::filesystem::exists(m_File + ".new"));
}

TEST_F(SimulatedSwitch, LeftoverOfAKilledProcessIsNoHindrance) {
    std::ofstream(m_File + ".new") << "half a st";
    ChangeSwitch(m_File, [](SWITCH_STATE& a_State) { a_State.m_Ports[3].m_Cable = false; });
    EXPECT_FALSE(ReadSwitch(m_File).m_Ports[3].m_Cable);
}

TEST_F(SimulatedSwitch, FolderThatIsNotThereIsReported) {
    m_File = m_Folder + "/none/switch";
    EXPECT_EQ(Refusal(), ""); // no file: a fresh switch
    try {
        ChangeSwitch(m_File, [](SWITCH_STATE& a_State) { a_State.m_Ports.clear(); });
        FAIL();
    } catch (const SWITCH_STATE_ERROR& l_Error) {
        EXPECT_THAT(l_Error.what(), EndsWith("/none/switch.lock: No such file or directory"));
    }
}

TEST_F(SimulatedSwitch, ChangesOfSeveralProcessesAreAllKept) {
    constexpr int PROCESSES = 4;
    constexpr int CHANGES = 25;
    std::vector<pid_t> l_Processes;
    for (unsigned char i = 0; i < PROCESSES; ++i) {
        const pid_t l_Process = fork();
        ASSERT_GE(l_Process, 0);
        if (l_Process == 0) {
            for (unsigned char j = 0; j < CHANGES; ++j)
                ChangeSwitch(m_File, [&](SWITCH_STATE& a_State) { a_State.m_Learnt[{2, i, j, 0, 0, 0}] = {true, i}; });
            _exit(0);
        }
        l_Processes.push_back(l_Process);
    }
    for (const pid_t l_Process : l_Processes) {
        int l_Status = -1;
        EXPECT_EQ(waitpid(l_Process, &l_Status, 0), l_Process);
        EXPECT_EQ(l_Status, 0);
    }
    EXPECT_EQ(ReadSwitch(m_File).m_Learnt.size(), static_cast<std::size_t>(PROCESSES * CHANGES));
}

} // namespace
