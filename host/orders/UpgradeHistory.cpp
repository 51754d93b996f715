// The firmware upgrades of a blade, on disk.
#include "host/orders/UpgradeHistory.h"

#include "bm_dev/ByteText.h"
#include "bm_dev/UniqueFd.h"
#include "host/orders/FirmwareFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr mode_t HistoryMode = 0640;
constexpr mode_t LockMode = 0600;
// Two lines each; what is beyond is taken away now and then only.
constexpr std::size_t MostLines = 4 * UpgradeHistory::Most;
constexpr int MostRemarks = 10;
// Beyond that it is no history of ours; its end may still be one.
constexpr off_t MostBytes = off_t{16} * 1024 * 1024;

[[noreturn]] void FailAt(const std::string& path, int error) {
    throw std::runtime_error("history of upgrades " + path + ": " + std::generic_category().message(error));
}

std::string LineOf(const UpgradeFacts& upgrade) {
    const ordered_json line = {{"target", upgrade.m_target},
                               {"bay", upgrade.m_bay},
                               {"state", upgrade.m_state},
                               {"begun", Rfc3339(upgrade.m_begun)},
                               {"ended", upgrade.m_ended ? ordered_json(Rfc3339(*upgrade.m_ended)) : ordered_json()},
                               {"file", upgrade.m_file},
                               {"sha256", upgrade.m_sha256},
                               {"version_before", upgrade.m_versionBefore},
                               {"version_after", upgrade.m_versionAfter},
                               {"asker", upgrade.m_asker}};
    return bm_dev::EscapedJson(line.dump(-1, ' ', false, json::error_handler_t::replace)) + "\n";
}

int32_t NumberOf(const json& value) {
    if (!value.is_number_integer()) throw std::runtime_error("no whole number");
    const auto number = value.get<int64_t>();
    const bool large = value.is_number_unsigned() && value.get<uint64_t>() > std::numeric_limits<int32_t>::max();
    if (large || number < std::numeric_limits<int32_t>::min() || number > std::numeric_limits<int32_t>::max())
        throw std::runtime_error("no number of 32 bits");
    return static_cast<int32_t>(number);
}

// Throws json::exception and std::runtime_error for what is no upgrade.
UpgradeFacts UpgradeOfLine(const std::string& text) {
    const json line = json::parse(text);
    const auto time = [](const json& value) {
        const auto read = WallTimeOf(value.get<std::string>());
        if (!read) throw std::runtime_error("no time: " + value.get<std::string>());
        return *read;
    };
    UpgradeFacts upgrade;
    upgrade.m_target = NumberOf(line.at("target"));
    upgrade.m_bay = NumberOf(line.at("bay"));
    upgrade.m_state = NumberOf(line.at("state"));
    upgrade.m_begun = time(line.at("begun"));
    if (!line.at("ended").is_null()) upgrade.m_ended = time(line.at("ended"));
    line.at("file").get_to(upgrade.m_file);
    line.at("sha256").get_to(upgrade.m_sha256);
    line.at("version_before").get_to(upgrade.m_versionBefore);
    line.at("version_after").get_to(upgrade.m_versionAfter);
    line.at("asker").get_to(upgrade.m_asker);
    return upgrade;
}

void WriteWhole(int file, const std::string& path, const std::string& text) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0) FailAt(path, errno);
    if (static_cast<std::size_t>(written) != text.size()) FailAt(path, ENOSPC);
    if (fsync(file) != 0) FailAt(path, errno);
}

// Where reading begins, in a file that is far too long.
off_t BeginOf(int file, const std::string& path) {
    struct stat status {};
    if (fstat(file, &status) != 0) FailAt(path, errno);
    return std::max<off_t>(status.st_size - MostBytes, 0);
}

std::string ContentOf(int file, const std::string& path) {
    std::string content;
    char buffer[65536];
    off_t offset = BeginOf(file, path);
    while (content.size() <= static_cast<std::size_t>(MostBytes)) {
        const ssize_t got = pread(file, buffer, sizeof buffer, offset);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) FailAt(path, errno);
        if (got == 0) return content;
        content.append(buffer, static_cast<std::size_t>(got));
        offset += got;
    }
    FailAt(path, EFBIG);
}

