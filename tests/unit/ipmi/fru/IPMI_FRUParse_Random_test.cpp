// Thousands of made-up areas: well-formed ones against what was put in, all of them against a second decoder, and
// bytes of any kind for memory safety. The seeds are fixed.
#include "ParserFixture.h"
#include "ReferenceFRU.h"

#include <algorithm>
#include <random>

using namespace BM_ADAPTOR;

namespace {

class RANDOM {
public:
    explicit RANDOM(unsigned a_Seed) : m_Engine(a_Seed) {}
    /// 0 to a_Limit - 1; spelled out, so that every library gives the same images.
    unsigned Below(unsigned a_Limit) { return static_cast<unsigned>(m_Engine() % a_Limit); }
    bool OneIn(unsigned a_Times) { return Below(a_Times) == 0; }
    uint8_t Byte() { return static_cast<uint8_t>(Below(256)); }
    BYTES Some(unsigned a_Count) {
        BYTES l_Bytes(a_Count);
        std::generate(l_Bytes.begin(), l_Bytes.end(), [this] { return Byte(); });
        return l_Bytes;
    }

private:
    std::mt19937 m_Engine;
};

/// A text that is no one-character 8-bit text (which is a marker) and holds no NUL.
std::string RandomText(RANDOM& a_Random) {
    std::string l_Text(a_Random.OneIn(8) ? 63 : a_Random.Below(64), ' ');
    if (l_Text.size() == 1) l_Text.clear();
    for (char& l_Char : l_Text)
        l_Char = static_cast<char>(1 + a_Random.Below(255));
    return l_Text;
}

/// The fields of an area, one for each member; the content notes what the record shall hold.
BYTES RandomFields(RANDOM& a_Random, FRU_CONTENT& a_Content, const std::vector<std::string>& a_Members) {
    BYTES l_Fields;
    for (const std::string& l_Member : a_Members) {
        const std::string l_Text = RandomText(a_Random);
        if (l_Text.empty() && a_Random.OneIn(2)) {
            l_Fields.push_back(END_OF_FIELDS);
        } else {
            Append(l_Fields,
                   Field(l_Text, l_Text.empty() ? static_cast<uint8_t>(a_Random.Below(4)) : FIELD_TEXT_8_BIT));
        }
        a_Content.m_Texts[l_Member] = l_Text;
    }
    return l_Fields;
}

BYTES RandomBoard(RANDOM& a_Random, FRU_CONTENT& a_Content) {
    return BoardArea(RandomFields(a_Random, a_Content,
                                  {"BoardManufacturer", "BoardProductName", "BoardSerialNumber", "BoardPartNumber"}),
                     a_Random.OneIn(5) ? a_Random.Byte() : uint8_t{1});
}

BYTES RandomProduct(RANDOM& a_Random, FRU_CONTENT& a_Content) {
    return ProductArea(RandomFields(a_Random, a_Content,
                                    {"ProductManufacturer", "ProductName", "ProductPartModelNumber", "ProductVersion",
                                     "ProductSerialNumber", "ProductManufacturer"}),
                       a_Random.OneIn(5) ? a_Random.Byte() : uint8_t{1});
}

BYTES RandomRecords(RANDOM& a_Random, FRU_CONTENT& a_Content) {
    const unsigned l_Count = 1 + a_Random.Below(4);
    for (unsigned i = 0; i < l_Count; ++i) {
        const unsigned l_Length = a_Random.OneIn(6) ? 255 * a_Random.Below(2) : a_Random.Below(60);
        a_Content.m_Records.push_back({a_Random.Byte(), a_Random.Some(l_Length)});
    }
    return Records(a_Content.m_Records);
}

struct RANDOM_IMAGE {
    BYTES m_Bytes;
    FRU_CONTENT m_Expected;
};

/// Any subset of the areas, in any order, with gaps.
RANDOM_IMAGE RandomImage(RANDOM& a_Random) {
    RANDOM_IMAGE l_Image;
    std::vector<int> l_Order = {0, 1, 2, 3}; // chassis, board, product, multirecords
    for (unsigned i = 3; i > 0; --i)
        std::swap(l_Order[i], l_Order[a_Random.Below(i + 1)]);
    BYTES l_Areas;
    std::array<uint8_t, 4> l_Offsets{};
    for (const int l_Area : l_Order) {
        if (a_Random.OneIn(4)) continue;
        BYTES l_Bytes = l_Area == 0   ? a_Random.Some(24)
                        : l_Area == 1 ? RandomBoard(a_Random, l_Image.m_Expected)
                        : l_Area == 2 ? RandomProduct(a_Random, l_Image.m_Expected)
                                      : RandomRecords(a_Random, l_Image.m_Expected);
        Append(l_Areas, a_Random.Some(8 * a_Random.Below(3)));
        l_Offsets[static_cast<std::size_t>(l_Area)] = static_cast<uint8_t>(1 + l_Areas.size() / 8);
        Append(l_Areas, l_Bytes);
        Append(l_Areas, a_Random.Some((8 - static_cast<unsigned>(l_Areas.size() % 8)) % 8));
    }
    l_Image.m_Bytes = CommonHeader(l_Offsets[0], l_Offsets[1], l_Offsets[2], l_Offsets[3]);
    Append(l_Image.m_Bytes, l_Areas);
    return l_Image;
}

void RepairHeader(BYTES& a_Image) {
    if (a_Image.size() < 8) return;
    a_Image[6] = 0;
    a_Image[7] = ChecksumOf({a_Image.begin(), a_Image.begin() + 7});
}

/// Spoils an image the way a bad device would: flipped bytes, lost or added ends, areas of one value.
void Mutate(RANDOM& a_Random, BYTES& a_Image) {
    for (unsigned l_Times = 1 + a_Random.Below(4); l_Times > 0 && !a_Image.empty(); --l_Times) {
        const unsigned l_At = a_Random.Below(static_cast<unsigned>(a_Image.size()));
        switch (a_Random.Below(5)) {
        case 0:
            a_Image.resize(l_At);
            break;
        case 1:
            Append(a_Image, a_Random.Some(a_Random.Below(64)));
            break;
        case 2:
            std::fill(a_Image.begin() + l_At, a_Image.end(), a_Random.OneIn(2) ? uint8_t{0} : a_Random.Byte());
            break;
        case 3:
            a_Image[a_Random.Below(std::min(8U, static_cast<unsigned>(a_Image.size())))] = a_Random.Byte();
            break;
        default:
            a_Image[l_At] = a_Random.Byte();
        }
    }
    if (!a_Random.OneIn(6)) RepairHeader(a_Image);
}

FRU_CONTENT ContentOf(const IPMI_FRU& a_FRU, int a_Result, const FRU_CONTENT& a_Like) {
    FRU_CONTENT l_Content{a_Result, {}, {}};
    const std::map<std::string, std::string> l_All = {
        {"BoardManufacturer", a_FRU.m_BoardManufacturer},           {"BoardProductName", a_FRU.m_BoardProductName},
        {"BoardSerialNumber", a_FRU.m_BoardSerialNumber},           {"BoardPartNumber", a_FRU.m_BoardPartNumber},
        {"ProductManufacturer", a_FRU.m_ProductManufacturer},       {"ProductName", a_FRU.m_ProductName},
        {"ProductPartModelNumber", a_FRU.m_ProductPartModelNumber}, {"ProductVersion", a_FRU.m_ProductVersion},
        {"ProductSerialNumber", a_FRU.m_ProductSerialNumber}};
    for (const auto& [l_Member, l_Text] : l_All) { // a member that nobody speaks of must be empty
        if (!l_Text.empty() || a_Like.m_Texts.contains(l_Member)) l_Content.m_Texts[l_Member] = l_Text;
    }
    for (const MULTIRECORD* l_Record : a_FRU.m_MultiRecords) {
        l_Content.m_Records.push_back({static_cast<uint8_t>(l_Record->m_Type), DataOf(*l_Record)});
    }
    return l_Content;
}

class FRURandom : public PARSER_TEST {
protected:
    /// Parses the bytes in a raw buffer of their own size and compares content and every log line.
    void ExpectAsReference(const BYTES& a_Image) {
        m_Log.Clear();
        const auto l_Raw = InRawBuffer(a_Image);
        IPMI_FRU l_FRU({}, "random");
        REFERENCE_FRU l_Reference(a_Image, l_Raw->m_Data);
        l_Reference.Read();
        const int l_Result = ParseFRUData(l_Raw->m_Data, &l_FRU);
        ASSERT_EQ(ContentOf(l_FRU, l_Result, l_Reference.Content()), l_Reference.Content())
            << ::testing::PrintToString(a_Image);
        ASSERT_EQ(m_Log.Lines(), l_Reference.Lines()) << ::testing::PrintToString(a_Image);
    }
};

TEST_F(FRURandom, WellFormedAreasGiveWhatWasPutIntoThem) {
    BM_LOG_LEVEL = 0;
    RANDOM l_Random(20070131);
    for (int i = 0; i < 3000; ++i) {
        const RANDOM_IMAGE l_Image = RandomImage(l_Random);
        const auto l_Raw = InRawBuffer(l_Image.m_Bytes);
        IPMI_FRU l_FRU({}, "random");
        const int l_Result = ParseFRUData(l_Raw->m_Data, &l_FRU);
        ASSERT_EQ(ContentOf(l_FRU, l_Result, l_Image.m_Expected), l_Image.m_Expected)
            << "image " << i << ": " << ::testing::PrintToString(l_Image.m_Bytes);
    }
}

TEST_F(FRURandom, WellFormedAreasAreReadAndTracedAsByTheSecondDecoder) {
    RANDOM l_Random(1);
    for (int i = 0; i < 1000 && !HasFatalFailure(); ++i)
        ExpectAsReference(RandomImage(l_Random).m_Bytes);
}

TEST_F(FRURandom, SpoiledAreasAreReadAndTracedAsByTheSecondDecoder) {
    RANDOM l_Random(2);
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
        BYTES l_Image = RandomImage(l_Random).m_Bytes;
        Mutate(l_Random, l_Image);
        ExpectAsReference(l_Image);
    }
}

TEST_F(FRURandom, BytesOfAnyKindAreReadAndTracedAsByTheSecondDecoder) {
    RANDOM l_Random(3);
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
        BYTES l_Image = l_Random.Some(l_Random.Below(l_Random.OneIn(4) ? 16 : 600));
        if (!l_Random.OneIn(8)) RepairHeader(l_Image);
        ExpectAsReference(l_Image);
    }
}

// Offsets point to the end of the area or behind it, fields and records reach past it.
TEST_F(FRURandom, EveryOffsetOfEveryAreaStaysInsideTheSlack) {
    for (const std::size_t l_Size : {8U, 16U, 64U, 2048U}) {
        for (unsigned l_Offset = 0; l_Offset < 256 && !HasFatalFailure(); ++l_Offset) {
            BYTES l_Image(l_Size, 0xFF);
            const BYTES l_Header = CommonHeader(static_cast<uint8_t>(l_Offset), static_cast<uint8_t>(l_Offset),
                                                static_cast<uint8_t>(l_Offset), static_cast<uint8_t>(l_Offset));
            std::copy(l_Header.begin(), l_Header.end(), l_Image.begin());
            ExpectAsReference(l_Image);
        }
    }
}

} // namespace
