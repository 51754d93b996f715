// The DSPs' addresses: which MACs there are, and the IP addresses that the host's storage keeps for them.
#include "adaptor/dsp/IPMI_DSPs.h"

#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/board/IPMI_Board.h"
#include "adaptor/board/IPMI_MAC.h"
#include "adaptor/board/IPMI_Network.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_storage.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <utility>

#include <arpa/inet.h>

namespace BM_ADAPTOR {

namespace {

// Addresses of DSP 1 and up while nobody has stored any. Descending, as the boards were always numbered.
constexpr const char* DEFAULT_IPS[] = {"192.168.0.23", "192.168.0.22", "192.168.0.21", "192.168.0.20"};

// inet_addr() takes more than an address: a text is not looked at behind a blank. Such a text must not pass for one,
// for it would go on to a shell.
bool IsDotted(const std::string& a_Text) {
    return a_Text.find_first_not_of("0123456789abcdefABCDEFxX.") == std::string::npos;
}

// In the transaction of the caller.
int StoreIP(QUB_STORAGE::CDataStorage& a_Storage, int a_Dsp, const std::string& a_IP, bool a_Create) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
    CBMIParams l_Row = l_Keys;
    AddText(l_Row, BMI_HW_AMC_DSP_EX_IP, a_IP);
    return a_Create ? a_Storage.CreateRow(DSP_IP_FILE, l_Keys, l_Row) : a_Storage.SetRow(DSP_IP_FILE, l_Keys, l_Row);
}

// A transaction cannot be taken back. When the storage takes some of the rows, it is asked for the others once more:
// a table with a hole would never be completed.
int CreateDefaultIPs(QUB_STORAGE::CDataStorage& a_Storage) {
    std::array<int, std::size(DEFAULT_IPS)> l_Results{};
    const auto l_Create = [&](std::size_t a_Index) {
        l_Results[a_Index] = StoreIP(a_Storage, static_cast<int>(a_Index) + 1, DEFAULT_IPS[a_Index], true);
    };
    for (std::size_t i = 0; i < l_Results.size(); ++i)
        l_Create(i);
    if (std::ranges::count(l_Results, RESULT_OK) == 0) return l_Results.back();
    for (std::size_t i = 0; i < l_Results.size(); ++i)
        if (l_Results[i] != RESULT_OK) l_Create(i);
    return l_Results.back();
}

} // namespace

std::string DSPArguments(const IPMI_DSP_Info_S* a_DSPs, int a_NumDSPs) {
    std::string l_Arguments;
    for (int i = 0; a_DSPs != nullptr && i < a_NumDSPs; ++i) {
        const auto& [l_MAC, l_IP] = a_DSPs[i];
        l_Arguments += FormatText(" /%d/%s/%s", i, l_MAC.c_str(), l_IP.c_str());
    }
    return l_Arguments;
}

int IPMIAdaptor::GetAMCFirstMac(std::string& a_Mac) {
    const auto l_Address = HardwareAddressOf(HOST_INTERFACE);
    if (!l_Address) {
        LogError(m_Logger, "Fail to Get MAC of eth6");
        return RESULT_NOTHING_DONE;
    }
    const auto& l_Bytes = l_Address->m_Bytes;
    a_Mac = FormatText("%02x:%02x:%02x:%02x:%02x:%02x", l_Bytes[0], l_Bytes[1], l_Bytes[2], l_Bytes[3], l_Bytes[4],
                       l_Bytes[5]);
    return RESULT_OK;
}

// The base and the address behind it are the CPUs'.
bool IPMIAdaptor::CalculateDspMacAddr(const std::string& a_BaseMac, int a_Count, std::string* a_Macs) {
    const auto l_Base = MAC_ADDRESS::Parse(a_BaseMac);
    if (!l_Base) return false;
    for (int i = 0; i < a_Count; ++i)
        a_Macs[i] = l_Base->Plus(static_cast<uint32_t>(i) + 2).Text();
    return true;
}

int IPMIAdaptor::mInitDSPInfo() {
    CBMITable* l_Made = nullptr;
    const int l_Result = AMC_DSP_ReadTable(l_Made);
    const std::unique_ptr<CBMITable> l_Table(l_Made);
    if (l_Result == RESULT_OK && l_Table->GetSize() > 0) {
        mSetDepop(l_Table->GetSize());
        mKeepDSPMacs(*l_Table);
    } else {
        mForgetDSPs();
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Can not get DSP Info table");
    }
    return mInitIPInfo();
}

