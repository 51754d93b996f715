// The folder in which all queues of a user, or of a simulated blade, have their sockets.
#include "platform/src/queue/MsgQueue_Folder.h"

#include "platform/src/osal/FileLock.h"

#include "bm/Log.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace bm_queue {

namespace {

constexpr const char* Component = "Message Queue";
constexpr mode_t OthersMayWrite = S_IWGRP | S_IWOTH;
constexpr size_t LongestFolder = sizeof(sockaddr_un::sun_path) - sizeof("/0xffffffff");

const char* Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && value[0] != '\0' ? value : nullptr;
}

/// If another user had made the folder or could change it, he could read and answer the monitor's questions. The parent
/// folder may belong to root and may be a link. Returns what is wrong, or an empty text.
std::string WhatIsWrong(const std::string& folder, bool isAround) {
    struct stat state {};
    const auto look = isAround ? ::stat : ::lstat;
    if (look(folder.c_str(), &state) != 0) return folder + ": " + std::strerror(errno);
    if (!S_ISDIR(state.st_mode)) return folder + " is not a folder";
    const std::string owner = std::to_string(state.st_uid);
    if (state.st_uid != ::geteuid() && !(isAround && state.st_uid == 0)) {
        return folder + " belongs to user " + owner + ", not to user " + std::to_string(::geteuid());
    }
    if ((state.st_mode & OthersMayWrite) != 0) {
        return folder + " belongs to user " + owner + ", but others may write to it";
    }
    return "";
}

/// The folder for the files of the user's session, or null.
const char* RuntimeFolder() {
    const char* const folder = Variable("XDG_RUNTIME_DIR");
    struct stat state {};
    const bool isMine = folder != nullptr && folder[0] == '/' && ::stat(folder, &state) == 0 &&
                        S_ISDIR(state.st_mode) && state.st_uid == ::geteuid();
    return isMine ? folder : nullptr;
}

std::string FolderAround() {
    if (const char* const run = Variable("BLADESIM_RUN_DIR"); run != nullptr) return run;
    if (const char* const runtime = RuntimeFolder(); runtime != nullptr) return runtime;
    return ::geteuid() == 0 ? "/run" : "/run/user/" + std::to_string(::geteuid());
}

/// Creates the folder and returns what is wrong with it, or an empty text.
std::string Make(const std::string& folder) {
    if (folder.size() > LongestFolder) return "the path is too long for a socket";
    std::string wrong = WhatIsWrong(FolderAround(), true);
    if (!wrong.empty()) return wrong;
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return folder + ": " + std::strerror(errno);
    return WhatIsWrong(folder, false);
}

} // namespace

std::chrono::milliseconds queueLockWait = std::chrono::seconds(2);

std::string QueueFolderName() {
    return FolderAround() + (Variable("BLADESIM_RUN_DIR") != nullptr ? "/queues" : "/bm_platform");
}

std::optional<std::string> QueueFolder(bool tell) {
    const std::string folder = QueueFolderName();
    const std::string wrong = Make(folder);
    if (wrong.empty()) return folder;
    if (tell) {
        bmiLog(BM_LOG_ERROR, Component,
               "no message queues in %s: %s; remove it or give it to this user with mode 0700, or set XDG_RUNTIME_DIR "
               "to such a folder",
               folder.c_str(), wrong.c_str());
    }
    return std::nullopt;
}

QueueFolderLock::QueueFolderLock(const std::string& folder)
    : m_file(::open((folder + "/lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    m_isHeld = m_file && bm_osal::LockWithin(m_file.Get(), queueLockWait);
    if (m_isHeld) return;
    const bool inTime = !m_file || errno != EWOULDBLOCK;
    const std::string why = inTime ? std::strerror(errno) : "is locked by " + bm_osal::LockHolder(m_file.Get());
    bmiLog(BM_LOG_ERROR, Component, "%s/lock: %s", folder.c_str(), why.c_str());
}

} // namespace bm_queue
