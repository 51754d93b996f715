// FRU reports of OpenIPMI, and the texts read through its accessors.
#include "ThreadTest.h"

#include <cerrno>
#include <numeric>

using namespace BM_ADAPTOR;

namespace {

class FruReport : public THREAD_TEST {
protected:
    void Report(enum ipmi_update_e a_Operation = IPMI_ADDED) {
        IPMITHREAD::s_FruAdded(a_Operation, m_Entity, &m_Thread);
    }
    const IPMI_FRU* Stored() const {
        return m_Modelled.m_FRUMap.contains("AMC 2") ? m_Modelled.m_FRUMap.at("AMC 2") : nullptr;
    }

    ipmi_entity_t* m_Entity = Fake().AddEntity(0, 32, 161, 2, "AMC 2");
    IPMI_ENTITY& m_Modelled = AddToModel({0, 32, 161, 2}, "module");
};

class FruString : public THREAD_TEST {
protected:
    FruString() { Manufacturer().m_Text = "maker"; }
    FAKE_FRU_TEXT& Manufacturer() { return m_Entity->m_Texts[FAKE_BOARD_MANUFACTURER]; }
    std::string Read() {
        return GetFRUString(m_Entity, ipmi_entity_get_board_info_board_manufacturer_len,
                            ipmi_entity_get_board_info_board_manufacturer_type,
                            ipmi_entity_get_board_info_board_manufacturer);
    }

