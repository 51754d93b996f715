// Reads the vendor multirecords by meaning, never past a record's end.
#include "ipmi/IPMI_FRUParse.h"

#include <algorithm>

namespace BM_ADAPTOR {

namespace {

constexpr int DSP_FIRST = 6; // byte of the first DSP's entry
constexpr int DSP_ENTRY = 8;
constexpr int DSP_ENTRY_USED = 7; // type and MAC

int MinLength(uint8_t a_Kind) {
    return a_Kind == VENDOR_RECORD_RTM ? VENDOR_RTM_MIN_LENGTH : VENDOR_AMC_MIN_LENGTH;
}

} // namespace

std::optional<VENDOR_RECORD> VENDOR_RECORD::From(const MULTIRECORD& a_Record) {
    if (a_Record.m_Data == nullptr || a_Record.m_Length < VENDOR_RECORD_MIN_LENGTH) return std::nullopt;
    const VENDOR_RECORD l_Record(a_Record);
    for (int i = 0; i < static_cast<int>(VENDOR_RECORD_SIGNATURE.size()); ++i) {
        if (l_Record.Byte(i) != VENDOR_RECORD_SIGNATURE[static_cast<std::size_t>(i)]) return std::nullopt;
    }
    return l_Record;
}

uint8_t VENDOR_RECORD::Byte(int a_Offset) const {
    return a_Offset < m_Record->m_Length ? static_cast<uint8_t>(m_Record->m_Data[a_Offset]) : uint8_t{0};
}

std::optional<VENDOR_DSP> VENDOR_RECORD::DSP(int a_Index) const {
    const int l_First = DSP_FIRST + a_Index * DSP_ENTRY;
    if (a_Index < 0 || l_First + DSP_ENTRY_USED > m_Record->m_Length) return std::nullopt;
    VENDOR_DSP l_DSP;
    l_DSP.m_Type = Byte(l_First);
    for (int i = 0; i < static_cast<int>(l_DSP.m_Mac.size()); ++i) {
        l_DSP.m_Mac[static_cast<std::size_t>(i)] = Byte(l_First + 1 + i);
    }
    return l_DSP;
}

std::optional<VENDOR_RECORD> FindVendorRecord(const IPMI_FRU& a_FRU, uint8_t a_Kind) {
    for (const MULTIRECORD* l_Record : a_FRU.m_MultiRecords) {
        if (l_Record == nullptr || l_Record->m_Length < MinLength(a_Kind)) continue;
        const auto l_Vendor = VENDOR_RECORD::From(*l_Record);
        if (l_Vendor && l_Vendor->Kind() == a_Kind) return l_Vendor;
    }
    return std::nullopt;
}

} // namespace BM_ADAPTOR
