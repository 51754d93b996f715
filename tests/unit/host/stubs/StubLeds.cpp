// An adaptor with LEDs and nothing else: three of the baseboard, two each of the AMCs in bays 3 and 5. It writes as the
// real one does: AMC LEDs of the first AMC only, 0 for success; a controller behind it refuses white with 0xCC, and LED
// 2 of bay 5 cannot be read. STUB_NO_LEDS: none at all.
#include "adaptor/IPMI_Adaptor_Groups.h"
#include "bm/BaseAdaptor.h"

#include <array>
#include <map>
#include <utility>

namespace {

using namespace BM_ADAPTOR;

constexpr int NOT_FOUND = 12;
constexpr int ILLEGAL_FIELD = 0xCC;
constexpr int WHITE = 1;

struct STATE {
    int m_Local = 1;
    int m_On = 0;
    int m_Off = 1;
    int m_LampTest = 0;
    int m_Color = 0;
};

/// The ids of a row's values: local control, on, off, lamp test, colour.
using VALUE_IDS = std::array<unsigned, 5>;
constexpr VALUE_IDS BOARD = {0x105, 0x102, 0x103, 0x104, 0x10C};
constexpr VALUE_IDS MODULE = {0x205, 0x202, 0x203, 0x204, 0x20C};

void Add(CBMIParams& a_Row, unsigned a_Id, int a_Value) {
    CBMIParam l_Param(BMI_PARAM_INT, a_Id, false);
    l_Param.SetInt(a_Value);
    a_Row.Add(l_Param);
}

int Get(const CBMIParams& a_Row, unsigned a_Id) {
    const CBMIParam* const l_Param = a_Row.GetParamById(a_Id);
    return l_Param != nullptr ? l_Param->GetInt() : 0;
}

class STUB_LEDS final : public CBaseAdaptor {
public:
    STUB_LEDS() {
#ifndef STUB_NO_LEDS
        for (const auto& [l_Bay, l_Count] : {std::pair{0, 3}, {3, 2}, {5, 2}}) {
            for (int l_LED = 1; l_LED <= l_Count; ++l_LED)
                m_LEDs[{l_Bay, l_LED}] = {};
        }
        m_LEDs[{0, 2}] = {0, 25, 50, 0, 2};
        m_LEDs[{0, 3}] = {0, 0, 0, 34, 0};
        m_LEDs[{3, 1}] = {0, 1, 0, 0, 4};
#endif
    }

    int Init(IBMAdaptorMgr*) override {
        return 1;
    }
    int Fin() override {
        return 1;
    }
    int Start(structBmiDeviceInfoType*) override {
        return 1;
    }
    int Stop(structBmiDeviceInfoType*) override {
        return 1;
    }

    int ReadParams(unsigned a_Group, const CBMIKeys* a_Keys, CBMIParams*& a_Row) override {
        a_Row = nullptr;
        if (a_Group != 0x100 && a_Group != 0x200) return NOT_FOUND;
        const auto l_Found = m_LEDs.find(PlaceOf(a_Group, *a_Keys));
        if (l_Found == m_LEDs.end()) return NOT_FOUND;
        if (l_Found->first == std::pair{5, 2}) return 0;
        const VALUE_IDS& l_Ids = a_Group == 0x100 ? BOARD : MODULE;
        const STATE& l_State = l_Found->second;
        a_Row = new CBMIParams;
        Add(*a_Row, l_Ids[0], l_State.m_Local);
        Add(*a_Row, l_Ids[1], l_State.m_On);
        Add(*a_Row, l_Ids[2], l_State.m_Off);
        Add(*a_Row, l_Ids[3], l_State.m_LampTest);
        Add(*a_Row, l_Ids[4], l_State.m_Color);
        return 1;
    }

    int WriteParams(unsigned a_Group, CBMIKeys* a_Keys, CBMIParams* a_Values) override {
        auto l_Place = PlaceOf(a_Group, *a_Keys);
        if (a_Group == 0x200) l_Place.first = 3;
        const auto l_Found = m_LEDs.find(l_Place);
        if (l_Found == m_LEDs.end()) return NOT_FOUND;
        const VALUE_IDS& l_Ids = a_Group == 0x100 ? BOARD : MODULE;
        if (Get(*a_Values, l_Ids[4]) == WHITE) return ILLEGAL_FIELD;
        const bool l_Override = Get(*a_Values, l_Ids[0]) != 0;
        const int l_On = Get(*a_Values, l_Ids[1]);
        const bool l_Blink = l_On > 1;
        l_Found->second = {l_Override ? 0 : 1, l_Blink ? l_On / 10 : l_On,
                           Get(*a_Values, l_Ids[2]) / (l_Blink ? 10 : 1), 0, Get(*a_Values, l_Ids[4])};
        return 0;
    }

    int CreateParams(unsigned, const CBMIKeys*, CBMIParams*) override {
        return 0;
    }
    int DeleteParams(unsigned, const CBMIKeys*) override {
        return 1;
    }
    int GetParamTable(unsigned, CBMITable*&) override {
        return 0;
    }
    int ProcessEvent(unsigned, CBMIEvParams*) override {
        return 1;
    }

private:
    static std::pair<int, int> PlaceOf(unsigned a_Group, const CBMIKeys& a_Keys) {
        if (a_Group == 0x100) return {0, Get(a_Keys, BMI_HW_BB_LED_ID)};
        return {Get(a_Keys, BMI_HW_AMC_LED_BAY), Get(a_Keys, BMI_HW_AMC_LED_ID)};
    }

    std::map<std::pair<int, int>, STATE> m_LEDs; // by bay, 0 being the baseboard, and LED
};

} // namespace

extern "C" __attribute__((visibility("default"))) void* CreateAdaptor() {
    return static_cast<CBaseAdaptor*>(new STUB_LEDS);
}

extern "C" __attribute__((visibility("default"))) void DestroyAdaptor(void* a_Adaptor) {
    delete static_cast<STUB_LEDS*>(static_cast<CBaseAdaptor*>(a_Adaptor));
}