std::vector<UpgradeFacts> UpgradesOf(const std::string& content, const std::string& path,
                                     std::vector<std::string>& remarks) {
    std::vector<UpgradeFacts> upgrades;
    std::istringstream lines(content);
    std::string line;
    int skipped = 0;
    for (int number = 1; std::getline(lines, line); ++number) {
        try {
            UpgradeFacts upgrade = UpgradeOfLine(line);
            const auto known = std::ranges::find_if(upgrades, [&](const UpgradeFacts& each) {
                return each.m_begun == upgrade.m_begun && each.m_target == upgrade.m_target &&
                       each.m_bay == upgrade.m_bay;
            });
            if (known != upgrades.end()) {
                *known = std::move(upgrade);
            } else {
                upgrades.push_back(std::move(upgrade));
            }
        } catch (const std::exception&) { // one bad line does not take the others with it
            if (++skipped > MostRemarks) continue;
            remarks.push_back("history of upgrades " + path + ":" + std::to_string(number) + ": no upgrade; skipped");
        }
    }
    if (skipped > MostRemarks)
        remarks.push_back("history of upgrades " + path + ": " + std::to_string(skipped) + " lines were skipped");
    if (upgrades.size() > UpgradeHistory::Most)
        upgrades.erase(upgrades.begin(), upgrades.end() - static_cast<std::ptrdiff_t>(UpgradeHistory::Most));
    return upgrades;
}

} // namespace

UpgradeHistory::UpgradeHistory(const std::string& folder) : m_folder(folder), m_file(folder + "/upgrades.jsonl") {}

void UpgradeHistory::Keep(const UpgradeFacts& upgrade) const {
    MakeStateFolder(m_folder);
    // A file that only its owner may open: whoever may open the folder could lock that, and hold up this.
    const std::string guard = m_folder + "/upgrades.lock";
    const bm_dev::UniqueFd lock(open(guard.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, LockMode));
    if (lock.Get() < 0 || flock(lock.Get(), LOCK_EX) != 0) FailAt(guard, errno);
    const bm_dev::UniqueFd file(
        open(m_file.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, HistoryMode));
    if (file.Get() < 0) FailAt(m_file, errno);
    // A line that a full disk cut is ended first, so that only that one is lost.
    const std::string before = ContentOf(file.Get(), m_file);
    const bool isCut = !before.empty() && before.back() != '\n';
    WriteWhole(file.Get(), m_file, (isCut ? "\n" : "") + LineOf(upgrade));
    if (static_cast<std::size_t>(std::ranges::count(before, '\n')) >= MostLines || BeginOf(file.Get(), m_file) > 0)
        Shorten();
}

std::vector<UpgradeFacts> UpgradeHistory::Read(std::vector<std::string>& remarks) const {
    const bm_dev::UniqueFd file(open(m_file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file.Get() < 0 && errno == ENOENT) return {};
    if (file.Get() < 0) FailAt(m_file, errno);
    return UpgradesOf(ContentOf(file.Get(), m_file), m_file, remarks);
}

// A new file takes the place of the old one, as a whole.
void UpgradeHistory::Shorten() const {
    std::vector<std::string> remarks;
    std::string text;
    for (const UpgradeFacts& upgrade : Read(remarks))
        text += LineOf(upgrade);
    const std::string fresh = m_file + ".new";
    // What a process left that was killed here, or somebody has put there: nothing is written through it.
    if (unlink(fresh.c_str()) != 0 && errno != ENOENT) FailAt(fresh, errno);
    const bm_dev::UniqueFd file(open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, HistoryMode));
    if (file.Get() < 0) FailAt(fresh, errno);
    WriteWhole(file.Get(), fresh, text);
    if (std::rename(fresh.c_str(), m_file.c_str()) != 0) FailAt(m_file, errno);
}

} // namespace bmhost
