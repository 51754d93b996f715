// The storage where the XML library gets no memory: nothing is written for half, and nothing is taken for the whole.
#include "platform/storage/StorageTest.h"

#include <pugixml.hpp>

#include <cstdlib>

namespace {

using testing::Contains;

int allocationsLeft = 0;

void* Allocate(std::size_t size) {
    return allocationsLeft-- > 0 ? std::malloc(size) : nullptr;
}

/// The library's allocations fail after some.
class ScarceMemory {
public:
    explicit ScarceMemory(int allocations) {
        allocationsLeft = allocations;
        pugi::set_memory_management_functions(Allocate, std::free);
    }
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
    ~ScarceMemory() { pugi::set_memory_management_functions(m_allocate, m_free); }

    static bool WasShort() { return allocationsLeft < 0; }

private:
    const pugi::allocation_function m_allocate = pugi::get_memory_allocation_function();
    const pugi::deallocation_function m_free = pugi::get_memory_deallocation_function();
};

class StorageMemory : public StorageTest {
protected:
    static constexpr int Rows = 500;

    StorageMemory() {
        Transaction([&] {
            for (int i = 0; i < Rows; ++i)
                EXPECT_EQ(Success, Create(i, "192.168.0.1"));
        });
    }
};

TEST_F(StorageMemory, AFileThatCannotBeMadeWholeIsNotWritten) {
    const std::string before = Read();
    int allocations = 0;
    for (bool wasShort = true; wasShort; ++allocations) {
        std::optional<ScarceMemory> scarce;
        const int result = Transaction([&] {
            EXPECT_EQ(Success, Set(1, "192.168.0.2"));
            scarce.emplace(allocations);
        });
        wasShort = ScarceMemory::WasShort();
        scarce.reset();
        EXPECT_EQ(wasShort ? NothingDone : Success, result) << allocations;
        if (wasShort) {
            EXPECT_EQ(before, Read()) << allocations;
        }
    }
    EXPECT_GT(allocations, 3) << "the library needs several";
    EXPECT_THAT(Logged(), Contains("EndTransaction - no memory left"));
    EXPECT_EQ("192.168.0.2", GetNow(1, 1));
    EXPECT_EQ("192.168.0.1", GetNow(Rows - 1, 1));
}

TEST_F(StorageMemory, AFileThatCannotBeReadWholeGivesNoRow) {
    int allocations = 0;
    for (bool wasShort = true; wasShort; ++allocations) {
        std::string address;
        {
            const ScarceMemory scarce(allocations);
            address = GetNow(Rows - 1, 1);
            wasShort = ScarceMemory::WasShort();
        }
        EXPECT_EQ(wasShort ? std::to_string(NothingDone) : "192.168.0.1", address) << allocations;
    }
    EXPECT_GT(allocations, 3) << "the library needs several";
}

} // namespace
