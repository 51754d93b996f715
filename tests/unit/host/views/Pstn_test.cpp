// What `pstn` makes of the driver's records.
#include "host/views/Pstn.h"

#include "host/TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

using namespace bmhost;
using testing::HasSubstr;

class Pstn : public testing::Test {
protected:
    void Keep(const std::string& lines) const { std::ofstream(m_folder + "/pstn.jsonl") << lines; }

    const TestFolder m_own;
    const std::string m_folder = m_own.Path();
    std::string m_text;
};

TEST_F(Pstn, ShowsRecordsAndRefusalsInTheirOrder) {
    Keep(R"({"open":1,"error":"EACCES"}
{"open":2,"write":1,"text":"DataValid=1"}
{"open":2,"write":2,"text":"RtmDetected=0","taken":4}
{"open":3,"write":3,"text":"a\u001b[2J\n","error":"EIO"}
)");
    EXPECT_TRUE(PstnTable(m_folder.c_str(), Style{}, m_text));
    EXPECT_EQ("  open  write  record         result\n"
              "  1                           refused: EACCES\n"
              "  2     1      DataValid=1    told\n"
              "  2     2      RtmDetected=0  cut after 4 bytes\n"
              "  3     3      a?[2J?         refused: EIO\n",
              m_text);
}

TEST_F(Pstn, SaysThatTheDriverWasToldNothing) {
    Keep("");
    EXPECT_TRUE(PstnTable(m_folder.c_str(), Style{}, m_text));
    EXPECT_EQ("the driver was told nothing\n", m_text);
}

TEST_F(Pstn, SaysThatThereIsNoDriver) {
    EXPECT_FALSE(PstnTable(m_folder.c_str(), Style{}, m_text));
    EXPECT_EQ("this blade has no PCI driver to be told of the PSTN\n", m_text);
}

TEST_F(Pstn, SaysThatThereIsNoBlade) {
    for (const char* folder : {"", static_cast<const char*>(nullptr)}) {
        m_text.clear();
        EXPECT_FALSE(PstnTable(folder, Style{}, m_text));
        EXPECT_THAT(m_text, HasSubstr("no simulated blade"));
    }
}

TEST_F(Pstn, NamesTheLineThatIsNoRecord) {
    Keep("{\"open\":1,\"write\":1,\"text\":\"DataValid=1\"}\n{\"open\":\n");
    try {
        PstnTable(m_folder.c_str(), Style{}, m_text);
        FAIL() << "it was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("/pstn.jsonl:2: "));
    }
}

TEST_F(Pstn, IsOneObjectInJson) {
    Keep(R"({"open":1,"error":"EACCES"}
{"open":2,"write":1,"text":"DataValid=1"}
)");
    EXPECT_TRUE(PstnJson(m_folder.c_str(), m_text));
    EXPECT_EQ(R"({"op":"pstn","records":[{"error":"EACCES","open":1},{"open":2,"text":"DataValid=1","write":1}]})"
              "\n",
              m_text);
    m_text.clear();
    EXPECT_FALSE(PstnJson("", m_text));
    EXPECT_EQ("{\"op\":\"pstn\",\"records\":null}\n", m_text);
}

} // namespace
