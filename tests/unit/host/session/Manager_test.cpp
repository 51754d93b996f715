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
using BMHOST::MANAGER;
using namespace std::chrono_literals;

// A folder that no test here touches.
constexpr const char* NOWHERE = "/nowhere";

TEST(Manager, RemovesWhatWasRegisteredOnce) {
    MANAGER l_Manager(1, NOWHERE);
    EXPECT_EQ(0, l_Manager.UnregisterGroup(0x300));
    EXPECT_EQ(1, l_Manager.RegisterGroup(0x300, nullptr));
    EXPECT_EQ(1, l_Manager.UnregisterGroup(0x300));
    EXPECT_EQ(0, l_Manager.UnregisterGroup(0x300));
    EXPECT_EQ(0, l_Manager.UnregisterEventClass(5));
    EXPECT_EQ(1, l_Manager.RegisterEventClass(5, nullptr));
    EXPECT_EQ(1, l_Manager.UnregisterEventClass(5));
    EXPECT_EQ(0, l_Manager.UnregisterEventClass(5));
}

TEST(Manager, GivesModeAndTheHostsLogger) {
    MANAGER l_Manager(3, NOWHERE);
    EXPECT_EQ(3, l_Manager.GetMode());
    EXPECT_EQ(&BM_PLATFORM::HostLog(), l_Manager.GetLogger());
}

TEST(Manager, StorageIsInTheFolderOfItsChoice) {
    const std::string l_Folder = testing::TempDir() + "manager-storage-" + std::to_string(getpid());
    MANAGER l_Manager(1, l_Folder);
    QUB_STORAGE::CDataStorage* const l_Storage = l_Manager.GetStorage();
    ASSERT_NE(nullptr, l_Storage);
    EXPECT_EQ(l_Storage, l_Manager.GetStorage());
    EXPECT_FALSE(std::filesystem::exists(l_Folder)) << "untouched until it is used";
    EXPECT_EQ(1, l_Storage->StartTransaction());
    EXPECT_EQ(1, l_Storage->SetRow("f", Row<BM_ADAPTOR::CBMIKeys>(Int(1, 2)), Row(Int(3, 4))));
    EXPECT_EQ(1, l_Storage->EndTransaction());
    EXPECT_TRUE(std::filesystem::exists(l_Folder + "/f"));
    std::filesystem::remove_all(l_Folder);
}

TEST(Manager, EventIsACopy) {
    MANAGER l_Manager(1, NOWHERE);
    auto l_Params = Row<CBMIEvParams>(Int(0x30208, 3));
    EXPECT_EQ(1, l_Manager.SendEvent(0x70402, 5, &l_Params));
    l_Params.Get(0)->SetInt(4);
    const auto l_Event = l_Manager.TakeEvent(0ms);
    ASSERT_TRUE(l_Event.has_value());
    EXPECT_EQ(0x70402U, l_Event->m_Event);
    EXPECT_EQ(5U, l_Event->m_Number);
    ASSERT_EQ(1, l_Event->m_Params.GetSize());
    EXPECT_EQ(3, l_Event->m_Params.Get(0)->GetInt());
}

TEST(Manager, EventWithoutParametersIsTaken) {
    MANAGER l_Manager(1, NOWHERE);
    EXPECT_EQ(1, l_Manager.SendEvent(1, 2, nullptr));
    EXPECT_EQ(0, l_Manager.TakeEvent(0ms)->m_Params.GetSize());
}

TEST(Manager, EventsAreTakenInTheirOrderEachOnce) {
    MANAGER l_Manager(1, NOWHERE);
    l_Manager.SendEvent(1, 0, nullptr);
    l_Manager.SendEvent(2, 0, nullptr);
    EXPECT_EQ(1U, l_Manager.TakeEvent(0ms)->m_Event);
    EXPECT_EQ(2U, l_Manager.TakeEvent(0ms)->m_Event);
    EXPECT_FALSE(l_Manager.TakeEvent(1ms).has_value());
}

TEST(Manager, TakeEventWaitsForOneFromAnotherThread) {
    MANAGER l_Manager(1, NOWHERE);
    std::thread l_Sender([&] { l_Manager.SendEvent(7, 0, nullptr); });
    const auto l_Event = l_Manager.TakeEvent(1min);
    l_Sender.join();
    ASSERT_TRUE(l_Event.has_value());
    EXPECT_EQ(7U, l_Event->m_Event);
}

} // namespace
