// What a blade of a shelf keeps while it is pulled: its blade file, its storage, its certificate.
#include "sim/shelf/BladeFolder.h"

#include "bm_dev/Table.h"
#include "bm_dev/UniqueFd.h"
#include "common/veldo_common_protocol.h"
#include "sim/base/Error.h"
#include "sim/base/JsonFile.h"
#include "sim/blade/BladeFile.h"
#include "sim/blade/MacText.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace bladesim {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr size_t MaxSerialNumber = 63;
constexpr size_t SlotByte = 3; // of a MAC address
constexpr size_t DspsWithDefault = 4;
constexpr char DspTable[] = "/telq_qub_dsp_iptable_cfg.xml";

std::string TwoDigits(unsigned number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

void ChangeSerialNumber(ordered_json& value, unsigned slot) {
    const std::string end = "-S" + TwoDigits(slot);
    const auto text = value.get<std::string>();
    if (!text.empty()) value = bm_dev::CutText(text, MaxSerialNumber - end.size(), "") + end;
}

void ChangeMac(ordered_json& value, unsigned slot) {
    auto mac = MacBytes(value.get<std::string>());
    if (!mac) return;
    (*mac)[SlotByte] ^= static_cast<uint8_t>(slot);
    std::string text;
    for (const uint8_t byte : *mac) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", byte);
        text += (text.empty() ? "" : ":") + std::string(digits.data());
    }
    value = text;
}

size_t CountDsps(const ordered_json& blade) {
    size_t count = 0;
    for (const ordered_json& fru : blade.at("frus")) {
        const ordered_json inventory = fru.value("inventory", ordered_json::object());
        count += inventory.value("dsps", ordered_json::array()).size();
    }
    return count;
}

/// The beginning of its network of 24 bits: "192.168.0.".
std::string NetworkOfEth6(const ordered_json& blade) {
    const ordered_json ethernet = blade.value("ethernet", ordered_json::object());
    for (const ordered_json& interface : ethernet.value("interfaces", ordered_json::array())) {
        const std::string address = interface.value("address", "");
        if (interface.at("name") == "eth6") return address.substr(0, address.rfind('.') + 1);
    }
    return "";
}

std::string HexId(unsigned id) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%x", id);
    return text.data();
}

std::string Row(size_t dsp, const std::string& address) {
    return R"(<row><param id=")" + HexId(BM_ADAPTOR::BMI_HW_AMC_DSP_EX_NUM) + R"(" type="int" key="true" value=")" +
           std::to_string(dsp) + R"("/><param id=")" + HexId(BM_ADAPTOR::BMI_HW_AMC_DSP_EX_IP) +
           R"(" type="string" key="false" value=")" + address + "\"/></row>\n";
}

} // namespace

void WriteFile(const std::string& file, const std::string& text) {
    const bm_dev::UniqueFd written(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!written || ::write(written.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        ThrowErrno(file + ": cannot be written");
}

void MakeSpecimen(ordered_json& blade, unsigned slot) {
    if (blade.is_object() && (blade.contains("raw") || blade.contains("size"))) return;
    for (auto& [key, value] : blade.items()) {
        if (value.is_structured()) {
            MakeSpecimen(value, slot);
        } else if (value.is_string() && key == "serial_number") {
            ChangeSerialNumber(value, slot);
        } else if (value.is_string() && key == "mac") {
            ChangeMac(value, slot);
        }
    }
}

std::string DspAddresses(const ordered_json& blade) {
    constexpr size_t hostBeforeDsps = 100;
    const std::string network = NetworkOfEth6(blade);
    const size_t count = CountDsps(blade);
    if (network.empty() || count <= DspsWithDefault) return "";
    std::string rows;
    for (size_t dsp = 1; dsp <= count; ++dsp)
        rows += Row(dsp, network + std::to_string(hostBeforeDsps + dsp));
    return "<?xml version=\"1.0\"?>\n<storage version=\"1\">\n" + rows + "</storage>\n";
}

BladeFolder MakeBladeFolder(const ShelfFiles& shelf, const ShelfPlace& place, const Paths& paths,
                            const Authority& authority) {
    const BladeFolder folder{shelf.m_folder + "/" + place.m_name};
    for (const std::string& each : {folder.m_folder, folder.Storage()})
        fs::create_directory(each);
    // Read as a blade file first, for the errors that name its lines.
    const std::string file = FindBlade(paths, place.m_blade);
    ReadBladeFile(file);
    std::ifstream stream(file, std::ios::binary);
    auto blade = ordered_json::parse(stream);
    MakeSpecimen(blade, place.m_slot);
    WriteFile(folder.BladeFile(), blade.dump(4) + "\n");
    if (const std::string table = DspAddresses(blade); !table.empty()) WriteFile(folder.Storage() + DspTable, table);
    const SignedKey signedKey = authority.Sign({place.m_name, TextOf(AddressOf(place))});
    WriteFile(folder.Certificate(), signedKey.m_certificate + authority.Certificate());
    WriteFile(folder.Key(), signedKey.m_key);
    return folder;
}

} // namespace bladesim
