// A descriptor that is closed with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace BLADESIM {

class UNIQUE_FD {
public:
    explicit UNIQUE_FD(int a_Fd = -1) : m_Fd(a_Fd) {}
    UNIQUE_FD(UNIQUE_FD&& a_Other) noexcept : m_Fd(std::exchange(a_Other.m_Fd, -1)) {}
    UNIQUE_FD(const UNIQUE_FD&) = delete;
    UNIQUE_FD& operator=(const UNIQUE_FD&) = delete;
    UNIQUE_FD& operator=(UNIQUE_FD&& a_Other) noexcept {
        std::swap(m_Fd, a_Other.m_Fd);
        return *this;
    }
    ~UNIQUE_FD() {
        if (m_Fd >= 0) ::close(m_Fd);
    }

    int Get() const { return m_Fd; }
    explicit operator bool() const { return m_Fd >= 0; }
    void Reset() { UNIQUE_FD().swap(*this); }
    void swap(UNIQUE_FD& a_Other) noexcept { std::swap(m_Fd, a_Other.m_Fd); }

private:
    int m_Fd;
};

} // namespace BLADESIM
