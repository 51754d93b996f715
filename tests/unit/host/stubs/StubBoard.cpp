// An adaptor with DSPs and switch ports and nothing else: two DSPs in AMC bay 3 and one in bay 5, the second without an
// address, the third not in service; ports 1 and 2. The storage refuses the address 10.0.0.1, the switch port 2, whose
// link is unknown. STUB_EMPTY: none at all. STUB_GOOD: everything has its address and works. STUB_STORAGE_REFUSES: the
// storage tells of it in Init, or at each look for an address.
#include "adaptor/IPMI_Adaptor_Groups.h"
#include "bm/BaseAdaptor.h"
#include "bm/Log.h"

#include <map>
#include <string>

namespace {

using namespace BM_ADAPTOR;

#ifdef STUB_EMPTY
constexpr int DSPS = 0;
constexpr int PORTS = 0;
#else
constexpr int DSPS = 3;
constexpr int PORTS = 2;
#endif
#ifdef STUB_GOOD
constexpr bool GOOD = true;
#else
constexpr bool GOOD = false;
#endif

#ifndef STUB_STORAGE_REFUSES
#define STUB_STORAGE_REFUSES NOTHING
#endif
enum class REFUSED { NOTHING, SEEDING, READING };
constexpr REFUSED STORAGE_REFUSES = REFUSED::STUB_STORAGE_REFUSES;

void RefuseIf(REFUSED a_What, const char* a_Text) {
    if (STORAGE_REFUSES == a_What) bmiLog(BM_LOG_ERROR, "Storage", "CDataStorage :: %s", a_Text);
}

void AddNumber(CBMIParams& a_Row, unsigned a_Id, int a_Value) {
    CBMIParam l_Param(BMI_PARAM_INT, a_Id, false);
    l_Param.SetInt(a_Value);
    a_Row.Add(l_Param);
}

void AddText(CBMIParams& a_Row, unsigned a_Id, const std::string& a_Value) {
    CBMIParam l_Param(BMI_PARAM_STRING, a_Id, false);
    l_Param.SetString(a_Value);
    a_Row.Add(l_Param);
}

int Number(const CBMIParams& a_Row, unsigned a_Id) {
    const CBMIParam* const l_Param = a_Row.GetParamById(a_Id);
    return l_Param != nullptr ? l_Param->GetInt() : 0;
}

class STUB_BOARD final : public CBaseAdaptor {
public:
    int Init(IBMAdaptorMgr*) override {
        RefuseIf(REFUSED::SEEDING, "EndTransaction - /x/.new.addresses: Read-only file system");
        return 1;
    }
    int Fin() override { return 1; }
    int Start(structBmiDeviceInfoType*) override { return 1; }
    int Stop(structBmiDeviceInfoType*) override { return 1; }

    int ReadParams(unsigned a_Group, const CBMIKeys* a_Keys, CBMIParams*& a_Row) override {
        a_Row = new CBMIParams;
        if (a_Group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            AddPort(*a_Row, Number(*a_Keys, BMI_HW_AMC_SWITCHPORT_NUM));
            return 1;
        }
        const int l_Dsp = Number(*a_Keys, BMI_HW_AMC_DSP_EX_NUM);
        if (!GOOD && l_Dsp == DSPS) return 4;
        const auto l_Found = m_Addresses.find(l_Dsp);
        if (l_Found == m_Addresses.end()) {
            RefuseIf(REFUSED::READING, "StartTransaction - /x: Permission denied");
            return 21;
        }
        AddText(*a_Row, BMI_HW_AMC_DSP_EX_IP, l_Found->second);
        return 1;
    }

    int WriteParams(unsigned a_Group, CBMIKeys* a_Keys, CBMIParams* a_Values) override {
        if (a_Group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            const int l_Port = Number(*a_Keys, BMI_HW_AMC_SWITCHPORT_NUM);
            if (l_Port < 1 || l_Port > PORTS) return 4;
            if (!GOOD && l_Port == 2) return 0;
            m_States[l_Port] = Number(*a_Values, BMI_HW_AMC_SWITCHPORT_ADMIN);
            return 1;
        }
        const int l_Dsp = Number(*a_Keys, BMI_HW_AMC_DSP_EX_NUM);
        if (l_Dsp < 1 || l_Dsp > DSPS) return 4;
        const std::string& l_Address = a_Values->GetParamById(BMI_HW_AMC_DSP_EX_IP)->GetString();
        if (l_Address == "10.0.0.1") return 0;
        m_Addresses[l_Dsp] = l_Address;
        return 1;
    }

    int CreateParams(unsigned, const CBMIKeys*, CBMIParams*) override { return 0; }
    int DeleteParams(unsigned, const CBMIKeys*) override { return 1; }

    int GetParamTable(unsigned a_Group, CBMITable*& a_Table) override {
        a_Table = new CBMITable;
        if (a_Group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            for (int l_Port = 1; l_Port <= PORTS; ++l_Port) {
                CBMIParams l_Row;
                AddPort(l_Row, l_Port);
                a_Table->AddRow(l_Row);
            }
            return 1;
        }
        for (int l_Dsp = 1; l_Dsp <= DSPS; ++l_Dsp) {
            CBMIParams l_Row;
            AddNumber(l_Row, BMI_HW_AMC_DSP_BAY, l_Dsp < DSPS ? 3 : 5);
            AddNumber(l_Row, BMI_HW_AMC_DSP_NUM, l_Dsp < DSPS ? l_Dsp : 1);
            AddText(l_Row, BMI_HW_AMC_DSP_MAC, "02:00:00:00:00:0" + std::to_string(l_Dsp));
            a_Table->AddRow(l_Row);
        }
        return 1;
    }

    int ProcessEvent(unsigned, CBMIEvParams*) override { return 1; }

private:
    void AddPort(CBMIParams& a_Row, int a_Port) {
        AddNumber(a_Row, BMI_HW_AMC_SWITCHPORT_NUM, a_Port);
        AddText(a_Row, BMI_HW_AMC_SWITCHPORT_NAME, "Port " + std::to_string(a_Port));
        AddNumber(a_Row, BMI_HW_AMC_SWITCHPORT_TYPE, a_Port == 1 ? 2 : 3);
        AddNumber(a_Row, BMI_HW_AMC_SWITCHPORT_ADMIN, m_States[a_Port]);
        AddNumber(a_Row, BMI_HW_AMC_SWITCHPORT_OPER, !GOOD && a_Port == 2 ? 2 : m_States[a_Port] == 1);
    }

    std::map<int, std::string> m_Addresses =
        GOOD ? std::map<int, std::string>{{1, "192.168.0.23"}, {2, "192.168.0.22"}, {3, "192.168.0.21"}}
             : std::map<int, std::string>{{1, "192.168.0.23"}};
    std::map<int, int> m_States = {{1, 1}, {2, GOOD ? 0 : 5}};
};

} // namespace

extern "C" __attribute__((visibility("default"))) void* CreateAdaptor() {
    return static_cast<CBaseAdaptor*>(new STUB_BOARD);
}

extern "C" __attribute__((visibility("default"))) void DestroyAdaptor(void* a_Adaptor) {
    delete static_cast<STUB_BOARD*>(static_cast<CBaseAdaptor*>(a_Adaptor));
}
