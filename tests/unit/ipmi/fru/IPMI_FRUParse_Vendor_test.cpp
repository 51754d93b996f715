// The vendor multirecords read by meaning: which records are one, and fields that a short record does not hold.
#include "ParserFixture.h"

#include <gmock/gmock.h>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

std::unique_ptr<MULTIRECORD> MultiRecord(BYTES a_Data) {
    return std::make_unique<MULTIRECORD>(reinterpret_cast<char*>(a_Data.data()), static_cast<int>(a_Data.size()));
}

BYTES VendorRecord(uint8_t a_Kind, const BYTES& a_Rest) {
    BYTES l_Data(VENDOR_RECORD_SIGNATURE.begin(), VENDOR_RECORD_SIGNATURE.end());
    l_Data.push_back(a_Kind);
    Append(l_Data, a_Rest);
    return l_Data;
}

/// An AMC record whose DSP i has type i + 1 and the MAC 10*(i+1)+0 to 10*(i+1)+5.
BYTES AMCRecord(int a_NumDSPs) {
    BYTES l_Data = VendorRecord(VENDOR_RECORD_AMC, {0xEE, static_cast<uint8_t>(a_NumDSPs)});
    for (int i = 0; i < a_NumDSPs; ++i) {
        l_Data.push_back(static_cast<uint8_t>(i + 1));
        for (int k = 0; k < 6; ++k)
            l_Data.push_back(static_cast<uint8_t>(10 * (i + 1) + k));
        l_Data.push_back(0xEE);
    }
    return l_Data;
}

TEST(VendorRecord, NeedsSignatureAndKind) {
    const BYTES l_Whole = VendorRecord(VENDOR_RECORD_RTM, {0, 1, 1, 4});
    for (std::size_t l_Length = 0; l_Length <= l_Whole.size(); ++l_Length) {
        const auto l_Record = MultiRecord({l_Whole.begin(), l_Whole.begin() + static_cast<long>(l_Length)});
        EXPECT_EQ(VENDOR_RECORD::From(*l_Record).has_value(), l_Length >= 4) << l_Length;
    }
}

TEST(VendorRecord, OfAnotherManufacturerIsNone) {
    for (std::size_t i = 0; i < 3; ++i) {
        BYTES l_Data = VendorRecord(VENDOR_RECORD_AMC, {0, 0, 0, 0});
        l_Data[i]++;
        EXPECT_FALSE(VENDOR_RECORD::From(*MultiRecord(l_Data)).has_value()) << "byte " << i;
    }
}

TEST(VendorRecord, RecordTypeIdIsNotExamined) {
    const auto l_Record = MultiRecord(VendorRecord(VENDOR_RECORD_AMC, {}));
    for (const int l_Type : {0, 1, 0xC0, 0xFF}) {
        l_Record->m_Type = l_Type;
        EXPECT_TRUE(VENDOR_RECORD::From(*l_Record).has_value()) << l_Type;
    }
}

TEST(VendorRecord, KindIsWhateverByteThreeSays) {
    for (const uint8_t l_Kind : {0, 1, 2, 3, 0xFF}) {
        EXPECT_EQ(VENDOR_RECORD::From(*MultiRecord(VendorRecord(l_Kind, {})))->Kind(), l_Kind);
    }
}

TEST(VendorRecord, FieldsBehindTheEndAreZero) {
    const BYTES l_Whole = VendorRecord(VENDOR_RECORD_RTM, {0x44, 0x55, 0x66, 0x77});
    for (std::size_t l_Length = 4; l_Length <= l_Whole.size(); ++l_Length) {
        const auto l_Record = MultiRecord({l_Whole.begin(), l_Whole.begin() + static_cast<long>(l_Length)});
        const auto l_Vendor = VENDOR_RECORD::From(*l_Record);
        ASSERT_TRUE(l_Vendor.has_value());
        EXPECT_EQ(l_Vendor->NumDSPs(), l_Length > 5 ? 0x55 : 0) << l_Length;
        EXPECT_EQ(l_Vendor->NumFramers(), l_Length > 5 ? 0x55 : 0) << l_Length;
        EXPECT_EQ(l_Vendor->FirstDSPType(), l_Length > 6 ? 0x66 : 0) << l_Length;
        EXPECT_EQ(l_Vendor->FramerType(), l_Length > 6 ? 0x66 : 0) << l_Length;
        EXPECT_EQ(l_Vendor->TrunksPerFramer(), l_Length > 7 ? 0x77 : 0) << l_Length;
    }
}

TEST(VendorRecord, BytesAboveSevenBitsAreUnsigned) {
    const auto l_Record = MultiRecord(VendorRecord(VENDOR_RECORD_RTM, {0, 0xFE, 0x80, 0xFF}));
    const auto l_Vendor = VENDOR_RECORD::From(*l_Record);
    EXPECT_EQ(l_Vendor->NumFramers(), 0xFE);
    EXPECT_EQ(l_Vendor->FramerType(), 0x80);
    EXPECT_EQ(l_Vendor->TrunksPerFramer(), 0xFF);
}

