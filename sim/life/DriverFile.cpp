// The file through which the PCI driver is told of the PSTN: /proc/mavkpcidrv/pstn.cfg, and around it the whole of
// /proc.
//
// Nothing can be added to the kernel's own /proc, so it moves to /proc/.procfs, and a file system of ours takes its
// place. That has the driver's file and, for whatever the kernel's has at the moment, a link to it: processes come and
// go, which links made beforehand could not follow.
#include "sim/life/DriverFile.h"

#include "sim/base/Error.h"
#include "sim/base/UniqueFd.h"
#include "sim/life/DriverFileRecords.h"

#define FUSE_USE_VERSION 31
#include <fuse.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <string_view>
#include <utility>

namespace BLADESIM {
namespace {

namespace fs = std::filesystem;

constexpr char g_Proc[] = "/proc";
constexpr char g_ProcFs[] = "/proc/.procfs"; // where the kernel's own is
// As seen from the root of our file system, and the names in it.
constexpr const char* g_OurProcFs = g_ProcFs + sizeof(g_Proc) - 1;
constexpr const char* g_OurFile = g_DriverFile + sizeof(g_Proc) - 1;
constexpr char g_OurFolder[] = "/mavkpcidrv";
constexpr const char* g_ProcFsName = g_OurProcFs + 1;
constexpr const char* g_FolderName = g_OurFolder + 1;
constexpr const char* g_FileName = g_OurFile + sizeof(g_OurFolder);

constexpr mode_t g_FolderMode = S_IFDIR | 0555;
constexpr mode_t g_FileMode = S_IFREG | 0644;
constexpr mode_t g_LinkMode = S_IFLNK | 0777;

/// Serves the file system. Its process has the kernel's /proc in the usual place.
class DRIVER_FILE_SYSTEM {
public:
    DRIVER_FILE_SYSTEM(const DRIVER_FILE& a_File, UNIQUE_FD a_Log) : m_Records(a_File), m_Log(std::move(a_Log)) {}

    int Attributes(const std::string& a_Path, struct stat& a_Attributes) const {
        const mode_t l_Mode = ModeOf(a_Path);
        if (l_Mode == 0) return -ENOENT;
        a_Attributes.st_mode = l_Mode;
        a_Attributes.st_nlink = S_ISDIR(l_Mode) ? 2 : 1;
        return 0;
    }

