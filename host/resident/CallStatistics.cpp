// The adaptor, with a count of what is asked of it and of what it tells.
#include "host/resident/CallStatistics.h"

#include "common/veldo_common_protocol.h"
#include "host/orders/LedColors.h"
#include "host/picture/StatusNames.h"
#include "host/words/Names.h"

#include <algorithm>
#include <chrono>
#include <new>

namespace bmhost {

using namespace BM_ADAPTOR;

bool IsOfController(unsigned group) {
    return group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL || group == BMI_GROUP_HARDWARE_AMC_LED_INTERNAL ||
           group == BMI_GROUP_BM_IPMI_BASEBOARD_LED || group == BMI_GROUP_HARDWARE_AMC_LED_TABLE;
}

namespace {

// The adaptor has not asked: it knows no such LED, or the call lacks something.
bool HasNotAsked(int result) {
    return result == NotFound || result == RESULT_NO_ARGUMENT || result == RESULT_NO_ROW || result == RESULT_NO_VALUE;
}

// A write of an LED passes the controller's completion code on.
bool IsGoodAnswer(Operation operation, int result) {
    return result == Success || (operation == Operation::Write && result == ControllerSuccess);
}

bool IsCompletionCode(int result) {
    return result >= RESULT_REFUSED_FIRST && result <= RESULT_REFUSED_LAST;
}

/// Counts in the row that `isIt` knows, which is added where there is none.
template <typename Row, typename IsIt>
void CountIn(std::vector<Row>& rows, const Row& row, const IsIt& isIt) {
    const auto found = std::find_if(rows.begin(), rows.end(), isIt);
    if (found != rows.end()) {
        ++found->m_count;
        return;
    }
    rows.push_back(row);
    ++rows.back().m_count;
}

} // namespace

/// One call, from its construction to its destruction; without a result it has ended with an exception.
class CallStatistics::Counted {
public:
    Counted(CallStatistics& statistics, Operation operation, unsigned group)
        : m_statistics(statistics),
          m_operation(operation),
          m_group(group),
          m_asks(IsOfController(group)) {
        if (!m_asks) return;
        const std::lock_guard lock(m_statistics.m_guard);
        ++m_statistics.m_counts.m_requestsUnderWay;
    }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() {
        const std::lock_guard lock(m_statistics.m_guard);
        if (m_asks) --m_statistics.m_counts.m_requestsUnderWay;
        try {
            if (m_asks) CountRequest();
            if (m_result) CountCall();
        } catch (const std::bad_alloc&) { // one more row; this call is not counted
        }
    }

    void Returned(int result) { m_result = result; }

private:
    void CountRequest() {
        if (m_result && HasNotAsked(*m_result)) return;
        Statistics& counts = m_statistics.m_counts;
        RequestCounts& requests = m_operation == Operation::Write ? counts.m_writes : counts.m_reads;
        if (m_result && IsGoodAnswer(m_operation, *m_result)) {
            ++requests.m_good;
        } else if (m_result && IsCompletionCode(*m_result)) {
            ++requests.m_refused;
            ++counts.m_completionCodes[*m_result];
        } else {
            ++requests.m_failed;
        }
        const auto took = std::chrono::steady_clock::now() - m_begun;
        requests.m_latencies.Add(
            static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(took).count()));
    }

    void CountCall() {
        // A client may name any number: those that have no name share a row.
        const CallCount row{std::string(OperationName(m_operation)), GroupName(m_group).empty() ? 0 : m_group,
                            *m_result, 0};
        CountIn(m_statistics.m_counts.m_calls, row, [&](const CallCount& known) {
            return known.m_operation == row.m_operation && known.m_group == row.m_group &&
                   known.m_result == row.m_result;
        });
    }

    CallStatistics& m_statistics;
    const Operation m_operation;
    const unsigned m_group;
    const bool m_asks;
    const std::chrono::steady_clock::time_point m_begun = std::chrono::steady_clock::now();
    std::optional<int> m_result;
};

CallStatistics::CallStatistics(Session& adaptor) : m_adaptor(adaptor) {
    m_counts.m_since = WallNow();
}

Statistics CallStatistics::Now() const {
    const std::lock_guard lock(m_guard);
    Statistics now = m_counts;
    now.m_time = WallNow();
    return now;
}

void CallStatistics::CarriedOut(const std::string& order, const OrderOutcome& outcome) {
    const OrderCount row{order, outcome.m_result, outcome.m_good, 0};
    const std::lock_guard lock(m_guard);
    CountIn(m_counts.m_orders, row, [&](const OrderCount& known) {
        return known.m_order == row.m_order && known.m_result == row.m_result && known.m_good == row.m_good;
    });
}

void CallStatistics::Told(const AdaptorEvent& event) {
    const std::lock_guard lock(m_guard);
    ++m_counts.m_events[event.m_event];
    if (event.m_event != BMI_EVENT_FIRMWARE_UPDATE) return;
    const int state = UpgradeOf(event.m_params).m_state;
    if (state == UpgradeIsDone) ++m_counts.m_upgradesDone;
    if (state == UpgradeHasFailed) ++m_counts.m_upgradesFailed;
}

void CallStatistics::Restarted() {
    const std::lock_guard lock(m_guard);
    ++m_counts.m_restarts;
}

int CallStatistics::Lifecycle(Operation operation) {
    Counted call(*this, operation, 0);
    const int result = m_adaptor.Lifecycle(operation);
    call.Returned(result);
    return result;
}

std::unique_ptr<CBMITable> CallStatistics::Table(unsigned group, int& result) {
    Counted call(*this, Operation::Table, group);
    auto table = m_adaptor.Table(group, result);
    call.Returned(result);
    return table;
}

std::unique_ptr<CBMIParams> CallStatistics::Row(unsigned group, const CBMIKeys& keys, int& result) {
    Counted call(*this, Operation::Read, group);
    auto row = m_adaptor.Row(group, keys, result);
    call.Returned(result);
    return row;
}

int CallStatistics::WriteRow(unsigned group, CBMIKeys& keys, CBMIParams& values) {
    Counted call(*this, Operation::Write, group);
    const int result = m_adaptor.WriteRow(group, keys, values);
    call.Returned(result);
    if (group == BMI_GROUP_FIRMWARE_UPDATE) {
        const std::lock_guard lock(m_guard);
        ++(result == Success ? m_counts.m_upgradesBegun : m_counts.m_upgradesRefused);
    }
    return result;
}

} // namespace bmhost
