// The inside of a simulated blade: the first process of its process namespace, which brings it up, runs the command and
// takes everything down by ending.
#include "sim/life/Inside.h"

#include "sim/base/DriverFilePacket.h"
#include "sim/base/Error.h"
#include "sim/base/Process.h"
#include "sim/controller/Controller.h"
#include "sim/controller/ControllerOrders.h"
#include "sim/controller/SimulatorConfig.h"
#include "sim/driver/CommandNames.h"
#include "sim/driver/Driver.h"
#include "sim/life/Enter.h"
#include "sim/life/Ethernet.h"
#include "sim/life/Namespaces.h"
#include "sim/pstn/DriverFile.h"
#include "sim/record/ReplayProcess.h"
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

namespace bladesim {
namespace {

class Inside {
public:
    Inside(const Options& options, bm_dev::UniqueFd outside) : m_options(options), m_outside(std::move(outside)) {}

    int Run() {
        BringUp();
        ::send(m_outside.Get(), &UpByte, sizeof(UpByte), MSG_NOSIGNAL | MSG_DONTWAIT);
        m_commandProcess = Spawn(m_options.m_command);
        return Supervise();
    }

private:
    void BringUp() {
        const auto start = std::chrono::steady_clock::now();
        if (!m_options.m_record.empty()) m_recorder = Recorder(m_options.m_record);
        EnterBladeNamespaces();
        MakeInstallFolder(m_options.m_paths.m_tool);
        MountRunFolder(m_options.m_paths.m_run);
        MakeBoard(m_options.m_blade.m_board);
        if (HasController(m_options.m_ipmi)) {
            BringControllerUp();
            StartDriver();
        }
        SetEnvironment();
        KeepEnvironment();
        if (!m_options.m_verbose) return;
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        std::fprintf(stderr, "bladesim: blade \"%s\"%s is up, %.0f ms\n", m_options.m_blade.m_name.c_str(),
                     HasController(m_options.m_ipmi) ? "" : " without a controller", time.count());
    }

    /// The controller has been tried; now its port is freed for the guest, since it takes one connection at a time.
    void BringControllerUp() {
        if (m_options.m_replay) {
            m_controller = StartReplay(*m_options.m_replay, CommandName, m_options.m_timeOutWhenLost);
            return;
        }
        m_controller = StartController(m_options.m_blade, m_options.m_paths);
        if (m_options.m_ipmi == SystemInterface::Guest) m_controller.m_vmPort.Reset();
    }

    void MakeBoard(const Board& board) {
        m_cables = MakeInterfaces(board.m_interfaces);
        if (!board.m_driverFile) return;
        m_driverFile = StartDriverFile(*board.m_driverFile, m_options.m_paths.m_run);
        if (!m_options.m_verbose) return;
        const bool isReal = m_driverFile.m_noFuse.empty();
        std::fprintf(
            stderr, "bladesim: %s is made %s%s\n", DriverFilePath,
            isReal ? "through FUSE" : "by a preload library, for lack of FUSE: ", m_driverFile.m_noFuse.c_str());
    }

    /// The sockets exist before the command starts, so that its first open finds one. A guest gets only the one for
    /// orders.
    void StartDriver() {
        bm_dev::UniqueFd openers;
        if (m_options.m_ipmi == SystemInterface::Bridge) openers = ListenForOpeners();
        if (m_options.m_ipmi == SystemInterface::Denied) m_denied = DenyOpeners();
        bm_dev::UniqueFd orders = ListenForOrders();
        std::array<int, 2> pair{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair.data()) != 0)
            ThrowErrno("no socket to the driver");
        m_driver = bm_dev::UniqueFd(pair[0]);
        bm_dev::UniqueFd controller(pair[1]);
        m_driverProcess = ::fork();
        if (m_driverProcess < 0) ThrowErrno("the driver cannot be started");
        if (m_driverProcess == 0) {
            m_driver.Reset();
            Driver({std::move(m_controller.m_vmPort), std::move(openers), std::move(orders), std::move(controller),
                    m_options.m_ipmi, m_options.m_blade.m_faults, m_options.m_timeOut, m_options.m_timeOutWhenLost,
                    m_options.m_verbose, std::move(m_recorder)})
                .Run();
        }
        m_controller.m_vmPort.Reset();
    }

    void SetEnvironment() const {
        SetPreload();
        const char* const path = std::getenv("PATH");
        Set("PATH", PathWithTools(path == nullptr ? "" : path));
        Set("BLADESIM_RUN_DIR", m_options.m_paths.m_run);
        if (m_options.m_keep.empty())
            ::unsetenv("BLADESIM_KEEP");
        else
            Set("BLADESIM_KEEP", m_options.m_keep);
        Set(SystemInterfaceVariable, NameOf(m_options.m_ipmi));
        if (m_options.m_ipmi == SystemInterface::Guest) Set("BLADESIM_VM_PORT", std::to_string(VMPort));
        if (!HasController(m_options.m_ipmi) || m_options.m_replay) return;
        Set("BLADESIM_LAN_HOST", "127.0.0.1");
        Set("BLADESIM_LAN_PORT", std::to_string(LanPort));
        Set("BLADESIM_LAN_USER", LanUser);
        Set("BLADESIM_LAN_PASSWORD", LanPassword);
        Set("BLADESIM_CONSOLE_PORT", std::to_string(ConsolePort));
    }