    ipmi_entity_t* m_Entity = Fake().AddEntity(0, 32, 161, 2, "AMC 2");
};

TEST_F(FruReport, IsTraced) {
    Report();
    EXPECT_EQ(m_Log.Lines(),
              (std::vector<LOG_LINE>{Trace("IPMITHREAD :: s_FruAdded"), Trace("IPMITHREAD :: FruAdded"),
                                     Trace("FRU ADDED    %d.%d.%d.%d.%s >%s<\n", 0, 32, 161, 2, "AMC 2", "fake entity"),
                                     Trace("IPMITHREAD :: FruAdded - entity in list modifying name=>%s<", "AMC 2"),
                                     Trace("IPMITHREAD :: FruAdded - Updating Entity FRUMap l_ent=0x%p",
                                           static_cast<void*>(&m_Modelled))}));
}

TEST_F(FruReport, StoresEveryTextInItsField) {
    const char* const l_Texts[FAKE_FRU_FIELDS] = {"board maker",    "board name",    "board serial",
                                                  "board part",     "product maker", "product name",
                                                  "product serial", "product model", "product version"};
    for (int i = 0; i < FAKE_FRU_FIELDS; ++i)
        m_Entity->m_Texts[i].m_Text = l_Texts[i];
    Report();
    ASSERT_NE(Stored(), nullptr);
    EXPECT_EQ(Stored()->m_Name, "AMC 2");
    EXPECT_EQ(Stored()->m_Address.m_EntityInstance, 2);
    EXPECT_EQ(Stored()->m_BoardManufacturer, "board maker");
    EXPECT_EQ(Stored()->m_BoardProductName, "board name");
    EXPECT_EQ(Stored()->m_BoardSerialNumber, "board serial");
    EXPECT_EQ(Stored()->m_BoardPartNumber, "board part");
    EXPECT_EQ(Stored()->m_ProductManufacturer, "product maker");
    EXPECT_EQ(Stored()->m_ProductName, "product name");
    EXPECT_EQ(Stored()->m_ProductSerialNumber, "product serial");
    EXPECT_EQ(Stored()->m_ProductPartModelNumber, "product model");
    EXPECT_EQ(Stored()->m_ProductVersion, "product version");
}

TEST_F(FruReport, CopiesTheMultirecordsInOrder) {
    std::vector<uint8_t> l_Long(255);
    std::iota(l_Long.begin(), l_Long.end(), uint8_t{0});
    Fake().AddFRU(m_Entity, {{0xC0, {1, 2, 3}}, {0x02, {}}, {0xFF, l_Long}});
    Report();
    ASSERT_NE(Stored(), nullptr);
    const auto& l_Records = Stored()->m_MultiRecords;
    ASSERT_EQ(l_Records.size(), 3U);
    EXPECT_EQ(l_Records[0]->m_Type, 0xC0);
    EXPECT_EQ(std::string(l_Records[0]->m_Data, 3), "\x01\x02\x03");
    EXPECT_EQ(l_Records[1]->m_Type, 0x02);
    EXPECT_EQ(l_Records[1]->m_Length, 0);
    EXPECT_EQ(l_Records[2]->m_Type, 0xFF);
    EXPECT_EQ(l_Records[2]->m_Length, 255);
    EXPECT_EQ(m_Log.Texts("IPMITHREAD :: FruAdded - checking"),
              (TEXTS{"IPMITHREAD :: FruAdded - checking MR=0", "IPMITHREAD :: FruAdded - checking MR=1",
                     "IPMITHREAD :: FruAdded - checking MR=2"}));
}

TEST_F(FruReport, SkipsMultirecordsThatCannotBeRead) {
    Fake().AddFRU(m_Entity, {{1, {1}, EINVAL}, {2, {2}, 0, EINVAL}, {3, {3}, 0, 0, EINVAL}, {4, {4}}});
    Report();
    ASSERT_NE(Stored(), nullptr);
    ASSERT_EQ(Stored()->m_MultiRecords.size(), 1U);
    EXPECT_EQ(Stored()->m_MultiRecords[0]->m_Type, 4);
}

TEST_F(FruReport, OfAnEntityWithoutFruDataHasNoMultirecords) {
    Report();
    ASSERT_NE(Stored(), nullptr);
    EXPECT_TRUE(Stored()->m_MultiRecords.empty());
}

TEST_F(FruReport, ReplacesTheEarlierRecordOfTheName) {
    Report();
    const IPMI_FRU* const l_Old = Stored();
    m_Entity->m_Texts[FAKE_PRODUCT_NAME].m_Text = "new";
    Report();
    EXPECT_EQ(m_Modelled.m_FRUMap.size(), 1U);
    EXPECT_EQ(Stored()->m_ProductName, "new");
    EXPECT_EQ(l_Old->m_ProductName, "") << "a host thread may still read the old one";
}

// The leak checker sees whether the record that nobody takes is released.
TEST_F(FruReport, OfAnUnknownEntityStoresNothing) {
    m_Entity->m_Instance = 3;
    Fake().AddFRU(m_Entity, {{1, {1}}});
    Report();
    g_EntityMap[{0, 32, 161, 3}] = nullptr;
    Report();
    EXPECT_EQ(Stored(), nullptr);
    EXPECT_TRUE(m_Log.Texts("IPMITHREAD :: FruAdded - entity in list").empty());
    EXPECT_EQ(g_EntityMap.at({0, 32, 161, 3}), nullptr);
}

TEST_F(FruReport, OfAnyOtherOperationIsIgnored) {
    for (const auto l_Operation : {IPMI_DELETED, IPMI_CHANGED}) {
        Report(l_Operation);
        EXPECT_EQ(m_Log.Lines().back(), Trace("IPMITHREAD :: FruAdded - op!=added %i", int(l_Operation)));
    }
    EXPECT_EQ(Stored(), nullptr);
}

TEST_F(FruString, ReadsAText) {
    EXPECT_EQ(Read(), "maker");
}

TEST_F(FruString, IsEmptyWhenAnAccessorFails) {
    for (int FAKE_FRU_TEXT::*l_Result :
         {&FAKE_FRU_TEXT::m_LengthResult, &FAKE_FRU_TEXT::m_TypeResult, &FAKE_FRU_TEXT::m_TextResult}) {
        Manufacturer().*l_Result = ENOSYS;
        EXPECT_EQ(Read(), "");
        Manufacturer().*l_Result = 0;
    }
    EXPECT_EQ(Read(), "maker");
}

TEST_F(FruString, IsEmptyWhenTheFieldIs) {
    Manufacturer().m_Text = "";
    EXPECT_EQ(Read(), "");
    Manufacturer().m_Type = IPMI_BINARY_STR; // of length 0: not even a NUL
    EXPECT_EQ(Read(), "");
}

TEST_F(FruString, StaysInItsBufferWhateverLengthIsTold) {
    for (const unsigned l_Length : {0U, 1U, 3U, 64U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        Manufacturer().m_Length = l_Length;
        EXPECT_TRUE(std::string("maker").starts_with(Read())) << l_Length;
    }
    Manufacturer().m_Length = 64;
    EXPECT_EQ(Read(), "maker");
}

TEST_F(FruString, TakesOtherTypesAsTheirBytesUpToTheFirstNul) {
    Manufacturer().m_Text = std::string("m\0a\0", 4);
    Manufacturer().m_Type = IPMI_UNICODE_STR;
    EXPECT_EQ(Read(), "m");
    Manufacturer().m_Text = "\x01\xFE\xFF";
    Manufacturer().m_Type = IPMI_BINARY_STR;
    EXPECT_EQ(Read(), "\x01\xFE\xFF");
}

TEST_F(FruString, IsWholeAtTheLongestLengthOfAField) {
    Manufacturer().m_Text = std::string(63, 'x');
    for (const auto l_Type : {IPMI_ASCII_STR, IPMI_UNICODE_STR, IPMI_BINARY_STR}) {
        Manufacturer().m_Type = l_Type;
        EXPECT_EQ(Read(), std::string(63, 'x')) << l_Type;
    }
}

} // namespace
