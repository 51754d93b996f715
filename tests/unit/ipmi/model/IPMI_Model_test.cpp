// The entity model: order of the keys, multirecords, ownership, names of codes.
#include "ipmi/model/IPMI_Model.h"

#include "fake/RecordingLog.h"
#include "fake/openipmi/ModelReset.h"
#include "ipmi/LogText.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace BM_ADAPTOR;

namespace {

// Each address is less than the next: the first field that differs decides, as signed integers.
const IPMI_ENTITY_ADDRESS g_Ascending[] = {
    {INT_MIN, 255, 255, 255}, {-1, 255, 255, 255}, {0, INT_MIN, 0, 0},     {0, -1, 255, 255}, {0, 1, 162, 96},
    {0, 9, 160, 96},          {0, 142, -1, 96},    {0, 142, 160, INT_MIN}, {0, 142, 160, 96}, {0, 142, 160, 97},
    {0, 142, 161, 1},         {0, 143, 0, 0},      {0, INT_MAX, 0, 0},     {1, 0, 0, 0},      {1, 0, 0, INT_MAX},
    {15, 32, 160, 96},        {INT_MAX, 0, 0, 0},
};

TEST(EntityAddress, IsOrderedFieldByField) {
    for (std::size_t i = 0; i < std::size(g_Ascending); ++i) {
        for (std::size_t j = 0; j < std::size(g_Ascending); ++j)
            EXPECT_EQ(g_Ascending[i] < g_Ascending[j], i < j) << i << " and " << j;
    }
}

TEST(EntityMap, KeepsAddressesApartThatDifferInTheInstanceOnly) {
    std::map<IPMI_ENTITY_ADDRESS, int> l_Map{{{0, 32, 161, 2}, 2}, {{0, 32, 161, 1}, 1}};
    ASSERT_EQ(l_Map.size(), 2U);
    EXPECT_EQ(l_Map.begin()->second, 1);
}

TEST(MultiRecord, HoldsACopyOfTheBytes) {
    std::string l_Bytes("\x57\x00\xff", 3);
    const MULTIRECORD l_Record(l_Bytes.data(), 3);
    l_Bytes.assign(3, 'x');
    ASSERT_EQ(l_Record.m_Length, 3);
    EXPECT_EQ(std::string(l_Record.m_Data, 3), std::string("\x57\x00\xff", 3));
    EXPECT_EQ(l_Record.m_Type, 0);
}

TEST(MultiRecord, IsEmptyWithoutBytes) {
    char l_Byte = 'x';
    const std::pair<char*, int> l_Arguments[] = {
        {nullptr, 0}, {nullptr, 5}, {&l_Byte, 0}, {&l_Byte, -1}, {&l_Byte, INT_MIN}};
    for (const auto& [l_Data, l_Length] : l_Arguments) {
        const MULTIRECORD l_Record(l_Data, l_Length);
        EXPECT_EQ(l_Record.m_Data, nullptr) << l_Length;
        EXPECT_EQ(l_Record.m_Length, 0) << l_Length;
    }
}

TEST(FruRecord, AddsCopiesOfMultiRecordsInOrder) {
    IPMI_FRU l_FRU({}, "FRU");
    std::vector<unsigned char> l_Bytes = {0x57, 0x00};
    l_FRU.AddMultiRecord(l_Bytes.data(), 2, 0xC0);
    l_Bytes = {0x58};
    l_FRU.AddMultiRecord(l_Bytes.data(), 1, 0xC1);
    l_FRU.AddMultiRecord(nullptr, 0, 0xC2);
    ASSERT_EQ(l_FRU.m_MultiRecords.size(), 3U);
    EXPECT_EQ(std::string(l_FRU.m_MultiRecords[0]->m_Data, 2), std::string("\x57\x00", 2));
    EXPECT_EQ(l_FRU.m_MultiRecords[0]->m_Type, 0xC0);
    EXPECT_EQ(l_FRU.m_MultiRecords[1]->m_Data[0], 0x58);
    EXPECT_EQ(l_FRU.m_MultiRecords[1]->m_Type, 0xC1);
    EXPECT_EQ(l_FRU.m_MultiRecords[2]->m_Length, 0);
}

// The domain thread's turn comes however busy the host's threads read. One more reader is refused as soon as the writer
// waits, and from then on each of the six can be through at most with the read that it had begun.
TEST(ModelLock, SixBusyReadersDoNotPassAWaitingWriter) {
    constexpr int READERS = 6;
    MODEL_LOCK l_Lock;
    std::atomic<bool> l_WriterWaits = false;
    std::atomic<bool> l_Over = false;
    std::atomic<int> l_Passed = 0;
    bool l_Written = false; // only the lock keeps readers and writer apart here
    // cppcheck-suppress localMutex ; the threads below share it
    MODEL_READER l_Holder(l_Lock);
    std::vector<std::thread> l_Readers;
    for (int i = 0; i < READERS; ++i) {
        l_Readers.emplace_back([&] {
            while (!l_Over) {
                const MODEL_READER l_Reader(l_Lock);
                if (l_WriterWaits && !l_Written) ++l_Passed;
            }
        });
    }
    std::thread l_Writer([&] {
        const MODEL_WRITER l_Model(l_Lock);
        l_Written = true;
    });
    const auto l_Limit = std::chrono::steady_clock::now() + std::chrono::seconds(20); // for a lock that prefers readers
    while (!l_WriterWaits && std::chrono::steady_clock::now() < l_Limit) {
        l_WriterWaits = !l_Lock.try_lock_shared();
        if (!l_WriterWaits) l_Lock.unlock_shared();
        std::this_thread::yield();
    }
    EXPECT_TRUE(l_WriterWaits) << "readers still get in, and the writer does not";
    l_Holder.unlock();
    if (!l_WriterWaits) l_Over = true; // or the writer may never be through
    l_Writer.join();
    l_Over = true;
    for (auto& l_Reader : l_Readers)
        l_Reader.join();
    EXPECT_TRUE(l_Written);
    EXPECT_LE(l_Passed, READERS);
}

TEST(ModelLock, ReadersShareItAndAWriterDoesNot) {
    MODEL_LOCK l_Lock;
    {
        const MODEL_READER l_First(l_Lock);
        const MODEL_READER l_Second(l_Lock, std::try_to_lock);
        EXPECT_TRUE(l_Second.owns_lock());
        EXPECT_FALSE(MODEL_WRITER(l_Lock, std::try_to_lock).owns_lock());
    }
    const MODEL_WRITER l_Writer(l_Lock, std::try_to_lock);
    ASSERT_TRUE(l_Writer.owns_lock());
    EXPECT_FALSE(MODEL_READER(l_Lock, std::try_to_lock).owns_lock());
    EXPECT_FALSE(MODEL_WRITER(l_Lock, std::try_to_lock).owns_lock());
}

TEST(Records, CannotBeCopiedByAccident) {
    EXPECT_FALSE(std::is_copy_constructible_v<MULTIRECORD> || std::is_copy_assignable_v<MULTIRECORD>);
    EXPECT_FALSE(std::is_copy_constructible_v<IPMI_FRU> || std::is_copy_assignable_v<IPMI_FRU>);
    EXPECT_FALSE(std::is_copy_constructible_v<IPMI_ENTITY> || std::is_copy_assignable_v<IPMI_ENTITY>);
}

TEST(Fru, BeginsWithItsAddressAndNameAndNoTexts) {
    const IPMI_FRU l_FRU({1, 2, 3, 4}, "name");
    EXPECT_EQ(l_FRU.m_Address.m_Channel, 1);
    EXPECT_EQ(l_FRU.m_Address.m_Address, 2);
    EXPECT_EQ(l_FRU.m_Address.m_EntityID, 3);
    EXPECT_EQ(l_FRU.m_Address.m_EntityInstance, 4);
    EXPECT_EQ(l_FRU.m_Name, "name");
    for (const auto& l_Text : {l_FRU.m_ProductVersion, l_FRU.m_BoardManufacturer, l_FRU.m_BoardProductName,
                               l_FRU.m_BoardSerialNumber, l_FRU.m_BoardPartNumber, l_FRU.m_ProductManufacturer,
                               l_FRU.m_ProductName, l_FRU.m_ProductPartModelNumber, l_FRU.m_ProductSerialNumber})
        EXPECT_EQ(l_Text, "");
    EXPECT_TRUE(l_FRU.m_MultiRecords.empty());
}

TEST(Entity, BeginsWithItsAddressAndNothingElse) {
    const IPMI_ENTITY l_Entity(1, 2, 3, 4);
    EXPECT_EQ(l_Entity.m_Channel, 1);
    EXPECT_EQ(l_Entity.m_Address, 2);
    EXPECT_EQ(l_Entity.m_EntityID, 3);
    EXPECT_EQ(l_Entity.m_EntityInstance, 4);
    EXPECT_EQ(l_Entity.m_Name, "");
    EXPECT_TRUE(l_Entity.m_ControlMap.empty() && l_Entity.m_SensorMap.empty() && l_Entity.m_FRUMap.empty() &&
                l_Entity.m_MCMap.empty() && l_Entity.m_LEDMap.empty());
    EXPECT_EQ(l_Entity.FirstFRU(), nullptr);
    EXPECT_EQ(l_Entity.FirstMC(), nullptr);
}

// The leak checker is the judge: nothing of all this may remain.
TEST(Entity, ReleasesTheRecordsOfItsMaps) {
    IPMI_ENTITY l_Entity(0, 32, 160, 96);
    l_Entity.m_ControlMap["control"] = new IPMI_CONTROL;
    l_Entity.m_SensorMap["sensor"] = new IPMI_SENSOR;
    l_Entity.m_MCMap["mc"] = new IPMI_MC;
    l_Entity.m_LEDMap[0] = new IPMI_LED;
    auto* const l_FRU = new IPMI_FRU(l_Entity.Address(), "fru");
    char l_Byte = 'x';
    l_FRU->m_MultiRecords.push_back(new MULTIRECORD(&l_Byte, 1));
    l_Entity.m_FRUMap["fru"] = l_FRU;
    l_Entity.m_MCMap["null"] = nullptr;
    EXPECT_EQ(l_Entity.FirstFRU()->m_MultiRecords.size(), 1U);
}

TEST(Entity, KeepsAReplacedFruRecordForThoseWhoStillReadIt) {
    IPMI_ENTITY l_Entity(0, 32, 160, 96);
    l_Entity.StoreFRU(std::make_unique<IPMI_FRU>(l_Entity.Address(), "fru"));
    const IPMI_FRU* const l_Old = l_Entity.FirstFRU();
    l_Entity.StoreFRU(std::make_unique<IPMI_FRU>(l_Entity.Address(), "fru"));
    EXPECT_NE(l_Entity.FirstFRU(), l_Old);
    EXPECT_EQ(l_Entity.m_FRUMap.size(), 1U);
    EXPECT_EQ(l_Old->m_Name, "fru");
}

TEST(Entity, FindsItsFirstRecordsByNamePastNullOnes) {
    IPMI_ENTITY l_Entity(0, 32, 160, 96);
    l_Entity.m_FRUMap["a"] = nullptr;
    l_Entity.m_FRUMap["c"] = new IPMI_FRU(l_Entity.Address(), "c");
    l_Entity.m_FRUMap["b"] = new IPMI_FRU(l_Entity.Address(), "b");
    l_Entity.m_MCMap["a"] = nullptr;
    l_Entity.m_MCMap["b"] = new IPMI_MC{"b", 1, 2, "3"};
    EXPECT_EQ(l_Entity.FirstFRU()->m_Name, "b");
    EXPECT_EQ(l_Entity.FirstMC()->m_Name, "b");
}

TEST(Entity, HasNoFirstRecordWhenAllAreNull) {
    IPMI_ENTITY l_Entity(0, 32, 160, 96);
    l_Entity.m_FRUMap["a"] = nullptr;
    l_Entity.m_MCMap["a"] = nullptr;
    EXPECT_EQ(l_Entity.FirstFRU(), nullptr);
    EXPECT_EQ(l_Entity.FirstMC(), nullptr);
}

TEST(EntityMap, FirstEntityFollowsTheOrderAndSkipsNullEntries) {
    ResetModel();
    g_EntityMap[{0, 1, 161, 96}] = nullptr;
    g_EntityMap[{0, 9, 161, 2}] = new IPMI_ENTITY(0, 9, 161, 2);
    g_EntityMap[{0, 9, 161, 1}] = new IPMI_ENTITY(0, 9, 161, 1);
    const auto l_IsAMC = [](const IPMI_ENTITY& a_Entity) { return a_Entity.m_EntityID == 161; };
    ASSERT_NE(FirstEntity(l_IsAMC), nullptr);
    EXPECT_EQ(FirstEntity(l_IsAMC)->m_EntityInstance, 1);
    EXPECT_EQ(FirstEntity([](const IPMI_ENTITY&) { return false; }), nullptr);
    ResetModel();
}

TEST(Names, OfControlTypes) {
    const std::pair<int, const char*> l_Names[] = {
        {INT_MIN, "BAD CONTROL"},
        {-1, "BAD CONTROL"},
        {0, "BAD CONTROL"},
        {1, "IPMI_CONTROL_LIGHT"},
        {2, "IPMI_CONTROL_RELAY"},
        {3, "IPMI_CONTROL_DISPLAY"},
        {4, "IPMI_CONTROL_ALARM"},
        {5, "IPMI_CONTROL_RESET"},
        {6, "IPMI_CONTROL_POWER"},
        {7, "IPMI_CONTROL_FAN_SPEED"},
        {8, "IPMI_CONTROL_IDENTIFIER"},
        {9, "IPMI_CONTROL_ONE_SHOT_RESET"},
        {10, "IPMI_CONTROL_OUTPUT"},
        {11, "IPMI_CONTROL_ONE_SHOT_OUTPUT"},
        {12, "BAD CONTROL"},
        {INT_MAX, "BAD CONTROL"},
    };
    for (const auto& [l_Type, l_Name] : l_Names)
        EXPECT_STREQ(TranslateControlType(l_Type), l_Name) << l_Type;
}

TEST(Names, OfFramerTypes) {
    EXPECT_STREQ(TranslateFramerType(1), "PM4354_COMET-QUAD");
    for (const unsigned char l_Type : {0, 2, 255})
        EXPECT_STREQ(TranslateFramerType(l_Type), "UNKNOWN") << int(l_Type);
}

TEST(Names, OfDspTypes) {
    EXPECT_STREQ(TranslateDSPType(1), "DSPTYPE_Mindspeed_82710");
    EXPECT_STREQ(TranslateDSPType(2), "DSPTYPE_Mindspeed_829xx");
    for (const unsigned char l_Type : {0, 3, 255})
        EXPECT_STREQ(TranslateDSPType(l_Type), "UNKNOWN") << int(l_Type);
}

TEST(Names, OfFramersAndDspsAreTraced) {
    RECORDING_LOG l_Log;
    const LOG_LEVEL_GUARD l_Level;
    g_Logger2 = &l_Log;
    TranslateFramerType(1);
    TranslateDSPType(0);
    g_Logger2 = nullptr;
    EXPECT_EQ(l_Log.Lines(), (std::vector<LOG_LINE>{Trace("IPMITHREAD :: TranslateFramerType"),
                                                    Trace("IPMITHREAD :: TranslateDSPType")}));
}

} // namespace
