// The host's storage as tests play it; see the header.
#include "fake/FakeStorage.h"

#include "adaptor/AdaptorTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;

namespace {

constexpr int NOTHING_SCRIPTED = -1;

std::string Joined(const CBMIParams& a_Params) {
    std::string l_Text;
    for (const std::string& l_Param : TextsOf(a_Params))
        l_Text += (l_Text.empty() ? "" : ", ") + l_Param;
    return l_Text;
}

int32_t KeyIn(const CBMIKeys& a_Keys) {
    return a_Keys.GetSize() > 0 ? a_Keys.Get(0)->GetInt() : 0;
}

} // namespace

int FAKE_STORAGE::Refusal(const std::string& a_Name, const CBMIKeys* a_Keys) const {
    const std::string l_WithKey = a_Keys != nullptr ? a_Name + " " + std::to_string(KeyIn(*a_Keys)) : a_Name;
    for (const std::string& l_Name : {l_WithKey, a_Name}) {
        if (const auto l_Found = m_Refusals.find(l_Name); l_Found != m_Refusals.end()) return l_Found->second;
    }
    return NOTHING_SCRIPTED;
}

int FAKE_STORAGE::StartTransaction() {
    m_Calls.emplace_back("StartTransaction");
    if (m_IsOpen) ++m_Misuses;
    if (const int l_Refused = Refusal("StartTransaction"); l_Refused != NOTHING_SCRIPTED) return l_Refused;
    m_IsOpen = true;
    return 1;
}

int FAKE_STORAGE::EndTransaction() {
    m_Calls.emplace_back("EndTransaction");
    if (!m_IsOpen) ++m_Misuses;
    m_IsOpen = false;
    const int l_Refused = Refusal("EndTransaction");
    return l_Refused != NOTHING_SCRIPTED ? l_Refused : 1;
}

int FAKE_STORAGE::RetrieveRow(const std::string& a_File, const CBMIKeys& a_Keys, CBMIParams& a_Row, int a_Force) {
    m_Calls.push_back("RetrieveRow " + a_File + " " + Joined(a_Keys) + " force " + std::to_string(a_Force));
    if (!m_IsOpen) ++m_Misuses;
    if (const int l_Refused = Refusal("RetrieveRow", &a_Keys); l_Refused != NOTHING_SCRIPTED) return l_Refused;
    const auto& l_Rows = m_Files[a_File];
    const auto l_Found = l_Rows.find(KeyIn(a_Keys));
    if (l_Found == l_Rows.end()) return 4;
    for (int i = 0; i < l_Found->second.GetSize(); ++i)
        a_Row.Add(*l_Found->second.Get(i));
    return 1;
}

int FAKE_STORAGE::RetrieveTable(const std::string& a_File, CBMITable& a_Table, int a_Force) {
    m_Calls.push_back("RetrieveTable " + a_File + " force " + std::to_string(a_Force));
    if (!m_IsOpen) ++m_Misuses;
    if (const int l_Refused = Refusal("RetrieveTable"); l_Refused != NOTHING_SCRIPTED) return l_Refused;
    for (auto& [l_Key, l_Row] : m_Files[a_File])
        a_Table.AddRow(l_Row);
    return 1;
}

int FAKE_STORAGE::CreateRow(const std::string& a_File, const CBMIKeys& a_Keys, const CBMIParams& a_Row) {
    m_Calls.push_back("CreateRow " + a_File + " " + Joined(a_Keys) + " | " + Joined(a_Row));
    if (!m_IsOpen) ++m_Misuses;
    if (const int l_Refused = Refusal("CreateRow", &a_Keys); l_Refused != NOTHING_SCRIPTED) return l_Refused;
    return m_Files[a_File].emplace(KeyIn(a_Keys), a_Row).second ? 1 : 0;
}

int FAKE_STORAGE::SetRow(const std::string& a_File, const CBMIKeys& a_Keys, const CBMIParams& a_Row) {
    m_Calls.push_back("SetRow " + a_File + " " + Joined(a_Keys) + " | " + Joined(a_Row));
    if (!m_IsOpen) ++m_Misuses;
    if (const int l_Refused = Refusal("SetRow", &a_Keys); l_Refused != NOTHING_SCRIPTED) return l_Refused;
    m_Files[a_File][KeyIn(a_Keys)] = a_Row;
    return 1;
}
