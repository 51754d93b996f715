// The table of situations: how lines of the log find theirs, and that no line in it has drifted from the sources.
#include "host/words/Situations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

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

std::vector<std::string> LiteralsOf(const std::vector<const char*>& folders) {
    std::vector<std::string> literals;
    for (const char* const folder : folders) {
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(std::filesystem::path(SOURCE_FOLDER) / folder)) {
            const auto extension = entry.path().extension();
            if (extension == ".cpp" || extension == ".h") TakeLiterals(FileText(entry.path()), literals);
        }
    }
    return literals;
}

std::vector<std::string> LiteralsOfSources() {
    return LiteralsOf({"adaptor", "ipmi", "common", "platform/src"});
}

std::string Page() {
    return FileText(std::filesystem::path(SOURCE_FOLDER) / "docs/operations.md");
}

// The page's tables of this form.
std::vector<std::string> TablesOfPage(const std::string& page) {
    std::vector<std::string> tables;
    for (std::size_t begin = page.find("| what you see |"); begin != std::string::npos;
         begin = page.find("| what you see |", begin + 1))
        tables.push_back(page.substr(begin, page.find("\n\n", begin) + 1 - begin));
    return tables;
}

// What the page has in quotes, as a format; not what is in code.
std::vector<std::string> QuotesOf(const std::string& page) {
    std::vector<std::string> quotes;
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("    ")) continue;
        for (std::size_t begin = line.find('"'); begin != std::string::npos;) {
            const std::size_t end = line.find('"', begin + 1);
            if (end == std::string::npos) break;
            std::string quote = line.substr(begin + 1, end - begin - 1);
            for (std::size_t cut = quote.find("…"); cut != std::string::npos; cut = quote.find("…"))
                quote.replace(cut, std::string("…").size(), "%s");
            quotes.push_back(quote);
            begin = line.find('"', end + 1);
        }
    }
    return quotes;
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

TEST(Situations, ThePageHasEveryTableAndNoOther) {
    std::vector<std::string> tables;
    for (int chapter = 0; chapter <= static_cast<int>(Chapter::Calls); ++chapter)
        tables.push_back(TableOfPage(static_cast<Chapter>(chapter)));
    EXPECT_THAT(TablesOfPage(Page()), testing::UnorderedElementsAreArray(tables));
}

TEST(Situations, EveryLineThatThePageQuotesStandsInTheSources) {
    const auto literals = LiteralsOf({"adaptor", "ipmi", "common", "platform/src", "host/views"});
    const auto begins = [&](const std::string& quote) {
        return quote.size() >= 8 && std::any_of(literals.begin(), literals.end(),
                                                [&](const std::string& literal) { return literal.starts_with(quote); });
    };
    const auto quotes = QuotesOf(Page());
    EXPECT_GT(quotes.size(), 80U);
    for (const std::string& quote : quotes)
        EXPECT_TRUE(StandsIn(literals, quote) || begins(quote)) << quote;
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
    EXPECT_EQ("", CureOf({"TRACE calling mavk_boot"}));
    EXPECT_EQ("run by hand what stands after \"MAVK_INIT:\" in the log", CureOf({"Fail to initialize DSP"}));
}

TEST(Situations, TheTellingLinesAreThoseOfASituationOnceEach) {
    EXPECT_THAT(TellingLines({"TRACE calling mavk_boot", "Fail to download DSP ErrorID = 1",
                              "Fail to download DSP ErrorID = 1", "MAVK_BOOT: x"}),
                ElementsAre("Fail to download DSP ErrorID = 1"));
    EXPECT_THAT(TellingLines({"a", "b", "c", "d", "d"}, 3), ElementsAre("b", "c", "d"));
    EXPECT_THAT(TellingLines({}), IsEmpty());
    EXPECT_THAT(TellingLines({"IPMIAdaptor :: AMC_HW_ReadParams - returning not found", "Fail to initialize DSP"}),
                ElementsAre("Fail to initialize DSP"))
        << "every start looks into empty bays";
    EXPECT_THAT(TellingLines({"IPMIAdaptor :: AMC_HW_ReadParams - returning not found"}), testing::SizeIs(1));
}

TEST(Situations, OfManyTellingLinesTheCauseIsNotCut) {
    EXPECT_THAT(TellingLines({"Fail to Get MAC of eth6", "Can not get DSP Info table", "Fail to initialize DSP",
                              "Fail to stop MEDIA SERVER "},
                             2),
                ElementsAre("Fail to Get MAC of eth6", "Fail to stop MEDIA SERVER "));
}

TEST(Situations, TheReasonsOfACallAreItsLinesWithCauseAndCure) {
    EXPECT_EQ("", ReasonsText({}));
    EXPECT_EQ("  log:   a line of two\n", ReasonsText({"a line\nof two"}));
    EXPECT_EQ("  log:   Fail to stop MEDIA SERVER \n"
              "  cause: `mediaStop` ended with a value other than 0, or is missing\n"
              "  cure:  run bin/mediaStop of the install folder by hand; then `bmhost stop`\n",
              ReasonsText({"TRACE", "Fail to stop MEDIA SERVER "}));
}

TEST(Situations, APageQuotesALineWithWhatDiffersCut) {
    const std::string table = TableOfPage(Chapter::Stop);
    EXPECT_THAT(table, testing::StartsWith("| what you see | cause | cure |\n|---|---|---|\n"
                                           "| \"Fail to stop MEDIA SERVER \"; result 0x30005 | "));
    EXPECT_THAT(TableOfPage(Chapter::Start),
                testing::HasSubstr("\"Fail to download DSP ErrorID = …\"; result 0x30012"));
}

} // namespace
