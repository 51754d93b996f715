// The host's storage as several threads meet it; see the header.
#include "fake/TurnStorage.h"

int TURN_STORAGE::StartTransaction() {
    if (m_AtStart) m_AtStart();
    std::unique_lock l_Lock(m_Guard);
    if (m_Owner == std::this_thread::get_id()) return 0;
    m_Given.wait(l_Lock, [&] { return m_Owner == std::thread::id(); });
    const int l_Result = FAKE_STORAGE::StartTransaction();
    if (l_Result == 1) m_Owner = std::this_thread::get_id();
    return l_Result;
}

int TURN_STORAGE::EndTransaction() {
    const std::lock_guard l_Lock(m_Guard);
    const int l_Result = FAKE_STORAGE::EndTransaction();
    m_Owner = {};
    m_Given.notify_one();
    return l_Result;
}

int TURN_STORAGE::RetrieveRow(const std::string& a_File, const BM_ADAPTOR::CBMIKeys& a_Keys,
                              BM_ADAPTOR::CBMIParams& a_Row, int a_Force) {
    if (m_AtRow) m_AtRow();
    return FAKE_STORAGE::RetrieveRow(a_File, a_Keys, a_Row, a_Force);
}

int TURN_STORAGE::SetRow(const std::string& a_File, const BM_ADAPTOR::CBMIKeys& a_Keys,
                         const BM_ADAPTOR::CBMIParams& a_Row) {
    if (m_AtRow) m_AtRow();
    return FAKE_STORAGE::SetRow(a_File, a_Keys, a_Row);
}
