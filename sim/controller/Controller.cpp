// Starts ipmi_sim as the controller of a blade and waits until it answers.
#include "sim/controller/Controller.h"

#include "sim/base/Error.h"
#include "sim/base/Process.h"
#include "sim/base/Sockets.h"
#include "sim/controller/SimulatorConfig.h"
#include "sim/controller/VMCodec.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

namespace bladesim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds BringUpTime{10};
constexpr std::chrono::milliseconds ConnectPause{2};
constexpr size_t LogTail = 1500;

void WriteFile(const std::string& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    if (!stream.flush()) ThrowErrno(file + ": cannot be written");
}

std::string ReadTail(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    std::erase(text, '\r');
    return text.size() > LogTail ? text.substr(text.size() - LogTail) : text;
}

class BringUp {
public:
    BringUp(const Blade& blade, const Paths& paths) : m_blade(blade), m_folder(paths.m_run), m_module(paths.m_module) {}

    RunningController Run() {
        WriteFiles();
        Start();
        Connect();
        AskDeviceId();
        return std::move(m_running);
    }

private:
    [[noreturn]] void Fail(const std::string& reason) const {
        throw BladeError("the controller does not come up: " + reason + "; the end of ipmi_sim's log:\n" +
                         ReadTail(LogFile()));
    }

    std::string LogFile() const { return m_folder + "/ipmi_sim.log"; }
    std::string InterfaceFile() const { return m_folder + "/lan.conf"; }
    std::string CommandFile() const { return m_folder + "/controller.cmd"; }
    std::string StateFolder() const { return m_folder + "/state"; }

    /// A new controller keeps nothing of the former one.
    void WriteFiles() const {
        std::filesystem::remove_all(StateFolder());
        std::filesystem::create_directories(StateFolder() + "/ipmi_sim/" + SimulatorName);
        WriteFile(InterfaceFile(), SimulatorInterfaces(m_blade, m_module));
        WriteFile(CommandFile(), SimulatorCommands(m_blade));
    }

    /// Not with -n, which would send its errors to the system log only. Without -n it needs a standard input that stays
    /// open.
    void Start() {
        std::array<int, 2> pipe{};
        if (::pipe2(pipe.data(), O_CLOEXEC) != 0) ThrowErrno("no pipe for ipmi_sim");
        const bm_dev::UniqueFd input(pipe[0]);
        m_running.m_input = bm_dev::UniqueFd(pipe[1]);
        const bm_dev::UniqueFd log(::open(LogFile().c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600));
        if (!log) ThrowErrno(LogFile() + ": cannot be written");
        m_running.m_process = Spawn({"ipmi_sim", "-c", InterfaceFile(), "-f", CommandFile(), "-s", StateFolder()},
                                    {input.Get(), log.Get(), log.Get()});
    }

    void FailIfEnded() const {
        int status = 0;
        if (::waitpid(m_running.m_process, &status, WNOHANG) != m_running.m_process) return;
        if (ExitStatus(status) == CommandNotFound) Fail("ipmi_sim is not installed (Debian's package openipmi)");
        Fail("ipmi_sim ended, " + DescribeEnd(status));
    }

    void Connect() {
        for (;;) {
            if (bm_dev::UniqueFd socket = ConnectToPort(VMPort, "for the VM port")) {
                const int on = 1;
                ::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
                m_running.m_vmPort = std::move(socket);
                return;
            }
            FailIfEnded();
            if (Clock::now() > m_deadline) Fail("nothing listens on its VM port");
            ::poll(nullptr, 0, static_cast<int>(ConnectPause.count()));
        }
    }

    void Send(const std::vector<uint8_t>& bytes) const {
        if (::send(m_running.m_vmPort.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0)
            Fail("it closed its VM port");
    }

    /// A reply without an error means that ipmi_sim has carried the commands out; after an error in them there is no
    /// controller.
    void AskDeviceId() {
        constexpr uint8_t app = 0x06;
        constexpr uint8_t getDeviceId = 0x01;
        Send(VMGreeting());
        Send(Encode(VmMessage{0, app, 0, getDeviceId, {}}));
        VmDecoder decoder;
        for (;;) {
            const auto frame = decoder.Feed(ReceiveByte());
            const auto* reply = frame ? std::get_if<VmMessage>(&*frame) : nullptr;
            if (reply == nullptr) continue;
            if (reply->m_data.empty() || reply->m_data[0] != 0) Fail("it does not give its device id");
            return;
        }
    }

    uint8_t ReceiveByte() const {
        pollfd event{m_running.m_vmPort.Get(), POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now()).count();
        if (::poll(&event, 1, static_cast<int>(std::max<int64_t>(left, 0))) <= 0) Fail("it does not answer");
        uint8_t byte = 0;
        if (::recv(m_running.m_vmPort.Get(), &byte, 1, 0) != 1) {
            FailIfEnded();
            Fail("it closed its VM port");
        }
        return byte;
    }

    const Blade& m_blade;
    std::string m_folder;
    std::string m_module;
    Clock::time_point m_deadline = Clock::now() + BringUpTime;
    RunningController m_running;
};

} // namespace

RunningController StartController(const Blade& blade, const Paths& paths) {
    return BringUp(blade, paths).Run();
}

void StopController(RunningController& controller) {
    if (controller.m_process > 0) {
        ::kill(controller.m_process, SIGKILL);
        ::waitpid(controller.m_process, nullptr, 0);
    }
    controller = RunningController();
}

} // namespace bladesim
