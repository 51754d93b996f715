// The part of the kernel's IPMI driver: stands between the programs that opened /dev/ipmi0 and the controller's VM
// port.
#pragma once

#include "sim/RequestQueue.h"
#include "sim/UniqueFd.h"
#include "sim/VMCodec.h"

#include <map>
#include <vector>

struct pollfd;

namespace BLADESIM {

/// The socket on which the driver takes openers; openers may come before it runs. Throws a BLADE_ERROR.
UNIQUE_FD ListenForOpeners();

class DRIVER {
public:
    /// `a_Controller` is a connection to the VM port, both are closed with the driver.
    DRIVER(UNIQUE_FD a_Controller, UNIQUE_FD a_Listener, bool a_Verbose);

    /// Serves for ever; the process ends with the blade.
    [[noreturn]] void Run();

private:
    void WaitForEvents(std::vector<pollfd>& a_Events) const;
    void TakeOpener();
    void ReadOpener(int a_Opener);
    void ReadController();
    void SendNext();
    void Deliver(const std::optional<ANSWER>& a_Answer) const;
    void Trace(const char* a_What, const BRIDGE_PACKET& a_Packet) const;

    UNIQUE_FD m_Controller;
    UNIQUE_FD m_Listener;
    std::map<int, UNIQUE_FD> m_Openers;
    REQUEST_QUEUE m_Queue;
    VM_DECODER m_Decoder;
    bool m_Verbose;
};

} // namespace BLADESIM
