// An adaptor with LEDs and nothing else: three of the baseboard, two each of the AMCs in bays 3 and 5. It writes as the
// real one does: AMC LEDs of the first AMC only, 0 for success; a controller behind it refuses white with 0xCC, and LED
// 2 of bay 5 cannot be read. Parts::None: none at all.
#include "host/stubs/Variant.h"

#include "bm/BaseAdaptor.h"
#include "common/veldo_common_protocol.h"

#include <array>
#include <map>
#include <utility>

namespace {

using namespace BM_ADAPTOR;

constexpr int IllegalField = 0xCC;

struct State {
    int m_local = 1;
    int m_on = 0;
    int m_off = 1;
    int m_lampTest = 0;
    int m_color = INTERNAL_LED_NO_COLOR;
};

/// The ids of a row's values: local control, on, off, lamp test, colour.
using ValueIds = std::array<unsigned, 5>;
constexpr ValueIds Board = {BMI_HW_BB_LED_LOCAL_CONTROL, BMI_HW_BB_LED_ON_TIME, BMI_HW_BB_LED_OFF_TIME,
                            BMI_HW_BB_LED_LAMP_TEST, BMI_HW_BB_LED_COLOR};
constexpr ValueIds Module = {BMI_HW_AMC_LED_LOCAL_CONTROL, BMI_HW_AMC_LED_ON_TIME, BMI_HW_AMC_LED_OFF_TIME,
                             BMI_HW_AMC_LED_LAMP_TEST, BMI_HW_AMC_LED_COLOR};
constexpr unsigned BoardGroup = BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL;
constexpr unsigned ModuleGroup = BMI_GROUP_HARDWARE_AMC_LED_INTERNAL;

void Add(CBMIParams& row, unsigned id, int value) {
    CBMIParam param(BMI_PARAM_INT, id, false);
    param.SetInt(value);
    row.Add(param);
}

int Get(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    return param != nullptr ? param->GetInt() : 0;
}

class StubLeds final : public CBaseAdaptor {
public:
    StubLeds() {
        if (TheVariant.m_parts == Parts::None) return;
        for (const auto& [bay, count] : {std::pair{0, 3}, {3, 2}, {5, 2}}) {
            for (int led = 1; led <= count; ++led)
                m_leds[{bay, led}] = {};
        }
        m_leds[{0, 2}] = {0, 25, 50, 0, INTERNAL_LED_RED};
        m_leds[{0, 3}] = {0, 0, 0, 34, 0};
        m_leds[{3, 1}] = {0, 1, 0, 0, INTERNAL_LED_BLUE};
    }

    int Init(IBMAdaptorMgr*) override { return 1; }
    int Fin() override { return 1; }
    int Start(structBmiDeviceInfoType*) override { return 1; }
    int Stop(structBmiDeviceInfoType*) override { return 1; }

    int ReadParams(unsigned group, const CBMIKeys* keys, CBMIParams*& row) override {
        row = nullptr;
        if (group != BoardGroup && group != ModuleGroup) return RESULT_NOT_FOUND;
        const auto found = m_leds.find(PlaceOf(group, *keys));
        if (found == m_leds.end()) return RESULT_NOT_FOUND;
        if (found->first == std::pair{5, 2}) return 0;
        const ValueIds& ids = group == BoardGroup ? Board : Module;
        const State& state = found->second;
        row = new CBMIParams;
        Add(*row, ids[0], state.m_local);
        Add(*row, ids[1], state.m_on);
        Add(*row, ids[2], state.m_off);
        Add(*row, ids[3], state.m_lampTest);
        Add(*row, ids[4], state.m_color);
        return 1;
    }

    int WriteParams(unsigned group, CBMIKeys* keys, CBMIParams* values) override {
        auto place = PlaceOf(group, *keys);
        if (group == ModuleGroup) place.first = 3;
        const auto found = m_leds.find(place);
        if (found == m_leds.end()) return RESULT_NOT_FOUND;
        const ValueIds& ids = group == BoardGroup ? Board : Module;
        if (Get(*values, ids[4]) == INTERNAL_LED_WHITE) return IllegalField;
        const bool overridden = Get(*values, ids[0]) != 0;
        const int on = Get(*values, ids[1]);
        const bool blink = on > 1;
        found->second = {overridden ? 0 : 1, blink ? on / 10 : on, Get(*values, ids[2]) / (blink ? 10 : 1), 0,
                         Get(*values, ids[4])};
        return 0;
    }

    int CreateParams(unsigned, const CBMIKeys*, CBMIParams*) override { return 0; }
    int DeleteParams(unsigned, const CBMIKeys*) override { return 1; }
    int GetParamTable(unsigned, CBMITable*&) override { return 0; }
    int ProcessEvent(unsigned, CBMIEvParams*) override { return 1; }

private:
    static std::pair<int, int> PlaceOf(unsigned group, const CBMIKeys& keys) {
        if (group == BoardGroup) return {0, Get(keys, BMI_HW_BB_LED_ID)};
        return {Get(keys, BMI_HW_AMC_LED_BAY), Get(keys, BMI_HW_AMC_LED_ID)};
    }

    std::map<std::pair<int, int>, State> m_leds; // by bay, 0 being the baseboard, and LED
};

} // namespace

void* CreateStub() {
    return static_cast<CBaseAdaptor*>(new StubLeds);
}

void DestroyStub(void* adaptor) {
    delete static_cast<StubLeds*>(static_cast<CBaseAdaptor*>(adaptor));
}
