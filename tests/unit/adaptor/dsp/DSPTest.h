// What the tests of the DSPs' addresses need: a board with eth6, a storage in memory, and the members that an adaptor
// would hand in.
#pragma once

#include "adaptor/BoardTest.h"

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "adaptor/dsp/IPMI_DSPInfo.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace BM_ADAPTOR::TEST {

class DSP_TEST : public BOARD_TEST {
protected:
    void BeInState(int a_State) { m_State = a_State; }
    void KnowDSPs(DSP_MACS a_Macs) { m_Macs.Replace(std::move(a_Macs)); }
    DSP_MACS Macs() const { return *m_Macs.Get(); }
    /// The environment variable MAVK_AMC.
    void SetOverride(const std::string& a_Value) { m_Board.m_Environment["MAVK_AMC"] = a_Value; }

    /// The rows of the table that an object reads with this result.
    template <typename READER>
    static std::vector<TEXTS> RowsOf(const READER& a_Reader, int a_Result = 1) {
        CBMITable* l_Made = nullptr;
        EXPECT_EQ(a_Reader.ReadTable(l_Made), a_Result);
        return TextsOf(*std::unique_ptr<CBMITable>(l_Made));
    }

    std::atomic<int32_t> m_State = ADAPTOR_STARTED;
    std::atomic<CBaseOsLog*> m_Logger = &m_Log;
    std::atomic<QUB_STORAGE::CDataStorage*> m_UsedStorage = &m_Storage;
    SNAPSHOT<DSP_MACS> m_Macs;
    const ADAPTOR_FRAME m_Frame{m_Board, m_State, m_Logger, m_UsedStorage};
};

} // namespace BM_ADAPTOR::TEST
