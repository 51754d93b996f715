// A command on the command line that loads the adaptor for itself.
#include "host/context/CommandLine.h"

#include "common/veldo_common_protocol.h"
#include "host/client/BladeLock.h"
#include "host/context/Detached.h"
#include "host/context/GiveOrder.h"
#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/picture/ReadPicture.h"
#include "host/session/CallReasons.h"
#include "host/session/EndNotice.h"
#include "host/session/PluginSession.h"

#include "bm/Log.h"
#include "bm_dev/HostLog.h"

#include <chrono>

namespace bmhost {

// The adaptor's prints would stand between the command's lines: they are withheld, and shown when the adaptor ends the
// process. To the adaptor an empty bay is an error, and it logs eight of them; traces show them.
int OutputForPeople(const GlobalOptions& options) {
    return options.m_json ? PrintsToStandardError() : OutputForLook(options);
}

int OutputForLook(const GlobalOptions& options) {
    bm_dev::LogToConsole(options.m_logLevel == BM_LOG_ERROR);
    return PrintsWithheld();
}

void ArmEndNotice(const GlobalOptions& options, bool limited) {
    constexpr std::chrono::hours never(24 * 365);
    const std::chrono::milliseconds notice(options.m_noticeAfter);
    ArmEndNotice(options.m_quiet ? never : notice, TimeLimit(options, limited));
}

namespace {

// What asks only the controller leaves driver and ports alone.
int ModeFor(const Order& order, const GlobalOptions& globals) {
    const bool asksController =
        order.m_name == "led-set" || order.m_name == "board-reset" || order.m_name == "firmware-update";
    return globals.m_modeGiven || !asksController ? globals.m_mode : BM_ADAPTOR::HOST_MODE_LOOK_ONLY;
}

} // namespace

bool CommandLine::Make(Call& call) {
    // The init and fin around a call alone show nothing, their prints neither.
    const bool silent = NeedsLife(call.m_operation);
    const auto output = Globals().m_json ? MakeJsonOutput(PrintsToStandardError())
                                         : MakeTextOutput(silent ? PrintsWithheld() : STDOUT_FILENO);
    ArmEndNotice(Globals());
    PluginSession session(Globals().m_adaptor, Globals().m_mode, Globals().m_storage);
    return MakeCallAlone(session, call, *output);
}

bool CommandLine::WithSession(const Work& work) {
    return InMode(Globals().m_mode, work);
}

bool CommandLine::InMode(int mode, const Work& work) {
    m_output = OutputForPeople(Globals());
    constexpr bool limited = true;
    ArmEndNotice(Globals(), limited);
    PluginSession session(Globals().m_adaptor, mode, Globals().m_storage);
    return BetweenInitAndFin(session, [&] { return work(session, m_output); });
}

// In mode 2 the adaptor tells no driver and sets no port. A mode that is given holds for looks too.
Picture CommandLine::Look() {
    m_output = OutputForLook(Globals());
    constexpr bool limited = true;
    ArmEndNotice(Globals(), limited);
    const int mode = Globals().m_modeGiven ? Globals().m_mode : BM_ADAPTOR::HOST_MODE_LOOK_ONLY;
    PluginSession session(Globals().m_adaptor, mode, Globals().m_storage);
    CallOutcome init{std::string(OperationName(Operation::Init)), 0, {}, {}};
    {
        const CallReasons reasons;
        init.m_result = session.Lifecycle(Operation::Init);
        init.m_time = WallNow();
        if (init.m_result != Success) init.m_reasons = reasons.Texts();
    }
    Picture picture;
    BeforeFin(session, [&] {
        picture = ReadPicture(session, mode, Globals().m_storage);
        return true;
    });
    picture.m_host.m_init = init;
    return picture;
}

Source CommandLine::SourceNow() {
    return SourceOfBlade();
}

OrderOutcome CommandLine::Give(const Order& order) {
    if (auto refused = RefusedAsSimulated(order, SourceNow())) return *refused;
    if (Upgrades(order)) GoOnDetached("waiting for the end of the upgrade");
    const BladeLock lock(PlaceOfHost(), ProgramOf(order));
    OrderOutcome outcome;
    InMode(ModeFor(order, Globals()), [&](Session& session, int output) {
        outcome = CarryOutHere(*this, order, session, output);
        return outcome.m_good;
    });
    return outcome;
}

std::optional<int> CommandLine::Terminal() const {
    return isatty(STDIN_FILENO) == 1 ? std::optional(STDIN_FILENO) : std::nullopt;
}

void CommandLine::Answer(const std::string& text) {
    WriteAll(STDOUT_FILENO, text);
}

} // namespace bmhost
