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

using Storage = STORAGE_TEST;

CBMIParam Uint(unsigned a_Id, int32_t a_Value) {
    CBMIParam l_Param(BM_ADAPTOR::BMI_PARAM_UINT, a_Id, false);
    l_Param.SetInt(a_Value);
    return l_Param;
}

// --- transactions ---

TEST_F(Storage, WhatEndTransactionStoredASecondStorageFinds) {
    SetNow(1, "192.168.0.23");
    m_Storage = BM_PLATFORM::MakeStorage(m_Folder);
    EXPECT_EQ("192.168.0.23", GetNow(1));
}

TEST_F(Storage, NothingIsInTheFolderBeforeTheEnd) {
    Transaction([&] {
        Set(1, "192.168.0.23");
        EXPECT_THAT(Names(), IsEmpty());
    });
    EXPECT_THAT(Names(), ElementsAre(FILE_NAME));
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
    EXPECT_EQ(SUCCESS, m_Storage->StartTransaction());
    Set(1, "new");
    m_Storage = BM_PLATFORM::MakeStorage(m_Folder);
    EXPECT_EQ("old", GetNow(1));
}

TEST_F(Storage, TheFolderIsMadeWithThoseAroundItByTheFirstTransaction) {
    const std::string l_Folder = m_Root + "/a/b/c";
    m_Storage = BM_PLATFORM::MakeStorage(l_Folder);
    EXPECT_FALSE(std::filesystem::exists(m_Root + "/a"));
    SetNow(1, "x");
    EXPECT_TRUE(std::filesystem::exists(l_Folder + "/" + FILE_NAME));
}

TEST_F(Storage, ARelativeFolderStaysWhereItWas) {
    const auto l_Before = std::filesystem::current_path();
    std::filesystem::current_path(m_Root);
    m_Storage = BM_PLATFORM::MakeStorage("storage");
    std::filesystem::current_path(l_Before);
    SetNow(1, "x");
    EXPECT_TRUE(std::filesystem::exists(PathOf(FILE_NAME)));
}

// --- misuse ---

TEST_F(Storage, ASecondStartOfTheSameThreadIsRefused) {
    EXPECT_EQ(SUCCESS, m_Storage->StartTransaction());
    EXPECT_EQ(NOTHING_DONE, m_Storage->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - " + m_Folder + ": this thread has a transaction already"));
    EXPECT_EQ(SUCCESS, m_Storage->EndTransaction()) << "the first goes on";
}

TEST_F(Storage, ATransactionOfAnotherStorageCountsToo) {
    const auto l_Other = BM_PLATFORM::MakeStorage(m_Root + "/other");
    EXPECT_EQ(SUCCESS, m_Storage->StartTransaction());
    EXPECT_EQ(NOTHING_DONE, l_Other->StartTransaction());
    EXPECT_EQ(NOTHING_DONE, l_Other->EndTransaction());
    EXPECT_EQ(SUCCESS, m_Storage->EndTransaction());
}

TEST_F(Storage, EveryOtherCallOutsideATransactionIsRefused) {
    CBMIParams l_Row;
    CBMITable l_Table;
    EXPECT_EQ(NOTHING_DONE, m_Storage->EndTransaction());
    EXPECT_EQ(NOTHING_DONE, m_Storage->RetrieveRow("f", Keys(1), l_Row, 0));
    EXPECT_EQ(NOTHING_DONE, m_Storage->RetrieveTable("f", l_Table, 1));
    EXPECT_EQ(NOTHING_DONE, m_Storage->CreateRow("f", Keys(1), Row(Int(2, 3))));
    EXPECT_EQ(NOTHING_DONE, m_Storage->SetRow("f", Keys(1), Row(Int(2, 3))));
    const std::string l_Reason = ": this thread has no transaction";
    const std::string l_File = PathOf("f") + l_Reason;
    EXPECT_THAT(Logged(), ElementsAre("EndTransaction - " + m_Folder + l_Reason, "RetrieveRow - " + l_File,
                                      "RetrieveTable - " + l_File, "CreateRow - " + l_File, "SetRow - " + l_File));
    EXPECT_FALSE(std::filesystem::exists(m_Folder));
}

TEST_F(Storage, ASecondEndIsRefused) {
    Transaction([] {});
    EXPECT_EQ(NOTHING_DONE, m_Storage->EndTransaction());
}

// --- rows ---

TEST_F(Storage, ARowComesBackWithItsKeysFirstAndFlagged) {
    const auto l_Keys = Row<CBMIKeys>(Text(2, "b"), Int(1, -7)); // not flagged
    Transaction([&] {
        EXPECT_EQ(SUCCESS,
                  m_Storage->SetRow("f", l_Keys, Row(Bool(3, true), Uint(4, -1), Int(1, -7, true), Text(5, ""))));
    });
    CBMIParams l_Row;
    Transaction([&] { EXPECT_EQ(SUCCESS, m_Storage->RetrieveRow("f", l_Keys, l_Row, 0)); });
    ASSERT_EQ(5, l_Row.GetSize());
    const unsigned l_Ids[] = {2, 1, 3, 4, 5};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(l_Ids[i], l_Row.Get(i)->GetId());
        EXPECT_EQ(i < 2, l_Row.Get(i)->IsKey());
    }
    EXPECT_EQ("b", l_Row.Get(0)->GetString());
    EXPECT_EQ(-7, l_Row.Get(1)->GetInt());
    EXPECT_TRUE(l_Row.Get(2)->GetBool());
    EXPECT_EQ(BM_ADAPTOR::BMI_PARAM_UINT, l_Row.Get(3)->GetType());
    EXPECT_EQ(-1, l_Row.Get(3)->GetInt());
    EXPECT_EQ("", l_Row.Get(4)->GetString());
}

