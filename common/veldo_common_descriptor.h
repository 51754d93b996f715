// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

namespace BM_ADAPTOR {

/// Owns a descriptor, or none when it is negative.
class DESCRIPTOR {
public:
    explicit DESCRIPTOR(int a_Descriptor) : m_Descriptor(a_Descriptor) {}
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;
    ~DESCRIPTOR() {
        if (IsOpen()) close(m_Descriptor);
    }

    bool IsOpen() const { return m_Descriptor >= 0; }
    int Get() const { return m_Descriptor; }

private:
    int m_Descriptor;
};

} // namespace BM_ADAPTOR
