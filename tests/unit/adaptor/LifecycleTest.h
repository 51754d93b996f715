// What the tests of Init, Start, Stop and Fin need: a manager that looks at the adaptor, a recorded board driver, and a
// domain thread that the next test need not meet.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "fake/FakeBoardDriver.h"
#include "fake/FakeKernel.h"
#include "fake/FakeStorage.h"
#include "fake/StdoutCapture.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace BM_ADAPTOR::TEST {

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

    int GetMode() override {
        if (m_OnMode) m_OnMode();
        return FAKE_MANAGER::GetMode();
    }

    std::function<void()> m_OnMode{}; ///< what it does when it is asked for the mode
    IPMI_MonitorThread* m_MonitorAtRegistration = nullptr;
    int m_StateAtRegistration = -1;
};

/// The calls that (un)register the groups and the event class, in order; `a_Verb` is "Register" or "Unregister".
TEXTS RegistrationCalls(const std::string& a_Verb);

/// An adaptor before Init, on a board without eth6 and without the PCI driver's file. Standard output is captured.
class LIFECYCLE_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    LIFECYCLE_TEST();
    ~LIFECYCLE_TEST() override;

    /// OpenIPMI cannot be set up: Init ends in the complete simulation.
    static void WithoutOpenIPMI() { Fake().Setup().m_bOsHandlerFails = true; }

    /// Four DSPs in bay 3, by MAVK_AMC, and the eth6 that their addresses are counted from.
    void GiveDSPs();

    int Init(int a_Mode);
    /// How many rows the group's table has.
    int Rows(BMIGroup_e a_Group);

    STDOUT_CAPTURE m_Output;
    FAKE_STORAGE m_Storage;
    LIFECYCLE_MANAGER m_Host;
    std::vector<std::unique_ptr<IPMI_MonitorThread>> m_Retired{}; ///< the monitors that Init replaced by a second one
    IPMIAdaptor m_Adaptor{m_Board};

private:
    static void RetireDomainThread();
};

} // namespace BM_ADAPTOR::TEST
