// A writer that is killed at any moment leaves the old rows or the new ones, in all of its files.
#include "platform/storage/StorageTest.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>

namespace {

using testing::IsSubsetOf;

constexpr int KILLS = 1000;
constexpr const char* FILES[] = {"a.xml", "b.xml"};

// What writer and test both see.
struct PROGRESS {
    std::atomic<int> m_Started; ///< the last number whose transaction was begun
    std::atomic<int> m_Ended;   ///< the last number whose transaction has ended well
};

class StorageKill : public STORAGE_TEST {
protected:
    // In memory: what a kill leaves does not depend on the disk, and a thousand of them would wait for it.
    StorageKill()
        : STORAGE_TEST(std::filesystem::is_directory("/dev/shm") ? "/dev/shm/" : testing::TempDir()),
          m_Progress(new (mmap(nullptr, sizeof(PROGRESS), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                         PROGRESS{}) {}
    ~StorageKill() override { munmap(m_Progress, sizeof(PROGRESS)); }

    // Stores one number after the other in all files, until it is killed.
    [[noreturn]] void WriteForEver(std::size_t a_Files) {
        while (true) {
            const int l_Number = ++m_Progress->m_Started;
            if (m_Storage->StartTransaction() != SUCCESS) _exit(1);
            for (std::size_t i = 0; i < a_Files; ++i)
                if (Set(1, std::to_string(l_Number), FILES[i]) != SUCCESS) _exit(2);
            if (m_Storage->EndTransaction() != SUCCESS) _exit(3);
            m_Progress->m_Ended = l_Number;
        }
    }

    int Stored(const char* a_File) {
        BM_ADAPTOR::CBMIParams l_Row;
        if (m_Storage->RetrieveRow(a_File, Keys(1), l_Row, 0) != SUCCESS) return 0;
        return std::stoi(l_Row.GetParamById(ADDRESS)->GetString());
    }

    // Kills a writer `a_After` after its first transaction has begun, and looks at what it left.
    void KillOne(std::size_t a_Files, std::chrono::nanoseconds a_After) {
        const int l_Before = m_Progress->m_Started;
        const pid_t l_Writer = fork();
        if (l_Writer == 0) WriteForEver(a_Files);
        while (m_Progress->m_Started == l_Before)
            std::this_thread::yield();
        const auto l_Moment = std::chrono::steady_clock::now() + a_After;
        while (std::chrono::steady_clock::now() < l_Moment) { // a sleep is not that exact
        }
        kill(l_Writer, SIGKILL);
        int l_Status = 0;
        ASSERT_EQ(l_Writer, waitpid(l_Writer, &l_Status, 0));
        ASSERT_TRUE(WIFSIGNALED(l_Status)) << WEXITSTATUS(l_Status);

        ASSERT_EQ(SUCCESS, m_Storage->StartTransaction());
        const int l_First = Stored(FILES[0]);
        EXPECT_GE(l_First, m_Progress->m_Ended);
        EXPECT_LE(l_First, m_Progress->m_Started);
        for (std::size_t i = 1; i < a_Files; ++i)
            EXPECT_EQ(l_First, Stored(FILES[i]));
        ASSERT_EQ(SUCCESS, m_Storage->EndTransaction());
        (l_First == m_Progress->m_Ended ? m_Old : m_New)++;
        m_Progress->m_Ended = l_First;
        EXPECT_THAT(Names(), IsSubsetOf({"a.xml", "b.xml", ".new.a.xml", ".new.b.xml", ".new..journal"}));
    }

    // Kills at moments spread evenly over the first few transactions of a writer, however long they take here.
    void KillMany(std::size_t a_Files) {
        const auto l_Spread = 4 * TimeOfOne(a_Files);
        std::mt19937 l_Random(20261121);
        std::uniform_int_distribution<long long> l_Moments(0, l_Spread.count());
        for (int i = 0; i < KILLS / 2 && !HasFailure(); ++i)
            KillOne(a_Files, std::chrono::nanoseconds(l_Moments(l_Random)));
        EXPECT_EQ(KILLS / 2, m_Old + m_New);
        EXPECT_GT(m_Old, 0);
        EXPECT_GT(m_New, 0) << "none came between the replacement and the end";
    }

    std::chrono::nanoseconds TimeOfOne(std::size_t a_Files) {
        constexpr int TIMES = 20;
        const auto l_Begin = std::chrono::steady_clock::now();
        for (int i = 0; i < TIMES; ++i)
            Transaction([&] {
                for (std::size_t n = 0; n < a_Files; ++n)
                    Set(1, "0", FILES[n]);
            });
        return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - l_Begin) / TIMES;
    }

    PROGRESS* m_Progress;
    int m_Old = 0;
    int m_New = 0;
};

TEST_F(StorageKill, FiveHundredKillsNeverLeaveAHalfFile) {
    KillMany(1);
}

TEST_F(StorageKill, FiveHundredKillsNeverLeaveOneOfTwoFiles) {
    KillMany(2);
}

} // namespace
