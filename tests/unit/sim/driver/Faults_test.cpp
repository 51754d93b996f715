// Which requests a fault hits.
#include "sim/driver/Faults.h"

#include <gtest/gtest.h>

#include <vector>

using namespace BLADESIM;

namespace {

using BYTES = std::vector<uint8_t>;

const BYTES g_ReadFru2 = {0x0A, 0x11, 0x02, 0x00, 0x00, 0x10};
const BYTES g_GetDeviceId = {0x06, 0x01};

FAULT Fault(std::vector<std::optional<uint8_t>> a_Request, unsigned a_First = 1, unsigned a_Count = 0,
            unsigned a_Argument = 0) {
    FAULT l_Fault;
    l_Fault.m_Request = std::move(a_Request);
    l_Fault.m_First = a_First;
    l_Fault.m_Count = a_Count;
    l_Fault.m_Kind = FAULT_KIND::COMPLETION_CODE;
    l_Fault.m_Argument = a_Argument;
    return l_Fault;
}

/// Which of the first eight such requests are hit, a character each.
std::string Hits(FAULT_TABLE& a_Table, const BYTES& a_Request) {
    std::string l_Hits;
    while (l_Hits.size() < 8)
        l_Hits += a_Table.Hit(a_Request) != nullptr ? 'x' : '.';
    return l_Hits;
}

} // namespace

TEST(Faults, HitARequestThatBeginsWithTheirBytes) {
    FAULT_TABLE l_Table;
    l_Table.Add(Fault({0x0A, 0x11, 0x02}));
    EXPECT_NE(l_Table.Hit(g_ReadFru2), nullptr);
    EXPECT_EQ(l_Table.Hit({0x0A, 0x11, 0x03, 0x00, 0x00, 0x10}), nullptr);
    EXPECT_EQ(l_Table.Hit({0x0A, 0x11}), nullptr);
    EXPECT_EQ(l_Table.Hit(g_GetDeviceId), nullptr);
}

TEST(Faults, HitAnyByteWhereTheyNameNone) {
    FAULT_TABLE l_Table;
    l_Table.Add(Fault({0x0A, 0x11, std::nullopt, 0x00}));
    EXPECT_NE(l_Table.Hit(g_ReadFru2), nullptr);
    EXPECT_EQ(l_Table.Hit({0x0A, 0x11, 0x02, 0x10}), nullptr);
    EXPECT_EQ(l_Table.Hit({0x0A, 0x11, 0x02}), nullptr);
}

struct COUNTS {
    unsigned m_First;
    unsigned m_Count;
    const char* m_Hits;
};

void PrintTo(const COUNTS& a_Counts, std::ostream* a_Out) {
    *a_Out << "first " << a_Counts.m_First << ", count " << a_Counts.m_Count;
}

class FaultCounts : public testing::TestWithParam<COUNTS> {};

TEST_P(FaultCounts, HitFromTheFirstAsManyAsTold) {
    FAULT_TABLE l_Table;
    l_Table.Add(Fault({0x06, 0x01}, GetParam().m_First, GetParam().m_Count));
    EXPECT_EQ(Hits(l_Table, g_GetDeviceId), GetParam().m_Hits);
}

INSTANTIATE_TEST_SUITE_P(Values, FaultCounts,
                         testing::Values(COUNTS{1, 0, "xxxxxxxx"}, COUNTS{1, 1, "x......."}, COUNTS{3, 0, "..xxxxxx"},
                                         COUNTS{3, 2, "..xx...."}, COUNTS{9, 1, "........"}));

TEST(Faults, CountOnlyRequestsThatLookLikeTheirs) {
    FAULT_TABLE l_Table;
    l_Table.Add(Fault({0x06, 0x01}, 2, 1));
    EXPECT_EQ(l_Table.Hit(g_GetDeviceId), nullptr);
    EXPECT_EQ(l_Table.Hit(g_ReadFru2), nullptr);
    EXPECT_NE(l_Table.Hit(g_GetDeviceId), nullptr);
    EXPECT_EQ(l_Table.List()[0].m_Seen, 2U);
    EXPECT_EQ(l_Table.List()[0].m_Hits, 1U);
}

TEST(Faults, OfTwoThatAreDueTheOneOrderedFirstHits) {
    FAULT_TABLE l_Table;
    l_Table.Add(Fault({0x06, 0x01}, 1, 1, 0xC1));
    l_Table.Add(Fault({0x06, 0x01}, 1, 1, 0xC9));
    EXPECT_EQ(l_Table.Hit(g_GetDeviceId)->m_Argument, 0xC1U);
    EXPECT_EQ(l_Table.Hit(g_GetDeviceId)->m_Argument, 0xC9U);
    EXPECT_EQ(l_Table.Hit(g_GetDeviceId), nullptr);
}

TEST(Faults, AreTakenBackByTheirNumberWhichIsNeverGivenAgain) {
    FAULT_TABLE l_Table;
    EXPECT_EQ(l_Table.Add(Fault({0x06, 0x01})), 1U);
    EXPECT_TRUE(l_Table.Remove(1));
    EXPECT_FALSE(l_Table.Remove(1));
    EXPECT_EQ(l_Table.Hit(g_GetDeviceId), nullptr);
    EXPECT_EQ(l_Table.Add(Fault({0x06, 0x01})), 2U);
    l_Table.Clear();
    EXPECT_TRUE(l_Table.List().empty());
    EXPECT_EQ(l_Table.Add(Fault({0x06, 0x01})), 3U);
}