TEST_F(Storage, RetrieveRowFillsTheParametersThatTheRowHasAlready) {
    SetNow(1, "192.168.0.23");
    auto l_Row = Row(Text(ADDRESS, "asked for"), Int(99, 5));
    Transaction([&] { EXPECT_EQ(SUCCESS, m_Storage->RetrieveRow(FILE_NAME, Keys(1), l_Row, 0)); });
    ASSERT_EQ(3, l_Row.GetSize());
    EXPECT_EQ("192.168.0.23", l_Row.Get(0)->GetString());
    EXPECT_EQ(5, l_Row.Get(1)->GetInt());
    EXPECT_EQ(NUMBER, l_Row.Get(2)->GetId());
}

TEST_F(Storage, ARowIsFoundByItsExactKeys) {
    const auto l_Both = Row<CBMIKeys>(Int(1, 7), Int(2, 8));
    Transaction([&] { EXPECT_EQ(SUCCESS, m_Storage->SetRow("f", l_Both, Row(Int(3, 9)))); });
    const auto l_Found = [&](const CBMIKeys& a_Keys) {
        CBMIParams l_Row;
        return m_Storage->RetrieveRow("f", a_Keys, l_Row, 0);
    };
    Transaction([&] {
        EXPECT_EQ(SUCCESS, l_Found(Row<CBMIKeys>(Int(2, 8), Int(1, 7)))) << "in any order";
        EXPECT_EQ(SUCCESS, l_Found(Row<CBMIKeys>(Int(1, 7), Uint(2, 8)))) << "either integer type";
        EXPECT_EQ(NO_SUCH_ROW, l_Found(Row<CBMIKeys>(Int(1, 7))));
        EXPECT_EQ(NO_SUCH_ROW, l_Found(Row<CBMIKeys>(Int(1, 7), Int(2, 8), Int(3, 9))));
        EXPECT_EQ(NO_SUCH_ROW, l_Found(Row<CBMIKeys>(Int(1, 7), Text(2, "8"))));
        EXPECT_EQ(NO_SUCH_ROW, l_Found(CBMIKeys{}));
    });
    EXPECT_THAT(Logged(), IsEmpty()) << "a row that is not there is no error";
}

TEST_F(Storage, AMissingFileIsATableWithoutRows) {
    CBMITable l_Table;
    Transaction([&] {
        EXPECT_EQ(SUCCESS, m_Storage->RetrieveTable(FILE_NAME, l_Table, 0));
        EXPECT_EQ("4", Get(1));
    });
    EXPECT_EQ(0, l_Table.GetSize());
}

TEST_F(Storage, RetrieveTableAppendsTheRowsInTheOrderOfTheirCreation) {
    Transaction([&] {
        for (const int l_Number : {3, 1, 2})
            Set(l_Number, std::to_string(l_Number));
        Set(1, "replaced in its place");
    });
    CBMITable l_Table;
    auto l_Before = Row(Int(1, 1));
    l_Table.AddRow(l_Before);
    Transaction([&] { EXPECT_EQ(SUCCESS, m_Storage->RetrieveTable(FILE_NAME, l_Table, 0)); });
    ASSERT_EQ(4, l_Table.GetSize());
    EXPECT_EQ("3", l_Table.Get(1)->GetParamById(ADDRESS)->GetString());
    EXPECT_EQ("replaced in its place", l_Table.Get(2)->GetParamById(ADDRESS)->GetString());
    EXPECT_EQ(2, l_Table.Get(3)->GetParamById(NUMBER)->GetInt());
}

TEST_F(Storage, SetRowReplacesTheWholeRow) {
    SetNow(1, "x");
    CBMIParams l_Row;
    Transaction([&] {
        m_Storage->SetRow(FILE_NAME, Keys(1), Row(Int(5, 6)));
        m_Storage->RetrieveRow(FILE_NAME, Keys(1), l_Row, 0);
    });
    EXPECT_EQ(nullptr, l_Row.GetParamById(ADDRESS));
    EXPECT_EQ(6, l_Row.GetParamById(5)->GetInt());
}

