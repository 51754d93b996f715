// Decodes the raw bytes of one FRU inventory area into an IPMI_FRU record; each step leaves its trace line.
#include "ipmi/IPMI_FRUParse.h"

#include "common/veldo_common_trace.h"

#include <array>
#include <cstring>
#include <numeric>
#include <string>

namespace BM_ADAPTOR {

namespace {

constexpr int AREA_UNIT = 8; // bytes
constexpr unsigned char AREA_VERSION = 1;
constexpr unsigned char END_OF_FIELDS = 0xC1;
constexpr int FIELD_BUFFER = 64;
constexpr int BOARD_FIRST_FIELD = 6;   // after version, length, language, manufacturing date
constexpr int PRODUCT_FIRST_FIELD = 3; // after version, length, language
constexpr int MR_HEADER_SIZE = 5;
constexpr unsigned char MR_END_OF_LIST = 0x80;

unsigned Sum(const unsigned char* a_Data, int a_Length) {
    return std::accumulate(a_Data, a_Data + a_Length, 0U);
}

// The string fields of an area, one after the other.
class FIELD_WALK {
public:
    explicit FIELD_WALK(unsigned char* a_First) : m_Cursor(a_First) {}

    // Stores the next field's text and gives it. An end-of-fields marker is one byte long: what follows it is read as
    // the next field.
    const char* Into(std::string& a_To) {
        m_Text.fill(0);
        m_Length = ParseFRUString(m_Cursor, m_Text.data());
        m_Cursor += m_Length + 1;
        a_To = m_Text.data();
        return a_To.c_str();
    }
    int Length() const { return m_Length; }

private:
    unsigned char* m_Cursor;
    int m_Length = 0;
    std::array<char, FIELD_BUFFER> m_Text{};
};

} // namespace

int ParseFRUData(unsigned char* a_Data, IPMI_FRU* a_FRU) {
    if (a_Data == nullptr || a_FRU == nullptr) return FRU_PARSE_BAD_PAD;
    int l_Chassis = 0;
    int l_Board = 0;
    int l_Product = 0;
    int l_MR = 0;
    const int l_Result = ParseCommonArea(a_Data, l_Chassis, l_Board, l_Product, l_MR);
    if (l_Result != FRU_PARSE_OK) return l_Result;
    if (l_Chassis != 0) ParseFRUChassis(a_Data, l_Chassis, a_FRU);
    if (l_Board != 0) ParseFRUBoard(a_Data, l_Board, a_FRU);
    if (l_Product != 0) ParseFRUProduct(a_Data, l_Product, a_FRU);
    if (l_MR != 0) ParseMR(a_Data, l_MR, a_FRU);
    return FRU_PARSE_OK;
}

int ParseCommonArea(unsigned char* a_Data, int& a_ChassisOffset, int& a_BoardOffset, int& a_ProductOffset,
                    int& a_MROffset) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ParseCommonArea ");
    if (a_Data[6] != 0) return FRU_PARSE_BAD_PAD;
    const unsigned l_Sum = Sum(a_Data, 8);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x", l_Sum);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x ANDED", l_Sum & 0xFF);
    if ((l_Sum & 0xFF) != 0) return FRU_PARSE_BAD_CHECKSUM;
    a_ChassisOffset = a_Data[2] * AREA_UNIT;
    a_BoardOffset = a_Data[3] * AREA_UNIT;
    a_ProductOffset = a_Data[4] * AREA_UNIT;
    a_MROffset = a_Data[5] * AREA_UNIT;
    // A blank after the first '=' only: the line has always read so.
    LogTrace(g_Logger2, "ParseCommonArea - chassis_offset= %i board_offset=%i product_offset=%i MR_offset=%i",
             a_ChassisOffset, a_BoardOffset, a_ProductOffset, a_MROffset);
    return FRU_PARSE_OK;
}

int ParseFRUChassis(unsigned char* a_Data, int, IPMI_FRU*) {
    // Nobody uses the chassis area. Both lines decode byte 3 of the buffer, not of the area, and are kept as they are.
    std::array<char, FIELD_BUFFER> l_Text{};
    ParseFRUString(a_Data + 3, l_Text.data());
    LogError(g_Logger2, "ParseFRUChassis - l_ChassisPartString=%s", l_Text.data());
    LogError(g_Logger2, "ParseFRUChassis - l_ChassisSNString=%s", l_Text.data());
    return 0;
}

int ParseFRUBoard(unsigned char* a_Data, int a_Offset, IPMI_FRU* a_FRU) {
    LogTrace(g_Logger2, "ParseFRUBoard data=0x%p offset=%i", static_cast<void*>(a_Data), a_Offset);
    unsigned char* l_Area = a_Data + a_Offset;
    if (l_Area[0] != AREA_VERSION) LogError(g_Logger2, "ParseFRUBoard - incorrect version =%d", l_Area[0]);

    FIELD_WALK l_Fields(l_Area + BOARD_FIRST_FIELD);
    const char* const l_Manufacturer = l_Fields.Into(a_FRU->m_BoardManufacturer);
    LogTrace(g_Logger2, "ParseFRUBoard - l_Board_Manufacturer =%s len=%i", l_Manufacturer, l_Fields.Length());
    LogTrace(g_Logger2, "ParseFRUBoard - l_Board_ProductName =%s", l_Fields.Into(a_FRU->m_BoardProductName));
    LogTrace(g_Logger2, "ParseFRUBoard - l_Board_SerialNumber =%s", l_Fields.Into(a_FRU->m_BoardSerialNumber));
    LogTrace(g_Logger2, "ParseFRUBoard - l_Board_PartNumber =%s", l_Fields.Into(a_FRU->m_BoardPartNumber));
    return 0;
}

