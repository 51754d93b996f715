// An adaptor with DSPs and switch ports and nothing else: two DSPs in AMC bay 3 and one in bay 5, the second without an
// address, the third not in service; ports 1 and 2. The storage refuses the address 10.0.0.1, the switch port 2, whose
// link is unknown. Parts::None: none at all. Parts::Good: everything has its address and works.
#include "host/stubs/Variant.h"

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"
#include "common/veldo_common_protocol.h"

#include <map>
#include <string>

namespace {

using namespace BM_ADAPTOR;

const int Dsps = TheVariant.m_parts == Parts::None ? 0 : 3;
const int Ports = TheVariant.m_parts == Parts::None ? 0 : 2;
const bool Good = TheVariant.m_parts == Parts::Good;

void RefuseIf(Refused what, const char* text) {
    if (TheVariant.m_refused == what) bmiLog(BM_LOG_ERROR, "Storage", "CDataStorage :: %s", text);
}

void AddNumber(CBMIParams& row, unsigned id, int value) {
    CBMIParam param(BMI_PARAM_INT, id, false);
    param.SetInt(value);
    row.Add(param);
}

void AddText(CBMIParams& row, unsigned id, const std::string& value) {
    CBMIParam param(BMI_PARAM_STRING, id, false);
    param.SetString(value);
    row.Add(param);
}

int Number(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    return param != nullptr ? param->GetInt() : 0;
}

class StubBoard final : public CBaseAdaptor {
public:
    int Init(IBMAdaptorMgr*) override {
        RefuseIf(Refused::Seeding, "EndTransaction - /x/.new.addresses: Read-only file system");
        return 1;
    }
    int Fin() override { return 1; }
    int Start(structBmiDeviceInfoType*) override { return 1; }
    int Stop(structBmiDeviceInfoType*) override { return 1; }

    int ReadParams(unsigned group, const CBMIKeys* keys, CBMIParams*& row) override {
        row = new CBMIParams;
        if (group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            AddPort(*row, Number(*keys, BMI_HW_AMC_SWITCHPORT_NUM));
            return 1;
        }
        const int dsp = Number(*keys, BMI_HW_AMC_DSP_EX_NUM);
        if (!Good && dsp == Dsps) return 4;
        const auto found = m_addresses.find(dsp);
        if (found == m_addresses.end()) {
            RefuseIf(Refused::Reading, "StartTransaction - /x: Permission denied");
            return 21;
        }
        AddText(*row, BMI_HW_AMC_DSP_EX_IP, found->second);
        return 1;
    }

    int WriteParams(unsigned group, CBMIKeys* keys, CBMIParams* values) override {
        if (group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            const int port = Number(*keys, BMI_HW_AMC_SWITCHPORT_NUM);
            if (port < 1 || port > Ports) return 4;
            if (!Good && port == 2) {
                bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "the switch says why");
                return 0;
            }
            m_states[port] = Number(*values, BMI_HW_AMC_SWITCHPORT_ADMIN);
            return 1;
        }
        const int dsp = Number(*keys, BMI_HW_AMC_DSP_EX_NUM);
        if (dsp < 1 || dsp > Dsps) return 4;
        const std::string& address = values->GetParamById(BMI_HW_AMC_DSP_EX_IP)->GetString();
        if (address == "10.0.0.1") return 0;
        m_addresses[dsp] = address;
        return 1;
    }

    int CreateParams(unsigned, const CBMIKeys*, CBMIParams*) override { return 0; }
    int DeleteParams(unsigned, const CBMIKeys*) override { return 1; }

    int GetParamTable(unsigned group, CBMITable*& table) override {
        table = new CBMITable;
        if (group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            for (int port = 1; port <= Ports; ++port) {
                CBMIParams row;
                AddPort(row, port);
                table->AddRow(row);
            }
            return 1;
        }
        for (int dsp = 1; dsp <= Dsps; ++dsp) {
            CBMIParams row;
            AddNumber(row, BMI_HW_AMC_DSP_BAY, dsp < Dsps ? 3 : 5);
            AddNumber(row, BMI_HW_AMC_DSP_NUM, dsp < Dsps ? dsp : 1);
            AddText(row, BMI_HW_AMC_DSP_MAC, "02:00:00:00:00:0" + std::to_string(dsp));
            table->AddRow(row);
        }
        return 1;
    }

    int ProcessEvent(unsigned, CBMIEvParams*) override { return 1; }

private:
    void AddPort(CBMIParams& row, int port) {
        AddNumber(row, BMI_HW_AMC_SWITCHPORT_NUM, port);
        AddText(row, BMI_HW_AMC_SWITCHPORT_NAME, "Port " + std::to_string(port));
        AddNumber(row, BMI_HW_AMC_SWITCHPORT_TYPE, port == 1 ? 2 : 3);
        AddNumber(row, BMI_HW_AMC_SWITCHPORT_ADMIN, m_states[port]);
        AddNumber(row, BMI_HW_AMC_SWITCHPORT_OPER, !Good && port == 2 ? 2 : m_states[port] == 1);
    }

    std::map<int, std::string> m_addresses =
        Good ? std::map<int, std::string>{{1, "192.168.0.23"}, {2, "192.168.0.22"}, {3, "192.168.0.21"}}
             : std::map<int, std::string>{{1, "192.168.0.23"}};
    std::map<int, int> m_states = {{1, 1}, {2, Good ? 0 : 5}};
};

} // namespace

void* CreateStub() {
    return static_cast<CBaseAdaptor*>(new StubBoard);
}

void DestroyStub(void* adaptor) {
    delete static_cast<StubBoard*>(static_cast<CBaseAdaptor*>(adaptor));
}
