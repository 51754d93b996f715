// The host's rows and tables with something missing in them; see the header. The names are those of the compiler.
#include "fake/FakeParams.h"

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;

FAKE_PARAMS& FakeParams() {
    static FAKE_PARAMS& s_Params = *new FAKE_PARAMS;
    return s_Params;
}

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

CBMIParam* __real__ZNK10BM_ADAPTOR10CBMIParams12GetParamByIdEj(const CBMIParams*, unsigned);
CBMIParams* __real__ZNK10BM_ADAPTOR9CBMITable3GetEi(const CBMITable*, int);

CBMIParam* __wrap__ZNK10BM_ADAPTOR10CBMIParams12GetParamByIdEj(const CBMIParams* a_Row, unsigned a_Id) {
    const auto& l_Hides = FakeParams().m_Hides;
    if (l_Hides && l_Hides(*a_Row, a_Id)) return nullptr;
    return __real__ZNK10BM_ADAPTOR10CBMIParams12GetParamByIdEj(a_Row, a_Id);
}

CBMIParams* __wrap__ZNK10BM_ADAPTOR9CBMITable3GetEi(const CBMITable* a_Table, int a_Index) {
    if (FakeParams().m_bHidesRows || FakeParams().m_HiddenRow == a_Index) return nullptr;
    return __real__ZNK10BM_ADAPTOR9CBMITable3GetEi(a_Table, a_Index);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
