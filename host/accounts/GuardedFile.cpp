// A file that decides who may come in: read only when nobody else can have written it, replaced as a whole.
#include "host/accounts/GuardedFile.h"

#include "bm_dev/Group.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

using bm_dev::UniqueFd;

constexpr mode_t OwnersMode = 0600;
constexpr mode_t GroupsMode = 0640;
constexpr off_t MostBytes = off_t{1024} * 1024;

[[noreturn]] void RefuseFile(const std::string& path, const std::string& reason) {
    throw std::runtime_error(path + ": " + reason);
}

[[noreturn]] void FailFile(const std::string& path, int error) {
    RefuseFile(path, error == ELOOP ? "it is a symbolic link" : std::generic_category().message(error));
}

std::string FolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// Root's accounts may be read by the door; those of another user may be anything.
bool IsOwn(const struct stat& state) {
    return state.st_uid == geteuid() || state.st_uid == 0;
}

// Whoever may write the folder may put another file in its place, but for what belongs to others in a folder like /tmp.
void CheckFolderOf(const std::string& path) {
    const std::string folder = FolderOf(path);
    struct stat state {};
    if (stat(folder.c_str(), &state) != 0) FailFile(folder, errno);
    if ((state.st_mode & S_IWOTH) != 0 && (state.st_mode & S_ISVTX) == 0)
        RefuseFile(folder, "everybody may write to the folder of the file; `chmod o-w` ends that");
}

void CheckGuarded(const std::string& path, const struct stat& state) {
    if (!S_ISREG(state.st_mode)) RefuseFile(path, "it is no plain file");
    if (!IsOwn(state)) RefuseFile(path, "it belongs to user " + std::to_string(state.st_uid));
    if ((state.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        RefuseFile(path, "others than its owner may write to it; `chmod go-w` ends that");
    if ((state.st_mode & S_IROTH) != 0) RefuseFile(path, "everybody may read it; `chmod o-r` ends that");
    if (state.st_size > MostBytes) RefuseFile(path, "it is larger than " + std::to_string(MostBytes) + " bytes");
}

std::string GuardedText(int file, const std::string& path) {
    std::string text;
    std::array<char, 65536> bytes{};
    while (true) {
        const ssize_t got = read(file, bytes.data(), bytes.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) FailFile(path, errno);
        if (got == 0) return text;
        text.append(bytes.data(), static_cast<std::size_t>(got));
        if (text.size() > static_cast<std::size_t>(MostBytes))
            RefuseFile(path, "it is larger than " + std::to_string(MostBytes) + " bytes");
    }
}

void WriteFresh(int file, const std::string& path, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t more = write(file, text.data() + written, text.size() - written);
        if (more < 0 && errno == EINTR) continue;
        if (more < 0) FailFile(path, errno);
        written += static_cast<std::size_t>(more);
    }
    if (fsync(file) != 0) FailFile(path, errno);
}

// Which group may read the new file.
std::optional<gid_t> ReadersOf(const std::string& path, const char* group) {
    struct stat old {};
    if (lstat(path.c_str(), &old) == 0 && (old.st_mode & S_IRGRP) != 0) return old.st_gid;
    return bm_dev::GroupNamed(group);
}

// Who may not give it to the group keeps it to himself.
void GiveTo(int file, const std::string& path, std::optional<gid_t> group) {
    if (!group) return;
    if (fchown(file, static_cast<uid_t>(-1), *group) != 0) {
        if (bm_dev::MayNotGiveToGroup(errno)) return;
        FailFile(path, errno);
    }
    if (fchmod(file, GroupsMode) != 0) FailFile(path, errno);
}

/// The new file until it has taken the old one's place.
class FreshFile {
public:
    explicit FreshFile(const std::string& path) : m_path(path + ".new") {
        // What a process left that was killed here; the lock is ours, so it is nobody's any more.
        if (unlink(m_path.c_str()) != 0 && errno != ENOENT) FailFile(m_path, errno);
        m_file = UniqueFd(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, OwnersMode));
        if (!m_file) FailFile(m_path, errno);
    }
    FreshFile(const FreshFile&) = delete;
    FreshFile& operator=(const FreshFile&) = delete;
    ~FreshFile() {
        if (!m_path.empty()) unlink(m_path.c_str());
    }

    int Descriptor() const { return m_file.Get(); }
    const std::string& Path() const { return m_path; }
    void Take(const std::string& place) {
        if (std::rename(m_path.c_str(), place.c_str()) != 0) FailFile(place, errno);
        m_path.clear();
    }

private:
    std::string m_path;
    UniqueFd m_file;
};

} // namespace

std::optional<std::string> ReadGuarded(const std::string& path) {
    // O_NONBLOCK: a pipe in its place must not hold up anybody.
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file && errno == ENOENT) return std::nullopt;
    if (!file) FailFile(path, errno);
    struct stat state {};
    if (fstat(file.Get(), &state) != 0) FailFile(path, errno);
    CheckGuarded(path, state);
    CheckFolderOf(path);
    return GuardedText(file.Get(), path);
}

void ReplaceGuarded(const std::string& path, const std::string& text, const char* group) {
    CheckFolderOf(path);
    FreshFile fresh(path);
    GiveTo(fresh.Descriptor(), fresh.Path(), ReadersOf(path, group));
    WriteFresh(fresh.Descriptor(), fresh.Path(), text);
    fresh.Take(path);
    const std::string folder = FolderOf(path);
    const UniqueFd place(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!place || fsync(place.Get()) != 0) FailFile(folder, errno);
}

GuardLock::GuardLock(const std::string& path) {
    const std::string name = path + ".lock";
    m_file = UniqueFd(open(name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, OwnersMode));
    if (!m_file) FailFile(name, errno);
    while (flock(m_file.Get(), LOCK_EX) != 0) {
        if (errno != EINTR) FailFile(name, errno);
    }
}

} // namespace bmhost
