// What a blade file says: the controller, its FRUs and their inventory texts.
#pragma once

#include <cstdint>
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
};

/// The answer to Get Address Info.
struct SITE {
    uint8_t m_HardwareAddress = 0;
    uint8_t m_Type = 0;
    uint8_t m_Number = 0;
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

struct FRU {
    uint8_t m_Id = 0;
    SITE m_Site;
    uint8_t m_LEDs = 0;
    BOARD_TEXTS m_Board;
    PRODUCT_TEXTS m_Product;
    std::vector<RAW_MULTIRECORD> m_MultiRecords;
};

struct BLADE {
    std::string m_Name;
    CONTROLLER m_Controller;
    std::vector<FRU> m_FRUs;
};

} // namespace BLADESIM
