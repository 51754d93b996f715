// The inside of a simulated blade: the first process of its process namespace, which brings it up, runs the command and
// takes everything down by ending.
#include "sim/life/Inside.h"

#include "sim/base/Error.h"
#include "sim/base/Process.h"
#include "sim/controller/Controller.h"
#include "sim/controller/ControllerOrders.h"
#include "sim/controller/SimulatorConfig.h"
#include "sim/driver/Driver.h"
#include "sim/life/DriverFile.h"
#include "sim/life/Ethernet.h"
#include "sim/life/Namespaces.h"
#include "sim/tools/InstallFolder.h"

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
        MakeInstallFolder(m_Options.m_Paths.m_Tool);
        MountRunFolder(m_Options.m_Paths.m_Run);
        MakeBoard(m_Options.m_Blade.m_Board);
        if (HasController(m_Options.m_IPMI)) {
            BringControllerUp();
            StartDriver();
        }
        SetEnvironment();
        if (!m_Options.m_Verbose) return;
        const std::chrono::duration<double, std::milli> l_Time = std::chrono::steady_clock::now() - l_Start;
        std::fprintf(stderr, "bladesim: blade \"%s\"%s is up, %.0f ms\n", m_Options.m_Blade.m_Name.c_str(),
                     HasController(m_Options.m_IPMI) ? "" : " without a controller", l_Time.count());
    }

    /// A guest finds the port free, on which the controller has been tried: it takes one connection at a time.
    void BringControllerUp() {
        m_Controller = StartController(m_Options.m_Blade, m_Options.m_Paths);
        if (m_Options.m_IPMI == SYSTEM_INTERFACE::GUEST) m_Controller.m_VMPort.Reset();
    }

    void MakeBoard(const BOARD& a_Board) {
        m_Cables = MakeInterfaces(a_Board.m_Interfaces);
        if (a_Board.m_DriverFile) m_DriverFileProcess = StartDriverFile(*a_Board.m_DriverFile, m_Options.m_Paths.m_Run);
    }

    /// The sockets are there before the command starts, so that its first open finds one. For a guest there is only
    /// the one for orders.
    void StartDriver() {
        UNIQUE_FD l_Openers;
        if (m_Options.m_IPMI == SYSTEM_INTERFACE::BRIDGE) l_Openers = ListenForOpeners();
        UNIQUE_FD l_Orders = ListenForOrders();
        std::array<int, 2> l_Pair{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, l_Pair.data()) != 0)
            ThrowErrno("no socket to the driver");
        m_Driver = UNIQUE_FD(l_Pair[0]);
        UNIQUE_FD l_Controller(l_Pair[1]);
        m_DriverProcess = ::fork();
        if (m_DriverProcess < 0) ThrowErrno("the driver cannot be started");
        if (m_DriverProcess == 0) {
            m_Driver.Reset();
            DRIVER({std::move(m_Controller.m_VMPort), std::move(l_Openers), std::move(l_Orders),
                    std::move(l_Controller), m_Options.m_IPMI, m_Options.m_Blade.m_Faults, m_Options.m_TimeOut,
                    m_Options.m_Verbose})
                .Run();
        }
        m_Controller.m_VMPort.Reset();
    }

    void SetEnvironment() const {
        SetPreload();
        const char* const l_Path = std::getenv("PATH");
        Set("PATH", PathWithTools(l_Path == nullptr ? "" : l_Path));
        Set("BLADESIM_RUN_DIR", m_Options.m_Paths.m_Run);
        Set(g_SystemInterfaceVariable, NameOf(m_Options.m_IPMI));
        if (m_Options.m_IPMI == SYSTEM_INTERFACE::GUEST) Set("BLADESIM_VM_PORT", std::to_string(g_VMPort));
        if (!HasController(m_Options.m_IPMI)) return;
        Set("BLADESIM_LAN_HOST", "127.0.0.1");
        Set("BLADESIM_LAN_PORT", std::to_string(g_LanPort));
        Set("BLADESIM_LAN_USER", g_LanUser);
        Set("BLADESIM_LAN_PASSWORD", g_LanPassword);
        Set("BLADESIM_CONSOLE_PORT", std::to_string(g_ConsolePort));
    }

    /// Where nobody works the interface the library is loaded all the same: it keeps a real device of this machine out
    /// of sight. A virtual machine, or who uses the real device, is not bothered with it.
    void SetPreload() const {
        if (m_Options.m_IPMI == SYSTEM_INTERFACE::MACHINE || m_Options.m_IPMI == SYSTEM_INTERFACE::GUEST) return;
        const char* const l_Others = std::getenv("LD_PRELOAD");
        Set("LD_PRELOAD", m_Options.m_Paths.m_Preload + (l_Others == nullptr ? "" : std::string(":") + l_Others));
    }

    static void Set(const char* a_Name, const std::string& a_Value) { ::setenv(a_Name, a_Value.c_str(), 1); }

    /// Until the command has ended: passes signals on and buries whoever ended, orphans of the command included.
    int Supervise() {
        sigset_t l_Child;
        sigemptyset(&l_Child);
        sigaddset(&l_Child, SIGCHLD);
        const UNIQUE_FD l_Ended(::signalfd(-1, &l_Child, SFD_CLOEXEC | SFD_NONBLOCK));
        if (!l_Ended) ThrowErrno("no descriptor for SIGCHLD");
        for (;;) {
            if (const auto l_Status = Bury()) return *l_Status;
            std::array<pollfd, 3> l_Events{
                {{m_Outside.Get(), POLLIN, 0}, {l_Ended.Get(), POLLIN, 0}, {m_Driver.Get(), POLLIN, 0}}};
            ::poll(l_Events.data(), l_Events.size(), -1);
            signalfd_siginfo l_Info;
            while (::read(l_Ended.Get(), &l_Info, sizeof(l_Info)) > 0) {
            }
            if (l_Events[0].revents != 0 && !PassSignal()) return g_NotBroughtUp;
            if (l_Events[2].revents != 0) DoOrder();
        }
    }

    /// Whatever the driver wants of the controller.
    void DoOrder() {
        const auto l_Order = ReceiveOrder(m_Driver.Get());
        if (!l_Order) {
            m_Driver.Reset();
            return;
        }
        CONTROLLER_ANSWER l_Answer;
        try {
            if (*l_Order != CONTROLLER_ORDER::START) StopController(m_Controller);
            if (*l_Order != CONTROLLER_ORDER::STOP && m_Controller.m_Process < 0) {
                BringControllerUp();
                l_Answer.m_VMPort = std::move(m_Controller.m_VMPort);
            }
        } catch (const std::exception& l_Error) {
            l_Answer.m_Error = l_Error.what();
        }
        SendAnswer(m_Driver.Get(), l_Answer);
    }

    /// False when nobody is outside any more.
    bool PassSignal() const {
        unsigned char l_Signal = 0;
        const ssize_t l_Size = ::recv(m_Outside.Get(), &l_Signal, sizeof(l_Signal), MSG_DONTWAIT);
        if (l_Size > 0) ::kill(m_CommandProcess, l_Signal);
        return l_Size != 0;
    }

    /// The exit status, when the command is among the dead.
    std::optional<int> Bury() {
        int l_Status = 0;
        pid_t l_Process = 0;
        while ((l_Process = ::waitpid(-1, &l_Status, WNOHANG)) > 0) {
            if (l_Process == m_CommandProcess) {
                if (WIFSIGNALED(l_Status)) Report(m_Options.m_Command.front().c_str(), l_Status);
                return ExitStatus(l_Status);
            }
            if (l_Process == m_Controller.m_Process) {
                Report("ipmi_sim", l_Status);
                m_Controller = RUNNING_CONTROLLER();
            }
            if (l_Process == m_DriverProcess) Report("the driver of /dev/ipmi0", l_Status);
            if (l_Process == m_DriverFileProcess) Report(g_DriverFile, l_Status);
        }
        return std::nullopt;
    }

    static void Report(const char* a_Name, int a_Status) {
        std::fprintf(stderr, "bladesim: %s ended, %s\n", a_Name, DescribeEnd(a_Status).c_str());
    }

    const OPTIONS& m_Options;
    UNIQUE_FD m_Outside;
    RUNNING_CONTROLLER m_Controller;
    UNIQUE_FD m_Cables; ///< the network interfaces are there while it is open
    UNIQUE_FD m_Driver; ///< its orders for the controller
    pid_t m_DriverProcess = -1;
    pid_t m_DriverFileProcess = -1;
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
