// The table of situations: how lines of the log find theirs, and that no line in it has drifted from the sources.
#include "host/words/Situations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace {

using namespace bmhost;
using testing::ElementsAre;
using testing::IsEmpty;

std::string FileText(const std::filesystem::path& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The end of a literal that begins here; its text without escapes is appended.
std::size_t TakeLiteral(const std::string& source, std::size_t begin, std::string& text) {
    std::size_t at = begin + 1;
    for (; at < source.size() && source[at] != '"' && source[at] != '\n'; ++at) {
        if (source[at] == '\\') {
            ++at;
            text += source[at] == 'n' ? '\n' : source[at];
        } else {
            text += source[at];
        }
    }
    return at + 1;
}

// One that goes on in the next line is one.
void TakeLiterals(const std::string& source, std::vector<std::string>& literals) {
    for (std::size_t at = source.find('"'); at < source.size(); at = source.find('"', at)) {
        std::string text;
        at = TakeLiteral(source, at, text);
        for (std::size_t next = source.find_first_not_of(" \n", at); next < source.size() && source[next] == '"';
             next = source.find_first_not_of(" \n", at))
            at = TakeLiteral(source, next, text);
        // A format that begins with what differs, or has only a word, would fit too much.
        if (text.find('%') >= std::min(text.size(), std::size_t{6})) literals.push_back(text);
    }
}

// Of the plug-in and of the platform.
std::vector<std::string> LiteralsOfSources() {
    std::vector<std::string> literals;
    for (const char* const folder : {"adaptor", "ipmi", "common", "platform/src"}) {
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(std::filesystem::path(SOURCE_FOLDER) / folder)) {
            const auto extension = entry.path().extension();
            if (extension == ".cpp" || extension == ".h") TakeLiterals(FileText(entry.path()), literals);
        }
    }
    return literals;
}

// The table may say less of a line than the source, or name one of its values.
bool StandsIn(const std::vector<std::string>& literals, std::string_view line) {
    return std::any_of(literals.begin(), literals.end(),
                       [&](const std::string& literal) { return IsMadeBy(line, literal) || IsMadeBy(literal, line); });
}

std::vector<std::string_view> LinesOfTable() {
    std::vector<std::string_view> lines;
    for (const Situation& situation : Situations()) {
        for (const std::string_view line : situation.m_lines) {
            if (!line.empty()) lines.push_back(line);
        }
    }
    return lines;
}

TEST(Situations, ALineIsKnownByWhatStandsBetweenItsConversions) {
    EXPECT_TRUE(IsMadeBy("Fail to download DSP ErrorID = 7", "Fail to download DSP ErrorID = %d"));
    EXPECT_TRUE(IsMadeBy("AMC failed", "AMC failed"));
    EXPECT_TRUE(IsMadeBy("Waiting for 0x800072 message timed out. timeout period = 5000 ms",
                         "Waiting for 0x%x message timed out. timeout period = %d ms"));
    EXPECT_TRUE(IsMadeBy("a 5% b", "a %d%% b"));
    EXPECT_TRUE(IsMadeBy("sending", "sending\n")) << "the log takes line ends off";
    EXPECT_FALSE(IsMadeBy("The AMC failed", "AMC failed"));
    EXPECT_FALSE(IsMadeBy("AMC failed again", "AMC failed"));
    EXPECT_FALSE(
        IsMadeBy("Waiting for 0x800072 message", "Waiting for 0x%x message timed out. timeout period = %d ms"));
    EXPECT_FALSE(IsMadeBy("x Fail to download DSP ErrorID = 7", "Fail to download DSP ErrorID = %d"));
}

TEST(Situations, EveryLineOfTheTableStandsInTheSources) {
    const auto literals = LiteralsOfSources();
    ASSERT_GT(literals.size(), 1000U);
    for (const std::string_view line : LinesOfTable())
        EXPECT_TRUE(StandsIn(literals, line)) << line;
    EXPECT_FALSE(StandsIn(literals, "Fail to download DSP MistakeID = %d"));
}

TEST(Situations, EverySignButALineHasExactlyOne) {
    std::map<Sign, int> count;
    for (const Situation& situation : Situations())
        ++count[situation.m_sign];
    for (int sign = static_cast<int>(Sign::Log) + 1; sign <= static_cast<int>(Sign::NotReadFromStorage); ++sign) {
        EXPECT_EQ(1, count[static_cast<Sign>(sign)]) << sign;
        EXPECT_EQ(static_cast<Sign>(sign), SituationOf(static_cast<Sign>(sign)).m_sign);
    }
}

