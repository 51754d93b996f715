// A resident host that does what a test says, and a blade for it.
#include "FakeHost.h"

#include "common/veldo_common_protocol.h"
#include "tests/unit/host/HostParams.h"

#include <algorithm>
#include <stdexcept>

using namespace BM_ADAPTOR;
using namespace bmhost;
using nlohmann::json;
using nlohmann::ordered_json;

Picture SmallBlade() {
    const WallTime now = WallTime(std::chrono::milliseconds(1'795'339'800'125));
    Picture picture;
    picture.m_revision = 7;
    picture.m_time = now;
    picture.m_source = {Source::Kind::NoPermission, "/dev/ipmi0: Permission denied"};
    picture.m_host.m_process = 4711;
    picture.m_host.m_started = now;
    picture.m_host.m_version = "0.1.0";
    picture.m_host.m_adaptor = "/usr/lib/ipmi-adaptor/libipmi_adaptor.so";
    picture.m_host.m_resident = true;
    picture.m_host.m_init = CallOutcome{"init", 1, now, {}};
    picture.m_host.m_start = CallOutcome{"start", 0x30011, now, {"DSP 1 has no address"}};
    picture.m_inventory.m_result = 1;
    picture.m_inventory.m_board.push_back(
        Row(Text(BMI_HW_BOARD_PRODUCT_NAME, "Carrier"), Int(BMI_HW_BOARD_LOCATION, 3),
            Text(BMI_HW_BOARD_MANUFACTURER, "Maker"), Text(BMI_HW_BOARD_PRODUCT_SERIAL, "1"),
            Text(BMI_HW_BOARD_PRODUCT_VERSION, "2"), Text(BMI_HW_BOARD_FW_VERSION, "3.1"),
            Text(BMI_HW_BOARD_PART_NUMBER, "4"), Bool(BMI_HW_BOARD_RESET_BASEBOARD, false),
            Bool(BMI_HW_BOARD_RESET_ENTIRE_CARD, false)));
    picture.m_inventory.m_modules.push_back(
        Row(Int(BMI_HW_AMC_BAY, 3, true), Text(BMI_HW_AMC_PRODUCT_NAME, "Module"),
            Text(BMI_HW_AMC_MANUFACTURER, "Maker"), Text(BMI_HW_AMC_SERIAL, "1"), Text(BMI_HW_AMC_PRODUCT_VERSION, "2"),
            Text(BMI_HW_AMC_FW_VERSION, "1.5"), Text(BMI_HW_AMC_PART_NUMBER, "4"), Int(BMI_HW_AMC_RUN_STATUS, 5)));
    picture.m_inventory.m_amcs.push_back(
        Row(Int(BMI_HW_AMC_FRU_FIELD_A, 1), Int(BMI_HW_AMC_FRU_FIELD_B, 2), Int(BMI_HW_AMC_FRU_BAY, 3, true)));
    picture.m_inventory.m_rtms.push_back(Row(Int(BMI_HW_RTM_FRU_FRAMER_TYPE, 1), Int(BMI_HW_RTM_FRU_NUM_FRAMERS, 2),
                                             Int(BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER, 4)));
    picture.m_leds.push_back(
        {0, 2, 1,
         Row(Int(BMI_HW_BB_LED_ID, 2, true), Int(BMI_HW_BB_LED_ON_TIME, 1), Int(BMI_HW_BB_LED_OFF_TIME, 0),
             Int(BMI_HW_BB_LED_LAMP_TEST, 0), Int(BMI_HW_BB_LED_LOCAL_CONTROL, 0),
             Bool(BMI_HW_BB_LED_SUPPORTS_RED, true), Int(BMI_HW_BB_LED_COLOR, 2)),
         now});
    picture.m_leds.push_back({3, 3, 12, std::nullopt, {}});
    picture.m_dsps.push_back({1, 3, 1, "00:11:22:33:44:55", "", false, true, "stored, not read"});
    picture.m_ports.push_back({1, "trunk 1", "RTM", true, std::nullopt, false, ""});
    picture.m_health = {HealthState::Fault, now, {"Media software has failed"}};
    picture.m_controller = {Controller::State::Lost, now};
    picture.m_upgrades.push_back(
        {2, 3, 2, now, now, "image.bin", std::string(64, 'a'), "1.4", "1.5", "uid 0, process 12"});
    picture.m_upgrades.push_back({1, 0, 1, now, std::nullopt, "board.bin", std::string(64, 'b'), "3.1", "", ""});
    picture.m_calls.push_back({"start", now, "uid 0, process 4712"});
    picture.m_calls.push_back({"stop", now, "uid 0, process 4713", true, "`start` since " + Rfc3339(now)});
    picture.m_faults.push_back({"AMC bay 3",
                                "run status failed (5)",
                                "the module's software has ended",
                                {"health LED red"},
                                "bmhost stop, then bmhost start",
                                "run status failed (5)"});
    return picture;
}

