// A second FRU decoder for the tests, written from the format's tables and sharing nothing with the one under test:
// it reads a byte string that goes on with 0xFF for ever, and also says what would be logged.
#pragma once

#include "ipmi/FRUImage.h"
#include "ipmi/LogText.h"

#include <array>
#include <map>
#include <numeric>
#include <string>
#include <vector>

/// What a parse leaves in the record, comparable.
struct FRU_CONTENT {
    int m_Result = 0;
    std::map<std::string, std::string> m_Texts{}; ///< by the name of the member, without its m_
    std::vector<RECORD> m_Records{};

    bool operator==(const FRU_CONTENT&) const = default;
};

class REFERENCE_FRU {
public:
    explicit REFERENCE_FRU(BYTES a_Bytes, const void* a_Address) : m_Bytes(std::move(a_Bytes)), m_Address(a_Address) {}

    const FRU_CONTENT& Content() const { return m_Content; }
    const std::vector<LOG_LINE>& Lines() const { return m_Lines; }

    void Read() {
        m_Lines.push_back(Trace("ENTITYCAPTURE :: ParseCommonArea "));
        m_Content.m_Result = Header();
        if (m_Content.m_Result != 0) return;
        if (Byte(2) != 0) Chassis();
        if (Byte(3) != 0) Board(8U * Byte(3));
        if (Byte(4) != 0) Product(8U * Byte(4));
        if (Byte(5) != 0) Multirecords(8U * Byte(5));
    }

private:
    unsigned Byte(std::size_t a_At) const { return a_At < m_Bytes.size() ? m_Bytes[a_At] : 0xFF; }

    unsigned Sum(std::size_t a_From, std::size_t a_Count) const {
        unsigned l_Sum = 0;
        while (a_Count-- > 0)
            l_Sum += Byte(a_From + a_Count);
        return l_Sum;
    }

