// The host's side of the interface.
#include "host/session/Manager.h"

#include "bm/DataStorage.h"
#include "bm_dev/HostLog.h"
#include "common/veldo_common_protocol.h"
#include "host/HostParams.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <thread>
#include <unistd.h>

namespace {

using namespace BM_ADAPTOR;
using bmhost::HostManager;
using namespace std::chrono_literals;

// A folder that no test here touches.
constexpr const char* Nowhere = "/nowhere";

TEST(Manager, RemovesWhatWasRegisteredOnce) {
    HostManager manager(1, Nowhere);
    EXPECT_EQ(0, manager.UnregisterGroup(BMI_GROUP_HARDWARE_AMC_FRU_TABLE));
    EXPECT_EQ(1, manager.RegisterGroup(BMI_GROUP_HARDWARE_AMC_FRU_TABLE, nullptr));
    EXPECT_EQ(1, manager.UnregisterGroup(BMI_GROUP_HARDWARE_AMC_FRU_TABLE));
    EXPECT_EQ(0, manager.UnregisterGroup(BMI_GROUP_HARDWARE_AMC_FRU_TABLE));
    EXPECT_EQ(0, manager.UnregisterEventClass(BMI_EVENT_CLASS));
    EXPECT_EQ(1, manager.RegisterEventClass(BMI_EVENT_CLASS, nullptr));
    EXPECT_EQ(1, manager.UnregisterEventClass(BMI_EVENT_CLASS));
    EXPECT_EQ(0, manager.UnregisterEventClass(BMI_EVENT_CLASS));
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
    EXPECT_EQ(1, storage->SetRow("f", Row<CBMIKeys>(Int(1, 2)), Row(Int(3, 4))));
    EXPECT_EQ(1, storage->EndTransaction());
    EXPECT_TRUE(std::filesystem::exists(folder + "/f"));
    std::filesystem::remove_all(folder);
}

TEST(Manager, EventIsACopy) {
    HostManager manager(1, Nowhere);
    auto params = Row<CBMIEvParams>(Int(BMI_HW_AMC_RUN_STATUS, RUN_STATUS_INITIALISING));
    EXPECT_EQ(1, manager.SendEvent(BMI_EVENT_AMC_RUN_STATUS, BMI_EVENT_NUMBER, &params));
    params.Get(0)->SetInt(RUN_STATUS_RUNNING);
    const auto event = manager.TakeEvent(0ms);
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(BMI_EVENT_AMC_RUN_STATUS, event->m_event);
    EXPECT_EQ(BMI_EVENT_NUMBER, event->m_number);
    ASSERT_EQ(1, event->m_params.GetSize());
    EXPECT_EQ(RUN_STATUS_INITIALISING, event->m_params.Get(0)->GetInt());
}

TEST(Manager, EventWithoutParametersIsTaken) {
    HostManager manager(1, Nowhere);
    EXPECT_EQ(1, manager.SendEvent(1, 2, nullptr));
    EXPECT_EQ(0, manager.TakeEvent(0ms)->m_params.GetSize());
}

TEST(Manager, AnEventForWhichThereIsNoMemoryIsLostAndNoMore) {
    HostManager manager(1, Nowhere);
    manager.HandTo([](const AdaptorEvent&) { throw std::bad_alloc(); });
    EXPECT_EQ(0, manager.SendEvent(1, 2, nullptr));
    manager.HandTo(nullptr);
    EXPECT_EQ(1, manager.SendEvent(2, 2, nullptr));
    EXPECT_EQ(2U, manager.TakeEvent(0ms)->m_event);
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
