// Starts ipmi_sim as the controller of a blade and waits until it answers.
#include "sim/controller/Controller.h"

#include "sim/base/Error.h"
#include "sim/base/Process.h"
#include "sim/controller/SimulatorConfig.h"
#include "sim/controller/VMCodec.h"

#include <arpa/inet.h>
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

namespace BLADESIM {
namespace {

using CLOCK = std::chrono::steady_clock;

constexpr std::chrono::seconds g_BringUpTime{10};
constexpr std::chrono::milliseconds g_ConnectPause{2};
constexpr size_t g_LogTail = 1500;

void WriteFile(const std::string& a_File, const std::string& a_Text) {
    std::ofstream l_File(a_File, std::ios::binary);
    l_File << a_Text;
    if (!l_File.flush()) ThrowErrno(a_File + ": cannot be written");
}

std::string ReadTail(const std::string& a_File) {
    std::ifstream l_File(a_File, std::ios::binary);
    std::string l_Text{std::istreambuf_iterator<char>(l_File), {}};
    std::erase(l_Text, '\r');
    return l_Text.size() > g_LogTail ? l_Text.substr(l_Text.size() - g_LogTail) : l_Text;
}

class BRING_UP {
public:
    BRING_UP(const BLADE& a_Blade, const PATHS& a_Paths)
        : m_Blade(a_Blade),
          m_Folder(a_Paths.m_Run),
          m_Module(a_Paths.m_Module) {}

    RUNNING_CONTROLLER Run() {
        WriteFiles();
        Start();
        Connect();
        AskDeviceId();
        return std::move(m_Running);
    }

private:
    [[noreturn]] void Fail(const std::string& a_Reason) const {
        throw BLADE_ERROR("the controller does not come up: " + a_Reason + "; the end of ipmi_sim's log:\n" +
                          ReadTail(LogFile()));
    }

    std::string LogFile() const { return m_Folder + "/ipmi_sim.log"; }
    std::string InterfaceFile() const { return m_Folder + "/lan.conf"; }
    std::string CommandFile() const { return m_Folder + "/controller.cmd"; }
    std::string StateFolder() const { return m_Folder + "/state"; }

    /// A controller remembers nothing of one before it.
    void WriteFiles() const {
        std::filesystem::remove_all(StateFolder());
        std::filesystem::create_directories(StateFolder() + "/ipmi_sim/" + g_SimulatorName);
        WriteFile(InterfaceFile(), SimulatorInterfaces(m_Blade, m_Module));
        WriteFile(CommandFile(), SimulatorCommands(m_Blade));
    }

    /// Not with -n: then its errors would go to the system's log only. Without it, it wants a standard input that stays
    /// open.
    void Start() {
        std::array<int, 2> l_Pipe{};
        if (::pipe2(l_Pipe.data(), O_CLOEXEC) != 0) ThrowErrno("no pipe for ipmi_sim");
        const UNIQUE_FD l_Input(l_Pipe[0]);
        m_Running.m_Input = UNIQUE_FD(l_Pipe[1]);
        const UNIQUE_FD l_Log(::open(LogFile().c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600));
        if (!l_Log) ThrowErrno(LogFile() + ": cannot be written");
        m_Running.m_Process = Spawn({"ipmi_sim", "-c", InterfaceFile(), "-f", CommandFile(), "-s", StateFolder()},
                                    {l_Input.Get(), l_Log.Get(), l_Log.Get()});
    }

    void FailIfEnded() const {
        int l_Status = 0;
        if (::waitpid(m_Running.m_Process, &l_Status, WNOHANG) != m_Running.m_Process) return;
        if (WIFEXITED(l_Status) && WEXITSTATUS(l_Status) == g_CommandNotFound) {
            Fail("ipmi_sim is not installed (Debian's package openipmi)");
        }
        Fail("ipmi_sim ended, " + DescribeEnd(l_Status));
    }

    void Connect() {
        sockaddr_in l_Address{};
        l_Address.sin_family = AF_INET;
        l_Address.sin_port = htons(g_VMPort);
        l_Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        for (;;) {
            UNIQUE_FD l_Socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
            if (!l_Socket) ThrowErrno("no socket for the VM port");
            if (::connect(l_Socket.Get(), reinterpret_cast<const sockaddr*>(&l_Address), sizeof(l_Address)) == 0) {
                const int l_On = 1;
                ::setsockopt(l_Socket.Get(), IPPROTO_TCP, TCP_NODELAY, &l_On, sizeof(l_On));
                m_Running.m_VMPort = std::move(l_Socket);
                return;
            }
            FailIfEnded();
            if (CLOCK::now() > m_Deadline) Fail("nobody listens on its VM port");
            ::poll(nullptr, 0, static_cast<int>(g_ConnectPause.count()));
        }
    }

    void Send(const std::vector<uint8_t>& a_Bytes) const {
        if (::send(m_Running.m_VMPort.Get(), a_Bytes.data(), a_Bytes.size(), MSG_NOSIGNAL) < 0)
            Fail("it closed its VM port");
    }

    /// A reply without an error says that the commands were carried out; after an error in them there is no controller.
    void AskDeviceId() {
        constexpr uint8_t l_App = 0x06;
        constexpr uint8_t l_GetDeviceId = 0x01;
        Send(VMGreeting());
        Send(Encode(VM_MESSAGE{0, l_App, 0, l_GetDeviceId, {}}));
        VM_DECODER l_Decoder;
        for (;;) {
            const auto l_Frame = l_Decoder.Feed(ReceiveByte());
            const auto* l_Reply = l_Frame ? std::get_if<VM_MESSAGE>(&*l_Frame) : nullptr;
            if (l_Reply == nullptr) continue;
            if (l_Reply->m_Data.empty() || l_Reply->m_Data[0] != 0) Fail("it refuses to tell its device id");
            return;
        }
    }

    uint8_t ReceiveByte() const {
        pollfd l_Event{m_Running.m_VMPort.Get(), POLLIN, 0};
        const auto l_Left = std::chrono::ceil<std::chrono::milliseconds>(m_Deadline - CLOCK::now()).count();
        if (::poll(&l_Event, 1, static_cast<int>(std::max<int64_t>(l_Left, 0))) <= 0) Fail("it does not answer");
        uint8_t l_Byte = 0;
        if (::recv(m_Running.m_VMPort.Get(), &l_Byte, 1, 0) != 1) {
            FailIfEnded();
            Fail("it closed its VM port");
        }
        return l_Byte;
    }

    const BLADE& m_Blade;
    std::string m_Folder;
    std::string m_Module;
    CLOCK::time_point m_Deadline = CLOCK::now() + g_BringUpTime;
    RUNNING_CONTROLLER m_Running;
};

} // namespace

RUNNING_CONTROLLER StartController(const BLADE& a_Blade, const PATHS& a_Paths) {
    return BRING_UP(a_Blade, a_Paths).Run();
}

void StopController(RUNNING_CONTROLLER& a_Controller) {
    if (a_Controller.m_Process > 0) {
        ::kill(a_Controller.m_Process, SIGKILL);
        ::waitpid(a_Controller.m_Process, nullptr, 0);
    }
    a_Controller = RUNNING_CONTROLLER();
}

} // namespace BLADESIM
