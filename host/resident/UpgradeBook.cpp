// The firmware upgrades of a blade: the one under way, and the history, which is kept on disk.
#include "host/resident/UpgradeBook.h"

#include "common/veldo_common_protocol.h"
#include "host/picture/StatusNames.h"
#include "host/resident/OwnLog.h"
#include "host/session/Rows.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

constexpr const char* HistoryFile = "/upgrades.json";
constexpr const char* ImageFolder = "/firmware";

std::string VersionOf(const Picture& picture, int32_t target, int32_t bay) {
    if (target != UpgradeOfModule) {
        const auto& board = picture.m_inventory.m_board;
        return board.empty() ? "" : TextOf(board.front(), BMI_HW_BOARD_FW_VERSION);
    }
    for (const CBMIParams& row : picture.m_inventory.m_modules) {
        if (IntegerOf(row, BMI_HW_AMC_BAY) == bay) return TextOf(row, BMI_HW_AMC_FW_VERSION);
    }
    return "";
}

ordered_json JsonOf(const UpgradeFacts& upgrade) {
    return {{"target", upgrade.m_target},
            {"bay", upgrade.m_bay},
            {"state", upgrade.m_state},
            {"begun", Rfc3339(upgrade.m_begun)},
            {"ended", upgrade.m_ended ? ordered_json(Rfc3339(*upgrade.m_ended)) : ordered_json(nullptr)},
            {"file", bm_dev::Utf8OfBytes(upgrade.m_file)},
            {"sha256", upgrade.m_sha256},
            {"version_before", bm_dev::Utf8OfBytes(upgrade.m_versionBefore)},
            {"version_after", bm_dev::Utf8OfBytes(upgrade.m_versionAfter)},
            {"asker", upgrade.m_asker}};
}

// Throws nlohmann::json::exception for what is no upgrade.
UpgradeFacts UpgradeFactsOf(const nlohmann::json& json) {
    UpgradeFacts upgrade;
    upgrade.m_target = json.at("target").get<int32_t>();
    upgrade.m_bay = json.at("bay").get<int32_t>();
    upgrade.m_state = json.at("state").get<int32_t>();
    upgrade.m_begun = WallTimeOf(json.at("begun").get<std::string>()).value_or(WallTime{});
    if (json.at("ended").is_string()) upgrade.m_ended = WallTimeOf(json.at("ended").get<std::string>());
    upgrade.m_file = json.at("file").get<std::string>();
    upgrade.m_sha256 = json.at("sha256").get<std::string>();
    upgrade.m_versionBefore = json.at("version_before").get<std::string>();
    upgrade.m_versionAfter = json.at("version_after").get<std::string>();
    upgrade.m_asker = json.at("asker").get<std::string>();
    return upgrade;
}

} // namespace

UpgradeBook::UpgradeBook(PictureKeeper& picture, std::string folder) : m_picture(picture), m_folder(std::move(folder)) {
    Load();
    RemoveLeftImages();
}

void UpgradeBook::Load() {
    const std::string path = m_folder + HistoryFile;
    std::ifstream file(path);
    if (!file) return; // none yet
    std::vector<UpgradeFacts> upgrades;
    try {
        for (const auto& row : nlohmann::json::parse(file))
            upgrades.push_back(UpgradeFactsOf(row));
    } catch (const nlohmann::json::exception& error) {
        LogOwn(path + " is no history of upgrades, and is begun anew: " + error.what());
        return;
    }
    // Its tool may have come to its end, or be at work still; nobody will tell.
    for (UpgradeFacts& upgrade : upgrades) {
        if (!upgrade.m_ended && upgrade.m_state == UpgradeIsRunning) upgrade.m_ended = WallNow();
    }
    m_picture.Change({"upgrades"}, [&](Picture& next) {
        next.m_upgrades = std::move(upgrades);
        return true;
    });
}

