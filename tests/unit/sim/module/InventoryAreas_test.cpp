// The inventory areas: read and written in pieces, and where that is refused.
#include "sim/module/InventoryAreas.h"

#include "sim/blade/FruImage.h"

#include "SampleCarrier.h"

#include <gmock/gmock.h>

#include <random>

using namespace BLADESIM;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using BYTES = std::vector<uint8_t>;

constexpr uint8_t g_Info = 0x10;
constexpr uint8_t g_Read = 0x11;
constexpr uint8_t g_Write = 0x12;

class InventoryAreas : public testing::Test {
protected:
    InventoryAreas() {
        m_Blade.m_FRUs[1].m_Inventory.emplace().m_Raw.emplace(0x0142);
        for (size_t l_Index = 0; l_Index < 0x0142; ++l_Index)
            m_Blade.m_FRUs[1].m_Inventory->m_Raw->at(l_Index) = static_cast<uint8_t>(l_Index * 7);
        m_Blade.m_FRUs[0].m_Inventory.reset();
    }

    REPLY Ask(uint8_t a_Command, const BYTES& a_Request) { return Areas().Answer(a_Command, a_Request); }

    INVENTORY_AREAS& Areas() {
        if (!m_Made) m_Made.emplace(m_Blade);
        return *m_Made;
    }

    BLADE m_Blade = SampleCarrier(); ///< FRU 0 has no area, FRU 2 one of 0x142 bytes, FRU 7 an empty one
    std::optional<INVENTORY_AREAS> m_Made;
};

} // namespace

TEST_F(InventoryAreas, TellTheirSize) {
    EXPECT_THAT(Ask(g_Info, {2}), ElementsAre(0, 0x42, 0x01, 0));
    EXPECT_THAT(Ask(g_Info, {7}), ElementsAre(0, 0, 0, 0));
}

TEST_F(InventoryAreas, AreReadInPieces) {
    const BYTES& l_Image = *m_Blade.m_FRUs[1].m_Inventory->m_Raw;
    BYTES l_Read;
    for (size_t l_Offset = 0; l_Offset < l_Image.size(); l_Offset += 16) {
        const REPLY l_Reply = Ask(g_Read, {2, static_cast<uint8_t>(l_Offset), static_cast<uint8_t>(l_Offset >> 8), 16});
        ASSERT_GE(l_Reply.size(), 2U);
        ASSERT_EQ(l_Reply[1], l_Reply.size() - 2);
        l_Read.insert(l_Read.end(), l_Reply.begin() + 2, l_Reply.end());
    }
    EXPECT_THAT(l_Read, ElementsAreArray(l_Image));
}

TEST_F(InventoryAreas, GiveWhatThereIsAtTheirEnd) {
    EXPECT_THAT(Ask(g_Read, {2, 0x40, 0x01, 16}), ElementsAre(0, 2, 0xC0, 0xC7));
}

TEST_F(InventoryAreas, GiveAsMuchAsAReplyHolds) {
    EXPECT_EQ(Ask(g_Read, {2, 0, 0, 34}).size(), 36U);
    EXPECT_THAT(Ask(g_Read, {2, 0, 0, 35}), ElementsAre(0xC8));
}

TEST_F(InventoryAreas, KeepWhatIsWritten) {
    EXPECT_THAT(Ask(g_Write, {2, 0x3F, 0x01, 1, 2, 3}), ElementsAre(0, 3));
    EXPECT_THAT(Ask(g_Read, {2, 0x3E, 0x01, 16}), ElementsAre(0, 4, 0xB2, 1, 2, 3));
}

TEST_F(InventoryAreas, AreImagesBuiltFromTheTexts) {
    const BLADE l_Blade = SampleCarrier();
    INVENTORY_AREAS l_Areas(l_Blade);
    const BYTES l_Request = {0};
    EXPECT_EQ(l_Areas.Answer(g_Info, l_Request).at(1), BuildFruImage(*l_Blade.m_FRUs[0].m_Inventory).size());
}

struct REFUSED_REQUEST {
    const char* m_Name;
    uint8_t m_Command;
    BYTES m_Request;
    uint8_t m_Code;
};

class InventoryAreasRefusal : public InventoryAreas, public testing::WithParamInterface<REFUSED_REQUEST> {};

TEST_P(InventoryAreasRefusal, HasItsCompletionCodeAndNothingElse) {
    EXPECT_THAT(Ask(GetParam().m_Command, GetParam().m_Request), ElementsAre(GetParam().m_Code));
}

INSTANTIATE_TEST_SUITE_P(Rows, InventoryAreasRefusal,
                         testing::Values(REFUSED_REQUEST{"NoFRU", g_Info, {}, 0xC7},
                                         REFUSED_REQUEST{"FRUWithoutArea", g_Info, {0}, 0xCB},
                                         REFUSED_REQUEST{"UnknownFRU", g_Info, {9}, 0xCB},
                                         REFUSED_REQUEST{"InfoTooLong", g_Info, {2, 0}, 0xC7},
                                         REFUSED_REQUEST{"ReadWithoutArea", g_Read, {0, 0, 0, 16}, 0xCB},
                                         REFUSED_REQUEST{"ReadTooShort", g_Read, {2, 0, 0}, 0xC7},
                                         REFUSED_REQUEST{"ReadTooLong", g_Read, {2, 0, 0, 16, 0}, 0xC7},
                                         REFUSED_REQUEST{"ReadOfAnEmptyArea", g_Read, {7, 0, 0, 16}, 0xC9},
                                         REFUSED_REQUEST{"ReadBehindTheEnd", g_Read, {2, 0x42, 0x01, 1}, 0xC9},
                                         REFUSED_REQUEST{"ReadOfNothing", g_Read, {2, 0, 0, 0}, 0xC9},
                                         REFUSED_REQUEST{"WriteOfNothing", g_Write, {2, 0, 0}, 0xC7},
                                         REFUSED_REQUEST{"WriteBehindTheEnd", g_Write, {2, 0x42, 0x01, 1}, 0xC9},
                                         REFUSED_REQUEST{"WriteOverTheEnd", g_Write, {2, 0x41, 0x01, 1, 2}, 0xC8},
                                         REFUSED_REQUEST{"AnotherCommand", 0x13, {2, 0, 0, 0}, 0xC1}),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

TEST_F(InventoryAreas, AnswerWhateverComesWithACodeAndWithinBounds) {
    std::mt19937 l_Random(11);
    std::uniform_int_distribution<unsigned> l_Byte(0, 0xFF);
    size_t l_Good = 0;
    for (int l_Round = 0; l_Round < 20'000; ++l_Round) {
        BYTES l_Request(l_Byte(l_Random) % 8);
        for (uint8_t& l_Value : l_Request)
            l_Value = static_cast<uint8_t>(l_Byte(l_Random) % (l_Byte(l_Random) % 2 == 0 ? 8 : 0x100));
        if (!l_Request.empty() && l_Round % 2 == 0) l_Request[0] = 2;
        const REPLY l_Reply = Ask(static_cast<uint8_t>(g_Info + l_Byte(l_Random) % 4), l_Request);
        ASSERT_FALSE(l_Reply.empty());
        ASSERT_LE(l_Reply.size(), l_Reply[0] == 0 ? g_MaxReply : 1U);
        l_Good += l_Reply[0] == 0 ? 1U : 0U;
    }
    EXPECT_GT(l_Good, 500U) << "else it says little";
}
