// A shelf: blades side by side on a base interface, and the command that runs beside them.
#include "sim/shelf/Shelf.h"

#include "bm_dev/UniqueFd.h"
#include "sim/base/Error.h"
#include "sim/base/ExitStatus.h"
#include "sim/base/Process.h"
#include "sim/base/Sockets.h"
#include "sim/driver/ControlServer.h"
#include "sim/life/Namespaces.h"
#include "sim/life/Outside.h"
#include "sim/shelf/Ground.h"
#include "sim/shelf/ShelfOrders.h"
#include "sim/shelf/Slot.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>

namespace bladesim {
namespace {

constexpr int NothingToAwait = -1;
constexpr int PauseWhileBusy = 20; // milliseconds

/// Process 1 of the shelf.
class Shelf {
public:
    Shelf(const ShelfOptions& options, bm_dev::UniqueFd outside)
        : m_options(options),
          m_outside(std::move(outside)),
          m_ended(OpenSignals()),
          m_ground(options.m_paths, options.m_places),
          m_server(ListenAt(ShelfAddressForOrders(), SOCK_STREAM, "the shelf's orders"),
                   [this](ControlServer::ClientId client, const std::string& line) { TakeOrder(client, line); }) {
        m_ground.SetEnvironment();
        for (const ShelfPlace& place : options.m_places)
            m_slots.emplace_back(place, m_ground.MakeFolder(place), m_ground.Parts());
    }

    int Run() {
        for (;;) {
            if (const auto status = Reap()) return *status;
            RaiseBlades();
            AnswerWhoWaits();
            if (m_commandProcess < 0) {
                if (TellFailures()) return NotBroughtUp;
                ShowProgress();
                if (AreAllUp()) StartCommand();
            } else {
                TellFailures();
            }
            if (const auto status = Await()) return *status;
        }
    }

private:
    static bm_dev::UniqueFd OpenSignals() {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGCHLD);
        sigaddset(&signals, SIGINT);
        bm_dev::UniqueFd opened(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
        if (!opened) ThrowErrno("no descriptor for signals");
        return opened;
    }

    /// The exit status, once the command has ended.
    std::optional<int> Reap() {
        int status = 0;
        pid_t process = 0;
        while ((process = ::waitpid(-1, &status, WNOHANG)) > 0) {
            if (process == m_commandProcess) return EndOfCommand(status);
            for (Slot& slot : m_slots)
                slot.HasEnded(process, status);
        }
        return std::nullopt;
    }

    int EndOfCommand(int status) const {
        if (WIFSIGNALED(status)) {
            std::fprintf(stderr, "bladesim: %s ended, %s\n", m_options.m_command.front().c_str(),
                         DescribeEnd(status).c_str());
        }
        return ExitStatus(status);
    }

    /// As many at once as the machine has processors: none waits for its processor until it is too late.
    void RaiseBlades() {
        for (Slot& slot : m_slots)
            slot.Step();
        const auto most = static_cast<std::ptrdiff_t>(std::max(2U, std::thread::hardware_concurrency()));
        for (Slot& slot : m_slots) {
            if (std::ranges::count_if(m_slots, &Slot::IsRising) >= most) return;
            if (slot.IsWaiting()) slot.Rise();
        }
    }

    bool AreAllUp() const { return std::ranges::all_of(m_slots, &Slot::IsUp); }

    /// Whether there were any that are news.
    bool TellFailures() {
        bool any = false;
        for (Slot& slot : m_slots) {
            if (!slot.TakeNewsOfFailure()) continue;
            const ShelfPlace& place = slot.Place();
            std::fprintf(stderr, "%sbladesim: %s in slot %u, blade %s, %s: %s; the end of its log:\n%s",
                         m_progressIsOpen ? "\n" : "", place.m_name.c_str(), place.m_slot, place.m_blade.c_str(),
                         m_commandProcess < 0 ? "does not come up" : "has failed", slot.Reason().c_str(),
                         slot.LogTail().c_str());
            m_progressIsOpen = false;
            any = true;
        }
        return any;
    }

