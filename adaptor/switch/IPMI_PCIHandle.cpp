// The board driver's handle to the PCI memory: opened and closed.
#include "adaptor/switch/IPMI_PCIHandle.h"

#include "bm/BoardDriver.h"

#include <cstddef>

namespace BM_ADAPTOR {

namespace {

constexpr std::size_t PCI_HANDLE_SIZE = 8;

// Outlives the adaptor unless Fin is called, and Init's first one does in any case: by name, leak checkers can tell it
// from a leak.
__attribute__((noinline)) void* NewPCIHandle() {
    return new unsigned char[PCI_HANDLE_SIZE]{};
}

} // namespace

int PCI_HANDLE::Open() {
    void* const l_Handle = NewPCIHandle();
    const int l_Result = uPCIMemOpen(l_Handle, 1, 0);
    m_Handle = l_Handle; // not before: a Fin meanwhile would close what is still being opened
    return l_Result;
}

void PCI_HANDLE::Close() {
    void* const l_Handle = m_Handle.exchange(nullptr);
    if (l_Handle == nullptr) return;
    uPCIMemClose(l_Handle);
    delete[] static_cast<unsigned char*>(l_Handle);
}

} // namespace BM_ADAPTOR
