// The inventory areas: read and written in pieces, and where that is refused.
#include "sim/module/InventoryAreas.h"

#include "sim/base/Bytes.h"
#include "sim/blade/FruImage.h"

#include "SampleCarrier.h"

#include <gmock/gmock.h>

#include <random>

using namespace bladesim;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr uint8_t AreaInfo = 0x10;
constexpr uint8_t ReadData = 0x11;
constexpr uint8_t WriteData = 0x12;

class InventoryAreasTest : public testing::Test {
protected:
    InventoryAreasTest() {
        m_blade.m_frus[1].m_inventory.emplace().m_raw.emplace(0x0142);
        for (size_t index = 0; index < 0x0142; ++index)
            m_blade.m_frus[1].m_inventory->m_raw->at(index) = static_cast<uint8_t>(index * 7);
        m_blade.m_frus[0].m_inventory.reset();
    }

    Reply Ask(uint8_t command, const Bytes& request) { return Areas().Answer(command, request); }

    InventoryAreas& Areas() {
        if (!m_made) m_made.emplace(m_blade);
        return *m_made;
    }

    Blade m_blade = SampleCarrier(); ///< FRU 0 has no area, FRU 2 one of 0x142 bytes, FRU 7 an empty one
    std::optional<InventoryAreas> m_made;
};

} // namespace

TEST_F(InventoryAreasTest, TellTheirSize) {
    EXPECT_THAT(Ask(AreaInfo, {2}), ElementsAre(0, 0x42, 0x01, 0));
    EXPECT_THAT(Ask(AreaInfo, {7}), ElementsAre(0, 0, 0, 0));
}

TEST_F(InventoryAreasTest, AreReadInPieces) {
    const Bytes& image = *m_blade.m_frus[1].m_inventory->m_raw;
    Bytes read;
    for (size_t offset = 0; offset < image.size(); offset += 16) {
        const Reply reply = Ask(ReadData, {2, static_cast<uint8_t>(offset), static_cast<uint8_t>(offset >> 8), 16});
        ASSERT_GE(reply.size(), 2U);
        ASSERT_EQ(reply[1], reply.size() - 2);
        read.insert(read.end(), reply.begin() + 2, reply.end());
    }
    EXPECT_THAT(read, ElementsAreArray(image));
}

TEST_F(InventoryAreasTest, GiveWhatThereIsAtTheirEnd) {
    EXPECT_THAT(Ask(ReadData, {2, 0x40, 0x01, 16}), ElementsAre(0, 2, 0xC0, 0xC7));
}

TEST_F(InventoryAreasTest, GiveAsMuchAsAReplyHolds) {
    EXPECT_EQ(Ask(ReadData, {2, 0, 0, 34}).size(), 36U);
    EXPECT_THAT(Ask(ReadData, {2, 0, 0, 35}), ElementsAre(0xC8));
}

TEST_F(InventoryAreasTest, KeepWhatIsWritten) {
    EXPECT_THAT(Ask(WriteData, {2, 0x3F, 0x01, 1, 2, 3}), ElementsAre(0, 3));
    EXPECT_THAT(Ask(ReadData, {2, 0x3E, 0x01, 16}), ElementsAre(0, 4, 0xB2, 1, 2, 3));
}

TEST_F(InventoryAreasTest, AreImagesBuiltFromTheTexts) {
    const Blade blade = SampleCarrier();
    InventoryAreas areas(blade);
    const Bytes request = {0};
    EXPECT_EQ(areas.Answer(AreaInfo, request).at(1), BuildFruImage(*blade.m_frus[0].m_inventory).size());
}

struct RefusedRequest {
    const char* m_name;
    uint8_t m_command;
    Bytes m_request;
    uint8_t m_code;
};

class InventoryAreasRefusal : public InventoryAreasTest, public testing::WithParamInterface<RefusedRequest> {};

TEST_P(InventoryAreasRefusal, HasItsCompletionCodeAndNothingElse) {
    EXPECT_THAT(Ask(GetParam().m_command, GetParam().m_request), ElementsAre(GetParam().m_code));
}

INSTANTIATE_TEST_SUITE_P(Rows, InventoryAreasRefusal,
                         testing::Values(RefusedRequest{"NoFRU", AreaInfo, {}, 0xC7},
                                         RefusedRequest{"FRUWithoutArea", AreaInfo, {0}, 0xCB},
                                         RefusedRequest{"UnknownFRU", AreaInfo, {9}, 0xCB},
                                         RefusedRequest{"InfoTooLong", AreaInfo, {2, 0}, 0xC7},
                                         RefusedRequest{"ReadWithoutArea", ReadData, {0, 0, 0, 16}, 0xCB},
                                         RefusedRequest{"ReadTooShort", ReadData, {2, 0, 0}, 0xC7},
                                         RefusedRequest{"ReadTooLong", ReadData, {2, 0, 0, 16, 0}, 0xC7},
                                         RefusedRequest{"ReadOfAnEmptyArea", ReadData, {7, 0, 0, 16}, 0xC9},
                                         RefusedRequest{"ReadBehindTheEnd", ReadData, {2, 0x42, 0x01, 1}, 0xC9},
                                         RefusedRequest{"ReadOfNothing", ReadData, {2, 0, 0, 0}, 0xC9},
                                         RefusedRequest{"WriteOfNothing", WriteData, {2, 0, 0}, 0xC7},
                                         RefusedRequest{"WriteBehindTheEnd", WriteData, {2, 0x42, 0x01, 1}, 0xC9},
                                         RefusedRequest{"WriteOverTheEnd", WriteData, {2, 0x41, 0x01, 1, 2}, 0xC8},
                                         RefusedRequest{"AnotherCommand", 0x13, {2, 0, 0, 0}, 0xC1}),
                         [](const auto& testInfo) { return testInfo.param.m_name; });

TEST_F(InventoryAreasTest, AnswerWhateverComesWithACodeAndWithinBounds) {
    std::mt19937 random(11);
    std::uniform_int_distribution<unsigned> byte(0, 0xFF);
    size_t good = 0;
    for (int round = 0; round < 20'000; ++round) {
        Bytes request(byte(random) % 8);
        for (uint8_t& value : request)
            value = static_cast<uint8_t>(byte(random) % (byte(random) % 2 == 0 ? 8 : 0x100));
        if (!request.empty() && round % 2 == 0) request[0] = 2;
        const Reply reply = Ask(static_cast<uint8_t>(AreaInfo + byte(random) % 4), request);
        ASSERT_FALSE(reply.empty());
        ASSERT_LE(reply.size(), reply[0] == 0 ? MaxReply : 1U);
        good += reply[0] == 0 ? 1U : 0U;
    }
    EXPECT_GT(good, 500U) << "else it says little";
}
