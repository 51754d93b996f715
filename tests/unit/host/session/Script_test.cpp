// Words of a script's line.
#include "host/session/Script.h"

#include "host/UsageError.h"

#include <gtest/gtest.h>

namespace {

using BMHOST::SCRIPT;
using BMHOST::SplitWords;
using WORDS = std::vector<std::string>;

struct LINE_CASE {
    const char* m_Line;
    WORDS m_Words;
};

TEST(ScriptLine, IsSplitIntoWords) {
    const LINE_CASE l_Cases[] = {
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
    for (const LINE_CASE& l_Case : l_Cases)
        EXPECT_EQ(l_Case.m_Words, SplitWords(l_Case.m_Line)) << l_Case.m_Line;
}

TEST(ScriptLine, WithAQuoteThatDoesNotEndIsWrong) {
    EXPECT_EQ("a quote ' does not end", UsageErrorOf([] { SplitWords("1='a b"); }));
    EXPECT_EQ("a quote \" does not end", UsageErrorOf([] { SplitWords("1=\"a'"); }));
    EXPECT_EQ("a quote ' does not end", UsageErrorOf([] { SplitWords("it's # fine"); }));
}

TEST(Script, ThatIsNotThereIsBadUsage) {
    EXPECT_EQ("script /no/such/file: No such file or directory",
              UsageErrorOf([] { SCRIPT l_Script("/no/such/file"); }));
}

} // namespace