void UpgradeBook::Begin(const CBMIParams& values, const Image& image, const std::string& asker) {
    const std::string file = TextOf(values, BMI_FW_UPDATE_FILE);
    const bool known = !image.m_path.empty() && image.m_path == file;
    m_picture.Change({"upgrades"}, [&](Picture& picture) {
        UpgradeFacts& upgrade = picture.m_upgrades.emplace_back();
        upgrade.m_target = IntegerOf(values, BMI_FW_UPDATE_TARGET);
        upgrade.m_bay = IntegerOf(values, BMI_FW_UPDATE_BAY);
        upgrade.m_state = UpgradeIsRunning;
        upgrade.m_begun = WallNow();
        upgrade.m_file = known ? image.m_name : file;
        if (known) upgrade.m_sha256 = image.m_sha256;
        upgrade.m_versionBefore = VersionOf(picture, upgrade.m_target, upgrade.m_bay);
        upgrade.m_asker = asker;
        if (picture.m_upgrades.size() > Most) picture.m_upgrades.erase(picture.m_upgrades.begin());
        return true;
    });
    if (!known) return;
    const std::lock_guard lock(m_guard);
    m_image = file;
}

void UpgradeBook::Began(bool accepted) {
    if (!accepted) {
        m_picture.Change({"upgrades"}, [](Picture& picture) {
            if (picture.m_upgrades.empty() || picture.m_upgrades.back().m_ended) return false;
            picture.m_upgrades.pop_back();
            return true;
        });
    }
    Store();
}

void UpgradeBook::Told(const CBMIParams& params) {
    const UpgradeRow row = UpgradeOf(params);
    if (row.m_state == UpgradeIsRunning) return;
    m_picture.Change({"upgrades"}, [&](Picture& picture) {
        // The oldest: a younger one is about to be refused.
        for (UpgradeFacts& upgrade : picture.m_upgrades) {
            if (upgrade.m_ended) continue;
            upgrade.m_state = row.m_state;
            upgrade.m_ended = WallNow();
            return true;
        }
        return false;
    });
    Store();
    const std::lock_guard lock(m_guard);
    std::error_code error; // somebody may have removed it
    if (!m_image.empty()) std::filesystem::remove(std::exchange(m_image, {}), error);
}

void UpgradeBook::Inventoried() {
    m_picture.Change({"upgrades"}, [&](Picture& picture) {
        bool changed = false;
        for (UpgradeFacts& upgrade : picture.m_upgrades) {
            if (upgrade.m_state != UpgradeIsDone || !upgrade.m_versionAfter.empty()) continue;
            upgrade.m_versionAfter = VersionOf(picture, upgrade.m_target, upgrade.m_bay);
            changed = changed || !upgrade.m_versionAfter.empty();
        }
        return changed;
    });
    Store();
}

bool UpgradeBook::IsUnderWay() const {
    const auto picture = m_picture.Now();
    return !picture->m_upgrades.empty() && !picture->m_upgrades.back().m_ended;
}

// As a whole or not at all: a new file takes the place of the old one.
void UpgradeBook::Store() const {
    const auto picture = m_picture.Now();
    if (picture->m_upgrades.empty()) return;
    ordered_json rows = ordered_json::array();
    for (const UpgradeFacts& upgrade : picture->m_upgrades)
        rows.push_back(JsonOf(upgrade));
    const std::string path = m_folder + HistoryFile;
    const std::string fresh = path + ".new";
    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    std::ofstream file(fresh, std::ios::trunc);
    file << bm_dev::EscapedJson(rows.dump(1, ' ', false, nlohmann::json::error_handler_t::replace)) << '\n';
    file.close();
    if (!file || std::rename(fresh.c_str(), path.c_str()) != 0) LogOwn(path + ": " + std::strerror(errno));
}

// What an earlier host left; nobody else keeps files there.
void UpgradeBook::RemoveLeftImages() const {
    std::error_code error;
    for (const auto& image : std::filesystem::directory_iterator(m_folder + ImageFolder, error))
        std::filesystem::remove(image.path(), error);
}

} // namespace bmhost
