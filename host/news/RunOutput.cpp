// The output of `run`: a line for each thing that happens.
#include "host/news/RunOutput.h"

#include "common/veldo_common_protocol.h"
#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <array>
#include <ctime>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

std::string TimeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S", &local)};
}

std::string ReasonsText(const HealthChange& change) {
    std::string text;
    for (const std::string& reason : change.m_reasons)
        text += (text.empty() ? ": " : "; ") + reason;
    // A log text may have several lines; here each change has one line.
    for (char& next : text) {
        if (next == '\n') next = ' ';
    }
    return text;
}

std::string ParamsLine(const CBMIParams& params) {
    std::string line;
    for (int i = 0; i < params.GetSize(); ++i) {
        const CBMIParam& param = *params.Get(i);
        line += (i == 0 ? ": " : ", ") + ColumnName(param.GetId()) + " " + ValueText(param);
    }
    return line;
}

class RunText final : public RunOutput {
public:
    explicit RunText(int descriptor) : m_descriptor(descriptor), m_color(ColorWanted(descriptor)) {}

    void Lifecycle(std::string_view operation, int result) override {
        Line(std::string(operation) + ": " + ResultText(result), result == 1 ? Green : Red);
    }

    void Event(const AdaptorEvent& event) override { Line(EventLine(event), Plain); }

    void Health(const HealthChange& change) override {
        switch (change.m_health) {
        case HealthState::Monitored:
            return Line("health: monitored", Green);
        case HealthState::Fault:
            Line("health: fault" + ReasonsText(change), Red);
            return Line("health: no longer monitored, until the next start", Plain);
        case HealthState::Ended:
        case HealthState::NotMonitored:
            return Line("health: no longer monitored", Plain);
        }
    }

private:
    static constexpr const char* Plain = "";
    static constexpr const char* Green = "\033[32m";
    static constexpr const char* Red = "\033[91m";

    void Line(const std::string& text, std::string_view paint) const {
        const bool painted = m_color && !paint.empty();
        WriteAll(m_descriptor, TimeOfDay() + "  " + (painted ? std::string(paint) + text + "\033[0m" : text) + "\n");
    }

    int m_descriptor;
    bool m_color;
};

class RunJson final : public RunOutput {
public:
    explicit RunJson(int descriptor) : m_descriptor(descriptor), m_calls(MakeJsonOutput(descriptor)) {}

    void Lifecycle(std::string_view operation, int result) override { m_calls->Lifecycle(operation, result); }
    void Event(const AdaptorEvent& event) override { m_calls->Event(event.m_event, event.m_number, event.m_params); }
    void Health(const HealthChange& change) override {
        nlohmann::ordered_json reasons = nlohmann::ordered_json::array();
        for (const std::string& reason : change.m_reasons)
            reasons.push_back(bm_dev::Utf8OfBytes(reason));
        const nlohmann::ordered_json line = {
            {"op", "health"}, {"state", HealthName(change.m_health)}, {"reasons", reasons}};
        WriteAll(m_descriptor, bm_dev::EscapedJson(line.dump()) + "\n");
    }

private:
    int m_descriptor;
    std::unique_ptr<Output> m_calls;
};

} // namespace

std::string EventLine(const AdaptorEvent& event) {
    const CBMIParams& params = event.m_params;
    if (event.m_event == BMI_EVENT_AMC_RUN_STATUS) {
        const CBMIParam* const bay = params.GetParamById(BMI_HW_AMC_BAY);
        const CBMIParam* const status = params.GetParamById(BMI_HW_AMC_RUN_STATUS);
        if (bay != nullptr && status != nullptr)
            return "run status of " + LedBayText(bay->GetInt()) + ": " + RunStatusText(status->GetInt());
    }
    if (event.m_event == BMI_GROUP_FIRMWARE_UPDATE && params.GetParamById(BMI_FW_UPDATE_STATE) != nullptr) {
        const UpgradeRow upgrade = UpgradeOf(params);
        return "firmware upgrade of " + UpgradeTargetText(upgrade) + ": " +
               std::string(UpgradeStateName(upgrade.m_state));
    }
    return "event " + Hex(event.m_event) + ", number " + std::to_string(event.m_number) + ParamsLine(params);
}

std::unique_ptr<RunOutput> MakeRunText(int descriptor) {
    return std::make_unique<RunText>(descriptor);
}

std::unique_ptr<RunOutput> MakeRunJson(int descriptor) {
    return std::make_unique<RunJson>(descriptor);
}

} // namespace bmhost
