// What a command asks of an adaptor, wherever that runs.
#pragma once

#include "common/veldo_common_protocol.h"
#include "host/output/Output.h"
#include "host/session/AdaptorEvent.h"
#include "host/words/Call.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

// The results of the adaptor's calls on which the host acts.
constexpr int Success = BM_ADAPTOR::RESULT_OK;
constexpr int NothingDone = 0;
constexpr int NotFound = BM_ADAPTOR::RESULT_NOT_FOUND;

/// What the host's storage has said in the log when it refused something: the adaptor's results do not say why.
struct StorageComplaints {
    std::size_t m_count = 0;
    std::string m_last; ///< "EndTransaction - FILE: reason"
};

/// Every call throws std::runtime_error when an exception leaves the adaptor.
class Session {
public:
    virtual ~Session() = default;

    /// The lifecycle call's result.
    virtual int Lifecycle(Operation operation) = 0;
    /// The group's table, or null; `result` becomes the call's result.
    virtual std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result) = 0;
    /// The row of these keys, or null; likewise.
    virtual std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys,
                                                        int& result) = 0;
    /// Writes a row and returns the call's result.
    virtual int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) = 0;

    /// The oldest event not yet taken; waits for one.
    virtual std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds wait) = 0;
    /// The errors that were logged during the last call, where it was made in another process: the log of this one has
    /// the others.
    virtual std::vector<std::string> ReasonsFromElsewhere() const { return {}; }
    /// Those of this session.
    virtual StorageComplaints Complaints() const = 0;
    /// Whether this session has begun a firmware upgrade. Before the first one the adaptor's row reads as a finished
    /// one.
    virtual bool HasUpgraded() const { return true; }
};

/// What a call returned, and the errors that were logged in it.
struct MadeCall {
    int m_result = 0;
    std::vector<std::string> m_reasons;
};

/// Makes one call and shows it. For sleep and wait-event the result is always 1.
MadeCall MakeAndShow(Session& session, Call& call, Output& output);
/// A start that did nothing and logged nothing.
bool IsSilentStart(Operation operation, int result, const std::vector<std::string>& reasons);
/// Puts the errors of a call that did not return 1 on standard error, with cause and cure: the lines on standard output
/// have their fixed form. Nothing for any other call, or when nothing was logged, but for a start that did nothing.
void TellReasons(const Call& call, const MadeCall& made);
/// Both. True when the call returned 1.
bool MakeCall(Session& session, Call& call, Output& output);
/// A call alone on the command line: read, table and write have init before and fin after, which show nothing.
bool MakeCallAlone(Session& session, Call& call, Output& output);

/// Does the work, then fin, which shows nothing and is called whatever the work throws.
template <typename Work>
bool BeforeFin(Session& session, const Work& work) {
    bool good = false;
    try {
        good = work();
    } catch (...) { // for example, nobody reads the output any more: fin all the same
        session.Lifecycle(Operation::Fin);
        throw;
    }
    session.Lifecycle(Operation::Fin);
    return good;
}

/// Does the work between init and fin, which show nothing.
template <typename Work>
bool BetweenInitAndFin(Session& session, const Work& work) {
    session.Lifecycle(Operation::Init);
    return BeforeFin(session, work);
}

} // namespace bmhost
