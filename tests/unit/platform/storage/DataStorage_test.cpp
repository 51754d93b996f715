// The host's storage: rows, and the transactions that they are read and changed in.
#include "bm/DataStorage.h"

#include "platform/osal/Blocked.h"
#include "platform/storage/StorageTest.h"

#include <atomic>
#include <thread>

namespace {

using BM_ADAPTOR::CBMIKeys;
using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;
using testing::ElementsAre;
using testing::IsEmpty;

using Storage = StorageTest;

CBMIParam Uint(unsigned id, int32_t value) {
    CBMIParam param(BM_ADAPTOR::BMI_PARAM_UINT, id, false);
    param.SetInt(value);
    return param;
}

// --- transactions ---

TEST_F(Storage, WhatEndTransactionStoredASecondStorageFinds) {
    SetNow(1, "192.168.0.23");
    m_storage = bm_dev::MakeStorage(m_folder);
    EXPECT_EQ("192.168.0.23", GetNow(1));
}

TEST_F(Storage, NothingIsInTheFolderBeforeTheEnd) {
    Transaction([&] {
        Set(1, "192.168.0.23");
        EXPECT_THAT(Names(), IsEmpty());
    });
    EXPECT_THAT(Names(), ElementsAre(FileName));
}

TEST_F(Storage, ATransactionSeesItsOwnChangesAlsoWhenItReadsAgain) {
    SetNow(1, "old");
    Transaction([&] {
        Set(1, "new");
        EXPECT_EQ("new", Get(1));
        EXPECT_EQ("new", Get(1, 1));
    });
}

TEST_F(Storage, ATransactionWithoutChangesWritesNothing) {
    EXPECT_EQ("4", GetNow(1));
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Storage, ADroppedTransactionChangesNothing) {
    SetNow(1, "old");
    EXPECT_EQ(Success, m_storage->StartTransaction());
    Set(1, "new");
    m_storage = bm_dev::MakeStorage(m_folder);
    EXPECT_EQ("old", GetNow(1));
}

TEST_F(Storage, TheFolderIsMadeWithThoseAroundItByTheFirstTransaction) {
    const std::string folder = m_root + "/a/b/c";
    m_storage = bm_dev::MakeStorage(folder);
    EXPECT_FALSE(std::filesystem::exists(m_root + "/a"));
    SetNow(1, "x");
    EXPECT_TRUE(std::filesystem::exists(folder + "/" + FileName));
}

TEST_F(Storage, ARelativeFolderStaysWhereItWas) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(m_root);
    m_storage = bm_dev::MakeStorage("storage");
    std::filesystem::current_path(before);
    SetNow(1, "x");
    EXPECT_TRUE(std::filesystem::exists(PathOf(FileName)));
}

// --- misuse ---

TEST_F(Storage, ASecondStartOfTheSameThreadIsRefused) {
    EXPECT_EQ(Success, m_storage->StartTransaction());
    EXPECT_EQ(NothingDone, m_storage->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - " + m_folder + ": this thread already has a transaction"));
    EXPECT_EQ(Success, m_storage->EndTransaction()) << "the first goes on";
}

TEST_F(Storage, ATransactionOfAnotherStorageCountsToo) {
    const auto other = bm_dev::MakeStorage(m_root + "/other");
    EXPECT_EQ(Success, m_storage->StartTransaction());
    EXPECT_EQ(NothingDone, other->StartTransaction());
    EXPECT_EQ(NothingDone, other->EndTransaction());
    EXPECT_EQ(Success, m_storage->EndTransaction());
}

TEST_F(Storage, EveryOtherCallOutsideATransactionIsRefused) {
    CBMIParams row;
    CBMITable table;
    EXPECT_EQ(NothingDone, m_storage->EndTransaction());
    EXPECT_EQ(NothingDone, m_storage->RetrieveRow("f", Keys(1), row, 0));
    EXPECT_EQ(NothingDone, m_storage->RetrieveTable("f", table, 1));
    EXPECT_EQ(NothingDone, m_storage->CreateRow("f", Keys(1), Row(Int(2, 3))));
    EXPECT_EQ(NothingDone, m_storage->SetRow("f", Keys(1), Row(Int(2, 3))));
    const std::string reason = ": this thread has no transaction";
    const std::string file = PathOf("f") + reason;
    EXPECT_THAT(Logged(), ElementsAre("EndTransaction - " + m_folder + reason, "RetrieveRow - " + file,
                                      "RetrieveTable - " + file, "CreateRow - " + file, "SetRow - " + file));
    EXPECT_FALSE(std::filesystem::exists(m_folder));
}

TEST_F(Storage, ASecondEndIsRefused) {
    Transaction([] {});
    EXPECT_EQ(NothingDone, m_storage->EndTransaction());
}

// --- rows ---

TEST_F(Storage, ARowComesBackWithItsKeysFirstAndFlagged) {
    const auto keys = Row<CBMIKeys>(Text(2, "b"), Int(1, -7)); // not flagged
    Transaction([&] {
        EXPECT_EQ(Success,
                  m_storage->SetRow("f", keys, Row(Bool(3, true), Uint(4, -1), Int(1, -7, true), Text(5, ""))));
    });
    CBMIParams row;
    Transaction([&] { EXPECT_EQ(Success, m_storage->RetrieveRow("f", keys, row, 0)); });
    ASSERT_EQ(5, row.GetSize());
    const unsigned ids[] = {2, 1, 3, 4, 5};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(ids[i], row.Get(i)->GetId());
        EXPECT_EQ(i < 2, row.Get(i)->IsKey());
    }
    EXPECT_EQ("b", row.Get(0)->GetString());
    EXPECT_EQ(-7, row.Get(1)->GetInt());
    EXPECT_TRUE(row.Get(2)->GetBool());
    EXPECT_EQ(BM_ADAPTOR::BMI_PARAM_UINT, row.Get(3)->GetType());
    EXPECT_EQ(-1, row.Get(3)->GetInt());
    EXPECT_EQ("", row.Get(4)->GetString());
}

