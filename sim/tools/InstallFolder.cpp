// The blade's install folder, /usr/korvel, with its tools: it is there inside a blade only.
//
// Nothing may be made in the machine's own /usr. So a file system in memory takes its place, in which whatever the real
// one has is mounted again, and the install folder is made beside it.
#include "sim/tools/InstallFolder.h"

#include "sim/base/Error.h"
#include "sim/base/UniqueFd.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>
#include <vector>

namespace BLADESIM {
namespace {

namespace fs = std::filesystem;

constexpr char g_Usr[] = "/usr";

/// One entry of /usr, to be had again elsewhere.
struct ENTRY {
    fs::path m_Path;
    fs::path m_Target; ///< of a symbolic link
    UNIQUE_FD m_Mount; ///< of anything else, with all below it
    bool m_Folder = false;
};

std::vector<ENTRY> EntriesOfUsr() {
    std::vector<ENTRY> l_Entries;
    for (const fs::directory_entry& l_Entry : fs::directory_iterator(g_Usr)) {
        if (l_Entry.path() == g_InstallFolder) continue; // of a real blade
        ENTRY l_New{l_Entry.path(), {}, UNIQUE_FD(), l_Entry.is_directory()};
        if (l_Entry.is_symlink()) {
            l_New.m_Target = fs::read_symlink(l_Entry.path());
        } else {
            l_New.m_Mount = UNIQUE_FD(
                ::open_tree(AT_FDCWD, l_Entry.path().c_str(), OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE));
            if (!l_New.m_Mount) ThrowErrno(l_Entry.path().string() + ": cannot be mounted again");
        }
        l_Entries.push_back(std::move(l_New));
    }
    return l_Entries;
}

void MakeEmptyFile(const fs::path& a_File) {
    const UNIQUE_FD l_File(::open(a_File.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (!l_File) ThrowErrno(a_File.string());
}

void Restore(const ENTRY& a_Entry) {
    if (!a_Entry.m_Mount) {
        fs::create_symlink(a_Entry.m_Target, a_Entry.m_Path);
        return;
    }
    if (a_Entry.m_Folder) {
        fs::create_directory(a_Entry.m_Path);
    } else {
        MakeEmptyFile(a_Entry.m_Path);
    }
    if (::move_mount(a_Entry.m_Mount.Get(), "", AT_FDCWD, a_Entry.m_Path.c_str(), MOVE_MOUNT_F_EMPTY_PATH) != 0)
        ThrowErrno(a_Entry.m_Path.string() + ": cannot be mounted again");
}

void FillInstallFolder(const std::string& a_StandIn) {
    const fs::path l_Folder = g_InstallFolder;
    fs::create_directories(l_Folder / "data");
    MakeEmptyFile(l_Folder / "data/mavk.axf");
    for (const TOOL& l_Tool : g_Tools) {
        const fs::path l_Place = l_Folder / l_Tool.m_Folder;
        fs::create_directories(l_Place);
        fs::create_symlink(a_StandIn, l_Place / l_Tool.m_Name);
    }
}

bool IsSystemFolder(std::string_view a_Folder) {
    constexpr std::array<std::string_view, 3> l_Roots = {"/usr", "/bin", "/sbin"};
    return std::ranges::any_of(l_Roots, [&](std::string_view a_Root) {
        return a_Folder.starts_with(a_Root) && (a_Folder.size() == a_Root.size() || a_Folder[a_Root.size()] == '/');
    });
}

} // namespace

void MakeInstallFolder(const std::string& a_StandIn) {
    try {
        const std::vector<ENTRY> l_Entries = EntriesOfUsr();
        if (::mount("bladesim", g_Usr, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0)
            ThrowErrno(std::string(g_Usr) + ": no mount for the blade's tools");
        for (const ENTRY& l_Entry : l_Entries)
            Restore(l_Entry);
        FillInstallFolder(a_StandIn);
    } catch (const fs::filesystem_error& l_Error) {
        throw BLADE_ERROR(std::string(g_InstallFolder) + ": cannot be made: " + l_Error.what());
    }
}

std::string PathWithTools(std::string_view a_Path) {
    std::string l_Tools = std::string(g_InstallFolder) + "/sbin";
    size_t l_At = 0;
    while (l_At < a_Path.size()) {
        const size_t l_End = std::min(a_Path.find(':', l_At), a_Path.size());
        if (IsSystemFolder(a_Path.substr(l_At, l_End - l_At))) break;
        l_At = l_End + 1;
    }
    if (a_Path.empty()) return l_Tools;
    if (l_At > a_Path.size()) return std::string(a_Path) + ":" + l_Tools;
    return std::string(a_Path.substr(0, l_At)) + l_Tools + ":" + std::string(a_Path.substr(l_At));
}

} // namespace BLADESIM
