// The storage's folder: names, files that are no files, edits from outside, other processes, failures and their traces.
#include "platform/StorageTest.h"

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using StorageFolder = STORAGE_TEST;

// --- names ---

TEST_F(StorageFolder, NamesThatLeaveTheFolderOrHideInItAreRefused) {
    const std::string l_Names[] = {"",
                                   ".",
                                   "..",
                                   "../x",
                                   "a/b",
                                   "/etc/passwd",
                                   ".hidden",
                                   ".new.f",
                                   "a\nb",
                                   "a\x7F",
                                   std::string("a\0b", 3),
                                   std::string(201, 'x')};
    for (const std::string& l_Name : l_Names) {
        BM_ADAPTOR::CBMITable l_Table;
        Transaction([&] {
            EXPECT_EQ(NOTHING_DONE, Set(1, "x", l_Name)) << l_Name;
            EXPECT_EQ(NOTHING_DONE, m_Storage->RetrieveTable(l_Name, l_Table, 0)) << l_Name;
        });
        EXPECT_THAT(Logged().back(), HasSubstr("RetrieveTable - file name \""));
        EXPECT_LT(Logged().back().size(), 250U);
    }
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(StorageFolder, LongAndUnusualNamesAreTaken) {
    const std::string l_Names[] = {std::string(200, 'x'), "a b", "\xC3\xBC.xml", "a..b", "%s%n"};
    for (const std::string& l_Name : l_Names)
        EXPECT_EQ(SUCCESS, Transaction([&] { EXPECT_EQ(SUCCESS, Set(1, "x", l_Name)); }));
    EXPECT_THAT(Names(), testing::UnorderedElementsAreArray(l_Names));
}

// --- files that are none ---

TEST_F(StorageFolder, WhatIsNoRegularFileIsRefusedAndStays) {
    std::filesystem::create_directories(PathOf("folder"));
    std::filesystem::create_symlink("/etc/passwd", PathOf("link"));
    std::filesystem::create_symlink("nowhere", PathOf("dangling"));
    ASSERT_EQ(0, mkfifo(PathOf("pipe").c_str(), 0600));
    for (const std::string l_Name : {"folder", "link", "dangling", "pipe"}) {
        Transaction([&] { EXPECT_EQ(NOT_READABLE, Set(1, "x", l_Name)) << l_Name; });
        EXPECT_EQ("SetRow - " + PathOf(l_Name) + ": not a regular file", Logged().back());
    }
    EXPECT_THAT(Names(), UnorderedElementsAre("folder", "link", "dangling", "pipe"));
}

TEST_F(StorageFolder, ThatIsAFileIsRefused) {
    Write("x", "f");
    m_Storage = BM_PLATFORM::MakeStorage(PathOf("f"));
    EXPECT_EQ(NOTHING_DONE, m_Storage->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - " + PathOf("f") + ": Not a directory"));
}

TEST_F(StorageFolder, WithoutANameIsRefused) {
    m_Storage = BM_PLATFORM::MakeStorage("");
    EXPECT_EQ(NOTHING_DONE, m_Storage->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - : No such file or directory"));
}

// --- other writers ---

TEST_F(StorageFolder, AnEditBetweenTransactionsIsSeenAlsoWithoutForce) {
    SetNow(1, "old");
    EXPECT_EQ("old", GetNow(1));
    std::string l_Text = Read();
    l_Text.replace(l_Text.find("old"), 3, "edited");
    Write(l_Text);
    EXPECT_EQ("edited", GetNow(1));
}

TEST_F(StorageFolder, AnEditInTheMidstOfATransactionIsNotOverwritten) {
    SetNow(1, "old");
    EXPECT_EQ(NOTHING_DONE, Transaction([&] {
                  Set(1, "new");
                  Write("edited");
              }));
    EXPECT_EQ("edited", Read());
    EXPECT_THAT(Logged(),
                ElementsAre("EndTransaction - " + PathOf(FILE_NAME) + ": was changed by somebody else meanwhile"));
}

TEST_F(StorageFolder, AFileThatAppearsInTheMidstOfATransactionIsNotOverwritten) {
    EXPECT_EQ(NOTHING_DONE, Transaction([&] {
                  Set(1, "new");
                  Write("of somebody else");
              }));
    EXPECT_EQ("of somebody else", Read());
    EXPECT_THAT(Names(), ElementsAre(FILE_NAME));
}

TEST_F(StorageFolder, ModeOfAFileOutlivesItsReplacement) {
    SetNow(1, "x");
    std::filesystem::permissions(PathOf(FILE_NAME), std::filesystem::perms(0640));
    SetNow(1, "y");
    EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(PathOf(FILE_NAME)).permissions());
}

TEST_F(StorageFolder, IsLockedDuringATransactionOnly) {
    const auto l_Lock = [&] {
        const int l_File = open(m_Folder.c_str(), O_RDONLY | O_CLOEXEC);
        const int l_Result = flock(l_File, LOCK_EX | LOCK_NB);
        close(l_File);
        return l_Result;
    };
    Transaction([&] { EXPECT_EQ(-1, l_Lock()); });
    EXPECT_EQ(0, l_Lock());
}

TEST_F(StorageFolder, LeavesNoDescriptorOpenAndHandsNoneToPrograms) {
    const auto l_Descriptors = [] {
        std::vector<std::string> l_Open;
        for (const auto& l_Entry : std::filesystem::directory_iterator("/proc/self/fd"))
            l_Open.push_back(l_Entry.path());
        return l_Open.size();
    };
    SetNow(1, "x");
    const auto l_Before = l_Descriptors();
    Transaction([&] {
        Get(1);
        ASSERT_EQ(l_Before + 1, l_Descriptors()) << "the folder";
        int l_Inherited = 0;
        for (int i = 3; i < 1024; ++i) {
            const int l_Flags = fcntl(i, F_GETFD);
            std::error_code l_None;
            const auto l_Path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(i), l_None).string();
            if (l_Flags >= 0 && l_Path.starts_with(m_Root)) l_Inherited += (l_Flags & FD_CLOEXEC) == 0;
        }
        EXPECT_EQ(0, l_Inherited);
    });
    EXPECT_EQ(l_Before, l_Descriptors());
}

// --- failures ---

// Files may not grow beyond `a_Bytes` in its life.
class SIZE_LIMIT {
public:
    explicit SIZE_LIMIT(rlim_t a_Bytes) {
        getrlimit(RLIMIT_FSIZE, &m_Before);
        const rlimit l_Limit{a_Bytes, m_Before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &l_Limit);
    }
    SIZE_LIMIT(const SIZE_LIMIT&) = delete;
    SIZE_LIMIT& operator=(const SIZE_LIMIT&) = delete;
    ~SIZE_LIMIT() {
        setrlimit(RLIMIT_FSIZE, &m_Before);
        signal(SIGXFSZ, m_Handler);
    }

private:
    rlimit m_Before{};
    void (*m_Handler)(int) = signal(SIGXFSZ, SIG_IGN);
};

TEST_F(StorageFolder, AWriteThatFailsHalfWayLeavesTheOldFilesAndNothingElse) {
    Transaction([&] {
        Set(1, "old", "a");
        Set(1, "old", "b");
    });
    const std::string l_Before[] = {Read("a"), Read("b")};
    int l_Result = SUCCESS;
    {
        const SIZE_LIMIT l_Limit(1000);
        l_Result = Transaction([&] {
            Set(1, "new", "a");
            Set(1, std::string(2000, 'x'), "b");
        });
    }
    EXPECT_EQ(NOTHING_DONE, l_Result);
    EXPECT_EQ(l_Before[0], Read("a"));
    EXPECT_EQ(l_Before[1], Read("b"));
    EXPECT_THAT(Names(), UnorderedElementsAre("a", "b"));
    EXPECT_EQ("EndTransaction - " + PathOf(".new.b") + ": File too large", Logged().back());
}

TEST_F(StorageFolder, AfterAFailedEndTheNextTransactionBeginsAnew) {
    SetNow(1, "old");
    {
        const SIZE_LIMIT l_Limit(10);
        Transaction([&] { Set(1, "new"); });
    }
    EXPECT_EQ("old", GetNow(1));
    SetNow(1, "newer");
    EXPECT_EQ("newer", GetNow(1));
}

// --- what a killed process leaves ---

TEST_F(StorageFolder, ANewFileThatWasNeverPutInPlaceIsReplaced) {
    SetNow(1, "old");
    Write("half", std::string(".new.") + FILE_NAME);
    EXPECT_EQ("old", GetNow(1));
    SetNow(1, "new");
    EXPECT_EQ("new", GetNow(1));
    EXPECT_THAT(Names(), ElementsAre(FILE_NAME));
}

TEST_F(StorageFolder, ReplacementsThatAJournalNamesAreEndedByTheNextTransaction) {
    for (const int i : {1, 2}) // the first was renamed before the kill, the second was not
        Transaction([&] { Set(1, "new " + std::to_string(i), std::to_string(i)); });
    std::filesystem::rename(PathOf("2"), PathOf(".new.2"));
    Write("files to rename\n1\n2\n", ".journal");
    Transaction([] {});
    EXPECT_THAT(Names(), UnorderedElementsAre("1", "2"));
    EXPECT_THAT(Read("1"), HasSubstr("new 1"));
    EXPECT_THAT(Read("2"), HasSubstr("new 2"));
}

TEST_F(StorageFolder, AForeignJournalIsRefusedAndLeftAsItIs) {
    const struct {
        const char* m_Text;
        const char* m_LineAndReason;
    } l_Cases[] = {{"", "1: expected \"files to rename\""},
                   {"whatever\n", "1: expected \"files to rename\""},
                   {"files to rename\nf\n../g\n", "3: file name \"../g\": empty, or begins with a dot"}};
    for (const auto& [l_Text, l_LineAndReason] : l_Cases) {
        Write("of the folder", ".new.f");
        Write(l_Text, ".journal");
        EXPECT_EQ(NOT_READABLE, m_Storage->StartTransaction()) << l_Text;
        EXPECT_EQ("StartTransaction - " + PathOf(".journal") + ":" + l_LineAndReason, Logged().back());
        EXPECT_THAT(Names(), UnorderedElementsAre(".journal", ".new.f"));
        EXPECT_EQ(l_Text, Read(".journal"));
    }
}

} // namespace
