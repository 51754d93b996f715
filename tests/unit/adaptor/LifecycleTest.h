// What the tests of Init, Start, Stop and Fin need: a manager that looks at the adaptor, a recorded board driver, and a
// domain thread that the next test need not meet.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "fake/StdoutCapture.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace BM_ADAPTOR::TEST {

/// The board driver of this program: what was asked of it.
struct FAKE_BOARD_DRIVER {
    struct OPEN_CALL {
        void* m_Handle;
        std::array<unsigned char, 8> m_Content;
        int m_First;
        int m_Second;
    };

    int m_OpenResult = 0;
    std::vector<OPEN_CALL> m_Opened{};
    std::vector<void*> m_Closed{};
};

FAKE_BOARD_DRIVER& BoardDriver();

/// A monitor that counts its destruction.
class COUNTED_MONITOR : public IPMI_MonitorThread {
public:
    explicit COUNTED_MONITOR(int& a_Destroyed) : m_Destroyed(a_Destroyed) {}
    ~COUNTED_MONITOR() override { ++m_Destroyed; }

private:
    int& m_Destroyed;
};

/// Also sees which state and monitor the adaptor has when it registers for events.
class LIFECYCLE_MANAGER : public FAKE_MANAGER {
public:
    int RegisterEventClass(unsigned a_Class, CBaseAdaptor* a_Adaptor) override;

    IPMI_MonitorThread* m_MonitorAtRegistration = nullptr;
    int m_StateAtRegistration = -1;
};

/// The calls that (un)register the groups and the event class, in order; `a_Verb` is "Register" or "Unregister".
TEXTS RegistrationCalls(const std::string& a_Verb);

/// An adaptor before Init. Standard output is captured.
class LIFECYCLE_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    LIFECYCLE_TEST();
    ~LIFECYCLE_TEST() override;

    /// OpenIPMI cannot be set up: Init ends in the complete simulation.
    static void WithoutOpenIPMI() { Fake().Setup().m_bOsHandlerFails = true; }

    int Init(int a_Mode);

    STDOUT_CAPTURE m_Output;
    LIFECYCLE_MANAGER m_Host;
    std::vector<std::unique_ptr<IPMI_MonitorThread>> m_Retired{}; ///< the monitors that Init replaced by a second one
    IPMIAdaptor m_Adaptor;

private:
    static void RetireDomainThread();
};

} // namespace BM_ADAPTOR::TEST