void FakeHost::Show(Picture picture) {
    const std::lock_guard lock(m_mutex);
    m_picture = std::make_shared<const Picture>(std::move(picture));
}

void FakeHost::Be(Manner manner) {
    const std::lock_guard lock(m_mutex);
    m_manner = manner;
}

void FakeHost::AnswerWith(std::function<Answer(const std::string&, const json&)> answer) {
    const std::lock_guard lock(m_mutex);
    m_answer = std::move(answer);
}

void FakeHost::Tell(const std::string& kind, const std::string& data) {
    {
        const std::lock_guard lock(m_mutex);
        m_news.push_back({++m_lastNews, kind, data});
        if (m_news.size() > m_ring) m_news.erase(m_news.begin());
    }
    const std::lock_guard lock(m_listenerMutex);
    if (m_listener) m_listener();
}

void FakeHost::SetLog(std::vector<ordered_json> lines) {
    const std::lock_guard lock(m_mutex);
    m_log = std::move(lines);
}

std::vector<Answered> FakeHost::Kept(std::size_t count) {
    std::unique_lock lock(m_mutex);
    m_kept.wait_for(lock, std::chrono::seconds(30), [&] { return m_answered.size() >= count; });
    return m_answered;
}

void FakeHost::Forget() {
    std::vector<Answered> forgotten;
    const std::lock_guard lock(m_mutex);
    std::swap(forgotten, m_answered);
}

std::vector<Call> FakeHost::Calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

std::vector<Order> FakeHost::Orders() const {
    const std::lock_guard lock(m_mutex);
    return m_orders;
}

std::vector<Asker> FakeHost::Askers() const {
    const std::lock_guard lock(m_mutex);
    return m_askers;
}

bool FakeHost::HasListener() const {
    const std::lock_guard lock(m_listenerMutex);
    return m_listener != nullptr;
}

std::shared_ptr<const Picture> FakeHost::Now() const {
    const std::lock_guard lock(m_mutex);
    return m_picture;
}

Statistics FakeHost::Counts() const {
    Statistics counts;
    counts.m_since = Now()->m_host.m_started;
    counts.m_time = Now()->m_time;
    counts.m_reads.m_good = 2;
    counts.m_reads.m_latencies.Add(700);
    counts.m_reads.m_latencies.Add(20'000'000);
    counts.m_completionCodes[0xC1] = 1;
    counts.m_calls = {{"start", 0, 0x30011, 1}, {"read", 0x100, 1, 2}};
    counts.m_orders = {{"led-set", 1, true, 3}};
    counts.m_events[0x70402] = 4;
    return counts;
}

void FakeHost::Ask(const Asker& asker, Call call, Answered answered) {
    {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(call);
    }
    const json values = NeedsLife(call.m_operation) ? json({{"group", call.m_group}}) : json::object();
    Take(asker, std::string(OperationName(call.m_operation)), values, std::move(answered));
}

void FakeHost::Ask(const Asker& asker, Order order, Answered answered) {
    {
        const std::lock_guard lock(m_mutex);
        m_orders.push_back(order);
    }
    Take(asker, order.m_name, order.m_values, std::move(answered));
}

void FakeHost::Take(const Asker& asker, const std::string& name, const json& values, Answered answered) {
    std::unique_lock lock(m_mutex);
    m_askers.push_back(asker);
    if (m_manner == Manner::Throw) throw std::runtime_error("no host today");
    if (m_manner == Manner::Drop) return;
    if (m_manner == Manner::Keep) {
        m_answered.push_back(std::move(answered));
        m_kept.notify_all();
        return;
    }
    Answer answer;
    if (m_answer) {
        answer = m_answer(name, values);
    } else {
        answer.m_body = {{"op", name}, {"result", 1}};
    }
    lock.unlock();
    answered(std::move(answer));
}

std::vector<News> FakeHost::NewsAfter(uint64_t id) const {
    const std::lock_guard lock(m_mutex);
    std::vector<News> after;
    for (const News& news : m_news) {
        if (news.m_id > id) after.push_back(news);
    }
    return after;
}

void FakeHost::OnNews(std::function<void()> listener) {
    const std::lock_guard lock(m_listenerMutex);
    m_listener = std::move(listener);
}

std::vector<ordered_json> FakeHost::LogLines(std::size_t most) const {
    const std::lock_guard lock(m_mutex);
    const std::size_t count = std::min(most, m_log.size());
    return {m_log.end() - static_cast<std::ptrdiff_t>(count), m_log.end()};
}
