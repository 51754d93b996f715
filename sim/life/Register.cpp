// The register of a user's running blades: by it another terminal finds a blade by its name.
#include "sim/life/Register.h"

#include "sim/base/Error.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

namespace bladesim {
namespace {

namespace fs = std::filesystem;

constexpr size_t LongestName = 64;
constexpr mode_t OwnersFolder = 0700;
constexpr mode_t OwnersFile = 0600;

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// The user as he is known outside a user namespace that bladesim, or a shelf of blades, has made for him.
std::string UserOutside() {
    std::ifstream map("/proc/self/uid_map");
    uid_t inside = 0;
    uid_t outside = 0;
    uid_t count = 0;
    while (map >> inside >> outside >> count) {
        if (inside <= ::geteuid() && ::geteuid() - inside < count)
            return std::to_string(outside + (::geteuid() - inside));
    }
    return std::to_string(::geteuid());
}

/// Where the folder may be, the best first. A blade within a blade is known there only.
std::vector<std::string> Places() {
    if (const std::string run = Variable("BLADESIM_RUN_DIR"); !run.empty()) return {run + "/blades"};
    const std::string user = UserOutside();
    std::vector<std::string> places;
    if (user == "0") places.emplace_back("/run/bladesim");
    if (const std::string session = Variable("XDG_RUNTIME_DIR"); session.starts_with('/'))
        places.push_back(session + "/bladesim");
    places.push_back("/run/user/" + user + "/bladesim");
    places.push_back("/tmp/bladesim-" + user);
    return places;
}

/// Empty when it is a folder that only this user can see and change.
std::string WhatIsWrong(const std::string& folder) {
    struct stat state {};
    if (::lstat(folder.c_str(), &state) != 0) return std::strerror(errno);
    if (!S_ISDIR(state.st_mode)) return "is not a folder";
    if (state.st_uid != ::geteuid()) return "belongs to user " + std::to_string(state.st_uid);
    if ((state.st_mode & 077) != 0) return "is open to others";
    return "";
}

/// A lock of the open file, which its process holds until its end whatever it has forked meanwhile.
flock WholeFile(short type) {
    flock lock{};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

bool IsLocked(const bm_dev::UniqueFd& entry) {
    flock lock = WholeFile(F_WRLCK);
    return ::fcntl(entry.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

std::optional<RunningBlade> ReadEntry(const fs::path& file) {
    const bm_dev::UniqueFd entry(::open(file.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!entry || !IsLocked(entry)) return std::nullopt;
    std::ifstream stream(file);
    const nlohmann::json json = nlohmann::json::parse(stream, nullptr, false);
    if (!json.is_object()) return std::nullopt; // is being written
    try {
        return RunningBlade{file.filename().string(), json.at("blade"), json.at("command"), json.at("process")};
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

/// Where everybody may make folders it stays: another user could take its name while a blade is about to be entered.
void RemoveIfEmpty(const fs::path& folder) {
    if (folder.parent_path() != "/tmp") ::rmdir(folder.c_str());
}

} // namespace

std::string RegisterFolder() {
    std::string wrong;
    for (const std::string& folder : Places()) {
        if (::mkdir(folder.c_str(), OwnersFolder) != 0 && errno != EEXIST) {
            wrong = folder + ": " + std::strerror(errno);
            continue;
        }
        wrong = WhatIsWrong(folder);
        if (wrong.empty()) return folder;
        wrong.insert(0, folder + ": ");
    }
    throw BladeError("no register of running blades: " + wrong);
}

std::vector<RunningBlade> RunningBlades(const std::string& folder) {
    std::vector<RunningBlade> blades;
    std::error_code ignored; // a folder that goes meanwhile has none
    for (const fs::directory_entry& file : fs::directory_iterator(folder, ignored)) {
        if (const auto blade = ReadEntry(file.path())) blades.push_back(*blade);
    }
    if (blades.empty()) RemoveIfEmpty(folder);
    std::ranges::sort(blades, {}, &RunningBlade::m_name);
    return blades;
}

bool IsBladeName(const std::string& name) {
    const auto isGood = [](unsigned char letter) {
        return std::isalnum(letter) != 0 || std::strchr("._-", letter) != nullptr;
    };
    return !name.empty() && name.size() <= LongestName && name[0] != '.' && name[0] != '-' &&
           std::ranges::all_of(name, isGood);
}

/// An entry that was removed before it could be locked is nobody's: then there is a new one, or none.
Registration::Registration(const std::string& folder, const std::string& name) : m_path(folder + "/" + name) {
    struct stat state {};
    while (state.st_nlink == 0) {
        m_entry = bm_dev::UniqueFd(::open(m_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, OwnersFile));
        if (!m_entry && errno == ENOENT && RegisterFolder() == folder) continue; // the last blade has just removed it
        if (!m_entry) ThrowErrno(m_path);
        const flock lock = WholeFile(F_WRLCK);
        if (::fcntl(m_entry.Get(), F_OFD_SETLK, &lock) != 0) {
            if (errno != EAGAIN && errno != EACCES) ThrowErrno(m_path);
            m_entry.Reset();
            return;
        }
        if (::fstat(m_entry.Get(), &state) != 0) ThrowErrno(m_path);
    }
    m_name = name;
}

Registration::~Registration() {
    if (!m_entry) return;
    ::unlink(m_path.c_str());
    RemoveIfEmpty(fs::path(m_path).parent_path());
}

Registration Registration::Any(const std::string& folder, const std::string& name) {
    for (unsigned number = 1;; ++number) {
        Registration registration(folder, number == 1 ? name : name + "-" + std::to_string(number));
        if (registration.m_entry) return registration;
    }
}

Registration Registration::Exactly(const std::string& folder, const std::string& name) {
    Registration registration(folder, name);
    if (registration.m_entry) return registration;
    const std::vector<RunningBlade> blades = RunningBlades(folder);
    const auto other = std::ranges::find(blades, name, &RunningBlade::m_name);
    const std::string who = other == blades.end() ? "" : ", of process " + std::to_string(other->m_process);
    throw BladeError("a blade with the name " + name + " is running" + who);
}

void Registration::Enter(const RunningBlade& blade) const {
    if (!m_entry) return;
    const nlohmann::json json = {{"process", blade.m_process}, {"blade", blade.m_blade}, {"command", blade.m_command}};
    const std::string text = json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    if (::ftruncate(m_entry.Get(), 0) != 0 ||
        ::pwrite(m_entry.Get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        ThrowErrno(m_path);
}

} // namespace bladesim
