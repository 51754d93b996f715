// What `dsp set-ip` and `switch enable|disable` take and refuse, and what `pstn` makes of the driver's records.
#include "host/commands/Dsp.h"
#include "host/commands/Switch.h"
#include "host/views/Pstn.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace bmhost;
using testing::HasSubstr;

using Words = std::vector<std::string>;

TEST(DspOrder, HasTheDspAndItsAddress) {
    for (const char* dsp : {"5", "0x5"}) {
        const DspOrder order = ParseDspOrder({"dsp", "set-ip", dsp, "192.168.0.25"});
        EXPECT_EQ(5, order.m_dsp);
        EXPECT_EQ("192.168.0.25", order.m_address);
    }
    EXPECT_EQ(32, ParseDspOrder({"dsp", "set-ip", "32", "1.2.3.4"}).m_dsp);
}

TEST(SwitchOrder, HasThePortAndItsState) {
    EXPECT_EQ(1, ParseSwitchOrder({"switch", "enable", "1"}).m_port);
    EXPECT_TRUE(ParseSwitchOrder({"switch", "enable", "1"}).m_enable);
    EXPECT_EQ(4, ParseSwitchOrder({"switch", "disable", "4"}).m_port);
    EXPECT_FALSE(ParseSwitchOrder({"switch", "disable", "4"}).m_enable);
}

struct RefusalCase {
    Words m_words;
    const char* m_reason;
};

TEST(DspOrder, SaysWhatWasExpected) {
    const RefusalCase cases[] = {
        {{"dsp", "set-ip"}, "expected dsp, or dsp set-ip N ADDRESS"},
        {{"dsp", "set-ip", "1"}, "expected dsp, or dsp set-ip N ADDRESS"},
        {{"dsp", "set-ip", "1", "1.2.3.4", "5"}, "expected dsp, or dsp set-ip N ADDRESS"},
        {{"dsp", "set-mac", "1", "1.2.3.4"}, "expected dsp, or dsp set-ip N ADDRESS"},
        {{"dsp", "set-ip", "0", "1.2.3.4"}, "N '0': expected a DSP from 1 to 32"},
        {{"dsp", "set-ip", "33", "1.2.3.4"}, "N '33'"},
        {{"dsp", "set-ip", "-1", "1.2.3.4"}, "N '-1'"},
        {{"dsp", "set-ip", "one", "1.2.3.4"}, "N 'one'"},
        {{"dsp", "set-ip", "4294967297", "1.2.3.4"}, "N '4294967297'"},
        {{"dsp", "set-ip", "1", ""}, "ADDRESS '': expected four numbers from 0 to 255 with dots between"},
        {{"dsp", "set-ip", "1", "1.2.3"}, "ADDRESS '1.2.3'"},
        {{"dsp", "set-ip", "1", "1.2.3.256"}, "ADDRESS '1.2.3.256'"},
        {{"dsp", "set-ip", "1", "0x1.2.3.4"}, "ADDRESS '0x1.2.3.4'"},
        {{"dsp", "set-ip", "1", "1.2.3.4 ;reboot"}, "ADDRESS '1.2.3.4 ;reboot'"},
        {{"dsp", "set-ip", "1", "fe80::1"}, "ADDRESS 'fe80::1'"},
    };
    for (const RefusalCase& testCase : cases)
        EXPECT_THAT(UsageErrorOf([&] { ParseDspOrder(testCase.m_words); }), HasSubstr(testCase.m_reason));
}

TEST(SwitchOrder, SaysWhatWasExpected) {
    const RefusalCase cases[] = {
        {{"switch", "enable"}, "expected switch, or switch enable|disable PORT"},
        {{"switch", "1", "enable"}, "expected switch, or switch enable|disable PORT"},
        {{"switch", "enable", "1", "2"}, "expected switch, or switch enable|disable PORT"},
        {{"switch", "enable", "0"}, "PORT '0': expected a port from 1 to 4"},
        {{"switch", "disable", "5"}, "PORT '5'"},
        {{"switch", "disable", "all"}, "PORT 'all'"},
    };
    for (const RefusalCase& testCase : cases)
        EXPECT_THAT(UsageErrorOf([&] { ParseSwitchOrder(testCase.m_words); }), HasSubstr(testCase.m_reason));
}

class Pstn : public testing::Test {
protected:
    Pstn() { std::filesystem::create_directories(m_folder); }
    ~Pstn() override { std::filesystem::remove_all(m_folder); }

    void Keep(const std::string& lines) const { std::ofstream(m_folder + "/pstn.jsonl") << lines; }

    const std::string m_folder = testing::TempDir() + "pstn-records-" + std::to_string(getpid());
    std::string m_text;
};

TEST_F(Pstn, ShowsRecordsAndRefusalsInTheirOrder) {
    Keep(R"({"open":1,"error":"EACCES"}
{"open":2,"write":1,"text":"DataValid=1"}
{"open":2,"write":2,"text":"RtmDetected=0","taken":4}
{"open":3,"write":3,"text":"a\u001b[2J\n","error":"EIO"}
)");
    EXPECT_TRUE(PstnTable(m_folder.c_str(), false, m_text));
    EXPECT_EQ("  open  write  record         result\n"
              "  1                           refused: EACCES\n"
              "  2     1      DataValid=1    told\n"
              "  2     2      RtmDetected=0  cut after 4 bytes\n"
              "  3     3      a?[2J?         refused: EIO\n",
              m_text);
}

TEST_F(Pstn, SaysThatTheDriverWasToldNothing) {
    Keep("");
    EXPECT_TRUE(PstnTable(m_folder.c_str(), false, m_text));
    EXPECT_EQ("the driver was told nothing\n", m_text);
}

TEST_F(Pstn, SaysThatThereIsNoDriver) {
    EXPECT_FALSE(PstnTable(m_folder.c_str(), false, m_text));
    EXPECT_EQ("this blade has no PCI driver to be told of the PSTN\n", m_text);
}

TEST_F(Pstn, SaysThatThereIsNoBlade) {
    for (const char* folder : {"", static_cast<const char*>(nullptr)}) {
        m_text.clear();
        EXPECT_FALSE(PstnTable(folder, false, m_text));
        EXPECT_THAT(m_text, HasSubstr("no simulated blade"));
    }
}

TEST_F(Pstn, NamesTheLineThatIsNoRecord) {
    Keep("{\"open\":1,\"write\":1,\"text\":\"DataValid=1\"}\n{\"open\":\n");
    try {
        PstnTable(m_folder.c_str(), false, m_text);
        FAIL() << "it was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("/pstn.jsonl:2: "));
    }
}

} // namespace
