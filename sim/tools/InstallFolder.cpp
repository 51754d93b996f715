// The blade's install folder, /usr/korvel, with its tools: it exists inside a blade only.
//
// Nothing may be created in the machine's own /usr. So a file system in memory takes its place, in which everything
// from the real one is mounted again next to the install folder.
#include "sim/tools/InstallFolder.h"

#include "bm_dev/UniqueFd.h"
#include "sim/base/Error.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>
#include <vector>

namespace bladesim {
namespace {

namespace fs = std::filesystem;

constexpr char Usr[] = "/usr";

/// One entry of /usr, to be restored in the new one.
struct Entry {
    fs::path m_path;
    fs::path m_target;        ///< of a symbolic link
    bm_dev::UniqueFd m_mount; ///< of anything else, with all below it
    bool m_folder = false;
};

std::vector<Entry> EntriesOfUsr() {
    std::vector<Entry> entries;
    for (const fs::directory_entry& entry : fs::directory_iterator(Usr)) {
        if (entry.path() == InstallFolder) continue; // that of a real blade
        Entry fresh{entry.path(), {}, bm_dev::UniqueFd(), entry.is_directory()};
        if (entry.is_symlink()) {
            fresh.m_target = fs::read_symlink(entry.path());
        } else {
            fresh.m_mount = bm_dev::UniqueFd(
                ::open_tree(AT_FDCWD, entry.path().c_str(), OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE));
            if (!fresh.m_mount) ThrowErrno(entry.path().string() + ": cannot be mounted again");
        }
        entries.push_back(std::move(fresh));
    }
    return entries;
}

void MakeEmptyFile(const fs::path& file) {
    const bm_dev::UniqueFd created(::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (!created) ThrowErrno(file.string());
}

void Restore(const Entry& entry) {
    if (!entry.m_mount) {
        fs::create_symlink(entry.m_target, entry.m_path);
        return;
    }
    if (entry.m_folder) {
        fs::create_directory(entry.m_path);
    } else {
        MakeEmptyFile(entry.m_path);
    }
    if (::move_mount(entry.m_mount.Get(), "", AT_FDCWD, entry.m_path.c_str(), MOVE_MOUNT_F_EMPTY_PATH) != 0)
        ThrowErrno(entry.m_path.string() + ": cannot be mounted again");
}

void FillInstallFolder(const std::string& standIn) {
    const fs::path folder = InstallFolder;
    fs::create_directories(folder / "data");
    MakeEmptyFile(folder / "data/mavk.axf");
    for (const Tool& tool : Tools) {
        const fs::path place = folder / tool.m_folder;
        fs::create_directories(place);
        fs::create_symlink(standIn, place / tool.m_name);
    }
}

bool IsSystemFolder(std::string_view folder) {
    constexpr std::array<std::string_view, 3> roots = {"/usr", "/bin", "/sbin"};
    return std::ranges::any_of(roots, [&](std::string_view root) {
        return folder.starts_with(root) && (folder.size() == root.size() || folder[root.size()] == '/');
    });
}

} // namespace

void MakeInstallFolder(const std::string& standIn) {
    try {
        const std::vector<Entry> entries = EntriesOfUsr();
        if (::mount("bladesim", Usr, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0)
            ThrowErrno(std::string(Usr) + ": no mount for the blade's tools");
        for (const Entry& entry : entries)
            Restore(entry);
        FillInstallFolder(standIn);
    } catch (const fs::filesystem_error& error) {
        throw BladeError(std::string(InstallFolder) + ": cannot be made: " + error.what());
    }
}

std::string PathWithTools(std::string_view path) {
    std::string tools = std::string(InstallFolder) + "/sbin";
    size_t at = 0;
    while (at < path.size()) {
        const size_t end = std::min(path.find(':', at), path.size());
        if (IsSystemFolder(path.substr(at, end - at))) break;
        at = end + 1;
    }
    if (path.empty()) return tools;
    if (at > path.size()) return std::string(path) + ":" + tools;
    return std::string(path.substr(0, at)) + tools + ":" + std::string(path.substr(at));
}

} // namespace bladesim
