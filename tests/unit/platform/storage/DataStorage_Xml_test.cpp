// The storage's files: the layout that a person reads and edits, and everything that is refused.
#include "platform/storage/StorageTest.h"

namespace {

using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;
using testing::ElementsAre;

using StorageFile = StorageTest;

constexpr const char* Layout = R"(<?xml version="1.0"?>
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
    BM_ADAPTOR::CBMIParam uint(BM_ADAPTOR::BMI_PARAM_UINT, 0xffffffff, false);
    uint.SetInt(-1);
    return Row(Text(Address, "192.168.0.23"), Bool(2, true), uint, Int(0, INT32_MIN));
}

TEST_F(StorageFile, HasTheDocumentedLayout) {
    Transaction([&] { m_storage->SetRow(FileName, Keys(1), EveryType()); });
    EXPECT_EQ(Layout, Read());
}

TEST_F(StorageFile, OfTheDocumentedLayoutIsRead) {
    Write(Layout);
    CBMIParams row;
    Transaction([&] { EXPECT_EQ(Success, m_storage->RetrieveRow(FileName, Keys(1), row, 0)); });
    ASSERT_EQ(5, row.GetSize());
    EXPECT_EQ("192.168.0.23", row.GetParamById(Address)->GetString());
    EXPECT_TRUE(row.GetParamById(2)->GetBool());
    EXPECT_EQ(-1, row.GetParamById(0xffffffff)->GetInt());
    EXPECT_EQ(INT32_MIN, row.GetParamById(0)->GetInt());
    EXPECT_TRUE(row.GetParamById(Number)->IsKey());
    EXPECT_FALSE(row.GetParamById(Address)->IsKey());
}

TEST_F(StorageFile, MayBeEditedFreelyWithinXml) {
    Write("\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?>\r\n<!-- the addresses -->\r\n"
          "<storage\tversion='1'><!-- one --><row><param value='a &lt;&amp;&quot;&apos;&gt; b' key='false'\n"
          " type='string' id='199956'></param><param key='true' id='0x30D12' type='int' value='1'/></row></storage>");
    EXPECT_EQ("a <&\"'> b", GetNow(1));
}

// --- texts ---

