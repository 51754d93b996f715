// The board driver's handle to the PCI memory, by which it reaches the switch.
#pragma once

#include <atomic>

namespace BM_ADAPTOR {

/// Opens and closes the handle that the adaptor holds: 8 zeroed bytes, or null while there is none. Any thread; the
/// board driver is waited for.
class PCI_HANDLE {
public:
    explicit PCI_HANDLE(std::atomic<void*>& a_Handle) : m_Handle(a_Handle) {}

    /// Opens a new handle, whatever the driver answers, in place of the one before, which is neither closed nor freed.
    /// @return the driver's result: 0, or what went wrong
    int Open();
    /// Closes the handle and frees it, if there is one.
    void Close();

private:
    std::atomic<void*>& m_Handle;
};

} // namespace BM_ADAPTOR
