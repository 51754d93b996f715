// One upgrade a blade, whichever process began it.
#include "host/orders/UpgradeLock.h"

#include "host/words/Error.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

namespace fs = std::filesystem;

// A process whose command line has this text: the tool, or the shell that runs it.
std::optional<std::string> ProcessWith(const std::string& text) {
    std::error_code error;
    for (const fs::directory_entry& each : fs::directory_iterator("/proc", error)) {
        const std::string number = each.path().filename().string();
        if (number.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream stream(each.path() / "cmdline", std::ios::binary);
        const std::string line((std::istreambuf_iterator<char>(stream)), {});
        if (line.find(text) != std::string::npos) return number;
    }
    return std::nullopt;
}

} // namespace

UpgradeLock::UpgradeLock(const std::string& folder) {
    std::error_code error;
    fs::create_directories(fs::path(folder).parent_path(), error);
    if (!error && fs::create_directory(folder, error)) fs::permissions(folder, fs::perms::owner_all, error);
    if (error) throw std::runtime_error("firmware update: " + folder + ": " + error.message());
    const std::string path = folder + "/lock";
    m_file = bm_dev::UniqueFd(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!m_file) throw std::runtime_error("firmware update: " + path + ": " + std::generic_category().message(errno));
    if (flock(m_file.Get(), LOCK_EX | LOCK_NB) != 0)
        throw UsageError("firmware update: an upgrade is under way in another process");
    for (const fs::directory_entry& each : fs::directory_iterator(folder, error)) {
        if (each.path().extension() != ".image") continue;
        if (const auto process = ProcessWith(each.path().string()))
            throw UsageError("firmware update: the tool of an upgrade whose host has ended is still at work: process " +
                             *process);
        fs::remove(each.path(), error);
    }
}

} // namespace bmhost
