// What a command asks of an adaptor: one call, made and shown.
#include "host/session/Session.h"

#include "host/output/TextOutput.h"
#include "host/session/CallReasons.h"
#include "host/words/Names.h"
#include "host/words/Situations.h"

#include <cstdio>
#include <thread>

namespace bmhost {

namespace {

void WaitEvent(Session& session, int milliseconds, Output& output) {
    const auto event = session.TakeEvent(std::chrono::milliseconds(milliseconds));
    if (!event) {
        output.NoEvent();
        return;
    }
    output.Event(event->m_event, event->m_number, event->m_params);
}

std::string NameOf(const Call& call) {
    const std::string name(OperationName(call.m_operation));
    return NeedsLife(call.m_operation) ? name + " " + Hex(call.m_group) : name;
}

} // namespace

MadeCall MakeAndShow(Session& session, Call& call, Output& output) {
    const CallReasons reasons;
    int result = 0;
    switch (call.m_operation) {
    case Operation::Read: {
        const auto row = session.Row(call.m_group, call.m_keys, result);
        output.Read(call.m_group, result, row.get());
        break;
    }
    case Operation::Write:
        result = session.WriteRow(call.m_group, call.m_keys, call.m_values);
        output.Write(call.m_group, result);
        break;
    case Operation::Table: {
        const auto table = session.Table(call.m_group, result);
        output.Table(call.m_group, result, table.get());
        break;
    }
    case Operation::Sleep:
        std::this_thread::sleep_for(std::chrono::milliseconds(call.m_milliseconds));
        return {Success, {}};
    case Operation::WaitEvent:
        WaitEvent(session, call.m_milliseconds, output);
        return {Success, {}};
    case Operation::Init:
    case Operation::Start:
    case Operation::Stop:
    case Operation::Fin:
        result = session.Lifecycle(call.m_operation);
        output.Lifecycle(OperationName(call.m_operation), result);
        break;
    }
    MadeCall made{result, reasons.Texts()};
    if (made.m_reasons.empty()) made.m_reasons = session.ReasonsFromElsewhere();
    return made;
}

bool IsSilentStart(Operation operation, int result, const std::vector<std::string>& reasons) {
    return operation == Operation::Start && result == NothingDone && reasons.empty();
}

void TellReasons(const Call& call, const MadeCall& made) {
    std::string text = made.m_result == Success ? "" : ReasonsText(made.m_reasons);
    if (IsSilentStart(call.m_operation, made.m_result, made.m_reasons)) text = AdviceText(AdviceForSilentStart());
    if (text.empty()) return;
    fflush(stdout);
    fprintf(stderr, "bmhost: %s returned %s\n%s", NameOf(call).c_str(), ResultText(made.m_result).c_str(),
            text.c_str());
}

bool MakeCall(Session& session, Call& call, Output& output) {
    const MadeCall made = MakeAndShow(session, call, output);
    TellReasons(call, made);
    return made.m_result == Success;
}

bool MakeCallAlone(Session& session, Call& call, Output& output) {
    if (!NeedsLife(call.m_operation)) return MakeCall(session, call, output);
    return BetweenInitAndFin(session, [&] { return MakeCall(session, call, output); });
}

} // namespace bmhost
