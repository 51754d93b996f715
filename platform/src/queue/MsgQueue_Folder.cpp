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

constexpr const char* COMPONENT = "Message Queue";
constexpr mode_t OTHERS_MAY_WRITE = S_IWGRP | S_IWOTH;
constexpr size_t LONGEST_FOLDER = sizeof(sockaddr_un::sun_path) - sizeof("/0xffffffff");

const char* Variable(const char* a_Name) {
    const char* const l_Value = std::getenv(a_Name);
    return l_Value != nullptr && l_Value[0] != '\0' ? l_Value : nullptr;
}

/// A folder that another user could have made or could change would let him read and answer the monitor's questions.
/// The one around it may be root's, and a link. Says what is wrong, or nothing.
std::string WhatIsWrong(const std::string& a_Folder, bool a_IsAround) {
    struct stat l_State {};
    const auto l_Look = a_IsAround ? ::stat : ::lstat;
    if (l_Look(a_Folder.c_str(), &l_State) != 0) return a_Folder + ": " + std::strerror(errno);
    if (!S_ISDIR(l_State.st_mode)) return a_Folder + " is no folder";
    const std::string l_Owner = std::to_string(l_State.st_uid);
    if (l_State.st_uid != ::geteuid() && !(a_IsAround && l_State.st_uid == 0)) {
        return a_Folder + " belongs to user " + l_Owner + ", and this is user " + std::to_string(::geteuid());
    }
    if ((l_State.st_mode & OTHERS_MAY_WRITE) != 0) {
        return a_Folder + " belongs to user " + l_Owner + ", but others may write to it";
    }
    return "";
}

/// The user's own folder for what lives as long as his session, or null.
const char* RuntimeFolder() {
    const char* const l_Folder = Variable("XDG_RUNTIME_DIR");
    struct stat l_State {};
    const bool l_IsMine = l_Folder != nullptr && l_Folder[0] == '/' && ::stat(l_Folder, &l_State) == 0 &&
                          S_ISDIR(l_State.st_mode) && l_State.st_uid == ::geteuid();
    return l_IsMine ? l_Folder : nullptr;
}

std::string FolderAround() {
    if (const char* const l_Run = Variable("BLADESIM_RUN_DIR"); l_Run != nullptr) return l_Run;
    if (const char* const l_Runtime = RuntimeFolder(); l_Runtime != nullptr) return l_Runtime;
    return ::geteuid() == 0 ? "/run" : "/run/user/" + std::to_string(::geteuid());
}

/// Makes it, and says what is wrong with it, or nothing.
std::string Make(const std::string& a_Folder) {
    if (a_Folder.size() > LONGEST_FOLDER) return "the path is too long for a socket";
    std::string l_Wrong = WhatIsWrong(FolderAround(), true);
    if (!l_Wrong.empty()) return l_Wrong;
    if (::mkdir(a_Folder.c_str(), 0700) != 0 && errno != EEXIST) return a_Folder + ": " + std::strerror(errno);
    return WhatIsWrong(a_Folder, false);
}

} // namespace

std::chrono::milliseconds g_QueueLockWait = std::chrono::seconds(2);

std::string QueueFolderName() {
    return FolderAround() + (Variable("BLADESIM_RUN_DIR") != nullptr ? "/queues" : "/bm_platform");
}

std::optional<std::string> QueueFolder(bool a_Tell) {
    const std::string l_Folder = QueueFolderName();
    const std::string l_Wrong = Make(l_Folder);
    if (l_Wrong.empty()) return l_Folder;
    if (a_Tell) {
        bmiLog(BM_LOG_ERROR, COMPONENT,
               "no message queues in %s: %s; remove it or give it to this user with mode 0700, or set XDG_RUNTIME_DIR "
               "to such a folder",
               l_Folder.c_str(), l_Wrong.c_str());
    }
    return std::nullopt;
}

QUEUE_FOLDER_LOCK::QUEUE_FOLDER_LOCK(const std::string& a_Folder)
    : m_File(::open((a_Folder + "/lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    m_IsHeld = m_File >= 0 && bm_osal::LockWithin(m_File, g_QueueLockWait);
    if (m_IsHeld) return;
    const bool l_InTime = m_File < 0 || errno != EWOULDBLOCK;
    const std::string l_Why = l_InTime ? std::strerror(errno) : "is locked by " + bm_osal::LockHolder(m_File);
    bmiLog(BM_LOG_ERROR, COMPONENT, "%s/lock: %s", a_Folder.c_str(), l_Why.c_str());
}

QUEUE_FOLDER_LOCK::~QUEUE_FOLDER_LOCK() {
    if (m_File >= 0) ::close(m_File);
}

} // namespace bm_queue
