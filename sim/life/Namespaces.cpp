// Makes the surroundings of a blade: mounts and network of its own, which vanish with the last process in them.
#include "sim/life/Namespaces.h"

#include "sim/base/Error.h"
#include "sim/base/UniqueFd.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace BLADESIM {
namespace {

bool MakeAllMountsPrivate() {
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// The same from within a changed root that is no mount point: joining the namespace that one is in leads to its real
/// root, where all mounts are below "/"; then back to the root and the folder that were.
void MakeAllMountsPrivateFromChroot() {
    const UNIQUE_FD l_Root(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const UNIQUE_FD l_Folder(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const UNIQUE_FD l_Self(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0)));
    if (!l_Root || !l_Folder || !l_Self) ThrowErrno("the root folder cannot be opened");
    if (::setns(l_Self.Get(), CLONE_NEWNS) != 0) ThrowErrno("the mount namespace cannot be joined");
    const bool l_Private = MakeAllMountsPrivate();
    const int l_Error = errno;
    if (::fchdir(l_Root.Get()) != 0 || ::chroot(".") != 0 || ::fchdir(l_Folder.Get()) != 0) {
        ThrowErrno("the root folder cannot be entered again");
    }
    errno = l_Error;
    if (!l_Private) ThrowErrno("the mounts cannot be made private");
}

/// The old /proc would show other processes under the ids of ours. Without one (no such folder, or the surroundings
/// forbid it) a blade still works; what reads /proc does not.
void MountProc() {
    if (::mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        std::fprintf(stderr, "bladesim: no /proc for the blade's own processes: %s\n", std::strerror(errno));
    }
}

void BringLoopbackUp() {
    const UNIQUE_FD l_Socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq l_Request{};
    std::strcpy(l_Request.ifr_name, "lo");
    l_Request.ifr_flags = IFF_UP | IFF_RUNNING;
    if (!l_Socket || ::ioctl(l_Socket.Get(), SIOCSIFFLAGS, &l_Request) != 0)
        ThrowErrno("the loopback interface cannot be brought up");
}

} // namespace

void EnterBladeNamespaces() {
    if (::unshare(CLONE_NEWNS | CLONE_NEWNET) != 0) ThrowErrno("no mount and network namespaces of its own");
    if (!MakeAllMountsPrivate()) {
        if (errno != EINVAL) ThrowErrno("the mounts cannot be made private");
        MakeAllMountsPrivateFromChroot();
    }
    MountProc();
    BringLoopbackUp();
}

void MountRunFolder(const std::string& a_Folder) {
    if (::mount("bladesim", a_Folder.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=0700") != 0) {
        ThrowErrno(a_Folder + ": the run folder cannot be mounted here");
    }
}

} // namespace BLADESIM
