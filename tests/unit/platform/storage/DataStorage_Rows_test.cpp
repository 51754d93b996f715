// The rows of one storage file in memory.
#include "platform/src/storage/DataStorage_Rows.h"

#include "host/HostParams.h"
#include "platform/src/storage/DataStorage_Error.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace BM_ADAPTOR;
using bm_storage::Key;
using bm_storage::KeyOf;
using bm_storage::MakeRow;
using bm_storage::Rows;
using bm_storage::StorageError;

CBMIParams NumberedRow(int32_t number, const std::string& text) {
    return Row(Int(1, number, true), Text(2, text));
}

Key NumberedKey(int32_t number) {
    return {{1, number}};
}

/// "RESULT: reason".
std::string Refusal(const std::function<void()>& work) {
    try {
        work();
    } catch (const StorageError& error) {
        return std::to_string(error.Result()) + ": " + error.what();
    }
    return "no error";
}

TEST(StorageRows, HaveAKeyOfTheirKeyValuesByNumber) {
    EXPECT_EQ((Key{{1, true}, {2, std::string("x")}, {5, -1}}), KeyOf(Row(Int(5, -1), Bool(1, true), Text(2, "x"))));
    EXPECT_EQ("0: parameter 0x5 appears twice", Refusal([] { KeyOf(Row(Int(5, 1), Int(5, 1))); }));
    const auto unknown = Row(CBMIParam(static_cast<BMIParamType_e>(3), 5, false));
    EXPECT_EQ("0: parameter 0x5 has an unknown type", Refusal([&] { KeyOf(unknown); }));
}

TEST(StorageRows, AreMadeOfKeysFirstAndFlaggedAndOfValuesWithoutThem) {
    const auto row = MakeRow(Row<CBMIKeys>(Int(1, 3)), Row(Text(2, "a"), Int(1, 3)));
    ASSERT_EQ(2, row.GetSize());
    EXPECT_EQ(1U, row.Get(0)->GetId());
    EXPECT_TRUE(row.Get(0)->IsKey());
    EXPECT_EQ(3, row.Get(0)->GetInt());
    EXPECT_EQ("a", row.Get(1)->GetString());
    EXPECT_FALSE(row.Get(1)->IsKey());
}

TEST(StorageRows, AreRefusedWhenKeysAndValuesMakeNone) {
    const auto keys = Row<CBMIKeys>(Int(1, 3));
    EXPECT_EQ("23: no keys", Refusal([] { MakeRow({}, Row(Int(2, 1))); }));
    EXPECT_EQ("23: no value besides the keys", Refusal([&] { MakeRow(keys, Row(Int(1, 3))); }));
    EXPECT_EQ("0: parameter 0x2 appears twice", Refusal([&] { MakeRow(keys, Row(Int(2, 1), Int(2, 1))); }));
    EXPECT_EQ("0: parameter 0x1 has one value as a key and another in the row",
              Refusal([&] { MakeRow(keys, Row(Int(1, 4), Int(2, 1))); }));
    EXPECT_EQ("0: parameter 0x2 is flagged as a key of the row, but is not among the keys",
              Refusal([&] { MakeRow(keys, Row(Int(2, 1, true))); }));
}

TEST(StorageRows, AreFoundByExactlyTheirKeys) {
    Rows rows;
    EXPECT_TRUE(rows.Add(NumberedRow(3, "three")));
    ASSERT_NE(nullptr, rows.Find(NumberedKey(3)));
    EXPECT_EQ("three", rows.Find(NumberedKey(3))->GetParamById(2)->GetString());
    EXPECT_EQ(nullptr, rows.Find(NumberedKey(4)));
    EXPECT_EQ(nullptr, rows.Find({}));
    EXPECT_EQ(nullptr, rows.Find({{1, 3}, {2, std::string("three")}}));
}

TEST(StorageRows, AreAddedOnce) {
    Rows rows;
    EXPECT_TRUE(rows.Add(NumberedRow(3, "three")));
    EXPECT_FALSE(rows.Add(NumberedRow(3, "another")));
    ASSERT_EQ(1U, rows.All().size());
    EXPECT_EQ("three", rows.All()[0].GetParamById(2)->GetString());
}

TEST(StorageRows, AreReplacedInTheirPlaceOrAppended) {
    Rows rows;
    rows.Set(NumberedRow(3, "three"));
    rows.Set(NumberedRow(1, "one"));
    rows.Set(NumberedRow(3, "new"));
    ASSERT_EQ(2U, rows.All().size());
    EXPECT_EQ("new", rows.All()[0].GetParamById(2)->GetString());
    EXPECT_EQ("one", rows.All()[1].GetParamById(2)->GetString());
    EXPECT_EQ("new", rows.Find(NumberedKey(3))->GetParamById(2)->GetString());
}

} // namespace