    /// One line, which a terminal shows growing.
    void ShowProgress() {
        const bool all = AreAllUp();
        const bool isTerminal = ::isatty(STDERR_FILENO) == 1;
        const auto up = std::ranges::count_if(m_slots, &Slot::IsUp);
        if ((!all && !isTerminal) || (up == m_shown && !all)) return;
        m_shown = up;
        std::fprintf(stderr, "%sbladesim: %td of %zu blades are up", isTerminal ? "\r" : "", up, m_slots.size());
        const std::chrono::duration<double> time = Slot::Clock::now() - m_begun;
        if (all) std::fprintf(stderr, ", %.1f s\n", time.count());
        m_progressIsOpen = !all;
    }

    void StartCommand() { m_commandProcess = Spawn(m_options.m_command); }

    /// A status to exit with, when there is nothing more to do.
    std::optional<int> Await() {
        const bool busy = std::ranges::any_of(m_slots, &Slot::IsBusy);
        std::vector<pollfd> events{{m_outside.Get(), POLLIN, 0}, {m_ended.Get(), POLLIN, 0}};
        m_server.AddEvents(events);
        ::poll(events.data(), events.size(), busy ? PauseWhileBusy : NothingToAwait);
        if (const auto status = ReadSignals()) return status;
        if (events[0].revents != 0) {
            if (const auto status = PassSignal()) return status;
        }
        for (size_t index = 2; index < events.size(); ++index) {
            if (events[index].revents != 0) m_server.Handle(events[index]);
        }
        return std::nullopt;
    }

    /// Ctrl-C is for the command once there is one, and it gets it from the terminal.
    std::optional<int> ReadSignals() const {
        signalfd_siginfo info{};
        while (::read(m_ended.Get(), &info, sizeof(info)) > 0) {
            if (info.ssi_signo == SIGINT && m_commandProcess < 0) return SignalBase + SIGINT;
        }
        return std::nullopt;
    }

    std::optional<int> PassSignal() const {
        unsigned char signal = 0;
        const ssize_t size = ::recv(m_outside.Get(), &signal, sizeof(signal), MSG_DONTWAIT);
        if (size == 0) return NotBroughtUp; // the outside has gone
        if (size > 0 && m_commandProcess < 0) return SignalBase + signal;
        if (size > 0) ::kill(m_commandProcess, signal);
        return std::nullopt;
    }

    void TakeOrder(ControlServer::ClientId client, const std::string& line) {
        const ShelfAnswer answer = CarryOut(m_slots, line);
        if (answer.m_awaited != nullptr)
            m_waiting.push_back({client, answer.m_awaited, answer.m_wantsUp});
        else
            m_server.Answer(client, answer.m_line);
    }

    void AnswerWhoWaits() {
        std::erase_if(m_waiting, [this](const Waiting& waiting) {
            if (!waiting.m_slot->IsSettled()) return false;
            m_server.Answer(waiting.m_client, AnswerFor(*waiting.m_slot, waiting.m_wantsUp));
            return true;
        });
    }

    struct Waiting {
        ControlServer::ClientId m_client;
        const Slot* m_slot;
        bool m_wantsUp;
    };

    const ShelfOptions& m_options;
    bm_dev::UniqueFd m_outside;
    bm_dev::UniqueFd m_ended;
    Ground m_ground;
    ControlServer m_server;
    std::vector<Slot> m_slots;
    std::vector<Waiting> m_waiting;
    Slot::Clock::time_point m_begun = Slot::Clock::now();
    std::ptrdiff_t m_shown = -1;   ///< how many were up when it was shown
    bool m_progressIsOpen = false; ///< its line has no end yet
    pid_t m_commandProcess = -1;
};

int RunShelfInside(const ShelfOptions& options, bm_dev::UniqueFd outside) {
    try {
        // When the outside is killed this process ends with it, and everything in the shelf with this process.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        EnterBladeNamespaces();
        return Shelf(options, std::move(outside)).Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bladesim: %s\n", error.what());
        return NotBroughtUp;
    }
}

} // namespace

int RunShelf(const ShelfOptions& options) {
    return RunOutside([&options](bm_dev::UniqueFd outside) { return RunShelfInside(options, std::move(outside)); });
}

} // namespace bladesim
