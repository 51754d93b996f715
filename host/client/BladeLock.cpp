// The lock of a blade: its holder is the only process that changes the blade.
#include "host/client/BladeLock.h"

#include "bm_dev/Group.h"
#include "host/output/Time.h"
#include "host/words/Error.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace bmhost {

namespace {

using bm_dev::UniqueFd;

constexpr mode_t FolderMode = 0750;
constexpr mode_t FileMode = 0640;
constexpr const char* FileName = "bmhost.lock";

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
    throw std::runtime_error(path + ": " + reason);
}

// What the system refused, and who may.
std::string ReasonOf(int error) {
    std::string reason = strerror(error);
    if (error == EACCES || error == EPERM)
        reason += "; only root or the folder's owner may give orders, or be the resident host";
    return reason;
}

// Only whoever could replace what is inside: this user, and root.
bool IsOurs(const struct stat& state) {
    return state.st_uid == geteuid() || state.st_uid == 0;
}

UniqueFd OpenFolder(const std::string& path) {
    const bool made = mkdir(path.c_str(), FolderMode) == 0;
    if (!made && errno != EEXIST) Refuse(path, ReasonOf(errno));
    UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) Refuse(path, errno == ELOOP ? "it is a symbolic link" : ReasonOf(errno));
    if (made) {
        // The umask may have taken bits, and a group of another's choice the access.
        if (fchown(folder.Get(), static_cast<uid_t>(-1), GroupOfAskers()) != 0 && !bm_dev::MayNotGiveToGroup(errno))
            Refuse(path, strerror(errno));
        if (fchmod(folder.Get(), FolderMode) != 0) Refuse(path, strerror(errno));
    }
    struct stat state {};
    if (fstat(folder.Get(), &state) != 0) Refuse(path, strerror(errno));
    if (!IsOurs(state)) Refuse(path, "the folder belongs to user " + std::to_string(state.st_uid));
    if ((state.st_mode & S_IWOTH) != 0) Refuse(path, "everybody may change the folder");
    return folder;
}

UniqueFd OpenFile(int folder, const std::string& path) {
    // O_NONBLOCK: a pipe in its place must not hold up anybody.
    UniqueFd file(openat(folder, FileName, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, FileMode));
    if (!file) Refuse(path, errno == ELOOP ? "it is a symbolic link" : ReasonOf(errno));
    struct stat state {};
    if (fstat(file.Get(), &state) != 0) Refuse(path, strerror(errno));
    if (!S_ISREG(state.st_mode)) Refuse(path, "it is no file");
    if (!IsOurs(state)) Refuse(path, "the file belongs to user " + std::to_string(state.st_uid));
    // Another name of it may be anybody's file, which the lock would overwrite.
    if (state.st_nlink > 1) Refuse(path, "the file has another name");
    return file;
}

struct Owner {
    int32_t m_process = 0;
    std::string m_started;
    std::string m_program;
};

Owner OwnerIn(int file) {
    std::array<char, 1024> bytes{};
    const ssize_t size = pread(file, bytes.data(), bytes.size(), 0);
    const auto line = nlohmann::json::parse(bytes.data(), bytes.data() + (size > 0 ? size : 0), nullptr, false);
    Owner owner;
    if (!line.is_object()) return owner;
    if (const auto process = line.find("process"); process != line.end() && process->is_number_integer())
        owner.m_process = process->get<int32_t>();
    const auto text = [&line](const char* key) {
        const auto value = line.find(key);
        return value != line.end() && value->is_string() ? value->get<std::string>() : std::string();
    };
    owner.m_started = text("started");
    owner.m_program = text("program");
    return owner;
}

// Who has just got the lock may not have written its line yet; then there is none, or that of a dead one.
[[noreturn]] void RefuseForOwner(int file) {
    constexpr int tries = 100;
    constexpr std::chrono::milliseconds pause(10);
    Owner owner = OwnerIn(file);
    for (int i = 0; i < tries && (owner.m_process == 0 || (kill(owner.m_process, 0) != 0 && errno == ESRCH)); ++i) {
        std::this_thread::sleep_for(pause);
        owner = OwnerIn(file);
    }
    if (owner.m_process == 0) throw OtherHostError("another host has the blade; it has not told which");
    throw OtherHostError("another host has the blade: " + owner.m_program + ", process " +
                         std::to_string(owner.m_process) + ", since " + owner.m_started);
}

} // namespace

gid_t GroupOfAskers() {
    return bm_dev::GroupNamed("bmhost").value_or(getegid());
}

BladeLock::BladeLock(const HostPlace& place, const std::string& program) : m_folder(OpenFolder(place.m_folder)) {
    const std::string path = place.Lock();
    do {
        m_file = OpenFile(m_folder.Get(), path);
    } while (!Take(path));
    m_diedBefore = OwnerIn(m_file.Get()).m_program;
    const std::string line =
        nlohmann::ordered_json({{"process", getpid()}, {"started", Rfc3339(WallNow())}, {"program", program}}).dump() +
        "\n";
    if (ftruncate(m_file.Get(), 0) != 0 ||
        pwrite(m_file.Get(), line.data(), line.size(), 0) != static_cast<ssize_t>(line.size()))
        Refuse(path, strerror(errno));
}

// The file stays, since another may be waiting for its turn with it; it only tells no owner any more.
BladeLock::~BladeLock() {
    GiveBack();
}

void BladeLock::GiveBack() const {
    [[maybe_unused]] const int emptied = ftruncate(m_file.Get(), 0);
}

// False when somebody has removed the file in the meantime: a lock that nobody else finds is none.
bool BladeLock::Take(const std::string& path) const {
    if (flock(m_file.Get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) RefuseForOwner(m_file.Get());
        Refuse(path, strerror(errno));
    }
    struct stat held {};
    struct stat found {};
    if (fstat(m_file.Get(), &held) != 0) Refuse(path, strerror(errno));
    return fstatat(m_folder.Get(), FileName, &found, AT_SYMLINK_NOFOLLOW) == 0 && held.st_ino == found.st_ino &&
           held.st_dev == found.st_dev;
}

} // namespace bmhost
