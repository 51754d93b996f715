// The host's side of the interface.
#include "host/session/Manager.h"

#include "bm/DataStorage.h"
#include "bm_dev/HostLog.h"
#include "host/HostParams.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <unistd.h>

namespace {

using BM_ADAPTOR::CBMIEvParams;
using bmhost::HostManager;
using namespace std::chrono_literals;

// A folder that no test here touches.
constexpr const char* Nowhere = "/nowhere";

TEST(Manager, RemovesWhatWasRegisteredOnce) {
    HostManager manager(1, Nowhere);
    EXPECT_EQ(0, manager.UnregisterGroup(0x300));
    EXPECT_EQ(1, manager.RegisterGroup(0x300, nullptr));
    EXPECT_EQ(1, manager.UnregisterGroup(0x300));
    EXPECT_EQ(0, manager.UnregisterGroup(0x300));
    EXPECT_EQ(0, manager.UnregisterEventClass(5));
    EXPECT_EQ(1, manager.RegisterEventClass(5, nullptr));
    EXPECT_EQ(1, manager.UnregisterEventClass(5));
    EXPECT_EQ(0, manager.UnregisterEventClass(5));
}

TEST(Manager, GivesModeAndTheHostsLogger) {
    HostManager manager(3, Nowhere);
    EXPECT_EQ(3, manager.GetMode());
    EXPECT_EQ(&bm_dev::HostLog(), manager.GetLogger());
}

TEST(Manager, StorageIsInTheFolderOfItsChoice) {
    const std::string folder = testing::TempDir() + "manager-storage-" + std::to_string(getpid());
    HostManager manager(1, folder);
    QUB_STORAGE::CDataStorage* const storage = manager.GetStorage();
    ASSERT_NE(nullptr, storage);
    EXPECT_EQ(storage, manager.GetStorage());
    EXPECT_FALSE(std::filesystem::exists(folder)) << "untouched until it is used";
    EXPECT_EQ(1, storage->StartTransaction());
    EXPECT_EQ(1, storage->SetRow("f", Row<BM_ADAPTOR::CBMIKeys>(Int(1, 2)), Row(Int(3, 4))));
    EXPECT_EQ(1, storage->EndTransaction());
    EXPECT_TRUE(std::filesystem::exists(folder + "/f"));
    std::filesystem::remove_all(folder);
}

TEST(Manager, EventIsACopy) {
    HostManager manager(1, Nowhere);
    auto params = Row<CBMIEvParams>(Int(0x30208, 3));
    EXPECT_EQ(1, manager.SendEvent(0x70402, 5, &params));
    params.Get(0)->SetInt(4);
    const auto event = manager.TakeEvent(0ms);
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(0x70402U, event->m_event);
    EXPECT_EQ(5U, event->m_number);
    ASSERT_EQ(1, event->m_params.GetSize());
    EXPECT_EQ(3, event->m_params.Get(0)->GetInt());
}

TEST(Manager, EventWithoutParametersIsTaken) {
    HostManager manager(1, Nowhere);
    EXPECT_EQ(1, manager.SendEvent(1, 2, nullptr));
    EXPECT_EQ(0, manager.TakeEvent(0ms)->m_params.GetSize());
}

TEST(Manager, EventsAreTakenInTheirOrderEachOnce) {
    HostManager manager(1, Nowhere);
    manager.SendEvent(1, 0, nullptr);
    manager.SendEvent(2, 0, nullptr);
    EXPECT_EQ(1U, manager.TakeEvent(0ms)->m_event);
    EXPECT_EQ(2U, manager.TakeEvent(0ms)->m_event);
    EXPECT_FALSE(manager.TakeEvent(1ms).has_value());
}

TEST(Manager, TakeEventWaitsForOneFromAnotherThread) {
    HostManager manager(1, Nowhere);
    std::thread sender([&] { manager.SendEvent(7, 0, nullptr); });
    const auto event = manager.TakeEvent(1min);
    sender.join();
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(7U, event->m_event);
}

} // namespace
