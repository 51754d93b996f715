// What a blade file says: the controller, its FRUs with their LEDs and inventory, the faults to inject, and the board.
#pragma once

#include "sim/blade/Board.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {

/// The answer to Get Device ID; the revisions are the bytes as they go over the wire.
struct Controller {
    uint8_t m_address = 0;
    uint8_t m_deviceId = 0;
    uint8_t m_deviceRevision = 0;
    uint8_t m_firmwareMajor = 0;
    uint8_t m_firmwareMinor = 0;
    uint32_t m_manufacturerId = 0;
    uint16_t m_productId = 0;
    std::optional<std::array<uint8_t, 4>> m_auxiliaryFirmware; ///< absent: the answer has no such bytes
    bool m_picmg = true;                                       ///< false: a controller that knows no PICMG command
};

/// The answer to Get Address Info.
struct Site {
    uint8_t m_hardwareAddress = 0;
    uint8_t m_type = 0;
    uint8_t m_number = 0;
};

/// LED colours as PICMG 3.0 numbers them in LED commands (table "Get LED Color Capabilities").
enum class LedColor : uint8_t { Blue = 1, Red = 2, Green = 3, Amber = 4, Orange = 5, White = 6 };

/// What an LED does, in the bytes of the commands: durations in tens of milliseconds.
struct LedAction {
    uint8_t m_function = 0;   ///< 0: off; a byte up to 0xFA: the off-duration of a blinking LED; 0xFF: on
    uint8_t m_onDuration = 0; ///< 0 unless it blinks
    LedColor m_color = LedColor::Blue;
};

/// One LED of a FRU. Ids 0 to 3 are the blue LED and LED 1 to 3, 4 and up are the application's.
struct Led {
    uint8_t m_id = 0;
    uint8_t m_colors = 0; ///< bit n: colour n is supported
    LedColor m_defaultLocalColor = LedColor::Blue;
    LedColor m_defaultOverrideColor = LedColor::Blue;
    bool m_localControl = true; ///< the FRU drives it when nobody overrides it
    /// What it does when the controller comes up; absent: it is off in its default colour, and not overridden.
    std::optional<LedAction> m_local{};
    std::optional<LedAction> m_override{};
};

/// Texts are kept as the bytes of the image: ISO 8859-1, at most 63 of them.
struct BoardTexts {
    std::string m_manufacturer;
    std::string m_productName;
    std::string m_serialNumber;
    std::string m_partNumber;
};

struct ProductTexts {
    std::string m_manufacturer;
    std::string m_name;
    std::string m_partNumber;
    std::string m_version;
    std::string m_serialNumber;
    std::string m_assetTag;
};

struct RawMultirecord {
    uint8_t m_type = 0;
    std::vector<uint8_t> m_data;
};

/// Which checksums of an image are off by one.
struct BadChecksums {
    bool m_header = false;        ///< of the common header
    bool m_areas = false;         ///< of the board and product info areas
    bool m_recordHeaders = false; ///< of every multirecord's header
    bool m_recordData = false;    ///< of every multirecord's data
};

/// What the image of an inventory area is made of.
struct Inventory {
    std::optional<BoardTexts> m_board;          ///< absent: no such area
    std::optional<ProductTexts> m_product;      ///< absent: no such area
    std::vector<RawMultirecord> m_multiRecords; ///< in this order, including those of DSPs and framers
    BadChecksums m_badChecksums;
    std::optional<size_t> m_size; ///< of the area in bytes, when it is not the next multiple of 16
    /// The whole image, instead of all the above.
    std::optional<std::vector<uint8_t>> m_raw;
};

struct Fru {
    uint8_t m_id = 0;
    Site m_site;
    std::vector<Led> m_leds; ///< by rising id
    /// Absent: the controller answers 0xCB (not present) when asked for the area.
    std::optional<Inventory> m_inventory;
};

/// What happens to a request.
enum class FaultKind {
    CompletionCode, ///< answered with m_argument as completion code, without data
    Reply,          ///< answered with m_reply: completion code and data
    Lost,           ///< no reply comes
    Late,           ///< the reply comes m_argument milliseconds late
    Short,          ///< the reply has its first m_argument bytes only, the completion code included
    Doubled,        ///< the reply comes twice
    OtherFru,       ///< the reply is that of the same request for FRU m_argument
    Gone,           ///< the controller goes away at this request and comes back m_argument milliseconds later; 0: never
    Restarted,      ///< the controller goes away at this request and is back before the next one is sent
    AnsweredTwice   ///< the opener gets the answer twice, which a correct driver never does
};

/// A fault: which requests of the host it hits, and what it does to them.
struct Fault {
    /// First bytes of the request: network function, command, data; nullopt matches any byte.
    std::vector<std::optional<uint8_t>> m_request;
    unsigned m_first = 1; ///< the first such request that it hits, counted from 1
    unsigned m_count = 0; ///< how many it hits in all; 0: all that follow
    FaultKind m_kind = FaultKind::Lost;
    unsigned m_argument = 0;
    std::vector<uint8_t> m_reply;
};

struct Blade {
    std::string m_name;
    std::string m_file;        ///< absolute path
    std::string m_description; ///< for people; may be empty
    Controller m_controller;
    std::vector<Fru> m_frus; ///< at least FRU 0, by rising id
    /// The records of the SDR repository with their headers; absent: a locator of the controller, and of each FRU.
    std::optional<std::vector<std::vector<uint8_t>>> m_sdrs;
    /// What the controller answers to these very requests (network function, command, data) instead of what the above
    /// say: completion code and data.
    std::map<std::vector<uint8_t>, std::vector<uint8_t>> m_replies;
    std::vector<Fault> m_faults;
    Board m_board;
};

} // namespace bladesim
