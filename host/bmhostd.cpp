// bmhostd: the resident host of a blade.
#include "host/DaemonOptions.h"
#include "host/ImageSink.h"
#include "host/api/Server.h"
#include "host/client/BladeLock.h"
#include "host/news/LogRing.h"
#include "host/news/Teller.h"
#include "host/output/Redirect.h"
#include "host/resident/Resident.h"
#include "host/service/JournalLog.h"
#include "host/service/OwnLog.h"
#include "host/service/ServerSocket.h"
#include "host/service/ServiceManager.h"
#include "host/service/Signals.h"
#include "host/service/SmallHeap.h"
#include "host/session/EndNotice.h"
#include "host/session/LogEar.h"
#include "host/session/PluginSession.h"
#include "host/session/Program.h"
#include "host/words/Error.h"

#include "bm/Log.h"
#include "bm_dev/HostLog.h"
#include "bm_dev/Thread.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace bmhost;

// How long to keep the prints of tools that found nothing.
constexpr std::chrono::minutes KeptPrints(1);
// For calls that are on their way when the host ends.
constexpr std::chrono::seconds LastWait(2);

using Words = std::vector<std::string>;

// Who asks for traces wants to see the prints as they come, too.
int OutputFor(const DaemonOptions& options) {
    if (options.m_json || options.m_logLevel == BM_LOG_ERROR) return PrintsToStandardError();
    bm_dev::LogToConsole(false);
    return PrintsWithheld();
}

/// What is told on standard output of the resident host's life.
class Story {
public:
    Story(RunOutput& output, StopRequest& stop) : m_stop(stop), m_teller(output, [this] { m_stop.Ask(); }) {}

    ResidentListeners Listeners() {
        return {[this](Operation operation, const CallOutcome& outcome) { Lifecycle(operation, outcome); },
                [this](const AdaptorEvent& event) { m_teller.Tell([event](RunOutput& told) { told.Event(event); }); },
                [this](const HealthChange& change) { Health(change); }, [this] { m_stop.Ask(); }};
    }
    void Finish() { m_teller.Finish(); }

private:
    void Lifecycle(Operation operation, const CallOutcome& outcome) {
        fflush(stdout); // the adaptor's prints come first
        // Init prints everything that it has found, and tools that found nothing print their progress.
        const std::string prints = TakeWithheld();
        const bool shown = outcome.m_result != Success && operation != Operation::Init;
        m_teller.Tell([=](RunOutput& told) {
            told.Lifecycle(OperationName(operation), outcome.m_result);
            Call call;
            call.m_operation = operation;
            TellReasons(call, {outcome.m_result, outcome.m_reasons});
            if (shown) ShowTaken(prints);
        });
    }

    // The prints include the diagnostic's report.
    void Health(const HealthChange& change) {
        const std::string prints = change.m_health == HealthState::Fault ? TakeWithheld() : "";
        m_teller.Tell([=](RunOutput& told) {
            told.Health(change);
            ShowTaken(prints);
        });
    }

    StopRequest& m_stop;
    Teller m_teller;
};

/// Where standard error leads to the journal, log, calls and orders become entries of their own, with fields.
class Journal {
public:
    Journal() {
        if (!LeadsToJournal(STDERR_FILENO)) return;
        bm_dev::LogToConsole(false);
        m_ear.emplace([this](int level, const std::string& component, const std::string& text) {
            m_log.Line(level, component, text);
        });
    }

