// Gives a blade its own mounts and network, which vanish with the last process in them.
#include "sim/life/Namespaces.h"

#include "bm_dev/UniqueFd.h"
#include "sim/base/Error.h"
#include "sim/life/UserNamespaceReason.h"

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

namespace bladesim {
namespace {

bool MakeAllMountsPrivate() {
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// The same in a chroot that is not a mount point: joining the current namespace again leads to its real root, where
/// all mounts are below "/"; then it goes back to the former root and folder.
void MakeAllMountsPrivateFromChroot() {
    const bm_dev::UniqueFd root(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const bm_dev::UniqueFd folder(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const bm_dev::UniqueFd self(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0)));
    if (!root || !folder || !self) ThrowErrno("the root folder cannot be opened");
    if (::setns(self.Get(), CLONE_NEWNS) != 0) ThrowErrno("the mount namespace cannot be joined");
    const bool isPrivate = MakeAllMountsPrivate();
    const int error = errno;
    if (::fchdir(root.Get()) != 0 || ::chroot(".") != 0 || ::fchdir(folder.Get()) != 0) {
        ThrowErrno("the root folder cannot be entered again");
    }
    errno = error;
    if (!isPrivate) ThrowErrno("the mounts cannot be made private");
}

/// The old /proc would show other processes under our ids. Without a /proc (no such folder, or not permitted) a blade
/// still works; programs that read /proc do not.
void MountProc() {
    if (::mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        std::fprintf(stderr, "bladesim: no /proc for the blade's own processes: %s\n", std::strerror(errno));
    }
}

void BringLoopbackUp() {
    const bm_dev::UniqueFd socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    if (!socket || ::ioctl(socket.Get(), SIOCSIFFLAGS, &request) != 0)
        ThrowErrno("the loopback interface cannot be brought up");
}

[[noreturn]] void ThrowNoUserNamespace() {
    const int error = errno;
    throw BladeError(std::string("needs root, or a user namespace of its own, which fails: ") + std::strerror(error) +
                     ": " + WhyNoUserNamespace(error));
}

/// In one write, as the kernel wants it.
void WriteOwn(const std::string& file, const std::string& text) {
    const bm_dev::UniqueFd opened(::open(("/proc/self/" + file).c_str(), O_WRONLY | O_CLOEXEC));
    if (!opened || ::write(opened.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        ThrowNoUserNamespace();
}

} // namespace

void EnterUserNamespace() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (user == 0) return;
    if (::unshare(CLONE_NEWUSER) != 0) ThrowNoUserNamespace();
    WriteOwn("setgroups", "deny"); // or the kernel takes no group from an ordinary user
    WriteOwn("uid_map", "0 " + std::to_string(user) + " 1");
    WriteOwn("gid_map", "0 " + std::to_string(group) + " 1");
}

void EnterBladeNamespaces() {
    if (::unshare(CLONE_NEWNS | CLONE_NEWNET) != 0) ThrowErrno("no mount and network namespaces of its own");
    if (!MakeAllMountsPrivate()) {
        if (errno != EINVAL) ThrowErrno("the mounts cannot be made private");
        MakeAllMountsPrivateFromChroot();
    }
    MountProc();
    BringLoopbackUp();
}

pid_t ForkIntoNewProcessNamespace() {
    const bm_dev::UniqueFd self(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0)));
    if (!self || ::unshare(CLONE_NEWPID) != 0) ThrowErrno("no process namespace of its own");
    const pid_t child = ::fork();
    if (child < 0) ThrowErrno("the inside cannot be started");
    if (child > 0) ::setns(self.Get(), CLONE_NEWPID);
    return child;
}

void MountRunFolder(const std::string& folder) {
    if (::mount("bladesim", folder.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=0700") != 0) {
        ThrowErrno(folder + ": the run folder cannot be mounted here");
    }
}

} // namespace bladesim