TEST(Situations, EachHasACauseACureAndALineExactlyWhenThatIsItsSign) {
    for (const Situation& situation : Situations()) {
        EXPECT_NE("", situation.m_cause);
        EXPECT_NE("", situation.m_cure);
        EXPECT_EQ(situation.m_sign == Sign::Log, !situation.m_lines[0].empty()) << situation.m_cause;
        EXPECT_TRUE(situation.m_sign == Sign::Log || !situation.m_shows.empty()) << situation.m_cause;
    }
}

// Otherwise the later one would never be found by that line.
TEST(Situations, NoLineOfOneIsTakenByAnEarlierOne) {
    for (const Situation& situation : Situations()) {
        for (const std::string_view line : situation.m_lines) {
            if (line.empty() || line == "CDataStorage :: %s - %s") continue;
            EXPECT_EQ(situation.m_cause, AdviceFor({std::string(line)})->m_cause) << line;
        }
    }
}

TEST(Situations, TheFirstOfTheTableIsTheCauseOfTheOthers) {
    const auto advice =
        AdviceFor({"IPMIAdaptor :: AMC_DSP_ReadParams - FRU not found", "Fail to Get MAC of eth6",
                   "IPMIAdaptor :: AMC_DSP_ReadTable -- Returning 0 found ", "Can not get DSP Info table"});
    ASSERT_TRUE(advice);
    EXPECT_EQ("there is no interface eth6, or it has no IPv4 address", advice->m_cause);
    EXPECT_EQ("configure eth6 (`ip address show eth6`), then restart the host", advice->m_cure);
}

TEST(Situations, AFifthDspWithoutAddressIsNotCalledOffTheSubnet) {
    const auto advice =
        AdviceFor({"Can not get IP Address of dsp[5]",
                   "m_pDspInfo[4] IP Address =, is not on same subnet(0xFFF0) of eth6, IP Address = 192.168.0.1"});
    ASSERT_TRUE(advice);
    EXPECT_THAT(advice->m_cure, testing::HasSubstr("dsp set-ip 5"));
}

TEST(Situations, TheStoragesReasonIsToldApart) {
    EXPECT_THAT(AdviceFor({"CDataStorage :: StartTransaction - /var/lib/bmhost: Permission denied"})->m_cause,
                testing::HasSubstr("another user"));
    EXPECT_THAT(AdviceFor({"CDataStorage :: EndTransaction - /var/lib/bmhost/a.xml: No space left on device"})->m_cause,
                testing::HasSubstr("no more data"));
    EXPECT_THAT(
        AdviceFor({"CDataStorage :: RetrieveRow - /var/lib/bmhost/a.xml:1: expected one <storage> element"})->m_cause,
        testing::HasSubstr("refused"));
}

TEST(Situations, LinesWithoutOneGiveNoAdvice) {
    EXPECT_FALSE(AdviceFor({}));
    EXPECT_FALSE(AdviceFor({"TRACE calling mavk_boot", "Successful download DSPs"}));
}

TEST(Situations, TheTellingLinesAreThoseOfASituationOnceEach) {
    EXPECT_THAT(TellingLines({"TRACE calling mavk_boot", "Fail to download DSP ErrorID = 1",
                              "Fail to download DSP ErrorID = 1", "MAVK_BOOT: x"}),
                ElementsAre("Fail to download DSP ErrorID = 1"));
    EXPECT_THAT(TellingLines({"a", "b", "c", "d", "d"}), ElementsAre("b", "c", "d"));
    EXPECT_THAT(TellingLines({}), IsEmpty());
}

TEST(Situations, APageQuotesALineWithWhatDiffersCut) {
    const std::string table = TableOfPage(Chapter::Stop);
    EXPECT_THAT(table, testing::StartsWith("| what you see | cause | cure |\n|---|---|---|\n"
                                           "| \"Fail to stop MEDIA SERVER \"; result 0x30005 | "));
    EXPECT_THAT(TableOfPage(Chapter::Start),
                testing::HasSubstr("\"Fail to download DSP ErrorID = …\"; result 0x30012"));
}

} // namespace
