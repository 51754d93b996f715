// Replaces system calls for the platform: functions that the program defines come before the C library's.
#include "platform/storage/FailingSystem.h"

#include <atomic>
#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::string failingName;
std::atomic<int> callsLeft = 0; // calls until the one that fails; 0: none will fail, or one has
std::atomic<bool> hasFailed = false;

bool IsToFail(const char* name) {
    if (callsLeft == 0 || failingName != name || --callsLeft != 0) return false;
    hasFailed = true;
    errno = EIO;
    return true;
}

} // namespace

extern "C" {

// Visible to the libraries, which make these calls.
#pragma GCC visibility push(default)

int fsync(int file) {
    return IsToFail("fsync") ? -1 : static_cast<int>(syscall(SYS_fsync, file));
}

int renameat(int folder, const char* from, int newFolder, const char* to) noexcept {
    return IsToFail("renameat") ? -1 : static_cast<int>(syscall(SYS_renameat, folder, from, newFolder, to));
}

#pragma GCC visibility pop
}

FailingCall::FailingCall(const std::string& name, int which) {
    failingName = name;
    hasFailed = false;
    callsLeft = which;
}

FailingCall::~FailingCall() {
    callsLeft = 0;
}

bool FailingCall::HasFailed() {
    return hasFailed;
}