TEST_F(Storage, RetrieveRowFillsTheParametersThatTheRowHasAlready) {
    SetNow(1, "192.168.0.23");
    auto row = Row(Text(Address, "asked for"), Int(99, 5));
    Transaction([&] { EXPECT_EQ(Success, m_storage->RetrieveRow(FileName, Keys(1), row, 0)); });
    ASSERT_EQ(3, row.GetSize());
    EXPECT_EQ("192.168.0.23", row.Get(0)->GetString());
    EXPECT_EQ(5, row.Get(1)->GetInt());
    EXPECT_EQ(Number, row.Get(2)->GetId());
}

TEST_F(Storage, ARowIsFoundByItsExactKeys) {
    const auto both = Row<CBMIKeys>(Int(1, 7), Int(2, 8));
    Transaction([&] { EXPECT_EQ(Success, m_storage->SetRow("f", both, Row(Int(3, 9)))); });
    const auto found = [&](const CBMIKeys& keys) {
        CBMIParams row;
        return m_storage->RetrieveRow("f", keys, row, 0);
    };
    Transaction([&] {
        EXPECT_EQ(Success, found(Row<CBMIKeys>(Int(2, 8), Int(1, 7)))) << "in any order";
        EXPECT_EQ(Success, found(Row<CBMIKeys>(Int(1, 7), Uint(2, 8)))) << "either integer type";
        EXPECT_EQ(NoSuchRow, found(Row<CBMIKeys>(Int(1, 7))));
        EXPECT_EQ(NoSuchRow, found(Row<CBMIKeys>(Int(1, 7), Int(2, 8), Int(3, 9))));
        EXPECT_EQ(NoSuchRow, found(Row<CBMIKeys>(Int(1, 7), Text(2, "8"))));
        EXPECT_EQ(NoSuchRow, found(CBMIKeys{}));
    });
    EXPECT_THAT(Logged(), IsEmpty()) << "a row that is not there is no error";
}

TEST_F(Storage, AMissingFileIsATableWithoutRows) {
    CBMITable table;
    Transaction([&] {
        EXPECT_EQ(Success, m_storage->RetrieveTable(FileName, table, 0));
        EXPECT_EQ("4", Get(1));
    });
    EXPECT_EQ(0, table.GetSize());
}

TEST_F(Storage, RetrieveTableAppendsTheRowsInTheOrderOfTheirCreation) {
    Transaction([&] {
        for (const int number : {3, 1, 2})
            Set(number, std::to_string(number));
        Set(1, "replaced in its place");
    });
    CBMITable table;
    auto before = Row(Int(1, 1));
    table.AddRow(before);
    Transaction([&] { EXPECT_EQ(Success, m_storage->RetrieveTable(FileName, table, 0)); });
    ASSERT_EQ(4, table.GetSize());
    EXPECT_EQ("3", table.Get(1)->GetParamById(Address)->GetString());
    EXPECT_EQ("replaced in its place", table.Get(2)->GetParamById(Address)->GetString());
    EXPECT_EQ(2, table.Get(3)->GetParamById(Number)->GetInt());
}

