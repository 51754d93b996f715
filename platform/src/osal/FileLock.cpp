// File locks (flock) with a limited wait, and their holders.
#include "platform/src/osal/FileLock.h"

#include "bm_dev/ByteText.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <sys/file.h>

namespace bm_osal {

namespace {

constexpr int PauseMs = 2; // between two attempts: flock itself has no time limit

// A line of /proc/locks: "12: FLOCK  ADVISORY  WRITE 4711 08:01:131 0 EOF".
struct LockLine {
    std::string m_type;
    long m_process = 0;
    std::string m_place; ///< device and inode
};

LockLine Parse(const std::string& line) {
    std::istringstream words(line);
    std::string number, mandatory, access;
    LockLine lock;
    words >> number >> lock.m_type >> mandatory >> access >> lock.m_process >> lock.m_place;
    return words ? lock : LockLine{};
}

// The file's name in the kernel's list of locks. Its device and inode may differ from those of fstat (btrfs,
// overlayfs), so this takes a lock of another kind, which blocks nobody, and looks at that. The lock goes away with the
// descriptor.
std::string PlaceOf(int number) {
    struct flock mark {};
    mark.l_type = F_RDLCK;
    if (fcntl(number, F_OFD_SETLK, &mark) != 0) return "";
    std::ifstream lines("/proc/self/fdinfo/" + std::to_string(number));
    for (std::string line; std::getline(lines, line);) {
        constexpr const char* title = "lock:";
        if (line.starts_with(title)) return Parse(line.substr(std::char_traits<char>::length(title))).m_place;
    }
    return "";
}

} // namespace

bool LockWithin(int number, std::chrono::milliseconds wait) {
    const auto end = std::chrono::steady_clock::now() + wait;
    while (flock(number, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK) return false;
        if (std::chrono::steady_clock::now() >= end) {
            errno = EWOULDBLOCK;
            return false;
        }
        poll(nullptr, 0, PauseMs);
    }
    return true;
}

std::string LockHolder(int number) {
    const std::string place = PlaceOf(number);
    std::ifstream locks("/proc/locks");
    for (std::string line; !place.empty() && std::getline(locks, line);) {
        const LockLine lock = Parse(line);
        if (lock.m_type != "FLOCK" || lock.m_place != place || lock.m_process <= 0) continue;
        const std::string process = std::to_string(lock.m_process);
        std::string command;
        std::getline(std::ifstream("/proc/" + process + "/comm"), command);
        return "process " + process + (command.empty() ? "" : " (" + bm_dev::Printable(command) + ")");
    }
    return "another process";
}

} // namespace bm_osal
