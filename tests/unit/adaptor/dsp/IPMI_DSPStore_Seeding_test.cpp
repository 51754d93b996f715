// The DSPs' default addresses in the platform's storage: whatever happens to the process that stores them, all of them
// are there or none, and the next Init finds all.
#include "adaptor/dsp/IPMI_DSPStore.h"

#include "adaptor/LifecycleTest.h"
#include "bm_dev/HostStorage.h"
#include "fake/process/TracedChild.h"

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::AnyOf;
using testing::IsEmpty;

namespace {

const TEXTS ALL = {"192.168.0.23", "192.168.0.22", "192.168.0.21", "192.168.0.20"};

// The seeding makes more system calls than this, and the test looks at each.
constexpr int FEWEST_CALLS = 10;

bool IsAsleep(pid_t a_Process) {
    std::ifstream l_File("/proc/" + std::to_string(a_Process) + "/stat");
    std::string l_Line;
    std::getline(l_File, l_Line);
    const auto l_Name = l_Line.rfind(") ");
    return l_Name != std::string::npos && l_Line.compare(l_Name + 2, 1, "S") == 0;
}

class Seeding : public LIFECYCLE_TEST {
protected:
    Seeding() { GiveDSPs(); }
    ~Seeding() override { std::filesystem::remove_all(m_Root); }

    /// A folder that is not there yet.
    void TakeNewFolder() { m_Folder = m_Root + "/" + std::to_string(++m_Folders) + "/storage"; }

    /// What a process does that seeds: the result.
    int Seed() {
        const auto l_Storage = bm_dev::MakeStorage(m_Folder);
        const std::atomic<QUB_STORAGE::CDataStorage*> l_Used = l_Storage.get();
        return DSP_IP_STORE(l_Used).Seed();
    }

    /// A whole Init in a process of its own: the addresses in 0x30d10 are the defaults.
    bool FreshInitFindsAll() {
        return TRACED_CHILD([&] {
                   WithoutOpenIPMI();
                   const auto l_Storage = bm_dev::MakeStorage(m_Folder);
                   m_Host.m_Storage = l_Storage.get();
                   Init(1);
                   CBMITable* l_Table = nullptr;
                   m_Adaptor.GetParamTable(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, l_Table);
                   return AddressesIn(*l_Table) == ALL ? 0 : 1;
               }).Finish() == 0;
    }

    /// The addresses that are stored, by DSP number; "?" for one without.
    TEXTS Stored() const {
        const auto l_Storage = bm_dev::MakeStorage(m_Folder);
        CBMITable l_Table;
        EXPECT_EQ(l_Storage->StartTransaction(), 1);
        EXPECT_EQ(l_Storage->RetrieveTable(DSP_IP_FILE, l_Table, 0), 1);
        EXPECT_EQ(l_Storage->EndTransaction(), 1);
        return AddressesIn(l_Table);
    }

    /// After a process that was disturbed at its call number `a_Call`.
    void ExpectNoneOrAll(int a_Call) {
        const TEXTS l_Stored = Stored();
        EXPECT_THAT(l_Stored, AnyOf(IsEmpty(), ALL)) << a_Call;
        ++(l_Stored.empty() ? m_None : m_All);
        EXPECT_TRUE(FreshInitFindsAll()) << a_Call;
        EXPECT_EQ(Stored(), ALL) << a_Call;
    }

    int m_None = 0;
    int m_All = 0;

private:
    static TEXTS AddressesIn(const CBMITable& a_Table) {
        TEXTS l_Addresses;
        for (int i = 0; i < a_Table.GetSize(); ++i) {
            const auto l_Dsp = static_cast<std::size_t>(a_Table.Get(i)->GetParamById(BMI_HW_AMC_DSP_EX_NUM)->GetInt());
            if (l_Addresses.size() < l_Dsp) l_Addresses.resize(l_Dsp, "?");
            l_Addresses[l_Dsp - 1] = a_Table.Get(i)->GetParamById(BMI_HW_AMC_DSP_EX_IP)->GetString();
        }
        return l_Addresses;
    }

