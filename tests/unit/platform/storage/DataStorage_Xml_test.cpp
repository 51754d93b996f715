// The storage's files: the layout that a person reads and edits, and everything that is refused.
#include "platform/storage/StorageTest.h"

namespace {

using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;
using testing::ElementsAre;

using StorageFile = STORAGE_TEST;

constexpr const char* LAYOUT = R"(<?xml version="1.0"?>
<storage version="1">
  <row>
    <param id="0x30d12" type="int" key="true" value="1" />
    <param id="0x30d14" type="string" key="false" value="192.168.0.23" />
    <param id="0x2" type="bool" key="false" value="true" />
    <param id="0xffffffff" type="uint" key="false" value="4294967295" />
    <param id="0x0" type="int" key="false" value="-2147483648" />
  </row>
</storage>
)";

CBMIParams EveryType() {
    BM_ADAPTOR::CBMIParam l_Uint(BM_ADAPTOR::BMI_PARAM_UINT, 0xffffffff, false);
    l_Uint.SetInt(-1);
    return Row(Text(ADDRESS, "192.168.0.23"), Bool(2, true), l_Uint, Int(0, INT32_MIN));
}

TEST_F(StorageFile, HasTheDocumentedLayout) {
    Transaction([&] { m_Storage->SetRow(FILE_NAME, Keys(1), EveryType()); });
    EXPECT_EQ(LAYOUT, Read());
}

TEST_F(StorageFile, OfTheDocumentedLayoutIsRead) {
    Write(LAYOUT);
    CBMIParams l_Row;
    Transaction([&] { EXPECT_EQ(SUCCESS, m_Storage->RetrieveRow(FILE_NAME, Keys(1), l_Row, 0)); });
    ASSERT_EQ(5, l_Row.GetSize());
    EXPECT_EQ("192.168.0.23", l_Row.GetParamById(ADDRESS)->GetString());
    EXPECT_TRUE(l_Row.GetParamById(2)->GetBool());
    EXPECT_EQ(-1, l_Row.GetParamById(0xffffffff)->GetInt());
    EXPECT_EQ(INT32_MIN, l_Row.GetParamById(0)->GetInt());
    EXPECT_TRUE(l_Row.GetParamById(NUMBER)->IsKey());
    EXPECT_FALSE(l_Row.GetParamById(ADDRESS)->IsKey());
}

TEST_F(StorageFile, MayBeEditedFreelyWithinXml) {
    Write("\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?>\r\n<!-- the addresses -->\r\n"
          "<storage\tversion='1'><!-- one --><row><param value='a &lt;&amp;&quot;&apos;&gt; b' key='false'\n"
          " type='string' id='199956'></param><param key='true' id='0x30D12' type='int' value='1'/></row></storage>");
    EXPECT_EQ("a <&\"'> b", GetNow(1));
}

// --- texts ---

TEST_F(StorageFile, KeepsEveryByteOfAText) {
    std::string l_All;
    for (int i = 0; i < 256; ++i)
        l_All += static_cast<char>(i);
    const std::string l_Texts[] = {
        l_All, l_All + l_All,       " \t\n blanks \r\n ", "\\x41 \\ \\\\", "<&>\"'&#0;&amp;]]>", "--> ",
        "",    std::string(1, '\0')};
    for (const std::string& l_Text : l_Texts) {
        SetNow(1, l_Text);
        m_Storage = BM_PLATFORM::MakeStorage(m_Folder);
        EXPECT_EQ(l_Text, GetNow(1));
    }
}

TEST_F(StorageFile, ShowsOtherThanPrintableAsciiAsEscapes) {
    SetNow(1, "a\\b\n\xFC");
    EXPECT_THAT(Read(), testing::HasSubstr(R"(value="a\\b\x0A\xFC")"));
}

