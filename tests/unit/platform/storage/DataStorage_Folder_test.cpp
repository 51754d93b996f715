// The storage's folder: names, files that are no files, edits from outside, other processes, failures and their traces.
#include "platform/storage/FailingSystem.h"
#include "platform/storage/StorageTest.h"

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using StorageFolder = STORAGE_TEST;

mode_t ModeOf(const std::string& a_Path) {
    struct stat l_State {};
    EXPECT_EQ(0, stat(a_Path.c_str(), &l_State)) << a_Path;
    return l_State.st_mode & 07777;
}

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

TEST_F(StorageFolder, SetUserIdAndItsLikeDoNotOutliveAReplacement) {
    SetNow(1, "x");
    ASSERT_EQ(0, chmod(PathOf(FILE_NAME).c_str(), 07754));
    SetNow(1, "y");
    EXPECT_EQ(0754U, ModeOf(PathOf(FILE_NAME)));
}

// The umask of this process, in its life.
class UMASK {
public:
    explicit UMASK(mode_t a_Mask) : m_Before(umask(a_Mask)) {}
    UMASK(const UMASK&) = delete;
    UMASK& operator=(const UMASK&) = delete;
    ~UMASK() { umask(m_Before); }

private:
    mode_t m_Before;
};

TEST_F(StorageFolder, IsItsOwnersAloneWithWhatIsNewInItWhateverTheUmask) {
    int l_Number = 0;
    for (const mode_t l_Mask : {0, 022, 0277}) {
        const UMASK l_Umask(l_Mask);
        const std::string l_Folder = m_Root + "/" + std::to_string(++l_Number);
        m_Storage = BM_PLATFORM::MakeStorage(l_Folder + "/.");
        ASSERT_EQ(SUCCESS, Transaction([&] { Set(1, "x"); }));
        EXPECT_EQ(0700U, ModeOf(l_Folder)) << l_Mask;
        EXPECT_EQ(0600U, ModeOf(l_Folder + "/" + FILE_NAME)) << l_Mask;
    }
}

TEST_F(StorageFolder, KeepsTheModesThatItAndItsFilesHaveWhateverTheUmask) {
    SetNow(1, "x");
    ASSERT_EQ(0, chmod(m_Folder.c_str(), 0755));
    ASSERT_EQ(0, chmod(PathOf(FILE_NAME).c_str(), 0666));
    const UMASK l_Umask(022);
    SetNow(1, "y");
    EXPECT_EQ(0755U, ModeOf(m_Folder));
    EXPECT_EQ(0666U, ModeOf(PathOf(FILE_NAME)));
}

