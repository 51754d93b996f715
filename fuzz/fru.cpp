// FRU inventory areas into the parser. An input is a byte of wishes (trace every step; mend the checksums, without
// which few areas get far), then the area.
#include "readers/FruArea.h"
#include "readers/FruReader.h"
#include "support/Require.h"
#include "support/SilentLog.h"

#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/IPMI_Probe.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

using namespace BM_ADAPTOR;
using namespace fuzzing;

namespace {

enum Wish : uint8_t { TraceSteps = 1, MendHeader = 2, MendRecords = 4 };

void MendAsWished(Area& area, unsigned wishes) {
    if ((wishes & MendRecords) != 0) MendRecordsOf(area);
    if ((wishes & MendHeader) != 0) MendHeaderOf(area);
}

// The first record of a kind that is long enough, by another way than FindVendorRecord.
std::optional<std::string> VendorRecordIn(const FruTexts& texts, uint8_t kind, std::size_t shortest) {
    const std::string begin = {0x57, 0x01, 0x00, static_cast<char>(kind)};
    for (const FruRecord& record : texts.m_records)
        if (record.m_data.size() >= shortest && record.m_data.starts_with(begin)) return record.m_data;
    return std::nullopt;
}

void CheckVendorRecords(const IPMI_FRU& fru, const FruTexts& texts) {
    const auto byteOf = [](const std::string& data, std::size_t at) { return static_cast<uint8_t>(data[at]); };
    const auto amc = FindVendorRecord(fru, VENDOR_RECORD_AMC);
    const auto amcBytes = VendorRecordIn(texts, VENDOR_RECORD_AMC, VENDOR_AMC_MIN_LENGTH);
    Require(amc.has_value() == amcBytes.has_value(), "another AMC record");
    if (amc) {
        Require(amc->NumDSPs() == byteOf(*amcBytes, 5) && amc->FirstDSPType() == byteOf(*amcBytes, 6), "other DSPs");
        for (int i = -1; i <= 32; ++i) {
            const auto dsp = amc->DSP(i);
            const auto at = static_cast<std::size_t>(6 + 8 * std::max(i, 0));
            Require(dsp.has_value() == (i >= 0 && at + 7 <= amcBytes->size()), "another number of DSPs");
            if (!dsp) continue;
            Require(dsp->m_Type == byteOf(*amcBytes, at), "another type of DSP");
            Require(std::equal(dsp->m_Mac.begin(), dsp->m_Mac.end(),
                               reinterpret_cast<const uint8_t*>(amcBytes->data()) + at + 1),
                    "another address of a DSP");
        }
    }
    const auto rtm = FindVendorRecord(fru, VENDOR_RECORD_RTM);
    const auto rtmBytes = VendorRecordIn(texts, VENDOR_RECORD_RTM, VENDOR_RTM_MIN_LENGTH);
    Require(rtm.has_value() == rtmBytes.has_value(), "another RTM record");
    if (!rtm) return;
    Require(rtm->NumFramers() == byteOf(*rtmBytes, 5) && rtm->FramerType() == byteOf(*rtmBytes, 6) &&
                rtm->TrunksPerFramer() == byteOf(*rtmBytes, 7),
            "other framers");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    Area area(data + 1, data + size);
    MendAsWished(area, data[0]);
    const SilentLog log((data[0] & TraceSteps) != 0);

    FRURAWDATA raw(static_cast<int>(area.size()));
    raw.Write(0, area);
    IPMI_FRU fru({}, "FRU 1");
    fru.m_BoardSerialNumber = fru.m_ProductVersion = "of an earlier read";
    FruTexts texts = TextsOf(fru);
    const int result = ParseFRUData(raw.m_Data, &fru);
    const int expected = ReadFru(area, texts);
    Require(result == expected, "result " + std::to_string(result) + ", expected " + std::to_string(expected));
    const FruTexts read = TextsOf(fru);
    if (read != texts) Require(false, "read " + Shown(read) + "\nexpected " + Shown(texts));
    Require(std::equal(area.begin(), area.end(), raw.m_Data), "the parser has changed the area");
    CheckVendorRecords(fru, texts);
    return 0;
}