    int Header() {
        if (Byte(6) != 0) return -1;
        const unsigned l_Sum = Sum(0, 8);
        m_Lines.push_back(Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x", l_Sum));
        m_Lines.push_back(Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x ANDED", l_Sum % 256));
        if (l_Sum % 256 != 0) return -2;
        m_Lines.push_back(Trace("ParseCommonArea - chassis_offset= %i board_offset=%i product_offset=%i MR_offset=%i",
                                int(Byte(2)) * 8, int(Byte(3)) * 8, int(Byte(4)) * 8, int(Byte(5)) * 8));
        return 0;
    }

    /// The field's bytes, all of them; the place moves behind it.
    std::string TakeField(std::size_t& a_At) const {
        std::string l_Text;
        const unsigned l_Head = Byte(a_At++);
        for (unsigned n = l_Head == 0xC1 ? 0 : l_Head % 64; n > 0; --n)
            l_Text += static_cast<char>(Byte(a_At++));
        return l_Text;
    }

    void Chassis() {
        std::size_t l_At = 3;
        const std::string l_Text = TakeField(l_At);
        m_Lines.push_back(Warning("ParseFRUChassis - l_ChassisPartString=%s", l_Text.c_str()));
        m_Lines.push_back(Warning("ParseFRUChassis - l_ChassisSNString=%s", l_Text.c_str()));
    }

    /// One text: its line, and its place in the record.
    void Store(std::size_t& a_At, const char* a_LineBegin, const char* a_Member, bool a_bWithLength = false) {
        const std::string l_Field = TakeField(a_At);
        const std::string l_Text = l_Field.c_str(); // up to the first NUL
        std::string l_Line = a_LineBegin + l_Text;
        if (a_bWithLength) l_Line += " len=" + std::to_string(l_Field.size());
        m_Lines.push_back({7, LOG_COMPONENT, l_Line});
        m_Content.m_Texts[a_Member] = l_Text;
    }

    void Board(std::size_t a_At) {
        m_Lines.push_back(Trace("ParseFRUBoard data=0x%p offset=%i", m_Address, int(a_At)));
        if (Byte(a_At) != 1) m_Lines.push_back(Warning("ParseFRUBoard - incorrect version =%d", int(Byte(a_At))));
        a_At += 6;
        Store(a_At, "ParseFRUBoard - l_Board_Manufacturer =", "BoardManufacturer", true);
        Store(a_At, "ParseFRUBoard - l_Board_ProductName =", "BoardProductName");
        Store(a_At, "ParseFRUBoard - l_Board_SerialNumber =", "BoardSerialNumber");
        Store(a_At, "ParseFRUBoard - l_Board_PartNumber =", "BoardPartNumber");
    }

    void Product(std::size_t a_At) {
        m_Lines.push_back(Trace("ParseFRUProduct data=0x%p offset=%i", m_Address, int(a_At)));
        if (Byte(a_At) != 1) m_Lines.push_back(Warning("ParseFRUProduct - incorrect version =%d", int(Byte(a_At))));
        a_At += 3;
        Store(a_At, "ParseFRUProduct - l_Product_Manufacturer =", "ProductManufacturer", true);
        Store(a_At, "ParseFRUProduct - l_Product_ProductName =", "ProductName");
        Store(a_At, "ParseFRUProduct - l_Product_PartNumber =", "ProductPartModelNumber");
        Store(a_At, "ParseFRUProduct - l_Product_Version =", "ProductVersion");
        Store(a_At, "ParseFRUProduct - l_Product_SerialNumber =", "ProductSerialNumber");
        Store(a_At, "ParseFRUProduct - l_Product_AssetTag =", "ProductManufacturer");
    }

    void Multirecords(std::size_t a_Area) {
        m_Lines.push_back(Trace("ParseMR data=0x%p offset=%i", m_Address, int(a_Area)));
        std::size_t l_At = a_Area;
        for (int n = 0;; ++n) {
            const int l_Place = int(l_At - a_Area);
            const unsigned l_Length = Byte(l_At + 2);
            m_Lines.push_back(Trace("ParseMR Processing MR record %i offset=%i ", n, l_Place));
            for (int i = 0; i < 5; ++i)
                m_Lines.push_back(Trace("Byte %i = 0x%x", i, Byte(l_At + unsigned(i))));
            const bool l_bLast = Byte(l_At + 1) >= 0x80;
            if (l_bLast)
                m_Lines.push_back(Trace("ParseMR Processing MR record %i offset=%i No More Records", n, l_Place));
            m_Lines.push_back(Trace("ParseMR Processing MR record %i offset=%i len=%i", n, l_Place, int(l_Length)));
            const unsigned l_HeaderSum = Sum(l_At, 5);
            if (l_HeaderSum % 256 != 0) {
                m_Lines.push_back(Warning("ParseMR Processing MR record %i offset=%i -- BAD Header Checksum=0x%x", n,
                                          l_Place, l_HeaderSum));
                return;
            }
            m_Lines.push_back(Trace("ParseMR Processing MR record - Header Checksum ok "));
            const unsigned l_DataSum = Sum(l_At + 5, l_Length) + Byte(l_At + 3);
            if (l_DataSum % 256 != 0) {
                m_Lines.push_back(Warning("ParseMR Processing MR record %i offset=%i -- BAD Data Checksum=%i", n,
                                          l_Place, int(l_DataSum)));
                return;
            }
            m_Lines.push_back(Trace("ParseMR Processing MR record - data Checksum ok "));
            RECORD l_Record{static_cast<uint8_t>(Byte(l_At)), {}};
            for (unsigned i = 0; i < l_Length; ++i)
                l_Record.m_Data.push_back(uint8_t(Byte(l_At + 5 + i)));
            m_Content.m_Records.push_back(l_Record);
            if (l_bLast) return;
            l_At += 5 + l_Length;
        }
    }

    BYTES m_Bytes;
    const void* m_Address;
    FRU_CONTENT m_Content;
    std::vector<LOG_LINE> m_Lines;
};
