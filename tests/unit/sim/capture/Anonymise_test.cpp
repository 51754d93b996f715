// Serial numbers and MAC addresses of a captured blade replaced wherever they are, and nothing else.
#include "sim/capture/Anonymise.h"

#include "SimulatedController.h"
#include "sim/blade/FruImage.h"
#include "sim/capture/ComposeBlade.h"
#include "sim/capture/FruLayout.h"
#include "sim/capture/Requests.h"

#include <gmock/gmock.h>

#include <algorithm>

using namespace bladesim;
using testing::IsEmpty;

namespace {

constexpr MacAddress DspMac = {2, 0x4D, 0x71, 0, 3, 0x10};

Blade TwoOfAKind(BadChecksums bad = {}) {
    Blade blade = WholeCarrier();
    Inventory inventory;
    inventory.m_board = {"Maker SER-0042", "Board", "SER-0042", "Part"};
    inventory.m_product = {"Seller", "Product", "Part", "V1", "SER-0043", "Tag"};
    inventory.m_multiRecords = {
        {0xC0, {0x57, 0x01, 0x00, 2, 0, 1, 2, DspMac[0], DspMac[1], DspMac[2], DspMac[3], DspMac[4], DspMac[5], 0}}};
    inventory.m_badChecksums = bad;
    blade.m_frus[0].m_inventory = inventory;
    inventory.m_product->m_serialNumber = "SER-0042";
    blade.m_frus[2].m_inventory = inventory;
    return blade;
}

class AnonymiseTest : public testing::Test {
protected:
    CapturedController Capture(const Blade& blade) {
        SimulatedController controller(blade);
        Conversation conversation = controller.Talk();
        return ReadController(conversation);
    }

    static bool Has(const Bytes& bytes, const std::string& text) {
        return std::search(bytes.begin(), bytes.end(), text.begin(), text.end()) != bytes.end();
    }

    static std::vector<std::string> Serials(const Bytes& image) {
        std::vector<std::string> serials;
        for (const SerialField& field : LayOut(image).m_serials) {
            const auto begin = image.begin() + static_cast<std::ptrdiff_t>(field.m_offset);
            serials.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(field.m_size));
        }
        return serials;
    }

    static std::vector<unsigned> Sums(const Bytes& image) {
        std::vector<unsigned> sums;
        for (const ChecksumPlace& place : LayOut(image).m_checksums) {
            unsigned sum = place.m_checksum < place.m_begin ? image[place.m_checksum] : 0U;
            for (size_t index = place.m_begin; index < place.m_end; ++index)
                sum += image[index];
            sums.push_back(sum & 0xFF);
        }
        return sums;
    }

    Board m_board;
};

} // namespace

TEST_F(AnonymiseTest, ReplacesTheSameByTheSame) {
    CapturedController captured = Capture(TwoOfAKind());
    captured.m_sdrs = {{1, 0, 0x51, 0xC0, 8, 'S', 'E', 'R', '-', '0', '0', '4', '2'}};
    Anonymise(captured, m_board, 7);
    const auto first = Serials(captured.m_images[0]);
    const auto second = Serials(captured.m_images[7]);
    EXPECT_NE(first[0], "SER-0042");
    EXPECT_NE(first[0], first[1]);
    EXPECT_EQ(first[0], second[0]);
    EXPECT_EQ(first[0], second[1]);
    EXPECT_TRUE(Has(captured.m_images[0], "Maker " + first[0])) << "in another text, too";
    EXPECT_TRUE(Has(captured.m_sdrs[0], first[0]));
    for (const auto& [fru, image] : captured.m_images)
        EXPECT_FALSE(Has(image, "SER-004"));
    for (const auto& [request, reply] : captured.m_replies)
        EXPECT_FALSE(Has(reply, "SER-0042") || Has(reply, "SER-0043"));
}

TEST_F(AnonymiseTest, ReplacesTheAddressesOfTheDSPsAndOfTheInterfaceAlike) {
    CapturedController captured = Capture(TwoOfAKind());
    m_board.m_interfaces = {{"eth6", DspMac, {}}};
    Anonymise(captured, m_board, 7);
    const MacAddress other = m_board.m_interfaces[0].m_mac;
    EXPECT_NE(other, DspMac);
    const Bytes& image = captured.m_images[0];
    const size_t place = LayOut(image).m_macs.at(0);
    EXPECT_TRUE(std::equal(other.begin(), other.end(), image.begin() + static_cast<std::ptrdiff_t>(place)));
}

TEST_F(AnonymiseTest, LeavesRightChecksumsRightAndWrongOnesWrong) {
    for (const BadChecksums& bad : {BadChecksums{}, BadChecksums{true, true, true, true}}) {
        CapturedController captured = Capture(TwoOfAKind(bad));
        const Images before = captured.m_images;
        Anonymise(captured, m_board, 7);
        for (const auto& [fru, image] : before) {
            EXPECT_NE(captured.m_images[fru], image);
            EXPECT_EQ(Sums(captured.m_images[fru]), Sums(image));
            EXPECT_EQ(captured.m_images[fru].size(), image.size());
        }
    }
}

TEST_F(AnonymiseTest, LeavesABladeThatAnswersForItself) {
    CapturedController captured = Capture(TwoOfAKind());
    Anonymise(captured, m_board, 7);
    EXPECT_THAT(ComposeBlade(captured, [](const std::string&) {}).m_replies, IsEmpty());
}

TEST_F(AnonymiseTest, LeavesNothingInARepliesRest) {
    CapturedController captured = Capture(TwoOfAKind());
    Bytes& reply = captured.m_replies[AreaReadOf(0, 0)];
    for (const char character : std::string("SER-0042"))
        reply.push_back(static_cast<uint8_t>(character));
    Anonymise(captured, m_board, 7);
    EXPECT_FALSE(Has(captured.m_replies[AreaReadOf(0, 0)], "SER-0042"));
    EXPECT_EQ(captured.m_replies[AreaReadOf(0, 0)].size(), 26U);
}
