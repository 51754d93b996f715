// The PCI driver's file as a real one, in a file system of ours, and all of /proc around it.
//
// Nothing can be added to the kernel's own /proc, so it moves to /proc/.procfs, and a file system of ours takes its
// place. That has the driver's file, and a link to each entry of the kernel's /proc. Processes come and go, so it makes
// the links when they are asked for.
#include "sim/pstn/DriverFileFuse.h"

#include "sim/base/DriverFilePacket.h"

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

namespace bladesim {
namespace {

namespace fs = std::filesystem;

constexpr char Proc[] = "/proc";
constexpr char ProcFs[] = "/proc/.procfs"; // the kernel's own /proc
// Paths from the root of our file system, and the names in it.
constexpr const char* OurProcFs = ProcFs + sizeof(Proc) - 1;
constexpr const char* OurFile = DriverFilePath + sizeof(Proc) - 1;
constexpr char OurFolder[] = "/mavkpcidrv";
constexpr const char* ProcFsName = OurProcFs + 1;
constexpr const char* FolderName = OurFolder + 1;
constexpr const char* FileName = OurFile + sizeof(OurFolder);

constexpr mode_t FolderMode = S_IFDIR | 0555;
constexpr mode_t FileMode = S_IFREG | 0644;
constexpr mode_t LinkMode = S_IFLNK | 0777;

/// Serves the file system. Its process has the kernel's /proc in the usual place.
class DriverFileSystem {
public:
    explicit DriverFileSystem(DriverFileLog log) : m_log(std::move(log)) {}

    int Attributes(const std::string& path, struct stat& attributes) const {
        const mode_t mode = ModeOf(path);
        if (mode == 0) return -ENOENT;
        attributes.st_mode = mode;
        attributes.st_nlink = S_ISDIR(mode) ? 2 : 1;
        return 0;
    }

    int List(const std::string& path, void* buffer, fuse_fill_dir_t fill) const {
        const auto add = [&](const char* name) { fill(buffer, name, nullptr, 0, static_cast<fuse_fill_dir_flags>(0)); };
        add(".");
        add("..");
        if (path == OurFolder) add(FileName);
        if (path != "/") return 0;
        add(FolderName);
        for (const fs::directory_entry& entry : fs::directory_iterator(Proc))
            add(entry.path().filename().c_str());
        return 0;
    }

    int Open() { return m_log.Open(); }

    int Write(uint64_t open, std::string_view record) { return m_log.Write(static_cast<unsigned>(open), record); }

private:
    static mode_t ModeOf(const std::string& path) {
        if (path == "/" || path == OurFolder || path == OurProcFs) return FolderMode;
        if (path == OurFile) return FileMode;
        struct stat status {};
        return ::lstat((Proc + path).c_str(), &status) == 0 ? LinkMode : 0;
    }

