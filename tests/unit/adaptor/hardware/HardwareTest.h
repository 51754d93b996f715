// What the tests of the hardware tables need.
#pragma once

#include "adaptor/AdaptorTest.h"

#include <memory>
#include <optional>
#include <vector>

namespace BM_ADAPTOR::TEST {

class HARDWARE_TEST : public ROOM_TEST {
protected:
    /// The rows of the table that the handlers make; nothing when they make none.
    template <typename HANDLERS>
    static std::optional<std::vector<TEXTS>> TableOf(const HANDLERS& a_Handlers, int a_Result = 1) {
        CBMITable* l_Table = nullptr;
        EXPECT_EQ(a_Handlers.ReadTable(l_Table), a_Result);
        const std::unique_ptr<CBMITable> l_Owner(l_Table);
        return l_Table == nullptr ? std::nullopt : std::optional(TextsOf(*l_Table));
    }
};

} // namespace BM_ADAPTOR::TEST
