// A writer that is killed at any moment leaves either the old rows or the new ones in all its files.
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

#ifdef BM_SANITIZED
constexpr int Kills = 100; // with the memory that a sanitizer maps, a fork takes long
#else
constexpr int Kills = 1000;
#endif
constexpr const char* FileNames[] = {"a.xml", "b.xml"};

// Memory that writer and test share.
struct Progress {
    std::atomic<int> m_started; ///< the last number whose transaction was begun
    std::atomic<int> m_ended;   ///< the last number whose transaction has ended well
};

class StorageKill : public StorageTest {
protected:
    // In memory: the result of a kill does not depend on the disk, and a thousand kills would wait for it.
    StorageKill()
        : StorageTest(std::filesystem::is_directory("/dev/shm") ? "/dev/shm/" : testing::TempDir()),
          m_progress(new (mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                         Progress{}) {}
    ~StorageKill() override { munmap(m_progress, sizeof(Progress)); }

    // Stores one number after the other in all files, until it is killed.
    [[noreturn]] void WriteForEver(std::size_t files) {
        while (true) {
            const int number = ++m_progress->m_started;
            if (m_storage->StartTransaction() != Success) _exit(1);
            for (std::size_t i = 0; i < files; ++i)
                if (Set(1, std::to_string(number), FileNames[i]) != Success) _exit(2);
            if (m_storage->EndTransaction() != Success) _exit(3);
            m_progress->m_ended = number;
        }
    }

    int Stored(const char* file) {
        BM_ADAPTOR::CBMIParams row;
        if (m_storage->RetrieveRow(file, Keys(1), row, 0) != Success) return 0;
        return std::stoi(row.GetParamById(Address)->GetString());
    }

    // Kills a writer a time of `after` after its first transaction has begun, and looks at what it left behind.
    void KillOne(std::size_t files, std::chrono::nanoseconds after) {
        const int before = m_progress->m_started;
        const pid_t writer = fork();
        if (writer == 0) WriteForEver(files);
        while (m_progress->m_started == before)
            std::this_thread::yield();
        const auto moment = std::chrono::steady_clock::now() + after;
        while (std::chrono::steady_clock::now() < moment) { // a sleep is not that exact
        }
        kill(writer, SIGKILL);
        int status = 0;
        ASSERT_EQ(writer, waitpid(writer, &status, 0));
        ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);

        ASSERT_EQ(Success, m_storage->StartTransaction());
        const int first = Stored(FileNames[0]);
        EXPECT_GE(first, m_progress->m_ended);
        EXPECT_LE(first, m_progress->m_started);
        for (std::size_t i = 1; i < files; ++i)
            EXPECT_EQ(first, Stored(FileNames[i]));
        ASSERT_EQ(Success, m_storage->EndTransaction());
        (first == m_progress->m_ended ? m_old : m_new)++;
        m_progress->m_ended = first;
        EXPECT_THAT(Names(), IsSubsetOf({"a.xml", "b.xml", ".new.a.xml", ".new.b.xml", ".new..journal"}));
    }

    // Kills at moments spread evenly over the first few transactions of a writer, however long they take here.
    void KillMany(std::size_t files) {
        const auto spread = 4 * TimeOfOne(files);
        std::mt19937 random(20261121);
        std::uniform_int_distribution<long long> moments(0, spread.count());
        // The moment between the replacement and the end is short, above all where all else is slowed down.
        const auto isEnough = [&](int kills) {
            return kills >= 50 * Kills || (kills >= Kills / 2 && m_old > 0 && m_new > 0);
        };
        int kills = 0;
        for (; !isEnough(kills) && !HasFailure(); ++kills)
            KillOne(files, std::chrono::nanoseconds(moments(random)));
        EXPECT_EQ(kills, m_old + m_new);
        EXPECT_GT(m_old, 0);
        EXPECT_GT(m_new, 0) << "none came between the replacement and the end";
    }

    std::chrono::nanoseconds TimeOfOne(std::size_t files) {
        constexpr int Times = 20;
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < Times; ++i)
            Transaction([&] {
                for (std::size_t n = 0; n < files; ++n)
                    Set(1, "0", FileNames[n]);
            });
        return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - begin) / Times;
    }

    Progress* m_progress;
    int m_old = 0;
    int m_new = 0;
};

TEST_F(StorageKill, KillsNeverLeaveAHalfFile) {
    KillMany(1);
}

TEST_F(StorageKill, KillsNeverLeaveOneOfTwoFiles) {
    KillMany(2);
}

} // namespace
