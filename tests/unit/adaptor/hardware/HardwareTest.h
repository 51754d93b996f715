// What the tests of the hardware tables need: the frame of a started adaptor, without the adaptor.
#pragma once

#include "adaptor/AdaptorTest.h"
#include "adaptor/IPMI_Adaptor_Frame.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace BM_ADAPTOR::TEST {

class HARDWARE_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    void BeInState(int32_t a_State) { m_State = a_State; }
    /// The row filled so far.
    TEXTS Row() const { return TextsOf(m_Row); }

    /// The rows of the table that the handlers make; nothing when they make none.
    template <typename HANDLERS>
    static std::optional<std::vector<TEXTS>> TableOf(const HANDLERS& a_Handlers, int a_Result = 1) {
        CBMITable* l_Table = nullptr;
        EXPECT_EQ(a_Handlers.ReadTable(l_Table), a_Result);
        const std::unique_ptr<CBMITable> l_Owner(l_Table);
        return l_Table == nullptr ? std::nullopt : std::optional(TextsOf(*l_Table));
    }

    std::atomic<int32_t> m_State = ADAPTOR_STARTED;
    std::atomic<CBaseOsLog*> m_Logger = &m_Log;
    std::atomic<QUB_STORAGE::CDataStorage*> m_Storage = nullptr;
    const ADAPTOR_FRAME m_Frame{m_Board, m_State, m_Logger, m_Storage};
    CBMIParams m_Row;
};

} // namespace BM_ADAPTOR::TEST