    /// The device's library is loaded even without a controller: it hides a real device of this machine. It is not
    /// loaded for a virtual machine, nor where COMMAND uses the real device.
    void SetPreload() const {
        std::string libraries;
        const auto add = [&](const std::string& library) { libraries += (libraries.empty() ? "" : ":") + library; };
        if (m_options.m_ipmi != SystemInterface::Machine && m_options.m_ipmi != SystemInterface::Guest)
            add(m_options.m_paths.m_preload);
        if (!m_driverFile.m_noFuse.empty()) add(m_options.m_paths.m_driverFile);
        if (libraries.empty()) return;
        if (const char* const others = std::getenv("LD_PRELOAD")) add(others);
        Set("LD_PRELOAD", libraries);
    }

    static void Set(const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); }

    /// Passes signals on and reaps children, the command's orphans included, until the command has ended.
    int Supervise() {
        sigset_t child;
        sigemptyset(&child);
        sigaddset(&child, SIGCHLD);
        const bm_dev::UniqueFd ended(::signalfd(-1, &child, SFD_CLOEXEC | SFD_NONBLOCK));
        if (!ended) ThrowErrno("no descriptor for SIGCHLD");
        for (;;) {
            if (const auto status = Bury()) return *status;
            std::array<pollfd, 3> events{
                {{m_outside.Get(), POLLIN, 0}, {ended.Get(), POLLIN, 0}, {m_driver.Get(), POLLIN, 0}}};
            ::poll(events.data(), events.size(), -1);
            signalfd_siginfo info;
            while (::read(ended.Get(), &info, sizeof(info)) > 0) {
            }
            if (events[0].revents != 0 && !PassSignal()) return NotBroughtUp;
            if (events[2].revents != 0) DoOrder();
        }
    }

    /// Carries out the driver's orders for the controller.
    void DoOrder() {
        const auto order = ReceiveOrder(m_driver.Get());
        if (!order) {
            m_driver.Reset();
            return;
        }
        ControllerAnswer answer;
        try {
            if (*order != ControllerOrder::Start) StopController(m_controller);
            if (*order != ControllerOrder::Stop && m_controller.m_process < 0) {
                BringControllerUp();
                answer.m_vmPort = std::move(m_controller.m_vmPort);
            }
        } catch (const std::exception& error) {
            answer.m_error = error.what();
        }
        SendAnswer(m_driver.Get(), answer);
    }

    /// False when the outside has gone.
    bool PassSignal() const {
        unsigned char signal = 0;
        const ssize_t size = ::recv(m_outside.Get(), &signal, sizeof(signal), MSG_DONTWAIT);
        if (size > 0) ::kill(m_commandProcess, signal);
        return size != 0;
    }

    /// The exit status, once the command has ended.
    std::optional<int> Bury() {
        int status = 0;
        pid_t process = 0;
        while ((process = ::waitpid(-1, &status, WNOHANG)) > 0) {
            if (process == m_commandProcess) {
                if (WIFSIGNALED(status)) Report(m_options.m_command.front().c_str(), status);
                return ExitStatus(status);
            }
            if (process == m_controller.m_process) {
                Report(m_options.m_replay ? "the recording" : "ipmi_sim", status);
                m_controller = RunningController();
            }
            if (process == m_driverProcess) Report("the driver of /dev/ipmi0", status);
            if (process == m_driverFile.m_process) Report(DriverFilePath, status);
        }
        return std::nullopt;
    }

    static void Report(const char* name, int status) {
        std::fprintf(stderr, "bladesim: %s ended, %s\n", name, DescribeEnd(status).c_str());
    }

    const Options& m_options;
    bm_dev::UniqueFd m_outside;
    RunningController m_controller;
    bm_dev::UniqueFd m_cables; ///< the network interfaces exist while it is open
    bm_dev::UniqueFd m_driver; ///< its orders for the controller
    Recorder m_recorder;       ///< until the driver has it
    bm_dev::UniqueFd m_denied; ///< /dev/ipmi0 may not be opened while it is open
    pid_t m_driverProcess = -1;
    RunningDriverFile m_driverFile;
    pid_t m_commandProcess = -1;
};

} // namespace

int RunInside(const Options& options, bm_dev::UniqueFd outside) {
    try {
        // When the outside is killed this process ends with it, and everything in the blade with this process.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        return Inside(options, std::move(outside)).Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bladesim: %s\n", error.what());
        return NotBroughtUp;
    }
}

} // namespace bladesim