TEST_F(StorageFile, MayHoldBytesAboveAsciiAsTheyAre) {
    Write(R"(<storage version="1"><row><param id="0x30d12" type="int" key="true" value="1"/>)"
          "<param id='0x30d14' type='string' key='false' value='M\xC3\xBCller \xFC'/></row></storage>");
    EXPECT_EQ("M\xC3\xBCller \xFC", GetNow(1));
}

// --- what is refused ---

struct BAD_FILE {
    const char* m_Name;
    std::string m_Text;
    const char* m_LineAndReason;
};

std::string WithRow(const std::string& a_Row) {
    return "<storage version=\"1\">\n  <row>\n" + a_Row + "\n  </row>\n</storage>\n";
}
const std::string KEY_PARAM = "<param id=\"0x1\" type=\"int\" key=\"true\" value=\"1\"/>";

std::string WithParam(const std::string& a_Param) {
    return WithRow(KEY_PARAM + "\n" + a_Param);
}

std::vector<BAD_FILE> BadFiles() {
    const std::string l_Row = "<row>" + KEY_PARAM + "</row>\n";
    return {
        {"empty", "", "1: expected one <storage> element"},
        {"not XML", "port=1\n", "1: expected only <storage> elements here"},
        {"binary",
         std::string("\x7F"
                     "ELF\0\1",
                     6),
         "1: a control character"},
        {"another root", "<?xml version=\"1.0\"?>\n<!-- of a\nmail reader -->\n<config/>\n",
         "4: expected only <storage> elements here"},
        {"two roots", "<storage version=\"1\"/>\n<storage version=\"1\"/>\n", "3: expected one <storage> element"},
        {"no version", "<storage/>", "1: attribute version is missing"},
        {"a later version", "<storage version=\"2\"/>", "1: expected version=\"1\""},
        {"text after the root", "<storage version=\"1\"/>\nx", "2: expected only <storage> elements here"},
        {"text in the root", "<storage version=\"1\">\nx</storage>", "2: expected only <row> elements here"},
        {"text in a row", WithRow("x"), "3: expected only <param> elements here"},
        {"CDATA", WithRow("<![CDATA[x]]>"), "3: expected only <param> elements here"},
        {"an instruction", WithRow("<?php x?>"), "3: expected only <param> elements here"},
        {"a declaration in the midst", WithRow("<?xml version=\"1.0\"?>"),
         "3: Error parsing document declaration/processing instruction"},
        {"an unknown element", WithRow("<value/>"), "3: expected only <param> elements here"},
        {"an element in a parameter", WithRow("<param><param/></param>"), "3: expected nothing in <param>"},
        {"a document type", "<!DOCTYPE storage>\n<storage version=\"1\"/>", "1: expected only <storage> elements here"},
        {"entities", "<!DOCTYPE s [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]>\n<storage version=\"1\"/>",
         "1: expected &lt; &gt; &amp; &quot; or &apos; after '&'"},
        {"an external entity", "<!DOCTYPE s [<!ENTITY a SYSTEM \"/etc/passwd\">]>\n<storage version=\"1\"/>",
         "1: expected only <storage> elements here"},
        {"an unknown entity", WithParam("<param id=\"2\" type=\"string\" key=\"false\" value=\"&a;\"/>"),
         "4: expected &lt; &gt; &amp; &quot; or &apos; after '&'"},
        {"a numbered character", WithParam("<param id=\"2\" type=\"string\" key=\"false\" value=\"1&#0;2\"/>"),
         "4: expected &lt; &gt; &amp; &quot; or &apos; after '&'"},
        {"a control character", WithParam("<param id=\"2\" type=\"string\" key=\"false\" value=\"\x01\"/>"),
         "4: a control character"},
        {"UTF-16", std::string("<\0s\0t\0", 6), "1: a control character"},
        {"no key", WithRow("<param id=\"0x1\" type=\"int\" key=\"false\" value=\"1\"/>"), "2: a row without a key"},
        {"an empty row", WithRow(""), "2: a row without a key"},
        {"the same keys twice", "<storage version=\"1\">\n" + l_Row + l_Row + "</storage>",
         "3: a row with these keys stands above"},
        {"an id twice", WithParam(KEY_PARAM), "4: the row has this id twice"},
        {"an attribute twice", WithRow("<param id=\"1\" id=\"2\"/>"), "3: attribute id is there twice"},
        {"an unknown attribute", WithRow("<param name=\"x\"/>"), "3: unknown attribute name"},
        {"a row with attributes", "<storage version=\"1\"><row x=\"1\"/></storage>", "1: unknown attribute x"},
        {"a missing attribute", WithRow("<param id=\"1\" type=\"int\" value=\"1\"/>"), "3: attribute key is missing"},
        {"a bad id", WithRow("<param id=\"0x1g\" type=\"int\" key=\"true\" value=\"1\"/>"),
         "3: id=\"0x1g\": expected a number, 0x…"},
        {"an id of 33 bits", WithRow("<param id=\"0x100000000\" type=\"int\" key=\"true\" value=\"1\"/>"),
         "3: id=\"0x100000000\": expected a number, 0x…"},
        {"an unknown type", WithRow("<param id=\"1\" type=\"float\" key=\"true\" value=\"1\"/>"),
         "3: type=\"float\": expected bool, int, uint or string"},
        {"a bad key flag", WithRow("<param id=\"1\" type=\"int\" key=\"yes\" value=\"1\"/>"),
         "3: key=\"yes\": expected true or false"},
    };
}

