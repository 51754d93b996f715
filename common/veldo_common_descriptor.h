// A file descriptor that closes with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace BM_ADAPTOR {

/// Takes ownership of an open descriptor. A negative number is none, so the result of open() can be passed as it is;
/// errno stays as it was.
class DESCRIPTOR {
public:
    explicit DESCRIPTOR(int a_Descriptor = -1) : m_Descriptor(a_Descriptor) {}
    DESCRIPTOR(DESCRIPTOR&& a_Other) noexcept : m_Descriptor(std::exchange(a_Other.m_Descriptor, -1)) {}
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(DESCRIPTOR&& a_Other) noexcept {
        std::swap(m_Descriptor, a_Other.m_Descriptor);
        return *this;
    }
    ~DESCRIPTOR() {
        if (m_Descriptor >= 0) ::close(m_Descriptor);
    }

    int Get() const { return m_Descriptor; }
    explicit operator bool() const { return m_Descriptor >= 0; }
    void Reset() { DESCRIPTOR(std::exchange(m_Descriptor, -1)); }

private:
    int m_Descriptor;
};

} // namespace BM_ADAPTOR
