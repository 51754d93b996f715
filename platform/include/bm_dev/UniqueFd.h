// A file descriptor that closes with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace bm_dev {

class UniqueFd {
public:
    /// Takes ownership of an open descriptor. A negative number is none, so the result of open() can be passed as it
    /// is; errno stays as it was.
    explicit UniqueFd(int fd = -1) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~UniqueFd() {
        if (m_fd >= 0) ::close(m_fd);
    }

    int Get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    void Reset() { UniqueFd(std::exchange(m_fd, -1)); }

private:
    int m_fd;
};

} // namespace bm_dev