TEST_F(StorageFile, ThatIsNotOfTheLayoutIsRefusedWithLineAndReasonAndLeftAsItIs) {
    for (const BAD_FILE& l_Case : BadFiles()) {
        SCOPED_TRACE(l_Case.m_Name);
        Write(l_Case.m_Text);
        CBMITable l_Table;
        CBMIParams l_Row;
        EXPECT_EQ(SUCCESS, Transaction([&] {
                      EXPECT_EQ(NOT_READABLE, m_Storage->RetrieveTable(FILE_NAME, l_Table, 0));
                      EXPECT_EQ(NOT_READABLE, m_Storage->RetrieveRow(FILE_NAME, Keys(1), l_Row, 0));
                      EXPECT_EQ(NOT_READABLE, Set(1, "x"));
                      EXPECT_EQ(NOT_READABLE, Create(2, "x"));
                  }));
        EXPECT_EQ(0, l_Table.GetSize());
        const auto l_Logged = Logged();
        EXPECT_EQ("CreateRow - " + PathOf(FILE_NAME) + ":" + l_Case.m_LineAndReason, l_Logged.back());
        EXPECT_EQ(l_Case.m_Text, Read());
    }
}

TEST_F(StorageFile, ValuesOfAnotherTypeAreRefused) {
    const struct {
        const char* m_Type;
        std::vector<const char*> m_Values;
    } l_Cases[] = {{"int", {"", "x", "1x", " 1", "1 ", "+1", "0x10", "2147483648", "-2147483649", "1.0"}},
                   {"uint", {"", "-1", "4294967296"}},
                   {"bool", {"", "1", "TRUE", "yes"}},
                   {"string", {"\\", "\\x", "\\x4", "\\xgg", "\\x-1", "\\n", "a\\"}}};
    for (const auto& [l_Type, l_Values] : l_Cases) {
        for (const std::string l_Value : l_Values) {
            Write(WithParam("<param id=\"2\" key=\"false\" type=\"" + std::string(l_Type) + "\" value=\"" + l_Value +
                            "\"/>"));
            EXPECT_EQ("21", GetNow(1)) << l_Type << " " << l_Value;
            EXPECT_THAT(Logged().back(), testing::EndsWith(std::string("\" is none of the type ") + l_Type));
            EXPECT_THAT(Logged().back(), testing::HasSubstr(".xml:4: value=\""));
        }
    }
}

