// Areas worked out by hand: what the parser makes of each, and that the second decoder of the random tests agrees.
#include "GoldenFRU.h"
#include "ParserFixture.h"

#include <algorithm>

using namespace BM_ADAPTOR;

namespace {

/// Texts that are there and empty say the same as texts that are not there.
FRU_CONTENT WithoutEmptyTexts(FRU_CONTENT a_Content) {
    std::erase_if(a_Content.m_Texts, [](const auto& a_Text) { return a_Text.second.empty(); });
    return a_Content;
}

FRU_CONTENT ContentOf(const IPMI_FRU& a_FRU, int a_Result) {
    FRU_CONTENT l_Content{a_Result,
                          {{"BoardManufacturer", a_FRU.m_BoardManufacturer},
                           {"BoardProductName", a_FRU.m_BoardProductName},
                           {"BoardSerialNumber", a_FRU.m_BoardSerialNumber},
                           {"BoardPartNumber", a_FRU.m_BoardPartNumber},
                           {"ProductManufacturer", a_FRU.m_ProductManufacturer},
                           {"ProductName", a_FRU.m_ProductName},
                           {"ProductPartModelNumber", a_FRU.m_ProductPartModelNumber},
                           {"ProductVersion", a_FRU.m_ProductVersion},
                           {"ProductSerialNumber", a_FRU.m_ProductSerialNumber}},
                          {}};
    for (const MULTIRECORD* l_Record : a_FRU.m_MultiRecords)
        l_Content.m_Records.push_back({static_cast<uint8_t>(l_Record->m_Type), DataOf(*l_Record)});
    return WithoutEmptyTexts(l_Content);
}

class GoldenFRU : public PARSER_TEST, public ::testing::WithParamInterface<GOLDEN_FRU> {
protected:
    static void ExpectLines(const std::vector<LOG_LINE>& a_Lines) {
        auto l_From = a_Lines.begin();
        for (const LOG_LINE& l_Line : GetParam().m_Lines) {
            l_From = std::find(l_From, a_Lines.end(), l_Line);
            ASSERT_NE(l_From, a_Lines.end())
                << ::testing::PrintToString(l_Line) << "\nnot among, or not in this order\n"
                << ::testing::PrintToString(a_Lines);
            ++l_From;
        }
    }
};

TEST_P(GoldenFRU, IsReadAsWorkedOutByHand) {
    const int l_Result = Parse(GetParam().m_Image);
    EXPECT_EQ(ContentOf(m_FRU, l_Result), GetParam().m_Expected);
    ExpectLines(m_Log.Lines());
}

TEST_P(GoldenFRU, IsReadSoByTheSecondDecoder) {
    REFERENCE_FRU l_Reference(GetParam().m_Image, nullptr);
    l_Reference.Read();
    EXPECT_EQ(WithoutEmptyTexts(l_Reference.Content()), GetParam().m_Expected);
    ExpectLines(l_Reference.Lines());
}

INSTANTIATE_TEST_SUITE_P(Of, GoldenFRU, ::testing::ValuesIn(g_GoldenFRUs),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
