// One upgrade a blade, whichever process began it.
#include "host/orders/UpgradeLock.h"

#include "host/orders/FirmwareFile.h"
#include "host/words/Error.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

namespace fs = std::filesystem;

// Another user's process may say what it likes in its command line, and must not hold up upgrades by it.
bool IsOurs(const fs::path& process) {
    struct stat status {};
    return stat(process.c_str(), &status) == 0 && (status.st_uid == geteuid() || status.st_uid == 0);
}

// A process whose command line has this text: the tool, or the shell that runs it.
std::optional<std::string> ProcessWith(const std::string& text) {
    std::error_code error;
    for (const fs::directory_entry& each : fs::directory_iterator("/proc", error)) {
        const std::string number = each.path().filename().string();
        if (number.find_first_not_of("0123456789") != std::string::npos) continue;
        if (!IsOurs(each.path())) continue;
        std::ifstream stream(each.path() / "cmdline", std::ios::binary);
        const std::string line((std::istreambuf_iterator<char>(stream)), {});
        if (line.find(text) != std::string::npos) return number;
    }
    return std::nullopt;
}

} // namespace

UpgradeLock::UpgradeLock(const std::string& folder) {
    const bm_dev::UniqueFd opened = OpenImageFolder(folder);
    const std::string path = folder + "/lock";
    m_file =
        bm_dev::UniqueFd(openat(opened.Get(), "lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!m_file) throw std::runtime_error("firmware update: " + path + ": " + std::generic_category().message(errno));
    if (flock(m_file.Get(), LOCK_EX | LOCK_NB) != 0)
        throw UsageError("firmware update: an upgrade is under way in another process");
    std::error_code error;
    for (const fs::directory_entry& each : fs::directory_iterator(folder, error)) {
        if (each.path().extension() != ".image") continue;
        if (const auto process = ProcessWith(each.path().string()))
            throw UsageError("firmware update: the tool of an upgrade whose host has ended is still at work: process " +
                             *process);
        fs::remove(each.path(), error);
    }
}

} // namespace bmhost