TEST_F(StorageFile, CutAtAnyPlaceIsRefusedAndLeftAsItIs) {
    const std::string l_Whole = LAYOUT;
    for (std::size_t l_Size = 0; l_Size + 1 < l_Whole.size(); ++l_Size) {
        Write(l_Whole.substr(0, l_Size));
        Transaction([&] { EXPECT_EQ(NOT_READABLE, Set(1, "x")) << l_Size; });
        EXPECT_EQ(l_Whole.substr(0, l_Size), Read());
    }
}

// Whatever it is, it is answered; under the sanitizers this looks for more.
TEST_F(StorageFile, WithAnyByteChangedIsReadOrRefused) {
    const std::string l_Whole = LAYOUT;
    std::size_t l_Refused = 0;
    for (std::size_t i = 0; i < l_Whole.size(); ++i) {
        for (const char l_Byte : {'<', '>', '&', '"', '\0', '\xFF'}) {
            std::string l_Text = l_Whole;
            l_Text[i] = l_Byte;
            Write(l_Text);
            CBMITable l_Table;
            Transaction([&] {
                const int l_Result = m_Storage->RetrieveTable(FILE_NAME, l_Table, 1);
                EXPECT_TRUE(l_Result == NOT_READABLE || (l_Result == SUCCESS && l_Table.GetSize() <= 1));
                l_Refused += l_Result == NOT_READABLE;
            });
        }
    }
    EXPECT_GT(l_Refused, l_Whole.size() * 5);
}

// --- size ---

TEST_F(StorageFile, OfMoreThanAMebibyteIsRefusedUnread) {
    Write(std::string(1024 * 1024 + 1, ' '));
    EXPECT_EQ("21", GetNow(1));
    EXPECT_THAT(Logged(), ElementsAre("RetrieveRow - " + PathOf(FILE_NAME) + ": has more than 1048576 bytes"));
}

TEST_F(StorageFile, ThatWouldGrowBeyondAMebibyteStaysAsItWas) {
    SetNow(1, "old");
    const std::string l_Before = Read();
    EXPECT_EQ(NOTHING_DONE, Transaction([&] {
                  EXPECT_EQ(SUCCESS, Set(2, "x"));
                  EXPECT_EQ(SUCCESS, Set(1, std::string(1024 * 1024, 'x')));
              }));
    EXPECT_THAT(Logged(),
                ElementsAre("EndTransaction - " + PathOf(FILE_NAME) + ": would have more than 1048576 bytes"));
    EXPECT_EQ(l_Before, Read());
    EXPECT_EQ("4", GetNow(2)) << "no change of the failed transaction is left";
}

TEST_F(StorageFile, OfAMebibyteIsAnsweredWhateverItHolds) {
    const auto l_Filled = [](const std::string& a_Begin, const std::string& a_Part) {
        std::string l_Text = a_Begin;
        while (l_Text.size() + a_Part.size() < 1024 * 1024)
            l_Text += a_Part;
        return l_Text;
    };
    const std::string l_Cases[] = {
        l_Filled("", "<a>"),                                         // deep
        l_Filled("<storage version=\"1\"><row><param ", "a='' "),    // many attributes
        l_Filled("<storage version=\"1\">", "<row/>"),               // many rows
        l_Filled("<storage version=\"1\"><row>", "<param id='1'/>"), // many parameters
        l_Filled("", "&amp;"),
        l_Filled("<!DOCTYPE a [", "<!ENTITY a 'b'>"),
        l_Filled("", "<!--"),
    };
    for (const std::string& l_Text : l_Cases) {
        Write(l_Text);
        EXPECT_EQ("21", GetNow(1)) << l_Text.substr(0, 60);
    }
}

TEST_F(StorageFile, WithThousandsOfRowsIsQuick) {
    Transaction([&] {
        for (int i = 0; i < 5000; ++i)
            ASSERT_EQ(SUCCESS, Create(i, "192.168.0.1"));
    });
    EXPECT_EQ("192.168.0.1", GetNow(4999));
}

} // namespace
