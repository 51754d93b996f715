// The SDR repository of a carrier's controller: where it and its FRUs are to be found, and their names.
#include "sim/controller/SdrRecords.h"

#include "sim/controller/SimulatorConfig.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

namespace BLADESIM {
namespace {

constexpr uint8_t g_SDRVersion = 0x51;
constexpr uint8_t g_FRULocator = 0x11;
constexpr uint8_t g_ControllerLocator = 0x12;
constexpr uint8_t g_LogicalFRU = 0x80;
constexpr uint8_t g_LogicalFRUDevice = 0x10;
constexpr uint8_t g_Text8Bit = 0xC0; // of a type/length byte
constexpr size_t g_MaxName = 16;

struct ENTITY_OF_SITE {
    uint8_t m_SiteType;
    uint8_t m_EntityId;
};

// PICMG 3.0 and AMC.0: front board, AMC, rear transition module.
constexpr ENTITY_OF_SITE g_Entities[] = {{0, 0xA0}, {7, 0xC1}, {9, 0xC0}};
constexpr uint8_t g_UnknownEntity = 0;
constexpr uint8_t g_DeviceRelative = 0x60; // first entity instance that counts for this controller alone

uint8_t EntityId(const SITE& a_Site) {
    for (const ENTITY_OF_SITE& l_Entity : g_Entities) {
        if (l_Entity.m_SiteType == a_Site.m_Type) return l_Entity.m_EntityId;
    }
    return g_UnknownEntity;
}

/// The front board is instance 0, the others have the number of their site.
uint8_t EntityInstance(const FRU& a_FRU) {
    const unsigned l_Number = a_FRU.m_Id == 0 ? 0U : a_FRU.m_Site.m_Number & 0x1FU;
    return static_cast<uint8_t>(g_DeviceRelative + l_Number);
}

/// A text of one character would read as the end of the fields; blade files have none.
std::string NameOf(const FRU& a_FRU) {
    const INVENTORY l_Inventory = a_FRU.m_Inventory.value_or(INVENTORY());
    std::string l_Name = l_Inventory.m_Product.value_or(PRODUCT_TEXTS()).m_Name;
    if (l_Name.empty()) l_Name = l_Inventory.m_Board.value_or(BOARD_TEXTS()).m_ProductName;
    return l_Name.empty() ? "FRU " + std::to_string(a_FRU.m_Id) : l_Name;
}

/// Puts header and name around the key and body bytes of a locator, which both kinds have alike.
SDR_RECORD Locator(uint8_t a_Type, const std::vector<uint8_t>& a_Body, const FRU& a_FRU) {
    const std::string l_Name = NameOf(a_FRU).substr(0, g_MaxName);
    const std::array l_Tail = {EntityId(a_FRU.m_Site), EntityInstance(a_FRU), uint8_t{0},
                               static_cast<uint8_t>(g_Text8Bit | l_Name.size())};
    const auto l_Length = static_cast<uint8_t>(a_Body.size() + l_Tail.size() + l_Name.size());
    SDR_RECORD l_Record = {0, 0, g_SDRVersion, a_Type, l_Length};
    std::ranges::copy(a_Body, std::back_inserter(l_Record));
    std::ranges::copy(l_Tail, std::back_inserter(l_Record));
    std::ranges::copy(l_Name, std::back_inserter(l_Record));
    return l_Record;
}

} // namespace

std::vector<SDR_RECORD> LocatorRecords(const BLADE& a_Blade) {
    const uint8_t l_Address = a_Blade.m_Controller.m_Address;
    std::vector<SDR_RECORD> l_Records;
    l_Records.push_back(
        Locator(g_ControllerLocator, {l_Address, 0, 0, g_DeviceSupport, 0, 0, 0}, a_Blade.m_FRUs.front()));
    for (const FRU& l_FRU : a_Blade.m_FRUs) {
        l_Records.push_back(
            Locator(g_FRULocator, {l_Address, l_FRU.m_Id, g_LogicalFRU, 0, 0, g_LogicalFRUDevice, 0}, l_FRU));
    }
    return l_Records;
}

} // namespace BLADESIM
