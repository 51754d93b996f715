// What the tests of Init, Start, Stop and Fin need: a manager that looks at the adaptor, a recorded board driver, and a
// domain thread that the next test need not meet.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "fake/FakeBoardDriver.h"
#include "fake/FakeStorage.h"
#include "fake/process/StdoutCapture.h"

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

/// A line of Init's own, which is written whatever the host's log level; its level is a trace's.
LOG_LINE Always(const std::string& a_Text);

/// Does something at each line.
class LISTENING_LOG final : public RECORDING_LOG {
public:
    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        if (m_OnLine) m_OnLine(a_Text);
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
    }

    std::function<void(const std::string& a_Text)> m_OnLine{};
};

/// An adaptor before Init, on a board without eth6 and without the PCI driver's file. Standard output is captured.
class LIFECYCLE_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    LIFECYCLE_TEST();
    ~LIFECYCLE_TEST() override;

    /// OpenIPMI cannot be set up: Init ends in the complete simulation.
    static void WithoutOpenIPMI() { Fake().Setup().m_bOsHandlerFails = true; }

    /// An environment variable of the board, and until nothing asks the process's any more, of the process. Null:
    /// unset.
    void SetEnvironment(const char* a_Name, const char* a_Value);
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

/// The same with a controller that answers: a front board, FRU 0, with texts and no LEDs.
class LIFECYCLE_OVER_IPMI : public LIFECYCLE_TEST {
protected:
    LIFECYCLE_OVER_IPMI();

private:
    const BYTES m_Image;
};

} // namespace BM_ADAPTOR::TEST
