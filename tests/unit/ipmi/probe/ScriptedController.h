// A controller in the fake's script: the replies that a blade with these FRUs would give to the whole inventory.
#pragma once

#include "fake/openipmi/FakeOpenIPMI.h"
#include "ipmi/FRUImage.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

inline constexpr uint8_t CC_INVALID_COMMAND = 0xC1;
inline constexpr uint8_t CC_PARAMETER_OUT_OF_RANGE = 0xC9;
inline constexpr uint8_t CC_NOT_PRESENT = 0xCB;

/// "2C 01 00 03" to bytes.
inline BYTES Hex(const std::string& a_Text) {
    BYTES l_Bytes;
    std::istringstream l_In(a_Text);
    for (unsigned l_Byte = 0; l_In >> std::hex >> l_Byte;)
        l_Bytes.push_back(static_cast<uint8_t>(l_Byte));
    return l_Bytes;
}

/// Bytes to "2C 01 00 03".
inline std::string ToHex(const BYTES& a_Bytes) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string l_Text;
    for (const uint8_t l_Byte : a_Bytes) {
        if (!l_Text.empty()) l_Text += ' ';
        l_Text += {DIGITS[l_Byte >> 4], DIGITS[l_Byte & 0xF]};
    }
    return l_Text;
}

/// The requests sent so far, network function first.
inline std::vector<std::string> Requests() {
    std::vector<std::string> l_Requests;
    for (const BYTES& l_Request : Fake().SentBytes())
        l_Requests.push_back(ToHex(l_Request));
    return l_Requests;
}

/// One FRU of the controller.
struct SCRIPTED_FRU {
    uint8_t m_SiteType = 0;
    uint8_t m_SiteID = 0;
    uint8_t m_LEDMask = 0;
    BYTES m_Colors{}; ///< capability byte of each LED
    BYTES m_Area{};   ///< inventory area; empty: size 0
};

/// What the controller reads back: at most `a_Count` bytes, a refusal behind the end.
inline BYTES ReadArea(const BYTES& a_Area, std::size_t a_Offset, std::size_t a_Count) {
    if (a_Offset >= a_Area.size()) return {CC_PARAMETER_OUT_OF_RANGE};
    const auto l_Count = std::min(a_Count, a_Area.size() - a_Offset);
    BYTES l_Reply = {0, static_cast<uint8_t>(l_Count)};
    const auto l_Begin = a_Area.begin() + static_cast<long>(a_Offset);
    l_Reply.insert(l_Reply.end(), l_Begin, l_Begin + static_cast<long>(l_Count));
    return l_Reply;
}

inline void ScriptFRU(uint8_t a_FRUID, const SCRIPTED_FRU& a_FRU) {
    const auto l_IPMB0 = static_cast<uint8_t>(0x70 + 2 * a_FRUID);
    Fake().OnRequest({0x2C, 0x01, 0x00, a_FRUID},
                     {0, 0, 0x41, l_IPMB0, 0xFF, a_FRUID, a_FRU.m_SiteID, a_FRU.m_SiteType});
    Fake().OnRequest({0x2C, 0x05, 0x00, a_FRUID}, {0, 0, a_FRU.m_LEDMask, 0});
    for (uint8_t k = 0; k < a_FRU.m_Colors.size(); ++k) {
        Fake().OnRequest({0x2C, 0x06, 0x00, a_FRUID, k}, {0, 0, a_FRU.m_Colors[k], 1, 1});
    }
    const std::size_t l_Size = a_FRU.m_Area.size();
    Fake().OnRequest({0x0A, 0x10, a_FRUID}, {0, static_cast<uint8_t>(l_Size), static_cast<uint8_t>(l_Size >> 8), 0});
    Fake().OnRequest({0x0A, 0x11, a_FRUID}, [l_Area = a_FRU.m_Area](const SENT_REQUEST& a_Request) {
        const auto l_Offset = static_cast<std::size_t>(a_Request.m_Data.at(1) | a_Request.m_Data.at(2) << 8);
        return ReadArea(l_Area, l_Offset, a_Request.m_Data.at(3));
    });
}

/// The reply to Get Device ID: revision 0x85 (its top bit is another flag), 0x42, auxiliary bytes 1 to 4.
inline const BYTES DEVICE_ID_REPLY = {0, 0x20, 0x01, 0x85, 0x42, 0x51, 0x29, 0, 0, 0, 0, 0, 1, 2, 3, 4};

/// FRU ids 0, 1, 2 ... in order.
inline void ScriptController(const std::vector<SCRIPTED_FRU>& a_FRUs) {
    Fake().OnRequest({0x2C, 0x00, 0x00}, {0, 0, 0x22, static_cast<uint8_t>(a_FRUs.size() - 1), 0});
    Fake().OnRequest({0x06, 0x01}, DEVICE_ID_REPLY);
    for (std::size_t i = 0; i < a_FRUs.size(); ++i)
        ScriptFRU(static_cast<uint8_t>(i), a_FRUs[i]);
}

/// A valid area of exactly this many bytes, a multiple of 8 and at least 56, whose board product name is the text.
inline BYTES AreaOf(std::size_t a_Size, const std::string& a_Name) {
    BYTES l_Area = FRUImage(BoardArea(Fields({"Acme", a_Name, "SN", "PN"})), {}, {});
    l_Area.resize(a_Size, 0);
    return l_Area;
}

/// A valid area of 16 bytes without texts, and the shortest one, of 8.
inline BYTES AreaOf16() {
    BYTES l_Area = CommonHeader(0, 0, 0, 0);
    l_Area.resize(16, 0);
    return l_Area;
}