    int List(const std::string& a_Path, void* a_Buffer, fuse_fill_dir_t a_Fill) const {
        const auto l_Add = [&](const char* a_Name) {
            a_Fill(a_Buffer, a_Name, nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
        };
        l_Add(".");
        l_Add("..");
        if (a_Path == g_OurFolder) l_Add(g_FileName);
        if (a_Path != "/") return 0;
        l_Add(g_FolderName);
        for (const fs::directory_entry& l_Entry : fs::directory_iterator(g_Proc))
            l_Add(l_Entry.path().filename().c_str());
        return 0;
    }

    int Open() { return Keep(m_Records.Open()); }

    int Write(uint64_t a_Open, std::string_view a_Record) {
        return Keep(m_Records.Write(static_cast<unsigned>(a_Open), a_Record));
    }

private:
    static mode_t ModeOf(const std::string& a_Path) {
        if (a_Path == "/" || a_Path == g_OurFolder || a_Path == g_OurProcFs) return g_FolderMode;
        if (a_Path == g_OurFile) return g_FileMode;
        struct stat l_Status {};
        return ::lstat((g_Proc + a_Path).c_str(), &l_Status) == 0 ? g_LinkMode : 0;
    }

    int Keep(const DRIVER_FILE_ANSWER& a_Answer) const {
        if (a_Answer.m_Line.empty()) return a_Answer.m_Result;
        const std::string l_Line = a_Answer.m_Line + "\n";
        // At once, so that a reader has the line whole or not at all.
        const ssize_t l_Written = ::write(m_Log.Get(), l_Line.data(), l_Line.size());
        return l_Written == static_cast<ssize_t>(l_Line.size()) ? a_Answer.m_Result : -EIO;
    }

    DRIVER_FILE_RECORDS m_Records;
    UNIQUE_FD m_Log;
};

DRIVER_FILE_SYSTEM& Self() {
    return *static_cast<DRIVER_FILE_SYSTEM*>(::fuse_get_context()->private_data);
}

/// No exception gets into the library.
template <typename CALL>
int Guarded(CALL a_Call) {
    try {
        return a_Call(Self());
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    } catch (const std::exception&) {
        return -EIO;
    }
}

int s_Attributes(const char* a_Path, struct stat* a_Attributes, fuse_file_info* /*a_Info*/) {
    return Guarded([&](const DRIVER_FILE_SYSTEM& a_Self) { return a_Self.Attributes(a_Path, *a_Attributes); });
}

int s_ReadLink(const char* a_Path, char* a_Buffer, size_t a_Size) {
    std::snprintf(a_Buffer, a_Size, "%s%s", g_ProcFsName, a_Path);
    return 0;
}

int s_List(const char* a_Path, void* a_Buffer, fuse_fill_dir_t a_Fill, off_t /*a_Offset*/, fuse_file_info* /*a_Info*/,
           fuse_readdir_flags /*a_Flags*/) {
    return Guarded([&](const DRIVER_FILE_SYSTEM& a_Self) { return a_Self.List(a_Path, a_Buffer, a_Fill); });
}

int s_Open(const char* /*a_Path*/, fuse_file_info* a_Info) {
    const int l_Result = Guarded([](DRIVER_FILE_SYSTEM& a_Self) { return a_Self.Open(); });
    if (l_Result < 0) return l_Result;
    a_Info->fh = static_cast<uint64_t>(l_Result);
    a_Info->direct_io = 1; // each write comes as it is
    a_Info->nonseekable = 1;
    return 0;
}

int s_Write(const char* /*a_Path*/, const char* a_Bytes, size_t a_Size, off_t /*a_Offset*/, fuse_file_info* a_Info) {
    return Guarded([&](DRIVER_FILE_SYSTEM& a_Self) { return a_Self.Write(a_Info->fh, {a_Bytes, a_Size}); });
}

/// The driver has nothing to say.
int s_Read(const char* /*a_Path*/, char* /*a_Buffer*/, size_t /*a_Size*/, off_t /*a_Offset*/,
           fuse_file_info* /*a_Info*/) {
    return 0;
}

/// A shell's ">" truncates first, which changes nothing.
int s_Truncate(const char* /*a_Path*/, off_t /*a_Size*/, fuse_file_info* /*a_Info*/) {
    return 0;
}

int s_MakeNode(const char* /*a_Path*/, mode_t /*a_Mode*/, dev_t /*a_Device*/) {
    return -EACCES; // as in the kernel's /proc
}

fuse_operations Operations() {
    fuse_operations l_Operations{};
    l_Operations.getattr = s_Attributes;
    l_Operations.readlink = s_ReadLink;
    l_Operations.readdir = s_List;
    l_Operations.open = s_Open;
    l_Operations.read = s_Read;
    l_Operations.write = s_Write;
    l_Operations.truncate = s_Truncate;
    l_Operations.mknod = s_MakeNode;
    return l_Operations;
}

/// Never returns. In a mount namespace of its own this process keeps the kernel's /proc: whatever it may want of it, a
/// sanitizer's report for instance, must not wait for itself.
[[noreturn]] void Serve(DRIVER_FILE_SYSTEM a_FileSystem, const UNIQUE_FD& a_Device) {
    if (::unshare(CLONE_NEWNS) != 0 || ::umount2(g_Proc, MNT_DETACH) != 0) {
        std::fprintf(stderr, "bladesim: %s: no mounts of its own: %s\n", g_DriverFile, std::strerror(errno));
        ::_exit(EXIT_FAILURE);
    }
    char l_Name[] = "bladesim";
    char* l_Arguments[] = {l_Name, nullptr};
    fuse_args l_FuseArguments = FUSE_ARGS_INIT(1, l_Arguments);
    const fuse_operations l_Operations = Operations();
    fuse* const l_Fuse = ::fuse_new(&l_FuseArguments, &l_Operations, sizeof(l_Operations), &a_FileSystem);
    // The library's word for what is mounted already.
    const std::string l_MountPoint = "/dev/fd/" + std::to_string(a_Device.Get());
    if (l_Fuse == nullptr || ::fuse_mount(l_Fuse, l_MountPoint.c_str()) != 0) ::_exit(EXIT_FAILURE);
    ::fuse_loop(l_Fuse);
    ::_exit(EXIT_FAILURE);
}

UNIQUE_FD OpenLog(const std::string& a_RunFolder) {
    const std::string l_File = a_RunFolder + "/" + g_DriverRecords;
    UNIQUE_FD l_Log(::open(l_File.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0644));
    if (!l_Log) ThrowErrno(l_File);
    return l_Log;
}

/// The mount that is seen in a folder now, with all below it.
UNIQUE_FD CopyMount(const char* a_Folder) {
    UNIQUE_FD l_Mount(::open_tree(AT_FDCWD, a_Folder, OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE));
    if (!l_Mount) ThrowErrno(std::string(a_Folder) + ": cannot be moved aside for " + g_DriverFile);
    return l_Mount;
}

UNIQUE_FD MountOurs() {
    UNIQUE_FD l_Device(::open("/dev/fuse", O_RDWR | O_CLOEXEC));
    if (!l_Device) ThrowErrno(std::string("/dev/fuse, which ") + g_DriverFile + " needs");
    const std::string l_Options =
        "fd=" + std::to_string(l_Device.Get()) + ",rootmode=40000,user_id=0,group_id=0,allow_other,default_permissions";
    if (::mount("bladesim", g_Proc, "fuse", MS_NOSUID | MS_NODEV | MS_NOEXEC, l_Options.c_str()) != 0)
        ThrowErrno(std::string(g_Proc) + ": no mount for " + g_DriverFile);
    return l_Device;
}

} // namespace

pid_t StartDriverFile(const DRIVER_FILE& a_File, const std::string& a_RunFolder) {
    UNIQUE_FD l_Log = OpenLog(a_RunFolder);
    const UNIQUE_FD l_ProcFs = CopyMount(g_Proc);
    UNIQUE_FD l_Device = MountOurs();
    const pid_t l_Process = ::fork();
    if (l_Process < 0) ThrowErrno(std::string(g_DriverFile) + ": cannot be served");
    if (l_Process == 0) Serve(DRIVER_FILE_SYSTEM(a_File, std::move(l_Log)), l_Device);
    // With the other descriptor gone, what is asked of a process that has ended is an error and no endless wait.
    l_Device.Reset();
    if (::move_mount(l_ProcFs.Get(), "", AT_FDCWD, g_ProcFs, MOVE_MOUNT_F_EMPTY_PATH) != 0)
        ThrowErrno(std::string(g_ProcFs) + ": the kernel's /proc cannot be mounted here");
    return l_Process;
}

} // namespace BLADESIM
