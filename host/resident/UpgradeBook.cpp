// The firmware upgrades of a blade: the one under way, and the history, which is kept on disk.
#include "host/resident/UpgradeBook.h"

#include "common/veldo_common_protocol.h"
#include "host/picture/StatusNames.h"
#include "host/service/OwnLog.h"
#include "host/session/Rows.h"
#include "host/words/Error.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

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

} // namespace

UpgradeBook::UpgradeBook(PictureKeeper& picture, std::string folder)
    : m_picture(picture),
      m_folder(std::move(folder)),
      m_history(m_folder) {
    Load();
    try {
        Claim();
    } catch (const std::runtime_error& error) { // tried again at the next upgrade
        LogOwn(error.what());
    }
}

std::string UpgradeBook::ImageFolder() const {
    return m_folder + "/firmware";
}

void UpgradeBook::Load() {
    std::vector<UpgradeFacts> upgrades;
    std::vector<std::string> remarks;
    try {
        upgrades = m_history.Read(remarks);
    } catch (const std::runtime_error& error) {
        remarks.emplace_back(error.what());
    }
    for (const std::string& remark : remarks)
        LogOwn(remark);
    // Its tool may have come to its end, or be at work still; nobody will tell.
    for (UpgradeFacts& upgrade : upgrades) {
        if (!upgrade.m_ended && upgrade.m_state == UpgradeIsRunning) upgrade.m_ended = WallNow();
    }
    if (upgrades.size() > Most) upgrades.erase(upgrades.begin(), upgrades.end() - Most);
    m_picture.Change({"upgrades"}, [&](Picture& next) {
        next.m_upgrades = std::move(upgrades);
        return true;
    });
}

void UpgradeBook::Claim() {
    const std::lock_guard lock(m_guard);
    if (m_lock == nullptr) m_lock = std::make_unique<UpgradeLock>(ImageFolder());
}

void UpgradeBook::Begin(const CBMIParams& values, const Image& image, const std::string& asker) {
    try {
        Claim();
    } catch (const UsageError&) {
        throw;
    } catch (const std::runtime_error& error) { // an image elsewhere needs no folder of this host
        LogOwn(error.what());
    }
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
        return;
    }
    const auto picture = m_picture.Now();
    if (!picture->m_upgrades.empty()) Keep(picture->m_upgrades.back());
}

std::optional<UpgradeFacts> UpgradeBook::Told(const CBMIParams& params) {
    const UpgradeRow row = UpgradeOf(params);
    if (row.m_state == UpgradeIsRunning) return std::nullopt;
    bool known = false;
    UpgradeFacts told;
    told.m_target = row.m_target;
    told.m_bay = row.m_bay;
    told.m_state = row.m_state;
    m_picture.Change({"upgrades"}, [&](Picture& picture) {
        // The oldest: a younger one is about to be refused.
        for (UpgradeFacts& upgrade : picture.m_upgrades) {
            if (upgrade.m_ended) continue;
            upgrade.m_state = row.m_state;
            upgrade.m_ended = WallNow();
            told = upgrade;
            known = true;
            return true;
        }
        return false;
    });
    if (known) Keep(told);
    const std::lock_guard lock(m_guard);
    std::error_code error; // somebody may have removed it
    if (!m_image.empty()) std::filesystem::remove(std::exchange(m_image, {}), error);
    return told;
}

void UpgradeBook::Inventoried() {
    std::vector<UpgradeFacts> learnt;
    m_picture.Change({"upgrades"}, [&](Picture& picture) {
        for (UpgradeFacts& upgrade : picture.m_upgrades) {
            if (upgrade.m_state != UpgradeIsDone || !upgrade.m_versionAfter.empty()) continue;
            upgrade.m_versionAfter = VersionOf(picture, upgrade.m_target, upgrade.m_bay);
            if (!upgrade.m_versionAfter.empty()) learnt.push_back(upgrade);
        }
        return !learnt.empty();
    });
    for (const UpgradeFacts& upgrade : learnt)
        Keep(upgrade);
}

bool UpgradeBook::IsUnderWay() const {
    const auto picture = m_picture.Now();
    return !picture->m_upgrades.empty() && !picture->m_upgrades.back().m_ended;
}

void UpgradeBook::Keep(const UpgradeFacts& upgrade) const {
    try {
        m_history.Keep(upgrade);
    } catch (const std::runtime_error& error) {
        LogOwn(error.what());
    }
}

} // namespace bmhost