    ResidentListeners With(ResidentListeners listeners) const {
        if (!m_ear) return listeners;
        listeners.m_lifecycle = [this, told = std::move(listeners.m_lifecycle)](Operation operation,
                                                                                const CallOutcome& outcome) {
            JournalNote note;
            note.m_operation = OperationName(operation);
            note.m_text = note.m_operation + ": " + std::to_string(outcome.m_result);
            note.m_result = outcome.m_result;
            note.m_good = outcome.m_result == Success;
            m_log.Note(note);
            told(operation, outcome);
        };
        listeners.m_order = [this](const Order& order, const OrderOutcome& outcome, const std::string& asker) {
            JournalNote note;
            note.m_operation = order.m_name;
            note.m_text = outcome.m_text.empty() ? order.m_name : outcome.m_text;
            note.m_result = outcome.m_result;
            note.m_good = outcome.m_good;
            note.m_asker = asker;
            if (const auto bay = order.m_values.find("bay"); bay != order.m_values.end() && bay->is_number_integer())
                note.m_bay = bay->get<int32_t>();
            m_log.Note(note);
        };
        listeners.m_upgradeEnded = [this](const UpgradeFacts& upgrade) { m_log.Note(NoteOfUpgrade(upgrade)); };
        return listeners;
    }

private:
    JournalLog m_log{"bmhostd"};
    std::optional<LogEar> m_ear; // last, since it uses the log
};

/// Reads the configuration again when it was asked to.
class Reloads {
public:
    explicit Reloads(Words words) : m_words(std::move(words)) {}

    void Ask() { m_asked = true; }
    void Do(Resident& resident) {
        if (!m_asked.exchange(false)) return;
        try {
            const DaemonOptions options = ReadDaemonOptions(m_words);
            BM_LOG_LEVEL = options.m_logLevel;
            resident.Set(options.m_settings);
            LogOwn("configuration read again");
        } catch (const UsageError& error) {
            LogOwn(std::string("configuration not read again: ") + error.what());
        }
    }

private:
    const Words m_words;
    std::atomic<bool> m_asked{false};
};

HostFacts FactsOf(const DaemonOptions& options, const PluginSession& session) {
    HostFacts facts;
    facts.m_process = getpid();
    facts.m_started = WallNow();
    facts.m_version = BMHOST_VERSION;
    facts.m_adaptor = session.AdaptorFile();
    facts.m_mode = options.m_mode;
    facts.m_storage = std::filesystem::absolute(options.m_storage).string();
    return facts;
}

// After a crash the media software may still be at work: whoever looks at the blade decides.
bool StartsAlone(const DaemonOptions& options, const BladeLock& lock) {
    if (options.m_noStart) return false;
    if (!ServiceManager::IsThere() || lock.DiedBefore() != "bmhostd") return true;
    LogOwn("the host before this one died: init only, `bmhost start` starts the blade");
    return false;
}

class TakenEvents {
public:
    TakenEvents(HostManager& manager, Resident& resident) : m_manager(manager) {
        m_manager.HandTo([&resident](const AdaptorEvent& event) { resident.Take(event); });
    }
    TakenEvents(const TakenEvents&) = delete;
    TakenEvents& operator=(const TakenEvents&) = delete;
    ~TakenEvents() { m_manager.HandTo({}); }

private:
    HostManager& m_manager;
};

/// Ends the host when it was asked to, while the server goes on.
class Ender {
public:
    Ender(StopRequest& stop, Resident& resident, ApiServer& server)
        : m_thread([this, &stop, &resident, &server] {
              stop.Wait();
              ServiceManager::Stopping();
              try {
                  m_good = resident.End([&stop] { return stop.AskedTwice(); });
              } catch (...) {
                  m_error = std::current_exception();
              }
              server.Stop();
          }) {}
    Ender(const Ender&) = delete;
    Ender& operator=(const Ender&) = delete;
    ~Ender() {
        if (m_thread.IsJoinable()) m_thread.Join();
    }

    /// Throws what the end has thrown.
    bool Good() {
        m_thread.Join();
        if (m_error != nullptr) std::rethrow_exception(m_error);
        return m_good;
    }

private:
    bool m_good = false;
    std::exception_ptr m_error;
    bm_dev::Thread m_thread; // last, since it uses the other members
};

