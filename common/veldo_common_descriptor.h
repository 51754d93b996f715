// A file descriptor that closes with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace BM_ADAPTOR {

/// Takes ownership of an open descriptor. A negative number is none, so the result of open() can be passed as it is;
/// errno stays as it was. Always inline: no library exports it, in whatever build.
class DESCRIPTOR {
public:
    [[gnu::always_inline]] explicit DESCRIPTOR(int a_Descriptor = -1) : m_Descriptor(a_Descriptor) {}
    [[gnu::always_inline]] DESCRIPTOR(DESCRIPTOR&& a_Other) noexcept
        : m_Descriptor(std::exchange(a_Other.m_Descriptor, -1)) {}
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;
    [[gnu::always_inline]] DESCRIPTOR& operator=(DESCRIPTOR&& a_Other) noexcept {
        std::swap(m_Descriptor, a_Other.m_Descriptor);
        return *this;
    }
    [[gnu::always_inline]] ~DESCRIPTOR() {
        if (m_Descriptor >= 0) ::close(m_Descriptor);
    }

    [[gnu::always_inline]] int Get() const { return m_Descriptor; }
    [[gnu::always_inline]] explicit operator bool() const { return m_Descriptor >= 0; }
    [[gnu::always_inline]] void Reset() { DESCRIPTOR(std::exchange(m_Descriptor, -1)); }

private:
    int m_Descriptor;
};

} // namespace BM_ADAPTOR
