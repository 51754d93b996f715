// The storage's folder: names, things that are not files, edits from outside, other processes, failures and their
// traces.
#include "platform/storage/FailingSystem.h"
#include "platform/storage/StorageTest.h"
#include "tests/SizeLimit.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using StorageFolder = StorageTest;

mode_t ModeOf(const std::string& path) {
    struct stat state {};
    EXPECT_EQ(0, stat(path.c_str(), &state)) << path;
    return state.st_mode & 07777;
}

// --- names ---

TEST_F(StorageFolder, NamesThatLeaveTheFolderOrHideInItAreRefused) {
    const std::string names[] = {"",
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
    for (const std::string& name : names) {
        BM_ADAPTOR::CBMITable table;
        Transaction([&] {
            EXPECT_EQ(NothingDone, Set(1, "x", name)) << name;
            EXPECT_EQ(NothingDone, m_storage->RetrieveTable(name, table, 0)) << name;
        });
        EXPECT_THAT(Logged().back(), HasSubstr("RetrieveTable - file name \""));
        EXPECT_LT(Logged().back().size(), 250U);
    }
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(StorageFolder, LongAndUnusualNamesAreTaken) {
    const std::string names[] = {std::string(200, 'x'), "a b", "\xC3\xBC.xml", "a..b", "%s%n"};
    for (const std::string& name : names)
        EXPECT_EQ(Success, Transaction([&] { EXPECT_EQ(Success, Set(1, "x", name)); }));
    EXPECT_THAT(Names(), testing::UnorderedElementsAreArray(names));
}

// --- files that are none ---

TEST_F(StorageFolder, WhatIsNoRegularFileIsRefusedAndStays) {
    std::filesystem::create_directories(PathOf("folder"));
    std::filesystem::create_symlink("/etc/passwd", PathOf("link"));
    std::filesystem::create_symlink("nowhere", PathOf("dangling"));
    ASSERT_EQ(0, mkfifo(PathOf("pipe").c_str(), 0600));
    for (const std::string name : {"folder", "link", "dangling", "pipe"}) {
        Transaction([&] { EXPECT_EQ(NotReadable, Set(1, "x", name)) << name; });
        EXPECT_EQ("SetRow - " + PathOf(name) + ": not a regular file", Logged().back());
    }
    EXPECT_THAT(Names(), UnorderedElementsAre("folder", "link", "dangling", "pipe"));
}

TEST_F(StorageFolder, ThatIsAFileIsRefused) {
    Write("x", "f");
    m_storage = bm_dev::MakeStorage(PathOf("f"));
    EXPECT_EQ(NothingDone, m_storage->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - " + PathOf("f") + ": Not a directory"));
}

TEST_F(StorageFolder, WithoutANameIsRefused) {
    m_storage = bm_dev::MakeStorage("");
    EXPECT_EQ(NothingDone, m_storage->StartTransaction());
    EXPECT_THAT(Logged(), ElementsAre("StartTransaction - : No such file or directory"));
}

// --- other writers ---

TEST_F(StorageFolder, AnEditBetweenTransactionsIsSeenAlsoWithoutForce) {
    SetNow(1, "old");
    EXPECT_EQ("old", GetNow(1));
    std::string text = Read();
    text.replace(text.find("old"), 3, "edited");
    Write(text);
    EXPECT_EQ("edited", GetNow(1));
}

TEST_F(StorageFolder, AnEditInTheMidstOfATransactionIsNotOverwritten) {
    SetNow(1, "old");
    EXPECT_EQ(NothingDone, Transaction([&] {
                  Set(1, "new");
                  Write("edited");
              }));
    EXPECT_EQ("edited", Read());
    EXPECT_THAT(Logged(), ElementsAre("EndTransaction - " + PathOf(FileName) +
                                      ": was changed by another process in the meantime"));
}

TEST_F(StorageFolder, AFileThatAppearsInTheMidstOfATransactionIsNotOverwritten) {
    EXPECT_EQ(NothingDone, Transaction([&] {
                  Set(1, "new");
                  Write("of somebody else");
              }));
    EXPECT_EQ("of somebody else", Read());
    EXPECT_THAT(Names(), ElementsAre(FileName));
}

TEST_F(StorageFolder, ModeOfAFileOutlivesItsReplacement) {
    SetNow(1, "x");
    std::filesystem::permissions(PathOf(FileName), std::filesystem::perms(0640));
    SetNow(1, "y");
    EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(PathOf(FileName)).permissions());
}

TEST_F(StorageFolder, SetUserIdAndItsLikeDoNotOutliveAReplacement) {
    SetNow(1, "x");
    ASSERT_EQ(0, chmod(PathOf(FileName).c_str(), 07754));
    SetNow(1, "y");
    EXPECT_EQ(0754U, ModeOf(PathOf(FileName)));
}

// Sets the umask of this process as long as it lives.
class Umask {
public:
    explicit Umask(mode_t mask) : m_before(umask(mask)) {}
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;
    ~Umask() { umask(m_before); }

private:
    mode_t m_before;
};

TEST_F(StorageFolder, IsItsOwnersAloneWithWhatIsNewInItWhateverTheUmask) {
    int number = 0;
    for (const mode_t mask : {0, 022, 0277}) {
        const Umask umask(mask);
        const std::string folder = m_root + "/" + std::to_string(++number);
        m_storage = bm_dev::MakeStorage(folder + "/.");
        ASSERT_EQ(Success, Transaction([&] { Set(1, "x"); }));
        EXPECT_EQ(0700U, ModeOf(folder)) << mask;
        EXPECT_EQ(0600U, ModeOf(folder + "/" + FileName)) << mask;
    }
}

TEST_F(StorageFolder, KeepsTheModesThatItAndItsFilesHaveWhateverTheUmask) {
    SetNow(1, "x");
    ASSERT_EQ(0, chmod(m_folder.c_str(), 0755));
    ASSERT_EQ(0, chmod(PathOf(FileName).c_str(), 0666));
    const Umask umask(022);
    SetNow(1, "y");
    EXPECT_EQ(0755U, ModeOf(m_folder));
    EXPECT_EQ(0666U, ModeOf(PathOf(FileName)));
}

TEST_F(StorageFolder, WhoDoesNotLetItGoIsNamedInsteadOfWaitedForWithoutEnd) {
    SetNow(1, "x");
    m_storage = bm_dev::MakeStorage(m_folder, std::chrono::milliseconds(0));
    int ready[2];
    int end[2];
    ASSERT_EQ(0, pipe(ready));
    ASSERT_EQ(0, pipe(end));
    const pid_t holder = fork();
    if (holder == 0) {
        close(end[1]);
        const int folder = open(m_folder.c_str(), O_RDONLY | O_CLOEXEC);
        char byte = flock(folder, LOCK_EX) == 0 ? '1' : '0';
        if (write(ready[1], &byte, 1) != 1 || read(end[0], &byte, 1) != 0) _exit(1);
        _exit(0);
    }
    char locked = '0';
    EXPECT_EQ(1, read(ready[0], &locked, 1));
    EXPECT_EQ('1', locked);
    EXPECT_EQ(NothingDone, m_storage->StartTransaction());
    EXPECT_EQ(NothingDone, m_storage->EndTransaction()) << "there is none";
    close(end[1]);
    int status = -1;
    ASSERT_EQ(holder, waitpid(holder, &status, 0));
    EXPECT_EQ(0, status);
    for (const int file : {ready[0], ready[1], end[0]})
        close(file);
    const std::string process = "process " + std::to_string(holder) + " (platform_tests)";
    EXPECT_THAT(Logged(),
                testing::Contains("StartTransaction - " + m_folder + ": is locked by " + process + ", waited 0 s"));
    EXPECT_EQ("x", GetNow(1)) << "it was let go";
}

TEST_F(StorageFolder, IsLockedDuringATransactionOnly) {
    const auto lock = [&] {
        const int file = open(m_folder.c_str(), O_RDONLY | O_CLOEXEC);
        const int result = flock(file, LOCK_EX | LOCK_NB);
        close(file);
        return result;
    };
    Transaction([&] { EXPECT_EQ(-1, lock()); });
    EXPECT_EQ(0, lock());
}

TEST_F(StorageFolder, LeavesNoDescriptorOpenAndHandsNoneToPrograms) {
    const auto descriptors = [] {
        std::vector<std::string> open;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            open.push_back(entry.path());
        return open.size();
    };
    SetNow(1, "x");
    const auto before = descriptors();
    Transaction([&] {
        Get(1);
        ASSERT_EQ(before + 1, descriptors()) << "the folder";
        int inherited = 0;
        for (int i = 3; i < 1024; ++i) {
            const int flags = fcntl(i, F_GETFD);
            std::error_code none;
            const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(i), none).string();
            if (flags >= 0 && path.starts_with(m_root)) inherited += (flags & FD_CLOEXEC) == 0;
        }
        EXPECT_EQ(0, inherited);
    });
    EXPECT_EQ(before, descriptors());
}

// --- failures ---

TEST_F(StorageFolder, AWriteThatFailsHalfWayLeavesTheOldFilesAndNothingElse) {
    Transaction([&] {
        Set(1, "old", "a");
        Set(1, "old", "b");
    });
    const std::string before[] = {Read("a"), Read("b")};
    int result = Success;
    {
        const SizeLimit limit(1000);
        result = Transaction([&] {
            Set(1, "new", "a");
            Set(1, std::string(2000, 'x'), "b");
        });
    }
    EXPECT_EQ(NothingDone, result);
    EXPECT_EQ(before[0], Read("a"));
    EXPECT_EQ(before[1], Read("b"));
    EXPECT_THAT(Names(), UnorderedElementsAre("a", "b"));
    EXPECT_EQ("EndTransaction - " + PathOf(".new.b") + ": File too large", Logged().back());
}

TEST_F(StorageFolder, AfterAFailedEndTheNextTransactionBeginsAnew) {
    SetNow(1, "old");
    {
        const SizeLimit limit(10);
        Transaction([&] { Set(1, "new"); });
    }
    EXPECT_EQ("old", GetNow(1));
    SetNow(1, "newer");
    EXPECT_EQ("newer", GetNow(1));
}

// --- failures at the end: 0 says that nothing stands, now or later ---

TEST_F(StorageFolder, OneFileThatIsReplacedStandsThoughTheDiskDoesNotConfirmIt) {
    SetNow(1, "old");
    const FailingCall failing("fsync", 2); // the first is the new file's, the second the folder's
    const int result = Transaction([&] { Set(1, "new"); });
    EXPECT_TRUE(FailingCall::HasFailed());
    EXPECT_EQ(Success, result);
    EXPECT_EQ("new", GetNow(1));
    EXPECT_THAT(Logged(), ElementsAre("EndTransaction - " + PathOf(FileName) +
                                      ": was replaced, but may not survive a power failure: Input/output error"));
}

TEST_F(StorageFolder, OneFileIsTheOldOneAfterAnyFailureBefore) {
    SetNow(1, "old");
    for (const char* call : {"fsync", "renameat"}) {
        const FailingCall failing(call, 1);
        EXPECT_EQ(NothingDone, Transaction([&] { Set(1, "new"); })) << call;
        EXPECT_TRUE(FailingCall::HasFailed());
        EXPECT_EQ("old", GetNow(1)) << call;
        EXPECT_THAT(Names(), ElementsAre(FileName)) << call;
    }
}

// Whichever call of EndTransaction fails, the result, the files after the next transaction and the log agree.
TEST_F(StorageFolder, OfSeveralFilesAllOrNoneStandWhateverFailsAndTheResultSaysWhich) {
    const struct {
        const char* m_call;
        int m_failures; // of this call, until none is left to fail
        int m_standing; // the first failure after which all changes take effect
    } calls[] = {{"fsync", 7, 5}, {"renameat", 3, 2}};
    for (const auto& [call, failures, standing] : calls) {
        for (int i = 1; i <= failures + 1; ++i) {
            for (const char* file : {"a", "b"})
                ASSERT_EQ(Success, Transaction([&] { Set(1, "old", file); }));
            const auto logged = Logged().size();
            int result = -1;
            {
                const FailingCall failing(call, i);
                result = Transaction([&] {
                    Set(1, "new", "a");
                    Set(1, "new", "b");
                });
                ASSERT_EQ(i <= failures, FailingCall::HasFailed()) << call << i;
            }
            Transaction([] {}); // ends what was begun
            const char* const text = i >= standing ? "new" : "old";
            EXPECT_EQ(i >= standing ? Success : NothingDone, result) << call << i;
            EXPECT_THAT(Read("a"), HasSubstr(text)) << call << i;
            EXPECT_THAT(Read("b"), HasSubstr(text)) << call << i;
            EXPECT_THAT(Names(), UnorderedElementsAre("a", "b")) << call << i;
            ASSERT_EQ(logged + (i <= failures ? 1 : 0), Logged().size()) << call << i;
            if (i > failures) continue;
            EXPECT_THAT(Logged().back(), HasSubstr("EndTransaction - " + m_folder)) << call << i;
            EXPECT_EQ(i >= standing,
                      Logged().back().find("; the changes have taken effect, but may not survive a power failure; "
                                           "the next transaction completes them") != std::string::npos)
                << Logged().back();
        }
    }
}

// --- what a killed process leaves ---

TEST_F(StorageFolder, ANewFileThatWasNeverPutInPlaceIsReplaced) {
    SetNow(1, "old");
    Write("half", std::string(".new.") + FileName);
    EXPECT_EQ("old", GetNow(1));
    SetNow(1, "new");
    EXPECT_EQ("new", GetNow(1));
    EXPECT_THAT(Names(), ElementsAre(FileName));
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
        const char* m_text;
        const char* m_lineAndReason;
    } cases[] = {{"", "1: expected \"files to rename\""},
                 {"whatever\n", "1: expected \"files to rename\""},
                 {"files to rename\nf\n../g\n", "3: file name \"../g\": empty, or begins with a dot"}};
    for (const auto& [text, lineAndReason] : cases) {
        Write("of the folder", ".new.f");
        Write(text, ".journal");
        EXPECT_EQ(NotReadable, m_storage->StartTransaction()) << text;
        EXPECT_EQ("StartTransaction - " + PathOf(".journal") + ":" + lineAndReason, Logged().back());
        EXPECT_THAT(Names(), UnorderedElementsAre(".journal", ".new.f"));
        EXPECT_EQ(text, Read(".journal"));
    }
}

} // namespace