TEST(VendorAMCRecord, ForFourDSPsIs38BytesLongAndHoldsTheirTypesAndMACs) {
    const BYTES l_Data = AMCRecord(4);
    ASSERT_EQ(l_Data.size(), 38U);
    const auto l_Record = MultiRecord(l_Data);
    const auto l_Vendor = VENDOR_RECORD::From(*l_Record);
    EXPECT_EQ(l_Vendor->Kind(), 2);
    EXPECT_EQ(l_Vendor->NumDSPs(), 4);
    EXPECT_EQ(l_Vendor->FirstDSPType(), 1);
    for (int i = 0; i < 4; ++i) {
        const auto l_DSP = l_Vendor->DSP(i);
        ASSERT_TRUE(l_DSP.has_value()) << i;
        EXPECT_EQ(l_DSP->m_Type, i + 1);
        const auto l_First = static_cast<uint8_t>(10 * (i + 1));
        EXPECT_THAT(l_DSP->m_Mac,
                    ElementsAre(l_First, l_First + 1, l_First + 2, l_First + 3, l_First + 4, l_First + 5));
    }
}

TEST(VendorAMCRecord, HasNoDSPBehindItsEnd) {
    const auto l_Record = MultiRecord(AMCRecord(4));
    const auto l_Vendor = VENDOR_RECORD::From(*l_Record);
    for (const int l_Index : {4, 5, 31, 255, 100000})
        EXPECT_FALSE(l_Vendor->DSP(l_Index).has_value()) << l_Index;
}

TEST(VendorAMCRecord, HasNoDSPBeforeItsFirst) {
    const auto l_Record = MultiRecord(AMCRecord(4));
    const auto l_Vendor = VENDOR_RECORD::From(*l_Record);
    for (const int l_Index : {-1, -2, -1000})
        EXPECT_FALSE(l_Vendor->DSP(l_Index).has_value()) << l_Index;
}

TEST(VendorAMCRecord, WhoseCountPromisesMoreThanItHoldsGivesWhatItHolds) {
    BYTES l_Data = AMCRecord(2);
    l_Data[5] = 200;
    const auto l_Record = MultiRecord(l_Data);
    const auto l_Vendor = VENDOR_RECORD::From(*l_Record);
    EXPECT_EQ(l_Vendor->NumDSPs(), 200);
    EXPECT_TRUE(l_Vendor->DSP(1).has_value());
    EXPECT_FALSE(l_Vendor->DSP(2).has_value());
}

// The last byte of a DSP's eight is read by nobody: a record that ends before it still holds the DSP.
TEST(VendorAMCRecord, CutOffInsideADSPHoldsItOnlyWithItsWholeMAC) {
    const BYTES l_Whole = AMCRecord(2);
    for (std::size_t l_Length = 14; l_Length <= l_Whole.size(); ++l_Length) {
        const auto l_Record = MultiRecord({l_Whole.begin(), l_Whole.begin() + static_cast<long>(l_Length)});
        EXPECT_EQ(VENDOR_RECORD::From(*l_Record)->DSP(1).has_value(), l_Length >= 21) << l_Length;
    }
}

/// A FRU with these records in order.
struct FRU_WITH_RECORDS {
    IPMI_FRU m_FRU{{}, "vendor"};
    explicit FRU_WITH_RECORDS(const std::vector<BYTES>& a_Records) {
        for (const BYTES& l_Data : a_Records)
            m_FRU.m_MultiRecords.push_back(MultiRecord(l_Data).release());
    }
};

TEST(FindVendorRecord, TakesTheFirstOfTheKind) {
    const FRU_WITH_RECORDS l_Records({{1, 2, 3, 4, 5, 6, 7, 8},
                                      VendorRecord(VENDOR_RECORD_RTM, {0, 1, 1, 4}),
                                      VendorRecord(VENDOR_RECORD_AMC, {0, 1, 7}),
                                      VendorRecord(VENDOR_RECORD_RTM, {0, 2, 2, 8}),
                                      VendorRecord(VENDOR_RECORD_AMC, {0, 2, 8})});
    EXPECT_EQ(FindVendorRecord(l_Records.m_FRU, VENDOR_RECORD_AMC)->NumDSPs(), 1);
    EXPECT_EQ(FindVendorRecord(l_Records.m_FRU, VENDOR_RECORD_AMC)->FirstDSPType(), 7);
    EXPECT_EQ(FindVendorRecord(l_Records.m_FRU, VENDOR_RECORD_RTM)->TrunksPerFramer(), 4);
}

TEST(FindVendorRecord, PassesOverRecordsTooShortForTheirFields) {
    const FRU_WITH_RECORDS l_Records({{},
                                      VendorRecord(VENDOR_RECORD_AMC, {}),
                                      VendorRecord(VENDOR_RECORD_AMC, {0, 9}),
                                      VendorRecord(VENDOR_RECORD_RTM, {0, 9, 9}),
                                      VendorRecord(VENDOR_RECORD_AMC, {0, 1, 7}),
                                      VendorRecord(VENDOR_RECORD_RTM, {0, 1, 1, 4})});
    EXPECT_EQ(FindVendorRecord(l_Records.m_FRU, VENDOR_RECORD_AMC)->NumDSPs(), 1) << "7 bytes hold the first type";
    EXPECT_EQ(FindVendorRecord(l_Records.m_FRU, VENDOR_RECORD_RTM)->NumFramers(), 1) << "8 bytes hold the trunks";
}

TEST(FindVendorRecord, FindsNothingWhereThereIsNone) {
    const FRU_WITH_RECORDS l_None({});
    EXPECT_FALSE(FindVendorRecord(l_None.m_FRU, VENDOR_RECORD_AMC).has_value());
    BYTES l_Foreign = AMCRecord(1);
    l_Foreign[0] = 0;
    const FRU_WITH_RECORDS l_OthersOnly({l_Foreign, VendorRecord(VENDOR_RECORD_RTM, {0, 1, 1, 4})});
    EXPECT_FALSE(FindVendorRecord(l_OthersOnly.m_FRU, VENDOR_RECORD_AMC).has_value());
}

} // namespace
