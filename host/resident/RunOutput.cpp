// Where `run` tells what happens, a line each.
#include "host/resident/RunOutput.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/views/Led.h"
#include "host/views/StatusNames.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <array>
#include <ctime>

namespace BMHOST {

using namespace BM_ADAPTOR;

namespace {

std::string TimeOfDay() {
    const std::time_t l_Now = std::time(nullptr);
    std::tm l_Local{};
    localtime_r(&l_Now, &l_Local);
    std::array<char, 16> l_Text{};
    return {l_Text.data(), std::strftime(l_Text.data(), l_Text.size(), "%H:%M:%S", &l_Local)};
}

std::string ReasonsText(const HEALTH_CHANGE& a_Change) {
    std::string l_Text;
    for (const std::string& l_Reason : a_Change.m_Reasons)
        l_Text += (l_Text.empty() ? ": " : "; ") + l_Reason;
    // A log line may have several: here each change has one.
    for (char& l_Char : l_Text) {
        if (l_Char == '\n') l_Char = ' ';
    }
    return l_Text;
}

std::string ParamsLine(const CBMIParams& a_Params) {
    std::string l_Line;
    for (int i = 0; i < a_Params.GetSize(); ++i) {
        const CBMIParam& l_Param = *a_Params.Get(i);
        l_Line += (i == 0 ? ": " : ", ") + ColumnName(l_Param.GetId()) + " " + ValueText(l_Param);
    }
    return l_Line;
}

class RUN_TEXT final : public RUN_OUTPUT {
public:
    explicit RUN_TEXT(int a_Descriptor) : m_Descriptor(a_Descriptor), m_Color(ColorWanted(a_Descriptor)) {}

    void Lifecycle(std::string_view a_Operation, int a_Result) override {
        Line(std::string(a_Operation) + ": " + ResultText(a_Result), a_Result == 1 ? GREEN : RED);
    }

    void Event(const EVENT& a_Event) override { Line(EventLine(a_Event), PLAIN); }

    void Health(const HEALTH_CHANGE& a_Change) override {
        switch (a_Change.m_Health) {
        case HEALTH::Monitored:
            return Line("health: monitored", GREEN);
        case HEALTH::Fault:
            return Line("health: fault" + ReasonsText(a_Change), RED);
        case HEALTH::Ended:
            return Line("health: no longer monitored", PLAIN);
        }
    }

private:
    static constexpr const char* PLAIN = "";
    static constexpr const char* GREEN = "\033[32m";
    static constexpr const char* RED = "\033[91m";

    void Line(const std::string& a_Text, std::string_view a_Paint) const {
        const bool l_Painted = m_Color && !a_Paint.empty();
        WriteAll(m_Descriptor,
                 TimeOfDay() + "  " + (l_Painted ? std::string(a_Paint) + a_Text + "\033[0m" : a_Text) + "\n");
    }

    int m_Descriptor;
    bool m_Color;
};

class RUN_JSON final : public RUN_OUTPUT {
public:
    explicit RUN_JSON(int a_Descriptor) : m_Descriptor(a_Descriptor), m_Calls(MakeJsonOutput(a_Descriptor)) {}

    void Lifecycle(std::string_view a_Operation, int a_Result) override { m_Calls->Lifecycle(a_Operation, a_Result); }
    void Event(const EVENT& a_Event) override { m_Calls->Event(a_Event.m_Event, a_Event.m_Number, a_Event.m_Params); }
    void Health(const HEALTH_CHANGE& a_Change) override {
        nlohmann::ordered_json l_Reasons = nlohmann::ordered_json::array();
        for (const std::string& l_Reason : a_Change.m_Reasons)
            l_Reasons.push_back(BM_PLATFORM::Utf8OfBytes(l_Reason));
        const nlohmann::ordered_json l_Line = {
            {"op", "health"}, {"state", HealthName(a_Change.m_Health)}, {"reasons", l_Reasons}};
        WriteAll(m_Descriptor, BM_PLATFORM::EscapedJson(l_Line.dump()) + "\n");
    }

private:
    int m_Descriptor;
    std::unique_ptr<OUTPUT> m_Calls;
};

} // namespace

std::string EventLine(const EVENT& a_Event) {
    const CBMIParams& l_Params = a_Event.m_Params;
    if (a_Event.m_Event == BMI_EVENT_AMC_RUN_STATUS) {
        const CBMIParam* const l_Bay = l_Params.GetParamById(BMI_HW_AMC_BAY);
        const CBMIParam* const l_Status = l_Params.GetParamById(BMI_HW_AMC_RUN_STATUS);
        if (l_Bay != nullptr && l_Status != nullptr)
            return "run status of " + LedBayText(l_Bay->GetInt()) + ": " + RunStatusText(l_Status->GetInt());
    }
    if (a_Event.m_Event == BMI_GROUP_FIRMWARE_UPDATE && l_Params.GetParamById(BMI_FW_UPDATE_STATE) != nullptr) {
        const UPGRADE_ROW l_Upgrade = UpgradeOf(l_Params);
        return "firmware upgrade of " + UpgradeTargetText(l_Upgrade) + ": " +
               std::string(UpgradeStateName(l_Upgrade.m_State));
    }
    return "event " + Hex(a_Event.m_Event) + ", number " + std::to_string(a_Event.m_Number) + ParamsLine(l_Params);
}

std::unique_ptr<RUN_OUTPUT> MakeRunText(int a_Descriptor) {
    return std::make_unique<RUN_TEXT>(a_Descriptor);
}

std::unique_ptr<RUN_OUTPUT> MakeRunJson(int a_Descriptor) {
    return std::make_unique<RUN_JSON>(a_Descriptor);
}

} // namespace BMHOST
