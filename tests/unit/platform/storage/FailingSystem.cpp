// Stands between the platform and the system's calls: what the program defines comes before the C library's.
#include "platform/storage/FailingSystem.h"

#include <atomic>
#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::string g_Name;
std::atomic<int> g_Left = 0; // calls until the one that fails; 0: none does, or one has
std::atomic<bool> g_Failed = false;

bool IsToFail(const char* a_Name) {
    if (g_Left == 0 || g_Name != a_Name || --g_Left != 0) return false;
    g_Failed = true;
    errno = EIO;
    return true;
}

} // namespace

extern "C" {

// Seen from the libraries, too, whose calls these are.
#pragma GCC visibility push(default)

int fsync(int a_File) {
    return IsToFail("fsync") ? -1 : static_cast<int>(syscall(SYS_fsync, a_File));
}

int renameat(int a_Folder, const char* a_From, int a_NewFolder, const char* a_To) noexcept {
    return IsToFail("renameat") ? -1 : static_cast<int>(syscall(SYS_renameat, a_Folder, a_From, a_NewFolder, a_To));
}

#pragma GCC visibility pop
}

FAILING_CALL::FAILING_CALL(const std::string& a_Name, int a_Which) {
    g_Name = a_Name;
    g_Failed = false;
    g_Left = a_Which;
}

FAILING_CALL::~FAILING_CALL() {
    g_Left = 0;
}

bool FAILING_CALL::HasFailed() {
    return g_Failed;
}