// DSPs are numbered by their rows; a row without a MAC keeps its number. They take the place of those known before.
void IPMIAdaptor::mKeepDSPMacs(const CBMITable& a_Table) {
    DSP_MACS l_Macs;
    for (int i = 0; i < a_Table.GetSize(); ++i) {
        const CBMIParams* l_Row = a_Table.Get(i);
        if (l_Row == nullptr) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Can not get MAC Address of dsp[%d]", i + 1);
            break;
        }
        if (auto l_Mac = TextParam(l_Row, BMI_HW_AMC_DSP_MAC)) l_Macs[i + 1] = std::move(*l_Mac);
    }
    m_DspMacMap.Replace(std::move(l_Macs));
}

void IPMIAdaptor::mForgetDSPs() {
    m_DspMacMap.Clear();
}

// Looks and fills in one transaction: whatever ends it, all of the defaults are there or none, and no other process
// fills the table in between.
int IPMIAdaptor::mInitIPInfo() {
    QUB_STORAGE::CDataStorage* const l_Storage = GetStorage();
    if (l_Storage == nullptr) return RESULT_NOTHING_DONE;
    STORAGE_TRANSACTION l_Transaction(*l_Storage);
    if (!l_Transaction.IsOpen()) return l_Transaction.Begun();
    CBMITable l_Table;
    const bool l_IsFilled = l_Storage->RetrieveTable(DSP_IP_FILE, l_Table, 0) == RESULT_OK && l_Table.GetSize() > 0;
    return l_Transaction.End(l_IsFilled ? static_cast<int>(RESULT_OK) : CreateDefaultIPs(*l_Storage));
}

int IPMIAdaptor::mGetDspIpAddrDB(int a_Dsp, std::string& a_IP) {
    if (QUB_STORAGE::CDataStorage* const l_Storage = GetStorage(); l_Storage != nullptr) {
        const STORAGE_TRANSACTION l_Transaction(*l_Storage);
        CBMIKeys l_Keys;
        AddKey(l_Keys, BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
        CBMIParams l_Row;
        if (l_Transaction.IsOpen() && l_Storage->RetrieveRow(DSP_IP_FILE, l_Keys, l_Row, 0) == RESULT_OK) {
            if (auto l_IP = TextParam(&l_Row, BMI_HW_AMC_DSP_EX_IP)) {
                a_IP = std::move(*l_IP);
                return RESULT_OK;
            }
        }
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Can not get IP Address of dsp[%d]", a_Dsp);
    return RESULT_NOTHING_DONE;
}

int IPMIAdaptor::mSetDspIpAddrDB(int a_Dsp, const std::string& a_IP, bool a_Create) {
    QUB_STORAGE::CDataStorage* const l_Storage = GetStorage();
    if (l_Storage == nullptr) return RESULT_NOTHING_DONE;
    STORAGE_TRANSACTION l_Transaction(*l_Storage);
    if (!l_Transaction.IsOpen()) return l_Transaction.Begun();
    return l_Transaction.End(StoreIP(*l_Storage, a_Dsp, a_IP, a_Create));
}

int IPMIAdaptor::mFillDSPInfo(int a_Index, int a_Dsp, IPMI_DSP_Info_S* a_Table) {
    const auto l_Macs = m_DspMacMap.Get();
    const auto l_Found = l_Macs->find(a_Dsp);
    if (l_Found == l_Macs->end()) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Fail to get MAC Address of DSP[%d]", a_Dsp);
        return RESULT_NOTHING_DONE;
    }
    const bool l_IsInTable = a_Table != nullptr && a_Index >= 0 && a_Index < static_cast<int>(l_Macs->size());
    if (!l_IsInTable) return RESULT_NOTHING_DONE;
    a_Table[a_Index].m_MAC = l_Found->second;
    return mGetDspIpAddrDB(a_Dsp, a_Table[a_Index].m_IP);
}

int IPMIAdaptor::mGetIPAddrByName(const std::string& a_Interface, std::string& a_IP) {
    auto l_Address = IPv4AddressOf(a_Interface);
    if (!l_Address) return RESULT_NOTHING_DONE;
    a_IP = std::move(*l_Address);
    return RESULT_OK;
}

bool IPMIAdaptor::mIsOnSameSubnet(const std::string& a_First, const std::string& a_Second, const std::string& a_Mask) {
    if (!IsDotted(a_First) || !IsDotted(a_Second)) return false;
    const in_addr_t l_First = inet_addr(a_First.c_str());
    const in_addr_t l_Second = inet_addr(a_Second.c_str());
    const in_addr_t l_Mask = inet_addr(a_Mask.c_str());
    return l_First != INADDR_NONE && l_Second != INADDR_NONE && (l_First & l_Mask) == (l_Second & l_Mask);
}

} // namespace BM_ADAPTOR
