// Which requests a fault hits.
#include "sim/driver/Faults.h"

#include "sim/base/Bytes.h"

#include <gtest/gtest.h>

#include <vector>

using namespace bladesim;

namespace {

const Bytes ReadFru2 = {0x0A, 0x11, 0x02, 0x00, 0x00, 0x10};
const Bytes GetDeviceId = {0x06, 0x01};

Fault FaultOn(std::vector<std::optional<uint8_t>> request, unsigned first = 1, unsigned count = 0,
              unsigned argument = 0) {
    Fault fault;
    fault.m_request = std::move(request);
    fault.m_first = first;
    fault.m_count = count;
    fault.m_kind = FaultKind::CompletionCode;
    fault.m_argument = argument;
    return fault;
}

/// Which of the first eight such requests are hit, a character each.
std::string Hits(FaultTable& table, const Bytes& request) {
    std::string hits;
    while (hits.size() < 8)
        hits += table.Hit(request) != nullptr ? 'x' : '.';
    return hits;
}

} // namespace

TEST(Faults, HitARequestThatBeginsWithTheirBytes) {
    FaultTable table;
    table.Add(FaultOn({0x0A, 0x11, 0x02}));
    EXPECT_NE(table.Hit(ReadFru2), nullptr);
    EXPECT_EQ(table.Hit({0x0A, 0x11, 0x03, 0x00, 0x00, 0x10}), nullptr);
    EXPECT_EQ(table.Hit({0x0A, 0x11}), nullptr);
    EXPECT_EQ(table.Hit(GetDeviceId), nullptr);
}

TEST(Faults, HitAnyByteWhereTheyNameNone) {
    FaultTable table;
    table.Add(FaultOn({0x0A, 0x11, std::nullopt, 0x00}));
    EXPECT_NE(table.Hit(ReadFru2), nullptr);
    EXPECT_EQ(table.Hit({0x0A, 0x11, 0x02, 0x10}), nullptr);
    EXPECT_EQ(table.Hit({0x0A, 0x11, 0x02}), nullptr);
}

struct Counts {
    unsigned m_first;
    unsigned m_count;
    const char* m_hits;
};

void PrintTo(const Counts& counts, std::ostream* out) {
    *out << "first " << counts.m_first << ", count " << counts.m_count;
}

class FaultCounts : public testing::TestWithParam<Counts> {};

TEST_P(FaultCounts, HitFromTheFirstAsManyAsTold) {
    FaultTable table;
    table.Add(FaultOn({0x06, 0x01}, GetParam().m_first, GetParam().m_count));
    EXPECT_EQ(Hits(table, GetDeviceId), GetParam().m_hits);
}

INSTANTIATE_TEST_SUITE_P(Values, FaultCounts,
                         testing::Values(Counts{1, 0, "xxxxxxxx"}, Counts{1, 1, "x......."}, Counts{3, 0, "..xxxxxx"},
                                         Counts{3, 2, "..xx...."}, Counts{9, 1, "........"}));

TEST(Faults, CountOnlyRequestsThatLookLikeTheirs) {
    FaultTable table;
    table.Add(FaultOn({0x06, 0x01}, 2, 1));
    EXPECT_EQ(table.Hit(GetDeviceId), nullptr);
    EXPECT_EQ(table.Hit(ReadFru2), nullptr);
    EXPECT_NE(table.Hit(GetDeviceId), nullptr);
    EXPECT_EQ(table.List()[0].m_seen, 2U);
    EXPECT_EQ(table.List()[0].m_hits, 1U);
}

TEST(Faults, OfTwoThatAreDueTheOneOrderedFirstHits) {
    FaultTable table;
    table.Add(FaultOn({0x06, 0x01}, 1, 1, 0xC1));
    table.Add(FaultOn({0x06, 0x01}, 1, 1, 0xC9));
    EXPECT_EQ(table.Hit(GetDeviceId)->m_argument, 0xC1U);
    EXPECT_EQ(table.Hit(GetDeviceId)->m_argument, 0xC9U);
    EXPECT_EQ(table.Hit(GetDeviceId), nullptr);
}

TEST(Faults, AreTakenBackByTheirNumberWhichIsNeverGivenAgain) {
    FaultTable table;
    EXPECT_EQ(table.Add(FaultOn({0x06, 0x01})), 1U);
    EXPECT_TRUE(table.Remove(1));
    EXPECT_FALSE(table.Remove(1));
    EXPECT_EQ(table.Hit(GetDeviceId), nullptr);
    EXPECT_EQ(table.Add(FaultOn({0x06, 0x01})), 2U);
    table.Clear();
    EXPECT_TRUE(table.List().empty());
    EXPECT_EQ(table.Add(FaultOn({0x06, 0x01})), 3U);
}
