// The SDR repository of a carrier's controller: locators and names of the controller and its FRUs.
#include "sim/controller/SdrRecords.h"

#include "sim/controller/SimulatorConfig.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

namespace bladesim {
namespace {

constexpr uint8_t SDRVersion = 0x51;
constexpr uint8_t FRULocator = 0x11;
constexpr uint8_t ControllerLocator = 0x12;
constexpr uint8_t LogicalFRU = 0x80;
constexpr uint8_t LogicalFRUDevice = 0x10;
constexpr uint8_t Text8Bit = 0xC0; // of a type/length byte
constexpr size_t MaxName = 16;

struct EntityOfSite {
    uint8_t m_siteType;
    uint8_t m_entityId;
};

// PICMG 3.0 and AMC.0: front board, AMC, rear transition module.
constexpr EntityOfSite Entities[] = {{0, 0xA0}, {7, 0xC1}, {9, 0xC0}};
constexpr uint8_t UnknownEntity = 0;
constexpr uint8_t DeviceRelative = 0x60; // the first device-relative entity instance

uint8_t EntityId(const Site& site) {
    for (const EntityOfSite& entity : Entities) {
        if (entity.m_siteType == site.m_type) return entity.m_entityId;
    }
    return UnknownEntity;
}

/// The front board has instance 0, the others have the number of their site.
uint8_t EntityInstance(const Fru& fru) {
    const unsigned number = fru.m_id == 0 ? 0U : fru.m_site.m_number & 0x1FU;
    return static_cast<uint8_t>(DeviceRelative + number);
}

/// A text of one character would read as the end of the fields; blade files cannot hold one.
std::string NameOf(const Fru& fru) {
    const Inventory inventory = fru.m_inventory.value_or(Inventory());
    std::string name = inventory.m_product.value_or(ProductTexts()).m_name;
    if (name.empty()) name = inventory.m_board.value_or(BoardTexts()).m_productName;
    return name.empty() ? "FRU " + std::to_string(fru.m_id) : name;
}

/// Puts header and name, which both kinds share, around the key and body bytes of a locator.
SdrRecord Locator(uint8_t type, const std::vector<uint8_t>& body, const Fru& fru) {
    const std::string name = NameOf(fru).substr(0, MaxName);
    const std::array tail = {EntityId(fru.m_site), EntityInstance(fru), uint8_t{0},
                             static_cast<uint8_t>(Text8Bit | name.size())};
    const auto length = static_cast<uint8_t>(body.size() + tail.size() + name.size());
    SdrRecord record = {0, 0, SDRVersion, type, length};
    std::ranges::copy(body, std::back_inserter(record));
    std::ranges::copy(tail, std::back_inserter(record));
    std::ranges::copy(name, std::back_inserter(record));
    return record;
}

} // namespace

std::vector<SdrRecord> LocatorRecords(const Blade& blade) {
    const uint8_t address = blade.m_controller.m_address;
    std::vector<SdrRecord> records;
    records.push_back(Locator(ControllerLocator, {address, 0, 0, DeviceSupport, 0, 0, 0}, blade.m_frus.front()));
    for (const Fru& fru : blade.m_frus) {
        records.push_back(Locator(FRULocator, {address, fru.m_id, LogicalFRU, 0, 0, LogicalFRUDevice, 0}, fru));
    }
    return records;
}

} // namespace bladesim
