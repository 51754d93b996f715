// A resident host that checks orders as the real one does, carries nothing out, and remembers what it was asked.
#include "support/ScriptedResident.h"

#include "host/web/redfish/TestBlades.h"
#include "host/words/Error.h"

#include "bm_dev/ByteText.h"

#include <array>

namespace fuzzing {

using namespace bmhost;
using nlohmann::ordered_json;

namespace {

class MemorySink final : public UploadSink {
public:
    MemorySink(std::string& image, uint64_t size) : m_image(image), m_size(size) { m_image.clear(); }

    void Write(const void* data, std::size_t size) override { m_image.append(static_cast<const char*>(data), size); }
    void Finish() override {
        if (m_image.size() != m_size) throw Refusal(400, "", "half an image");
    }
    std::string Path() const override { return ImagePath; }
    std::string Sha256() const override { return std::string(64, 'a'); }

private:
    std::string& m_image;
    const uint64_t m_size;
};

OrderOutcome OutcomeOf(bool good) {
    OrderOutcome outcome;
    outcome.m_result = good ? 1 : 0x30003;
    outcome.m_good = good;
    outcome.m_changed = good;
    outcome.m_text = "what a person reads\n";
    if (!good) outcome.m_reasons = {"the adaptor's own reason, with \xE9 and \x01"};
    outcome.m_values = ordered_json::object();
    return outcome;
}

} // namespace

Statistics ScriptedResident::Counts() const {
    Statistics counts;
    counts.m_since = m_picture->m_host.m_started;
    counts.m_time = m_picture->m_time;
    counts.m_reads.m_good = 2;
    counts.m_reads.m_latencies.Add(700);
    counts.m_completionCodes[0xC1] = 1;
    counts.m_calls = {{"start", 0, 0x30011, 1}, {"read", 0x100, 1, 2}};
    counts.m_orders = {{"led-set", 1, true, 3}};
    return counts;
}

void ScriptedResident::Ask(const Asker& asker, Call call, Answered answered) {
    m_askers.push_back(asker);
    const std::string name(OperationName(call.m_operation));
    m_calls.push_back(std::move(call));
    Answer(name, answered);
}

void ScriptedResident::Ask(const Asker& asker, Order order, Answered answered) {
    try {
        CheckOrder(order);
    } catch (const UsageError& error) {
        answered(
            {400,
             {{"error", {{"operation", order.m_name}, {"value", ""}, {"reason", bm_dev::Utf8OfBytes(error.what())}}}}});
        return;
    }
    m_askers.push_back(asker);
    const std::string name = order.m_name;
    m_orders.push_back(std::move(order));
    Answer(name, answered);
}

void ScriptedResident::Answer(const std::string& name, const Answered& answered) const {
    switch (m_answers) {
    case Answers::Good:
    case Answers::Failed:
        return answered({200, OrderOutcomeJson(name, OutcomeOf(m_answers == Answers::Good))});
    case Answers::Refused:
        return answered(
            {503, {{"error", {{"operation", name}, {"value", ""}, {"reason", "too many calls wait already"}}}}});
    case Answers::Odd:
        return answered({200, ordered_json::array({1, "two", nullptr})});
    case Answers::Nothing:
        break;
    }
}

std::vector<News> ScriptedResident::NewsAfter(uint64_t id) const {
    std::vector<News> kept;
    for (uint64_t each = 5; each <= 8; ++each) {
        if (each > id) kept.push_back({each, "event", R"({"group":"0x70402","row":[]})"});
    }
    return kept;
}

std::vector<ordered_json> ScriptedResident::LogLines(std::size_t most) const {
    return std::vector<ordered_json>(std::min<std::size_t>(most, 3),
                                     ordered_json({{"level", "info"}, {"text", "line"}}));
}

MakeUploadSink ScriptedResident::Images() {
    return [this](uint64_t size) { return std::make_unique<MemorySink>(m_image, size); };
}

std::shared_ptr<const Picture> BladeOf(unsigned number) {
    static const auto odd = [] {
        Picture picture = HostileBlade();
        picture.m_source = {};
        return picture;
    };
    static const std::array<std::shared_ptr<const Picture>, BladeCount> blades = {
        std::make_shared<const Picture>(SmallBlade()), std::make_shared<const Picture>(odd()),
        std::make_shared<const Picture>(LookedAtBlade()), std::make_shared<const Picture>(HostileBlade()),
        std::make_shared<const Picture>(BareBlade())};
    return blades.at(number);
}

} // namespace fuzzing