int ParseFRUProduct(unsigned char* a_Data, int a_Offset, IPMI_FRU* a_FRU) {
    LogTrace(g_Logger2, "ParseFRUProduct data=0x%p offset=%i", static_cast<void*>(a_Data), a_Offset);
    unsigned char* l_Area = a_Data + a_Offset;
    if (l_Area[0] != AREA_VERSION) LogError(g_Logger2, "ParseFRUProduct - incorrect version =%d", l_Area[0]);

    FIELD_WALK l_Fields(l_Area + PRODUCT_FIRST_FIELD);
    const char* const l_Manufacturer = l_Fields.Into(a_FRU->m_ProductManufacturer);
    LogTrace(g_Logger2, "ParseFRUProduct - l_Product_Manufacturer =%s len=%i", l_Manufacturer, l_Fields.Length());
    LogTrace(g_Logger2, "ParseFRUProduct - l_Product_ProductName =%s", l_Fields.Into(a_FRU->m_ProductName));
    LogTrace(g_Logger2, "ParseFRUProduct - l_Product_PartNumber =%s", l_Fields.Into(a_FRU->m_ProductPartModelNumber));
    LogTrace(g_Logger2, "ParseFRUProduct - l_Product_Version =%s", l_Fields.Into(a_FRU->m_ProductVersion));
    LogTrace(g_Logger2, "ParseFRUProduct - l_Product_SerialNumber =%s", l_Fields.Into(a_FRU->m_ProductSerialNumber));
    // On purpose: the asset tag takes the manufacturer's place.
    LogTrace(g_Logger2, "ParseFRUProduct - l_Product_AssetTag =%s", l_Fields.Into(a_FRU->m_ProductManufacturer));
    return 0;
}

int ParseMR(unsigned char* a_Data, int a_Offset, IPMI_FRU* a_FRU) {
    LogTrace(g_Logger2, "ParseMR data=0x%p offset=%i", static_cast<void*>(a_Data), a_Offset);
    int l_Count = 0;
    for (int l_Position = 0;;) {
        unsigned char* l_Header = a_Data + a_Offset + l_Position;
        LogTrace(g_Logger2, "ParseMR Processing MR record %i offset=%i ", l_Count, l_Position);
        for (int i = 0; i < MR_HEADER_SIZE; ++i)
            LogTrace(g_Logger2, "Byte %i = 0x%x", i, l_Header[i]);
        const bool l_Last = (l_Header[1] & MR_END_OF_LIST) != 0;
        if (l_Last)
            LogTrace(g_Logger2, "ParseMR Processing MR record %i offset=%i No More Records", l_Count, l_Position);
        const int l_Length = l_Header[2];
        LogTrace(g_Logger2, "ParseMR Processing MR record %i offset=%i len=%i", l_Count, l_Position, l_Length);

        const unsigned l_HeaderSum = Sum(l_Header, MR_HEADER_SIZE);
        if ((l_HeaderSum & 0xFF) != 0) {
            LogError(g_Logger2, "ParseMR Processing MR record %i offset=%i -- BAD Header Checksum=0x%x", l_Count,
                     l_Position, l_HeaderSum);
            return l_Count;
        }
        LogTrace(g_Logger2, "ParseMR Processing MR record - Header Checksum ok ");

        const unsigned l_DataSum = Sum(l_Header + MR_HEADER_SIZE, l_Length) + l_Header[3];
        if ((l_DataSum & 0xFF) != 0) {
            LogError(g_Logger2, "ParseMR Processing MR record %i offset=%i -- BAD Data Checksum=%i", l_Count,
                     l_Position, static_cast<int>(l_DataSum));
            return l_Count;
        }
        LogTrace(g_Logger2, "ParseMR Processing MR record - data Checksum ok ");

        a_FRU->AddMultiRecord(l_Header + MR_HEADER_SIZE, l_Length, l_Header[0]);
        ++l_Count;
        if (l_Last) return l_Count;
        l_Position += l_Length + MR_HEADER_SIZE;
    }
}

void ParseTypeLength(unsigned char a_TypeLength, unsigned char& a_Type, int& a_Length) {
    a_Type = static_cast<unsigned char>(a_TypeLength >> 6);
    a_Length = a_TypeLength & 0x3F;
}

int ParseFRUString(unsigned char* a_Field, char* a_Out) {
    std::memset(a_Out, 0, FIELD_BUFFER - 1);
    if (a_Field[0] == END_OF_FIELDS) return 0;
    unsigned char l_Type = 0; // binary, BCD plus and packed ASCII come out as their raw bytes
    int l_Length = 0;
    ParseTypeLength(a_Field[0], l_Type, l_Length);
    std::memcpy(a_Out, a_Field + 1, static_cast<std::size_t>(l_Length));
    return l_Length;
}

} // namespace BM_ADAPTOR