ApiLimits LimitsFor(const Resident& resident) {
    ApiLimits limits;
    limits.m_imageFolder = resident.ImageFolder();
    return limits;
}

void Serve(ApiServer& server, Resident& resident, Reloads& reloads) {
    ServiceManager service;
    bool ready = false;
    auto forgotten = std::chrono::steady_clock::now();
    server.Run([&] {
        if (!ready) service.Ready();
        ready = true;
        try {
            resident.Tick();
        } catch (const std::bad_alloc&) { // the next one may have memory
        }
        reloads.Do(resident);
        const auto picture = resident.Now();
        service.Feed(*picture);
        const auto now = std::chrono::steady_clock::now();
        if (picture->m_calls.empty() && now - forgotten > KeptPrints) {
            ForgetWithheld();
            forgotten = now;
        }
    });
}

// Standard error is where the log is not.
void TellHung(const std::string& hung) {
    const std::string text = hung + "; ending without it";
    LogOwn(text);
    if (!LeadsToJournal(STDERR_FILENO)) fprintf(stderr, "bmhost: %s\n", text.c_str());
}

void TellThrown(const std::exception_ptr& thrown) {
    try {
        std::rethrow_exception(thrown);
    } catch (const std::exception& error) {
        FailedProgram(error, ExitSomeFailed);
    }
}

bool BeResident(const DaemonOptions& options, StopRequest& stop, Reloads& reloads) {
    const KeptLog log;
    const HostPlace place = PlaceOfHost();
    const BladeLock lock(place, "bmhostd");
    SetUpLog(options.m_logLevel, options.m_logFile); // not before: a host that is refused leaves no file
    const ServerSocket socket(lock, place);
    const int output = OutputFor(options);
    const auto lines = options.m_json ? MakeRunJson(output) : MakeRunText(output);
    ArmEndNotice(std::chrono::milliseconds(options.m_noticeAfter));
    const Journal journal;
    PluginSession session(options.m_adaptor, options.m_mode, options.m_storage);
    Story story(*lines, stop);
    bool good = false;
    {
        Resident resident(session, log.Lines(), FactsOf(options, session), options.m_state, options.m_settings,
                          journal.With(story.Listeners()), CarryOut);
        const TakenEvents events(session.Manager(), resident);
        ApiServer server(socket.Descriptor(), resident, LimitsFor(resident), ImagesOf(resident));
        Ender ender(stop, resident, server);
        resident.Begin(StartsAlone(options, lock));
        Serve(server, resident, reloads);
        std::exception_ptr thrown;
        try {
            good = ender.Good();
        } catch (...) {
            thrown = std::current_exception();
        }
        if (const std::string hung = resident.Hung(); !hung.empty()) TellHung(hung);
        if (!resident.EndLanes(LastWait)) {
            // A call is in the adaptor for ever: neither it nor what it uses may go.
            story.Finish();
            if (thrown != nullptr) TellThrown(thrown);
            DisarmEndNotice();
            socket.Remove();
            lock.GiveBack();
            _exit(good ? ExitAllOk : ExitSomeFailed);
        }
        if (thrown != nullptr) std::rethrow_exception(thrown);
    }
    story.Finish();
    return good;
}

int Run(const Words& words) {
    const DaemonOptions options = ReadDaemonOptions(words);
    if (!options.m_answer.empty()) {
        WriteAll(STDOUT_FILENO, options.m_answer);
        return ExitAllOk;
    }
    BM_LOG_LEVEL = options.m_logLevel;
    StopRequest stop;
    Reloads reloads(words);
    return WithSignals(
               stop, "stop and fin follow", [&] { return BeResident(options, stop, reloads); }, [&] { reloads.Ask(); })
               ? ExitAllOk
               : ExitSomeFailed;
}

} // namespace

int main(int argc, char** argv) {
    KeepHeapSmall();
    return RunProgram([&] { return Run({argv + 1, argv + argc}); });
}
