// The words of a script's line.
#include "host/session/Script.h"

#include "host/UsageError.h"

#include <gtest/gtest.h>

namespace {

using bmhost::Script;
using bmhost::SplitWords;
using Words = std::vector<std::string>;

struct LineCase {
    const char* m_line;
    Words m_words;
};

TEST(ScriptLine, IsSplitIntoWords) {
    const LineCase cases[] = {
        {"", {}},
        {" \t ", {}},
        {"init", {"init"}},
        {"  read\t0x300  0x303=3 ", {"read", "0x300", "0x303=3"}},
        {"init\r", {"init"}},
        {"\r", {}},
        {"# all of it", {}},
        {"  # all of it", {}},
        {"init # why", {"init"}},
        {"init #", {"init"}},
        {"1=a#b", {"1=a#b"}},
        {"1='a b'", {"1=a b"}},
        {"1=\"a b\" 2", {"1=a b", "2"}},
        {"'a b'c\"d e\"", {"a bcd e"}},
        {"1='a\"b' 2=\"it's\"", {"1=a\"b", "2=it's"}},
        {"1='# no comment'", {"1=# no comment"}},
        {"1='' ''", {"1=", ""}},
        {"1=\\n", {"1=\\n"}},
        {"1=\xFFg", {"1=\xFFg"}},
    };
    for (const LineCase& testCase : cases)
        EXPECT_EQ(testCase.m_words, SplitWords(testCase.m_line)) << testCase.m_line;
}

TEST(ScriptLine, WithAQuoteThatDoesNotEndIsWrong) {
    EXPECT_EQ("a quote ' does not end", UsageErrorOf([] { SplitWords("1='a b"); }));
    EXPECT_EQ("a quote \" does not end", UsageErrorOf([] { SplitWords("1=\"a'"); }));
    EXPECT_EQ("a quote ' does not end", UsageErrorOf([] { SplitWords("it's # fine"); }));
}

TEST(Script, ThatIsNotThereIsBadUsage) {
    EXPECT_EQ("script /no/such/file: No such file or directory", UsageErrorOf([] { Script script("/no/such/file"); }));
}

} // namespace