TEST_F(StorageFolder, WhoDoesNotLetItGoIsNamedInsteadOfWaitedForWithoutEnd) {
    SetNow(1, "x");
    m_Storage = BM_PLATFORM::MakeStorage(m_Folder, std::chrono::milliseconds(0));
    int l_Ready[2];
    int l_End[2];
    ASSERT_EQ(0, pipe(l_Ready));
    ASSERT_EQ(0, pipe(l_End));
    const pid_t l_Holder = fork();
    if (l_Holder == 0) {
        close(l_End[1]);
        const int l_Folder = open(m_Folder.c_str(), O_RDONLY | O_CLOEXEC);
        char l_Byte = flock(l_Folder, LOCK_EX) == 0 ? '1' : '0';
        if (write(l_Ready[1], &l_Byte, 1) != 1 || read(l_End[0], &l_Byte, 1) != 0) _exit(1);
        _exit(0);
    }
    char l_Locked = '0';
    EXPECT_EQ(1, read(l_Ready[0], &l_Locked, 1));
    EXPECT_EQ('1', l_Locked);
    EXPECT_EQ(NOTHING_DONE, m_Storage->StartTransaction());
    EXPECT_EQ(NOTHING_DONE, m_Storage->EndTransaction()) << "there is none";
    close(l_End[1]);
    int l_Status = -1;
    ASSERT_EQ(l_Holder, waitpid(l_Holder, &l_Status, 0));
    EXPECT_EQ(0, l_Status);
    for (const int l_File : {l_Ready[0], l_Ready[1], l_End[0]})
        close(l_File);
    const std::string l_Process = "process " + std::to_string(l_Holder) + " (platform_tests)";
    EXPECT_THAT(Logged(),
                testing::Contains("StartTransaction - " + m_Folder + ": is locked by " + l_Process + ", waited 0 s"));
    EXPECT_EQ("x", GetNow(1)) << "it was let go";
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

// --- failures at the end: 0 says that nothing stands, now or later ---

TEST_F(StorageFolder, OneFileThatIsReplacedStandsThoughTheDiskDoesNotConfirmIt) {
    SetNow(1, "old");
    const FAILING_CALL l_Failing("fsync", 2); // the first is the new file's, the second the folder's
    const int l_Result = Transaction([&] { Set(1, "new"); });
    EXPECT_TRUE(FAILING_CALL::HasFailed());
    EXPECT_EQ(SUCCESS, l_Result);
    EXPECT_EQ("new", GetNow(1));
    EXPECT_THAT(Logged(), ElementsAre("EndTransaction - " + PathOf(FILE_NAME) +
                                      ": is replaced, but may not outlive a power failure: Input/output error"));
}

TEST_F(StorageFolder, OneFileIsTheOldOneAfterAnyFailureBefore) {
    SetNow(1, "old");
    for (const char* l_Call : {"fsync", "renameat"}) {
        const FAILING_CALL l_Failing(l_Call, 1);
        EXPECT_EQ(NOTHING_DONE, Transaction([&] { Set(1, "new"); })) << l_Call;
        EXPECT_TRUE(FAILING_CALL::HasFailed());
        EXPECT_EQ("old", GetNow(1)) << l_Call;
        EXPECT_THAT(Names(), ElementsAre(FILE_NAME)) << l_Call;
    }
}

// Whatever call of the end fails: the result, the files after the next transaction and the log agree.
TEST_F(StorageFolder, OfSeveralFilesAllOrNoneStandWhateverFailsAndTheResultSaysWhich) {
    const struct {
        const char* m_Call;
        int m_Failures; // of this call, until none is left to fail
        int m_Standing; // the first failure after which all stands
    } l_Calls[] = {{"fsync", 7, 5}, {"renameat", 3, 2}};
    for (const auto& [l_Call, l_Failures, l_Standing] : l_Calls) {
        for (int i = 1; i <= l_Failures + 1; ++i) {
            for (const char* l_File : {"a", "b"})
                ASSERT_EQ(SUCCESS, Transaction([&] { Set(1, "old", l_File); }));
            const auto l_Logged = Logged().size();
            int l_Result = -1;
            {
                const FAILING_CALL l_Failing(l_Call, i);
                l_Result = Transaction([&] {
                    Set(1, "new", "a");
                    Set(1, "new", "b");
                });
                ASSERT_EQ(i <= l_Failures, FAILING_CALL::HasFailed()) << l_Call << i;
            }
            Transaction([] {}); // ends what was begun
            const char* const l_Text = i >= l_Standing ? "new" : "old";
            EXPECT_EQ(i >= l_Standing ? SUCCESS : NOTHING_DONE, l_Result) << l_Call << i;
            EXPECT_THAT(Read("a"), HasSubstr(l_Text)) << l_Call << i;
            EXPECT_THAT(Read("b"), HasSubstr(l_Text)) << l_Call << i;
            EXPECT_THAT(Names(), UnorderedElementsAre("a", "b")) << l_Call << i;
            ASSERT_EQ(l_Logged + (i <= l_Failures ? 1 : 0), Logged().size()) << l_Call << i;
            if (i > l_Failures) continue;
            EXPECT_THAT(Logged().back(), HasSubstr("EndTransaction - " + m_Folder)) << l_Call << i;
            EXPECT_EQ(i >= l_Standing,
                      Logged().back().find("; the changes stand, but may not outlive a power failure, "
                                           "and the next transaction ends what was begun") != std::string::npos)
                << Logged().back();
        }
    }
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