    DriverFileLog m_log;
};

DriverFileSystem& Self() {
    return *static_cast<DriverFileSystem*>(::fuse_get_context()->private_data);
}

/// No exception may reach the library.
template <typename Call>
int Guarded(Call call) {
    try {
        return call(Self());
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    } catch (const std::exception&) {
        return -EIO;
    }
}

int OnAttributes(const char* path, struct stat* attributes, fuse_file_info* /*info*/) {
    return Guarded([&](const DriverFileSystem& self) { return self.Attributes(path, *attributes); });
}

int OnReadLink(const char* path, char* buffer, size_t size) {
    std::snprintf(buffer, size, "%s%s", ProcFsName, path);
    return 0;
}

int OnList(const char* path, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/, fuse_file_info* /*info*/,
           fuse_readdir_flags /*flags*/) {
    return Guarded([&](const DriverFileSystem& self) { return self.List(path, buffer, fill); });
}

int OnOpen(const char* /*path*/, fuse_file_info* info) {
    const int result = Guarded([](DriverFileSystem& self) { return self.Open(); });
    if (result < 0) return result;
    info->fh = static_cast<uint64_t>(result);
    info->direct_io = 1; // pass on each write as it is
    info->nonseekable = 1;
    return 0;
}

int OnWrite(const char* /*path*/, const char* bytes, size_t size, off_t /*offset*/, fuse_file_info* info) {
    return Guarded([&](DriverFileSystem& self) { return self.Write(info->fh, {bytes, size}); });
}

/// Reading gives nothing.
int OnRead(const char* /*path*/, char* /*buffer*/, size_t /*size*/, off_t /*offset*/, fuse_file_info* /*info*/) {
    return 0;
}

/// A shell's ">" truncates first; there is nothing to do.
int OnTruncate(const char* /*path*/, off_t /*size*/, fuse_file_info* /*info*/) {
    return 0;
}

int OnMakeNode(const char* /*path*/, mode_t /*mode*/, dev_t /*device*/) {
    return -EACCES; // as in the kernel's /proc
}

fuse_operations Operations() {
    fuse_operations operations{};
    operations.getattr = OnAttributes;
    operations.readlink = OnReadLink;
    operations.readdir = OnList;
    operations.open = OnOpen;
    operations.read = OnRead;
    operations.write = OnWrite;
    operations.truncate = OnTruncate;
    operations.mknod = OnMakeNode;
    return operations;
}

/// Never returns. In a mount namespace of its own this process keeps the kernel's /proc: reading /proc, for a
/// sanitizer's report for instance, must not make it wait for itself.
[[noreturn]] void Serve(DriverFileSystem fileSystem, const bm_dev::UniqueFd& device) {
    if (::unshare(CLONE_NEWNS) != 0 || ::umount2(Proc, MNT_DETACH) != 0) {
        std::fprintf(stderr, "bladesim: %s: no mounts of its own: %s\n", DriverFilePath, std::strerror(errno));
        ::_exit(EXIT_FAILURE);
    }
    char name[] = "bladesim";
    char* arguments[] = {name, nullptr};
    fuse_args fuseArguments = FUSE_ARGS_INIT(1, arguments);
    const fuse_operations operations = Operations();
    fuse* const session = ::fuse_new(&fuseArguments, &operations, sizeof(operations), &fileSystem);
    // The library's way to name a file system that is already mounted.
    const std::string mountPoint = "/dev/fd/" + std::to_string(device.Get());
    if (session == nullptr || ::fuse_mount(session, mountPoint.c_str()) != 0) ::_exit(EXIT_FAILURE);
    ::fuse_loop(session);
    ::_exit(EXIT_FAILURE);
}

/// The mount that is now visible at a folder, with everything below it.
bm_dev::UniqueFd CopyMount(const char* folder) {
    bm_dev::UniqueFd mount(::open_tree(AT_FDCWD, folder, OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE));
    if (!mount) ThrowErrno(std::string(folder) + ": cannot be moved aside for " + DriverFilePath);
    return mount;
}

bm_dev::UniqueFd MountOurs() {
    bm_dev::UniqueFd device(::open("/dev/fuse", O_RDWR | O_CLOEXEC));
    if (!device) throw NoFuse(std::string("/dev/fuse: ") + std::strerror(errno));
    const std::string options =
        "fd=" + std::to_string(device.Get()) + ",rootmode=40000,user_id=0,group_id=0,allow_other,default_permissions";
    if (::mount("bladesim", Proc, "fuse", MS_NOSUID | MS_NODEV | MS_NOEXEC, options.c_str()) != 0)
        throw NoFuse(std::string("no FUSE mount: ") + std::strerror(errno));
    return device;
}

} // namespace

pid_t StartDriverFileOnFuse(DriverFileLog& log) {
    const bm_dev::UniqueFd procFs = CopyMount(Proc);
    bm_dev::UniqueFd device = MountOurs();
    const pid_t process = ::fork();
    if (process < 0) ThrowErrno(std::string(DriverFilePath) + ": cannot be served");
    if (process == 0) Serve(DriverFileSystem(std::move(log)), device);
    // With the other descriptor closed, a call fails when the serving process has ended; it does not wait for ever.
    device.Reset();
    if (::move_mount(procFs.Get(), "", AT_FDCWD, ProcFs, MOVE_MOUNT_F_EMPTY_PATH) != 0)
        ThrowErrno(std::string(ProcFs) + ": the kernel's /proc cannot be mounted here");
    return process;
}

} // namespace bladesim
