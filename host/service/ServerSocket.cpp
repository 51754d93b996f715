// The socket at which the resident host is asked.
#include "host/service/ServerSocket.h"

#include "bm_dev/Group.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace bmhost {

namespace {

constexpr const char* FileName = "bmhost.sock";
constexpr mode_t FileMode = 0660;
constexpr int Backlog = 128;

} // namespace

ServerSocket::ServerSocket(const BladeLock& lock, const HostPlace& place)
    : m_lock(lock),
      m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    std::string path = place.Socket();
    const auto check = [&path](bool good) {
        if (!good) throw std::runtime_error(path + ": " + std::strerror(errno));
    };
    check(static_cast<bool>(m_socket));
    // A dead host's. Whatever else is there is somebody's.
    struct stat state {};
    if (fstatat(lock.Folder(), FileName, &state, AT_SYMLINK_NOFOLLOW) == 0) {
        if (!S_ISSOCK(state.st_mode)) throw std::runtime_error(path + ": it is no socket");
        check(unlinkat(lock.Folder(), FileName, 0) == 0);
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // An address is short; the folder's descriptor leads to a long path, too.
    if (path.size() >= sizeof(address.sun_path))
        path = "/proc/self/fd/" + std::to_string(lock.Folder()) + "/" + FileName;
    path.copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): as bind wants it
    check(bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0);
    check(fchmodat(lock.Folder(), FileName, FileMode, 0) == 0);
    check(fchownat(lock.Folder(), FileName, static_cast<uid_t>(-1), GroupOfAskers(), AT_SYMLINK_NOFOLLOW) == 0 ||
          bm_dev::MayNotGiveToGroup(errno));
    check(listen(m_socket.Get(), Backlog) == 0);
}

ServerSocket::~ServerSocket() {
    Remove();
}

void ServerSocket::Remove() const {
    unlinkat(m_lock.Folder(), FileName, 0);
}

} // namespace bmhost
