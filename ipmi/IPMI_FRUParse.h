// Decodes the raw bytes of one FRU inventory area into an IPMI_FRU record, and reads the vendor multirecords in it.
//
// Layout: IPMI Platform Management FRU Information Storage Definition, sections 8 (common header), 10 to 12 (chassis,
// board, product area), 13 (type/length byte) and 16 (multirecord area). Less than it allows is read, on purpose.
#pragma once

#include "ipmi/model/IPMI_Model.h"

#include <array>
#include <cstdint>
#include <optional>

namespace BM_ADAPTOR {

/// Parser results.
inline constexpr int FRU_PARSE_OK = 0;
inline constexpr int FRU_PARSE_BAD_PAD = -1;      ///< common header byte 6 is not 0
inline constexpr int FRU_PARSE_BAD_CHECKSUM = -2; ///< common header bytes do not sum to 0 modulo 256

/// Readable bytes that must follow an area given to the parser, none of them 0 through and through: the parser knows
/// no length and trusts the offsets and lengths in the data. FRURAWDATA provides them.
inline constexpr int FRU_PARSE_SLACK = 4096;

/// Parses a whole area. Every step is traced.
/// @param a_Data  the area from byte 0, followed by FRU_PARSE_SLACK bytes of 0xFF; not kept
/// @param a_FRU   gets texts and multirecords; untouched unless the result is FRU_PARSE_OK
/// @return FRU_PARSE_OK, FRU_PARSE_BAD_PAD (also for null arguments) or FRU_PARSE_BAD_CHECKSUM
int ParseFRUData(unsigned char* a_Data, IPMI_FRU* a_FRU);

/// Checks the common header and gives the areas' byte offsets from the start; 0 means absent.
int ParseCommonArea(unsigned char* a_Data, int& a_ChassisOffset, int& a_BoardOffset, int& a_ProductOffset,
                    int& a_MROffset);

// One area each, at a byte offset from a_Data. Always 0; ParseMR: the number of multirecords appended.
int ParseFRUChassis(unsigned char* a_Data, int a_Offset, IPMI_FRU* a_FRU);
int ParseFRUBoard(unsigned char* a_Data, int a_Offset, IPMI_FRU* a_FRU);
int ParseFRUProduct(unsigned char* a_Data, int a_Offset, IPMI_FRU* a_FRU);
int ParseMR(unsigned char* a_Data, int a_Offset, IPMI_FRU* a_FRU);

/// Splits a type/length byte: type code 0 to 3, length 0 to 63.
void ParseTypeLength(unsigned char a_TypeLength, unsigned char& a_Type, int& a_Length);

/// Copies one string field, unconverted. An end-of-fields marker (0xC1) is an empty string.
/// @param a_Out  at least 64 bytes; the first 63 are written, the caller zeroes the last
/// @return the number of bytes copied, 0 to 63
int ParseFRUString(unsigned char* a_Field, char* a_Out);

/// Kinds of vendor multirecord: data bytes 0x57, 0x01, 0x00, then the kind.
inline constexpr std::array<uint8_t, 3> VENDOR_RECORD_SIGNATURE = {0x57, 0x01, 0x00};
inline constexpr uint8_t VENDOR_RECORD_AMC = 2;
inline constexpr uint8_t VENDOR_RECORD_RTM = 3;
inline constexpr int VENDOR_RECORD_MIN_LENGTH = 4;
/// Shortest records that hold the fields read by position.
inline constexpr int VENDOR_AMC_MIN_LENGTH = 7;
inline constexpr int VENDOR_RTM_MIN_LENGTH = 8;

/// One DSP of an AMC vendor record: 8 bytes from byte 6 on, type, MAC, one byte nobody reads.
struct VENDOR_DSP {
    uint8_t m_Type = 0;
    std::array<uint8_t, 6> m_Mac{}; ///< most significant byte first
};

/// A vendor record's bytes by meaning; borrows the record's data.
class VENDOR_RECORD {
public:
    /// Nothing when the record does not begin with the signature and a kind.
    static std::optional<VENDOR_RECORD> From(const MULTIRECORD& a_Record);

    uint8_t Kind() const { return Byte(3); }
    /// AMC record: bytes 5 and 6 (the first DSP's type), and DSP `a_Index` when the record is long enough for it.
    uint8_t NumDSPs() const { return Byte(5); }
    uint8_t FirstDSPType() const { return Byte(6); }
    std::optional<VENDOR_DSP> DSP(int a_Index) const;
    /// RTM record.
    uint8_t NumFramers() const { return Byte(5); }
    uint8_t FramerType() const { return Byte(6); }
    uint8_t TrunksPerFramer() const { return Byte(7); }

private:
    explicit VENDOR_RECORD(const MULTIRECORD& a_Record) : m_Record(&a_Record) {}
    uint8_t Byte(int a_Offset) const; // 0 past the end

    const MULTIRECORD* m_Record;
};

/// The first record of the kind (VENDOR_RECORD_AMC or _RTM) long enough for its fields, in list order.
std::optional<VENDOR_RECORD> FindVendorRecord(const IPMI_FRU& a_FRU, uint8_t a_Kind);

} // namespace BM_ADAPTOR
