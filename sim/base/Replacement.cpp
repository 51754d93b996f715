// A new file that takes the place of an old one only when it is complete: whoever looks finds the one or the other.
#include "sim/base/Replacement.h"

#include "sim/base/Error.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace bladesim {

void WriteAll(int fd, std::string_view bytes, const std::string& file) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) ThrowErrno(file + ": cannot be written");
        bytes.remove_prefix(static_cast<size_t>(written));
    }
}

Replacement::Replacement(std::string file, mode_t mode)
    : m_file(std::move(file)),
      m_name(m_file + ".XXXXXX"),
      m_fd(::mkostemp(m_name.data(), O_CLOEXEC)),
      m_mode(mode) {
    if (!m_fd) ThrowErrno(m_file + ": cannot be written");
}

Replacement::~Replacement() {
    if (!m_done) ::unlink(m_name.c_str());
}

void Replacement::Commit() {
    if (::fchmod(m_fd.Get(), m_mode) != 0 || ::fsync(m_fd.Get()) != 0 ||
        ::rename(m_name.c_str(), m_file.c_str()) != 0) {
        ThrowErrno(m_file + ": cannot be written");
    }
    m_done = true;
    const std::filesystem::path folder = std::filesystem::path(m_file).parent_path();
    const bm_dev::UniqueFd place(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!place || ::fsync(place.Get()) != 0) ThrowErrno(m_file + ": may not last, its folder cannot be written");
}

} // namespace bladesim