    // In memory where there is such a file system: what is left does not depend on the disk.
    static std::string MakeRoot() {
        const std::string l_Around =
            std::filesystem::is_directory("/dev/shm") ? std::string("/dev/shm/") : testing::TempDir();
        std::string l_Root = l_Around + "seeding-XXXXXX";
        return mkdtemp(l_Root.data());
    }

    const std::string m_Root = MakeRoot();
    std::string m_Folder;
    int m_Folders = 0;
};

TEST_F(Seeding, KilledAtAnySystemCallLeavesNoneOrAll) {
    int l_Calls = 0;
    for (bool l_bEnded = false; !l_bEnded && !HasFailure(); ++l_Calls) {
        TakeNewFolder();
        {
            TRACED_CHILD l_Process([&] { return Seed(); });
            for (int i = 0; i <= l_Calls && !l_bEnded; ++i)
                l_bEnded = !l_Process.GoOn();
        } // killed here
        ExpectNoneOrAll(l_Calls);
    }
    EXPECT_GT(l_Calls, FEWEST_CALLS);
    EXPECT_GT(m_None, 0);
    EXPECT_GT(m_All, 1) << "none came between the replacement and the end";
}

TEST_F(Seeding, FullDiskAtAnySystemCallLeavesNoneOrAll) {
    int l_Failed = 0;
    int l_Calls = 0;
    for (bool l_bEnded = false; !l_bEnded && !HasFailure(); ++l_Calls) {
        TakeNewFolder();
        TRACED_CHILD l_Process([&] { return Seed(); });
        int l_OnFiles = 0;
        while (!(l_bEnded = !l_Process.GoOn())) {
            if (!l_Process.IsOnFiles() || l_OnFiles++ < l_Calls) continue;
            l_Process.Fail(ENOSPC);
            break;
        }
        if (l_Process.Finish() != 1) ++l_Failed;
        ExpectNoneOrAll(l_Calls);
    }
    EXPECT_GT(l_Calls, FEWEST_CALLS);
    EXPECT_GT(l_Failed, 0);
}

TEST_F(Seeding, DiskThatStaysFullFromAnySystemCallOnLeavesNoneOrAll) {
    int l_Failed = 0;
    int l_Calls = 0;
    for (bool l_bFull = true; l_bFull && !HasFailure(); ++l_Calls) {
        TakeNewFolder();
        TRACED_CHILD l_Process([&] { return Seed(); });
        int l_OnFiles = 0;
        l_bFull = false;
        while (l_Process.GoOn()) {
            if (!l_Process.IsOnFiles() || l_OnFiles++ < l_Calls) continue;
            l_Process.Fail(ENOSPC);
            l_bFull = true;
        }
        if (l_Process.Finish() != 1) ++l_Failed;
        ExpectNoneOrAll(l_Calls);
    }
    EXPECT_GT(l_Calls, FEWEST_CALLS);
    EXPECT_GT(l_Failed, 0);
}

// The second one runs as far as it can while the first one is held at one of its calls.
TEST_F(Seeding, TwoProcessesAtOnceStoreAllAndBothSucceed) {
    int l_Calls = 0;
    for (bool l_bEnded = false; !l_bEnded && !HasFailure(); ++l_Calls) {
        TakeNewFolder();
        TRACED_CHILD l_First([&] { return Seed(); });
        for (int i = 0; i <= l_Calls && !l_bEnded; ++i)
            l_bEnded = !l_First.GoOn();
        const pid_t l_Second = fork();
        if (l_Second == 0) _exit(Seed());
        int l_Status = 0;
        pid_t l_Waited = 0;
        while ((l_Waited = waitpid(l_Second, &l_Status, WNOHANG)) == 0 && !IsAsleep(l_Second))
            std::this_thread::yield();
        EXPECT_EQ(l_First.Finish(), 1) << l_Calls;
        if (l_Waited == 0) {
            ASSERT_EQ(waitpid(l_Second, &l_Status, 0), l_Second);
        }
        EXPECT_TRUE(WIFEXITED(l_Status));
        EXPECT_EQ(WEXITSTATUS(l_Status), 1) << l_Calls;
        EXPECT_EQ(Stored(), ALL) << l_Calls;
    }
    EXPECT_GT(l_Calls, FEWEST_CALLS);
}

} // namespace
