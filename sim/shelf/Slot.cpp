// A slot of the shelf: brings its blade up with resident host and web door, and takes it out.
#include "sim/shelf/Slot.h"

#include "sim/base/Error.h"
#include "sim/base/Process.h"
#include "sim/blade/BladeFile.h"
#include "sim/life/Enter.h"
#include "sim/life/Inside.h"
#include "sim/life/Namespaces.h"
#include "sim/shelf/FrozenController.h"
#include "sim/shelf/HostState.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

namespace bladesim {
namespace {

constexpr std::chrono::seconds RiseTime{60};
/// How long a blade may take to start before its door is asked nevertheless: Init of some blades never returns.
constexpr std::chrono::seconds StartTime{20};
constexpr std::chrono::milliseconds BetweenProofs{100};
/// A blade that ends takes its door with it, which may be noticed first.
constexpr std::chrono::milliseconds DoorOutlives{500};
constexpr std::streamoff LogTailSize = 2000;
constexpr char NoConfiguration[] = "/dev/null"; // not the machine's own

bm_dev::UniqueFd OpenFile(const std::string& file, int flags) {
    bm_dev::UniqueFd opened(::open(file.c_str(), flags | O_CLOEXEC, 0600));
    if (!opened) ThrowErrno(file + ": cannot be opened");
    return opened;
}

} // namespace

Slot::Slot(ShelfPlace place, BladeFolder folder, const ShelfParts& parts)
    : m_place(std::move(place)),
      m_folder(std::move(folder)),
      m_parts(parts) {}

std::string Slot::State() const {
    switch (m_phase) {
    case Phase::Waiting:
        return "waiting";
    case Phase::Booting:
    case Phase::Starting:
    case Phase::Proving:
        return "coming up";
    case Phase::Up:
        return m_frozen ? "frozen" : "up";
    case Phase::Ending:
        return "ending";
    case Phase::Out:
        return "pulled";
    case Phase::Failed:
        return "failed";
    }
    return "";
}

void Slot::Insert() {
    m_reason.clear();
    m_phase = Phase::Waiting;
}

void Slot::Rise() {
    std::array<int, 2> sockets{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) ThrowErrno("no socket to the blade");
    m_socket = bm_dev::UniqueFd(sockets[0]);
    bm_dev::UniqueFd there(sockets[1]);
    m_begun = Clock::now();
    m_phase = Phase::Booting;
    m_inside = ForkIntoNewProcessNamespace();
    if (m_inside == 0) BeInside(std::move(there));
}

void Slot::BeInside(bm_dev::UniqueFd outside) const {
    try {
        TakeLog(outside.Get());
        Options options;
        options.m_blade = ReadBladeFile(m_folder.BladeFile());
        options.m_paths = m_parts.m_paths;
        options.m_keep = m_folder.Storage();
        options.m_command = {m_parts.m_bmhost, "run", "--config", NoConfiguration};
        std::_Exit(RunInside(options, std::move(outside)));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bladesim: %s\n", error.what());
        std::_Exit(NotBroughtUp);
    }
}

/// Ctrl-C at the shelf's terminal is not for the blade, and nothing of the shelf's own is open in it.
void Slot::TakeLog(int kept) const {
    ::setsid();
    const bm_dev::UniqueFd nothing = OpenFile("/dev/null", O_RDONLY);
    const bm_dev::UniqueFd log = OpenFile(m_folder.Log(), O_WRONLY | O_CREAT | O_APPEND);
    ::dup2(nothing.Get(), STDIN_FILENO);
    ::dup2(log.Get(), STDOUT_FILENO);
    ::dup2(log.Get(), STDERR_FILENO);
    const auto first = static_cast<unsigned>(std::max(kept, STDERR_FILENO));
    if (kept > STDERR_FILENO + 1) ::close_range(STDERR_FILENO + 1, first - 1, 0);
    ::close_range(first + 1, ~0U, 0);
}

void Slot::Step() {
    try {
        StepOn();
    } catch (const std::exception& error) {
        Fail(error.what());
    }
}

void Slot::StepOn() {
    const auto now = Clock::now();
    if (HasLostDoor() && now - m_doorEnded > DoorOutlives) return Fail("its web door ended, " + m_doorEnd);
    if (!IsRising()) return;
    char up = 0;
    if (m_phase == Phase::Booting && ::recv(m_socket.Get(), &up, sizeof(up), MSG_DONTWAIT) == sizeof(up)) {
        m_parts.m_backplane.Plug(m_place, m_inside);
        OpenDoor();
        m_phase = Phase::Starting;
    }
    if (m_phase == Phase::Starting && now >= m_nextProof) {
        if (AskHost(m_inside, m_parts.m_paths.m_run) == HostState::Started)
            ProveDoor("inventory");
        else if (now - m_begun > StartTime)
            ProveDoor("log"); // which asks for nothing that is not there
    }
    if (now - m_begun > RiseTime) Fail("it is not up after " + std::to_string(RiseTime.count()) + " s");
}

void Slot::OpenDoor() {
    m_door = ::fork();
    if (m_door < 0) ThrowErrno("no process for the web door");
    if (m_door > 0) return;
    try {
        TakeLog(-1);
        const std::string address = TextOf(AddressOf(m_place)) + ":" + std::to_string(DoorPort);
        std::_Exit(RunInBlade(m_inside,
                              {m_parts.m_bmhost, "web", "--config", NoConfiguration, "--listen", address, "--tls-cert",
                               m_folder.Certificate(), "--tls-key", m_folder.Key(), "--accounts",
                               m_parts.m_files.Accounts(), "--server-name", m_place.m_name},
                              false));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bladesim: %s\n", error.what());
        std::_Exit(NotBroughtUp);
    }
}

/// As a stranger on the base interface: by its name, with the authority's certificate and the account.
void Slot::ProveDoor(const char* look) {
    const bm_dev::UniqueFd nothing = OpenFile("/dev/null", O_RDWR);
    const bm_dev::UniqueFd log = OpenFile(m_folder.Log() + ".proof", O_WRONLY | O_CREAT | O_TRUNC);
    m_proof = Spawn({m_parts.m_bmhost, "--connect", "https://" + m_place.m_name + ":" + std::to_string(DoorPort),
                     "--tls-ca", m_parts.m_files.Authority(), "--account", m_parts.m_account, "--password-file",
                     m_parts.m_files.Password(), look},
                    {nothing.Get(), nothing.Get(), log.Get()});
    m_phase = Phase::Proving;
}

void Slot::ProofHasEnded(int status) {
    if (m_phase != Phase::Proving) return;
    m_phase = ExitStatus(status) == 0 ? Phase::Up : Phase::Starting;
    m_nextProof = Clock::now() + BetweenProofs;
}

void Slot::HasEnded(pid_t process, int status) {
    if (process == m_proof) {
        m_proof = -1;
        ProofHasEnded(status);
    } else if (process == m_door) {
        m_door = -1;
        m_doorEnd = DescribeEnd(status);
        m_doorEnded = Clock::now();
    } else if (process == m_inside) {
        m_inside = -1;
        m_socket.Reset();
        m_frozen = false;
        m_door = -1; // it goes with its blade, and may be reaped later
        m_doorEnd.clear();
        if (m_phase == Phase::Ending)
            m_phase = m_afterEnd;
        else
            Fail("it ended, " + DescribeEnd(status));
    }
}

void Slot::Fail(const std::string& reason) {
    m_reason = reason;
    m_isNews = true;
    End(Phase::Failed);
}

bool Slot::TakeNewsOfFailure() {
    return m_phase == Phase::Failed && std::exchange(m_isNews, false);
}

void Slot::Pull() {
    m_reason.clear();
    End(Phase::Out);
}

/// Out of the network first: a pulled blade says no good-bye to its clients.
void Slot::End(Phase then) {
    m_afterEnd = then;
    m_phase = m_inside > 0 ? Phase::Ending : then;
    m_parts.m_backplane.Unplug(m_place);
    if (m_inside > 0) ::kill(m_inside, SIGKILL);
    if (m_proof > 0) ::kill(m_proof, SIGKILL);
}

void Slot::Freeze(bool frozen) {
    FreezeController(m_inside, frozen);
    m_frozen = frozen;
}

std::string Slot::LogTail() const {
    std::string text;
    for (const std::string& file : {m_folder.Log(), m_folder.Log() + ".proof"}) {
        std::ifstream stream(file, std::ios::binary | std::ios::ate);
        const std::streamoff size = stream.tellg();
        if (size <= 0) continue;
        stream.seekg(std::max<std::streamoff>(0, size - LogTailSize));
        text.append(std::istreambuf_iterator<char>(stream), {});
    }
    return text;
}

} // namespace bladesim