TEST_F(Storage, CreateRowOfARowThatExistsIsRefusedAndTheOtherChangesStand) {
    Transaction([&] {
        EXPECT_EQ(SUCCESS, Create(1, "first"));
        EXPECT_EQ(NOTHING_DONE, Create(1, "second"));
        EXPECT_EQ(SUCCESS, Create(2, "another"));
    });
    EXPECT_EQ("first", GetNow(1));
    EXPECT_EQ("another", GetNow(2));
    EXPECT_THAT(Logged(), ElementsAre("CreateRow - " + PathOf(FILE_NAME) + ": there is a row with these keys"));
}

struct BAD_ROW {
    const char* m_Name;
    CBMIKeys m_Keys;
    CBMIParams m_Row;
    int m_Result;
    const char* m_Reason;
};

TEST_F(Storage, ARowThatCannotBeStoredIsRefused) {
    const BAD_ROW l_Cases[] = {
        {"no keys", {}, Row(Int(2, 1)), MISSING_PARAM, "no keys"},
        {"no values", Keys(1), {}, MISSING_PARAM, "no value beside the keys"},
        {"values that are keys", Keys(1), Row(Int(NUMBER, 1)), MISSING_PARAM, "no value beside the keys"},
        {"a key twice", Row<CBMIKeys>(Int(1, 1), Int(1, 1)), Row(Int(2, 1)), NOTHING_DONE,
         "parameter 0x1 is there twice"},
        {"a value twice", Keys(1), Row(Int(2, 1), Int(2, 1)), NOTHING_DONE, "parameter 0x2 is there twice"},
        {"another key in the row", Keys(1), Row(Int(NUMBER, 2)), NOTHING_DONE,
         "parameter 0x30d12 has one value as a key and another in the row"},
        {"a key that selects nothing", Keys(1), Row(Int(2, 1, true)), NOTHING_DONE,
         "parameter 0x2 is flagged as a key of the row, but is not among the keys"},
        {"an unknown type", Keys(1), Row(CBMIParam(static_cast<BM_ADAPTOR::BMIParamType_e>(3), 2, false)), NOTHING_DONE,
         "parameter 0x2 has an unknown type"},
    };
    for (const BAD_ROW& l_Case : l_Cases) {
        Transaction([&] {
            EXPECT_EQ(l_Case.m_Result, m_Storage->SetRow("f", l_Case.m_Keys, l_Case.m_Row)) << l_Case.m_Name;
            EXPECT_EQ(l_Case.m_Result, m_Storage->CreateRow("f", l_Case.m_Keys, l_Case.m_Row)) << l_Case.m_Name;
        });
        const auto l_Logged = Logged();
        EXPECT_EQ("CreateRow - " + PathOf("f") + ": " + l_Case.m_Reason, l_Logged.back());
    }
    EXPECT_THAT(Names(), IsEmpty());
}

// --- threads ---

TEST_F(Storage, ATransactionOfAnotherThreadIsWaitedFor) {
    ASSERT_EQ(SUCCESS, m_Storage->StartTransaction());
    std::atomic<pid_t> l_Id = 0;
    std::atomic<bool> l_Started = false;
    std::thread l_Other([&] {
        EXPECT_EQ(NOTHING_DONE, m_Storage->EndTransaction()) << "it is not this thread's";
        l_Id = gettid();
        EXPECT_EQ(SUCCESS, m_Storage->StartTransaction());
        l_Started = true;
        EXPECT_EQ("mine", Get(1));
        EXPECT_EQ(SUCCESS, m_Storage->EndTransaction());
    });
    while (l_Id == 0 || !IsBlocked(l_Id))
        std::this_thread::yield();
    EXPECT_FALSE(l_Started);
    Set(1, "mine");
    EXPECT_EQ(SUCCESS, m_Storage->EndTransaction());
    l_Other.join();
}

TEST_F(Storage, ThreadsThatCountUpTogetherLoseNothing) {
    constexpr int THREADS = 4;
    constexpr int TIMES = 25;
    std::vector<std::thread> l_Threads;
    SetNow(1, "0");
    for (int i = 0; i < THREADS; ++i)
        l_Threads.emplace_back([&] {
            for (int n = 0; n < TIMES; ++n)
                Transaction([&] { Set(1, std::to_string(std::stoi(Get(1)) + 1)); });
        });
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    EXPECT_EQ(std::to_string(THREADS * TIMES), GetNow(1));
}

TEST_F(Storage, AfterAFailedStartTheOthersHaveTheirTurn) {
    const auto l_Bad = BM_PLATFORM::MakeStorage("/dev/null/x");
    EXPECT_EQ(NOTHING_DONE, l_Bad->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - /dev/null/x: Not a directory"));
    SetNow(1, "x");
}

} // namespace
