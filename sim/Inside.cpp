// The inside of a simulated blade: the first process of its process namespace, which brings it up, runs the command and
// takes everything down by ending.
#include "sim/Inside.h"

#include "sim/Controller.h"
#include "sim/Driver.h"
#include "sim/Error.h"
#include "sim/Namespaces.h"
#include "sim/Process.h"
#include "sim/SimulatorConfig.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

namespace BLADESIM {
namespace {

class INSIDE {
public:
    INSIDE(const OPTIONS& a_Options, UNIQUE_FD a_Outside) : m_Options(a_Options), m_Outside(std::move(a_Outside)) {}

    int Run() {
        BringUp();
        m_CommandProcess = Spawn(m_Options.m_Command);
        return Supervise();
    }

private:
    void BringUp() {
        const auto l_Start = std::chrono::steady_clock::now();
        EnterBladeNamespaces();
        MountRunFolder(m_Options.m_Paths.m_Run);
        if (!m_Options.m_NoIPMI) {
            m_Controller = StartController(m_Options.m_Blade, m_Options.m_Paths.m_Run);
            StartDriver();
        }
        SetEnvironment();
        if (!m_Options.m_Verbose) return;
        const std::chrono::duration<double, std::milli> l_Time = std::chrono::steady_clock::now() - l_Start;
        std::fprintf(stderr, "bladesim: blade \"%s\"%s is up, %.0f ms\n", m_Options.m_Blade.m_Name.c_str(),
                     m_Options.m_NoIPMI ? " without IPMI" : "", l_Time.count());
    }

    /// The socket is there before the command starts, so that its first open finds it.
    void StartDriver() {
        UNIQUE_FD l_Listener = ListenForOpeners();
        m_DriverProcess = ::fork();
        if (m_DriverProcess < 0) ThrowErrno("the driver cannot be started");
        if (m_DriverProcess == 0)
            DRIVER(std::move(m_Controller.m_VMPort), std::move(l_Listener), m_Options.m_Verbose).Run();
        m_Controller.m_VMPort.Reset();
    }

    /// Without IPMI the library is loaded all the same: it keeps a real device of this machine out of sight.
    void SetEnvironment() const {
        const char* const l_Others = std::getenv("LD_PRELOAD");
        const std::string l_Preload =
            m_Options.m_Paths.m_Preload + (l_Others == nullptr ? "" : std::string(":") + l_Others);
        Set("LD_PRELOAD", l_Preload);
        Set("BLADESIM_RUN_DIR", m_Options.m_Paths.m_Run);
        if (m_Options.m_NoIPMI) return;
        Set("BLADESIM_LAN_HOST", "127.0.0.1");
        Set("BLADESIM_LAN_PORT", std::to_string(g_LanPort));
        Set("BLADESIM_LAN_USER", g_LanUser);
        Set("BLADESIM_LAN_PASSWORD", g_LanPassword);
        Set("BLADESIM_CONSOLE_PORT", std::to_string(g_ConsolePort));
    }

    static void Set(const char* a_Name, const std::string& a_Value) { ::setenv(a_Name, a_Value.c_str(), 1); }

    /// Until the command has ended: passes signals on and buries whoever ended, orphans of the command included.
    int Supervise() {
        sigset_t l_Child;
        sigemptyset(&l_Child);
        sigaddset(&l_Child, SIGCHLD);
        const UNIQUE_FD l_Ended(::signalfd(-1, &l_Child, SFD_CLOEXEC | SFD_NONBLOCK));
        if (!l_Ended) ThrowErrno("no descriptor for SIGCHLD");
        std::array<pollfd, 2> l_Events{{{m_Outside.Get(), POLLIN, 0}, {l_Ended.Get(), POLLIN, 0}}};
        for (;;) {
            if (const auto l_Status = Bury()) return *l_Status;
            ::poll(l_Events.data(), l_Events.size(), -1);
            signalfd_siginfo l_Info;
            while (::read(l_Ended.Get(), &l_Info, sizeof(l_Info)) > 0) {
            }
            if (l_Events[0].revents != 0 && !PassSignal()) return g_NotBroughtUp;
        }
    }

    /// False when nobody is outside any more.
    bool PassSignal() const {
        unsigned char l_Signal = 0;
        const ssize_t l_Size = ::recv(m_Outside.Get(), &l_Signal, sizeof(l_Signal), MSG_DONTWAIT);
        if (l_Size > 0) ::kill(m_CommandProcess, l_Signal);
        return l_Size != 0;
    }

    /// The exit status, when the command is among the dead.
    std::optional<int> Bury() const {
        int l_Status = 0;
        pid_t l_Process = 0;
        while ((l_Process = ::waitpid(-1, &l_Status, WNOHANG)) > 0) {
            if (l_Process == m_CommandProcess) {
                if (WIFSIGNALED(l_Status)) Report(m_Options.m_Command.front().c_str(), l_Status);
                return ExitStatus(l_Status);
            }
            if (l_Process == m_Controller.m_Process) Report("ipmi_sim", l_Status);
            if (l_Process == m_DriverProcess) Report("the driver of /dev/ipmi0", l_Status);
        }
        return std::nullopt;
    }

    static void Report(const char* a_Name, int a_Status) {
        std::fprintf(stderr, "bladesim: %s ended, %s\n", a_Name, DescribeEnd(a_Status).c_str());
    }

    const OPTIONS& m_Options;
    UNIQUE_FD m_Outside;
    RUNNING_CONTROLLER m_Controller;
    pid_t m_DriverProcess = -1;
    pid_t m_CommandProcess = -1;
};

} // namespace

int RunInside(const OPTIONS& a_Options, UNIQUE_FD a_Outside) {
    try {
        // Should the one outside be killed, all of this goes with it, and by the end of this process everything else.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        return INSIDE(a_Options, std::move(a_Outside)).Run();
    } catch (const std::exception& l_Error) {
        std::fprintf(stderr, "bladesim: %s\n", l_Error.what());
        return g_NotBroughtUp;
    }
}

} // namespace BLADESIM