TEST_F(StorageFile, KeepsEveryByteOfAText) {
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    const std::string texts[] = {all,    all + all, " \t\n blanks \r\n ", "\\x41 \\ \\\\", "<&>\"'&#0;&amp;]]>",
                                 "--> ", "",        std::string(1, '\0')};
    for (const std::string& text : texts) {
        SetNow(1, text);
        m_storage = bm_dev::MakeStorage(m_folder);
        EXPECT_EQ(text, GetNow(1));
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

struct BadFile {
    const char* m_name;
    std::string m_text;
    const char* m_lineAndReason;
};

std::string WithRow(const std::string& row) {
    return "<storage version=\"1\">\n  <row>\n" + row + "\n  </row>\n</storage>\n";
}
const std::string KeyParam = "<param id=\"0x1\" type=\"int\" key=\"true\" value=\"1\"/>";

std::string WithParam(const std::string& param) {
    return WithRow(KeyParam + "\n" + param);
}

std::vector<BadFile> BadFiles() {
    const std::string row = "<row>" + KeyParam + "</row>\n";
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
        {"a declaration in the middle", WithRow("<?xml version=\"1.0\"?>"),
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
        {"no key", WithRow("<param id=\"0x1\" type=\"int\" key=\"false\" value=\"1\"/>"), "2: the row has no key"},
        {"an empty row", WithRow(""), "2: the row has no key"},
        {"the same keys twice", "<storage version=\"1\">\n" + row + row + "</storage>",
         "3: a row above has the same keys"},
        {"an id twice", WithParam(KeyParam), "4: the id appears twice in the row"},
        {"an attribute twice", WithRow("<param id=\"1\" id=\"2\"/>"), "3: attribute id appears twice"},
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
    for (const BadFile& testCase : BadFiles()) {
        SCOPED_TRACE(testCase.m_name);
        Write(testCase.m_text);
        CBMITable table;
        CBMIParams row;
        EXPECT_EQ(Success, Transaction([&] {
                      EXPECT_EQ(NotReadable, m_storage->RetrieveTable(FileName, table, 0));
                      EXPECT_EQ(NotReadable, m_storage->RetrieveRow(FileName, Keys(1), row, 0));
                      EXPECT_EQ(NotReadable, Set(1, "x"));
                      EXPECT_EQ(NotReadable, Create(2, "x"));
                  }));
        EXPECT_EQ(0, table.GetSize());
        const auto logged = Logged();
        EXPECT_EQ("CreateRow - " + PathOf(FileName) + ":" + testCase.m_lineAndReason, logged.back());
        EXPECT_EQ(testCase.m_text, Read());
    }
}

TEST_F(StorageFile, ValuesOfAnotherTypeAreRefused) {
    const struct {
        const char* m_type;
        std::vector<const char*> m_values;
    } cases[] = {{"int", {"", "x", "1x", " 1", "1 ", "+1", "0x10", "2147483648", "-2147483649", "1.0"}},
                 {"uint", {"", "-1", "4294967296"}},
                 {"bool", {"", "1", "TRUE", "yes"}},
                 {"string", {"\\", "\\x", "\\x4", "\\xgg", "\\x-1", "\\n", "a\\"}}};
    for (const auto& [type, values] : cases) {
        for (const std::string value : values) {
            Write(WithParam("<param id=\"2\" key=\"false\" type=\"" + std::string(type) + "\" value=\"" + value +
                            "\"/>"));
            EXPECT_EQ("21", GetNow(1)) << type << " " << value;
            EXPECT_THAT(Logged().back(), testing::EndsWith(std::string("\" is not of type ") + type));
            EXPECT_THAT(Logged().back(), testing::HasSubstr(".xml:4: value=\""));
        }
    }
}

TEST_F(StorageFile, CutAtAnyPlaceIsRefusedAndLeftAsItIs) {
    const std::string whole = Layout;
    for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
        Write(whole.substr(0, size));
        Transaction([&] { EXPECT_EQ(NotReadable, Set(1, "x")) << size; });
        EXPECT_EQ(whole.substr(0, size), Read());
    }
}

// Every text gets an answer; under the sanitizers this finds more.
TEST_F(StorageFile, WithAnyByteChangedIsReadOrRefused) {
    const std::string whole = Layout;
    std::size_t refused = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (const char byte : {'<', '>', '&', '"', '\0', '\xFF'}) {
            std::string text = whole;
            text[i] = byte;
            Write(text);
            CBMITable table;
            Transaction([&] {
                const int result = m_storage->RetrieveTable(FileName, table, 1);
                EXPECT_TRUE(result == NotReadable || (result == Success && table.GetSize() <= 1));
                refused += result == NotReadable;
            });
        }
    }
    EXPECT_GT(refused, whole.size() * 5);
}

// --- size ---

TEST_F(StorageFile, OfMoreThanAMebibyteIsRefusedUnread) {
    Write(std::string(1024 * 1024 + 1, ' '));
    EXPECT_EQ("21", GetNow(1));
    EXPECT_THAT(Logged(), ElementsAre("RetrieveRow - " + PathOf(FileName) + ": has more than 1048576 bytes"));
}

TEST_F(StorageFile, ThatWouldGrowBeyondAMebibyteStaysAsItWas) {
    SetNow(1, "old");
    const std::string before = Read();
    EXPECT_EQ(NothingDone, Transaction([&] {
                  EXPECT_EQ(Success, Set(2, "x"));
                  EXPECT_EQ(Success, Set(1, std::string(1024 * 1024, 'x')));
              }));
    EXPECT_THAT(Logged(), ElementsAre("EndTransaction - " + PathOf(FileName) + ": would have more than 1048576 bytes"));
    EXPECT_EQ(before, Read());
    EXPECT_EQ("4", GetNow(2)) << "no change of the failed transaction is left";
}

TEST_F(StorageFile, OfAMebibyteIsAnsweredWhateverItHolds) {
    const auto filled = [](const std::string& begin, const std::string& part) {
        std::string text = begin;
        while (text.size() + part.size() < 1024 * 1024)
            text += part;
        return text;
    };
    const std::string cases[] = {
        filled("", "<a>"),                                         // deep
        filled("<storage version=\"1\"><row><param ", "a='' "),    // many attributes
        filled("<storage version=\"1\">", "<row/>"),               // many rows
        filled("<storage version=\"1\"><row>", "<param id='1'/>"), // many parameters
        filled("", "&amp;"),
        filled("<!DOCTYPE a [", "<!ENTITY a 'b'>"),
        filled("", "<!--"),
    };
    for (const std::string& text : cases) {
        Write(text);
        EXPECT_EQ("21", GetNow(1)) << text.substr(0, 60);
    }
}

TEST_F(StorageFile, WithThousandsOfRowsIsQuick) {
    Transaction([&] {
        for (int i = 0; i < 5000; ++i)
            ASSERT_EQ(Success, Create(i, "192.168.0.1"));
    });
    EXPECT_EQ("192.168.0.1", GetNow(4999));
}

} // namespace