TEST_F(Storage, SetRowReplacesTheWholeRow) {
    SetNow(1, "x");
    CBMIParams row;
    Transaction([&] {
        m_storage->SetRow(FileName, Keys(1), Row(Int(5, 6)));
        m_storage->RetrieveRow(FileName, Keys(1), row, 0);
    });
    EXPECT_EQ(nullptr, row.GetParamById(Address));
    EXPECT_EQ(6, row.GetParamById(5)->GetInt());
}

TEST_F(Storage, CreateRowOfARowThatExistsIsRefusedAndTheOtherChangesStand) {
    Transaction([&] {
        EXPECT_EQ(Success, Create(1, "first"));
        EXPECT_EQ(NothingDone, Create(1, "second"));
        EXPECT_EQ(Success, Create(2, "another"));
    });
    EXPECT_EQ("first", GetNow(1));
    EXPECT_EQ("another", GetNow(2));
    EXPECT_THAT(Logged(), ElementsAre("CreateRow - " + PathOf(FileName) + ": a row with these keys already exists"));
}

struct BadRow {
    const char* m_name;
    CBMIKeys m_keys;
    CBMIParams m_row;
    int m_result;
    const char* m_reason;
};

TEST_F(Storage, ARowThatCannotBeStoredIsRefused) {
    const BadRow cases[] = {
        {"no keys", {}, Row(Int(2, 1)), MissingParam, "no keys"},
        {"no values", Keys(1), {}, MissingParam, "no value besides the keys"},
        {"values that are keys", Keys(1), Row(Int(Number, 1)), MissingParam, "no value besides the keys"},
        {"a key twice", Row<CBMIKeys>(Int(1, 1), Int(1, 1)), Row(Int(2, 1)), NothingDone,
         "parameter 0x1 appears twice"},
        {"a value twice", Keys(1), Row(Int(2, 1), Int(2, 1)), NothingDone, "parameter 0x2 appears twice"},
        {"another key in the row", Keys(1), Row(Int(Number, 2)), NothingDone,
         "parameter 0x30d12 has one value as a key and another in the row"},
        {"a key that selects nothing", Keys(1), Row(Int(2, 1, true)), NothingDone,
         "parameter 0x2 is flagged as a key of the row, but is not among the keys"},
        {"an unknown type", Keys(1), Row(CBMIParam(static_cast<BM_ADAPTOR::BMIParamType_e>(3), 2, false)), NothingDone,
         "parameter 0x2 has an unknown type"},
    };
    for (const BadRow& testCase : cases) {
        Transaction([&] {
            EXPECT_EQ(testCase.m_result, m_storage->SetRow("f", testCase.m_keys, testCase.m_row)) << testCase.m_name;
            EXPECT_EQ(testCase.m_result, m_storage->CreateRow("f", testCase.m_keys, testCase.m_row)) << testCase.m_name;
        });
        const auto logged = Logged();
        EXPECT_EQ("CreateRow - " + PathOf("f") + ": " + testCase.m_reason, logged.back());
    }
    EXPECT_THAT(Names(), IsEmpty());
}

// --- threads ---

TEST_F(Storage, ATransactionOfAnotherThreadIsWaitedFor) {
    ASSERT_EQ(Success, m_storage->StartTransaction());
    std::atomic<pid_t> id = 0;
    std::atomic<bool> started = false;
    std::thread other([&] {
        EXPECT_EQ(NothingDone, m_storage->EndTransaction()) << "it is not this thread's";
        id = gettid();
        EXPECT_EQ(Success, m_storage->StartTransaction());
        started = true;
        EXPECT_EQ("mine", Get(1));
        EXPECT_EQ(Success, m_storage->EndTransaction());
    });
    while (id == 0 || !IsBlocked(id))
        std::this_thread::yield();
    EXPECT_FALSE(started);
    Set(1, "mine");
    EXPECT_EQ(Success, m_storage->EndTransaction());
    other.join();
}

TEST_F(Storage, ThreadsThatCountUpTogetherLoseNothing) {
    constexpr int Threads = 4;
    constexpr int Times = 25;
    std::vector<std::thread> threads;
    SetNow(1, "0");
    for (int i = 0; i < Threads; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < Times; ++n)
                Transaction([&] { Set(1, std::to_string(std::stoi(Get(1)) + 1)); });
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::to_string(Threads * Times), GetNow(1));
}

TEST_F(Storage, AfterAFailedStartTheOthersHaveTheirTurn) {
    const auto bad = bm_dev::MakeStorage("/dev/null/x");
    EXPECT_EQ(NothingDone, bad->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - /dev/null/x: Not a directory"));
    SetNow(1, "x");
}

} // namespace
