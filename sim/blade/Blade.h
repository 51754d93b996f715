// What a blade file says: the controller, its FRUs with their LEDs and inventory, the faults to inject, and the board.
#pragma once

#include "sim/blade/Board.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace BLADESIM {

/// The answer to Get Device ID; the revisions are the bytes as they go over the wire.
struct CONTROLLER {
    uint8_t m_Address = 0;
    uint8_t m_DeviceId = 0;
    uint8_t m_DeviceRevision = 0;
    uint8_t m_FirmwareMajor = 0;
    uint8_t m_FirmwareMinor = 0;
    uint32_t m_ManufacturerId = 0;
    uint16_t m_ProductId = 0;
    std::optional<std::array<uint8_t, 4>> m_AuxiliaryFirmware; ///< absent: the answer has no such bytes
    bool m_PICMG = true;                                       ///< false: a controller that knows no PICMG command
};

/// The answer to Get Address Info.
struct SITE {
    uint8_t m_HardwareAddress = 0;
    uint8_t m_Type = 0;
    uint8_t m_Number = 0;
};

/// LED colours as PICMG 3.0 numbers them in LED commands (table "Get LED Color Capabilities").
enum class LED_COLOR : uint8_t { BLUE = 1, RED = 2, GREEN = 3, AMBER = 4, ORANGE = 5, WHITE = 6 };

/// One LED of a FRU. Ids 0 to 3 are the blue LED and LED 1 to 3, 4 and up are the application's.
struct LED {
    uint8_t m_Id = 0;
    uint8_t m_Colors = 0; ///< bit n: colour n is supported
    LED_COLOR m_DefaultLocalColor = LED_COLOR::BLUE;
    LED_COLOR m_DefaultOverrideColor = LED_COLOR::BLUE;
    bool m_LocalControl = true; ///< the FRU drives it when nobody overrides it
};

/// Texts are kept as the bytes of the image: ISO 8859-1, at most 63 of them.
struct BOARD_TEXTS {
    std::string m_Manufacturer;
    std::string m_ProductName;
    std::string m_SerialNumber;
    std::string m_PartNumber;
};

struct PRODUCT_TEXTS {
    std::string m_Manufacturer;
    std::string m_Name;
    std::string m_PartNumber;
    std::string m_Version;
    std::string m_SerialNumber;
    std::string m_AssetTag;
};

struct RAW_MULTIRECORD {
    uint8_t m_Type = 0;
    std::vector<uint8_t> m_Data;
};

/// Which checksums of an image are one off.
struct BAD_CHECKSUMS {
    bool m_Header = false;        ///< of the common header
    bool m_Areas = false;         ///< of the board and product info areas
    bool m_RecordHeaders = false; ///< of every multirecord's header
    bool m_RecordData = false;    ///< of every multirecord's data
};

/// What the image of an inventory area is made of.
struct INVENTORY {
    std::optional<BOARD_TEXTS> m_Board;          ///< absent: no such area
    std::optional<PRODUCT_TEXTS> m_Product;      ///< absent: no such area
    std::vector<RAW_MULTIRECORD> m_MultiRecords; ///< in this order; those of DSPs and framers included
    BAD_CHECKSUMS m_BadChecksums;
    std::optional<size_t> m_Size; ///< of the area in bytes, when it is not the next multiple of 16
    /// The image as it stands instead of all of the above.
    std::optional<std::vector<uint8_t>> m_Raw;
};

struct FRU {
    uint8_t m_Id = 0;
    SITE m_Site;
    std::vector<LED> m_LEDs; ///< by rising id
    /// Absent: the controller answers 0xCB (not present) when asked for the area.
    std::optional<INVENTORY> m_Inventory;
};

/// What happens to a request.
enum class FAULT_KIND {
    COMPLETION_CODE, ///< answered with m_Argument as completion code, without data
    REPLY,           ///< answered with m_Reply: completion code and data
    LOST,            ///< no reply comes
    LATE,            ///< the reply comes m_Argument milliseconds late
    SHORT,           ///< the reply has its first m_Argument bytes only, the completion code included
    DOUBLED,         ///< the reply comes twice
    OTHER_FRU,       ///< the reply is that of the same request for FRU m_Argument
    GONE,          ///< the controller goes away at this request and comes back m_Argument milliseconds later; 0: never
    ANSWERED_TWICE ///< the driver hands the answer out twice, which a sound one never does
};

/// A fault: which requests of the host it hits, and what it does to them.
struct FAULT {
    /// First bytes of the request: network function, command, data; nothing stands for any byte.
    std::vector<std::optional<uint8_t>> m_Request;
    unsigned m_First = 1; ///< hits the n-th such request
    unsigned m_Count = 0; ///< and as many in all; 0: all that follow
    FAULT_KIND m_Kind = FAULT_KIND::LOST;
    unsigned m_Argument = 0;
    std::vector<uint8_t> m_Reply;
};

struct BLADE {
    std::string m_Name;
    std::string m_File; ///< absolute path
    CONTROLLER m_Controller;
    std::vector<FRU> m_FRUs; ///< at least FRU 0, by rising id
    std::vector<FAULT> m_Faults;
    BOARD m_Board;
};

} // namespace BLADESIM
