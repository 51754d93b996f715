// The DSPs' IP addresses in the host's storage, and the defaults that an empty one is given.
#include "adaptor/dsp/IPMI_DSPStore.h"

#include "bm/Log.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_storage.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace BM_ADAPTOR {

namespace {

// Addresses of DSP 1 and up while nobody has stored any. Descending, as the boards were always numbered.
constexpr const char* DEFAULT_IPS[] = {"192.168.0.23", "192.168.0.22", "192.168.0.21", "192.168.0.20"};

// In the transaction of the caller.
int StoreIP(QUB_STORAGE::CDataStorage& a_Storage, int a_Dsp, const std::string& a_IP, bool a_bCreate) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
    CBMIParams l_Row = l_Keys;
    AddText(l_Row, BMI_HW_AMC_DSP_EX_IP, a_IP);
    return a_bCreate ? a_Storage.CreateRow(DSP_IP_FILE, l_Keys, l_Row) : a_Storage.SetRow(DSP_IP_FILE, l_Keys, l_Row);
}

// A transaction cannot be rolled back. When the storage takes some of the rows, it is asked for the others once more:
// a table with a gap would never be completed.
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

// Reads and fills in one transaction: however it ends, all of the defaults are there or none, and no other process
// fills the table in between.
int DSP_IP_STORE::Seed() const {
    QUB_STORAGE::CDataStorage* const l_Storage = m_Storage;
    if (l_Storage == nullptr) return RESULT_NOTHING_DONE;
    STORAGE_TRANSACTION l_Transaction(*l_Storage);
    if (!l_Transaction.IsOpen()) return l_Transaction.Begun();
    CBMITable l_Table;
    const bool l_IsFilled = l_Storage->RetrieveTable(DSP_IP_FILE, l_Table, 0) == RESULT_OK && l_Table.GetSize() > 0;
    return l_Transaction.End(l_IsFilled ? static_cast<int>(RESULT_OK) : CreateDefaultIPs(*l_Storage));
}

int DSP_IP_STORE::Get(int a_Dsp, std::string& a_IP) const {
    if (QUB_STORAGE::CDataStorage* const l_Storage = m_Storage; l_Storage != nullptr) {
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

int DSP_IP_STORE::Set(int a_Dsp, const std::string& a_IP, bool a_bCreate) const {
    QUB_STORAGE::CDataStorage* const l_Storage = m_Storage;
    if (l_Storage == nullptr) return RESULT_NOTHING_DONE;
    STORAGE_TRANSACTION l_Transaction(*l_Storage);
    if (!l_Transaction.IsOpen()) return l_Transaction.Begun();
    return l_Transaction.End(StoreIP(*l_Storage, a_Dsp, a_IP, a_bCreate));
}

} // namespace BM_ADAPTOR
