// What the model looks like on standard output when the domain is fully up, and in the traces when it was captured.
#include "ThreadTest.h"
#include "fake/TestAccess.h"

#include <array>

using namespace BM_ADAPTOR;

namespace {

void AddRecord(IPMI_FRU& a_FRU, std::vector<uint8_t> a_Data, int a_Type) {
    auto* const l_Record = new MULTIRECORD(reinterpret_cast<char*>(a_Data.data()), static_cast<int>(a_Data.size()));
    l_Record->m_Type = a_Type;
    a_FRU.m_MultiRecords.push_back(l_Record);
}

IPMI_FRU& AddFRU(IPMI_ENTITY& a_Entity, const std::string& a_Name) {
    auto* const l_FRU = new IPMI_FRU(a_Entity.Address(), a_Name);
    l_FRU->m_BoardManufacturer = "board maker";
    l_FRU->m_BoardProductName = "board name";
    l_FRU->m_BoardSerialNumber = "board serial";
    l_FRU->m_BoardPartNumber = "board part";
    l_FRU->m_ProductManufacturer = "product maker";
    l_FRU->m_ProductName = "product name";
    l_FRU->m_ProductSerialNumber = "product serial";
    l_FRU->m_ProductPartModelNumber = "product model";
    a_Entity.m_FRUMap[a_Name] = l_FRU;
    return *l_FRU;
}

void AddLED(IPMI_ENTITY& a_Entity, int a_LEDID, std::array<bool, 6> a_Colours) {
    auto* const l_LED = new IPMI_LED;
    l_LED->m_LEDID = a_LEDID;
    l_LED->m_bBlue = a_Colours[0];
    l_LED->m_bRed = a_Colours[1];
    l_LED->m_bGreen = a_Colours[2];
    l_LED->m_bAmber = a_Colours[3];
    l_LED->m_bOrange = a_Colours[4];
    l_LED->m_bWhite = a_Colours[5];
    a_Entity.m_LEDMap[a_LEDID] = l_LED;
}

TEXTS operator+(TEXTS a_Left, const TEXTS& a_Right) {
    a_Left.insert(a_Left.end(), a_Right.begin(), a_Right.end());
    return a_Left;
}

const TEXTS g_FullyUp = {"DTB DTB DTB -- Domain fully up"};

const TEXTS g_FRUTexts = {
    "             Board    Manufacturer:board maker",    "             Board    Name        :board name",
    "             Board    SN          :board serial",   "             Board    Part Num    :board part",
    "             Product  Manufacturer:product maker",  "             Product  Name        :product name",
    "             Product  SN          :product serial", "             Product  Model       :product model",
};

// What every FRU gets at every fully-up report.
const TEXTS g_TestRecords = {
    "             MR Type=0xc0 len=38 data=",
    "      57 01 00 02 00 04 01 12 34 56 78 9a 00 00 01 12",
    "      34 56 78 9a 01 00 01 12 34 56 78 9a 02 00 01 12",
    "      34 56 78 9a 03 00",
    "             Tarsk Specific record type=2",
    "                AMC",
    "                Num DSPs=4",
    "                   DSP 0 type=DSPTYPE_Mindspeed_82710",
    "                   DSP 0 MacAddress=12-34-56-78-9a-0",
    "                   DSP 1 type=DSPTYPE_Mindspeed_82710",
    "                   DSP 1 MacAddress=12-34-56-78-9a-1",
    "                   DSP 2 type=DSPTYPE_Mindspeed_82710",
    "                   DSP 2 MacAddress=12-34-56-78-9a-2",
    "                   DSP 3 type=DSPTYPE_Mindspeed_82710",
    "                   DSP 3 MacAddress=12-34-56-78-9a-3",
    "             MR Type=0xc0 len=8 data=",
    "      57 01 00 03 00 01 01 04",
    "             Tarsk Specific record type=3",
    "                RTM",
    "                   Framer Type=PM4354_COMET-QUAD",
    "                   Num Trunks per framer=4",
};

class FullyUpReport : public THREAD_TEST {
protected:
    TEXTS Report() {
        return PrintedBy([&] { IPMITHREAD::s_DomainFullyUp(Fake().Domain(), &m_Thread); });
    }
};

class CapturedModel : public THREAD_TEST {
protected:
    /// The texts traced after the first line, which tells the size of the map.
    TEXTS Capture() {
        m_Thread.EntityCaptured();
        TEXTS l_Texts = m_Log.Texts();
        l_Texts.erase(l_Texts.begin());
        return l_Texts;
    }
};

TEST_F(FullyUpReport, IsTracedAndPrinted) {
    EXPECT_EQ(Report(), g_FullyUp);
    EXPECT_EQ(m_Log.Texts(), (TEXTS{"IPMITHREAD :: s_DomainFullyUp", "IPMITHREAD :: DomainFullyUp"}));
}

TEST_F(FullyUpReport, OfARealDomainDoesNotReleaseTheAdaptor) {
    Report();
    EXPECT_FALSE(Released());
    AddToModel({0, 32, 160, 96}, "board");
    Report();
    EXPECT_FALSE(Released());
}

TEST_F(FullyUpReport, ReleasesTheAdaptorUnderSimulationWithAnEmptyModel) {
    g_bCompleteIPMISimulation = true;
    Report();
    EXPECT_TRUE(Released());
}

TEST_F(FullyUpReport, ReleasesTheAdaptorUnderSimulationAfterTheDump) {
    g_bCompleteIPMISimulation = true;
    AddToModel({0, 32, 160, 96}, "board");
    EXPECT_EQ(Report(), g_FullyUp + TEXTS{"Entity found 0.32.160.96.board"});
    EXPECT_TRUE(Released());
}

TEST_F(FullyUpReport, IsPrintedWithoutTracesToo) {
    BM_LOG_LEVEL = 0;
    g_bCompleteIPMISimulation = true;
    AddToModel({0, 32, 160, 96}, "board");
    EXPECT_EQ(Report(), g_FullyUp + TEXTS{"Entity found 0.32.160.96.board"});
}

// Whoever waits for the model may free the thread's logger as soon as it goes on.
TEST_F(FullyUpReport, WritesItsLastLineBeforeItReleasesTheAdaptor) {
    std::vector<int> l_Ready;
    WATCHING_LOG l_Log([&](const std::string&) { l_Ready.push_back(IPMI_TEST_ACCESS::bDomainReady(m_Thread)); });
    g_Logger2 = &l_Log;
    g_bCompleteIPMISimulation = true;
    AddFRU(AddToModel({0, 32, 160, 96}, "board"), "fru");
    Report();
    EXPECT_GT(l_Ready.size(), 2U) << "the names of DSPs and framers are traced when they are printed";
    EXPECT_THAT(l_Ready, ::testing::Each(0));
    EXPECT_TRUE(Released());
}

TEST_F(FullyUpReport, NeedsNoDomain) {
    g_bCompleteIPMISimulation = true;
    PrintedBy([&] { m_Thread.DomainFullyUp(nullptr, &m_Thread); });
    EXPECT_TRUE(Released());
}

TEST_F(FullyUpReport, PrintsEntitiesInMapOrderWithAllTheirRecords) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    l_Board.m_SensorMap["s2"] = new IPMI_SENSOR{"s2"};
    l_Board.m_SensorMap["s1"] = new IPMI_SENSOR{"s1"};
    auto* const l_Control = new IPMI_CONTROL;
    l_Control->m_Name = "(r0.32.160.0).led 1";
    l_Board.m_ControlMap[l_Control->m_Name] = l_Control;
    AddFRU(l_Board, "fru");
    l_Board.m_MCMap["mc"] = new IPMI_MC{"mc", 3, 14, "0 0 0 0"};
    AddLED(l_Board, 0, {true, false, false, false, false, false});
    AddLED(l_Board, 1, {false, true, true, true, false, false});
    AddLED(l_Board, 2, {false, false, false, false, true, true});
    AddToModel({0, 9, 162, 96}, "module");
    const TEXTS l_Expected = g_FullyUp +
                             TEXTS{"Entity found 0.9.162.96.module",
                                   "Entity found 0.32.160.96.board",
                                   "        Sensor s1",
                                   "        Sensor s2",
                                   "        Control (r0.32.160.0).led 1",
                                   "        FRU fru"} +
                             g_FRUTexts + g_TestRecords +
                             TEXTS{"        MC mc",
                                   "             MC     FW Major    :3",
                                   "             MC     FW Minor    :14",
                                   "        LED ID= 0 BLUE     ",
                                   "        LED ID= 1  RED GREEN AMBER  ",
                                   "        LED ID= 2     ORANGE WHITE"};
    EXPECT_EQ(Report(), l_Expected);
}

TEST_F(FullyUpReport, SkipsNullRecords) {
    AddToModel({0, 32, 160, 96}, "board").m_FRUMap["null"] = nullptr;
    g_EntityMap[{0, 9, 162, 96}] = nullptr;
    EXPECT_EQ(Report(), g_FullyUp + TEXTS{"Entity found 0.32.160.96.board"});
}

TEST_F(FullyUpReport, AppendsTheTestRecordsToEveryFruEachTime) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    IPMI_FRU& l_First = AddFRU(l_Board, "a");
    IPMI_FRU& l_Second = AddFRU(l_Board, "b");
    AddRecord(l_First, {0x57, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00}, 0xC1);
    Report();
    Report();
    EXPECT_EQ(l_First.m_MultiRecords.size(), 5U);
    EXPECT_EQ(l_Second.m_MultiRecords.size(), 4U);
    EXPECT_EQ(l_First.m_MultiRecords.front()->m_Type, 0xC1) << "its own record stays ahead";
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(l_Second.m_MultiRecords[i]->m_Type, 0xC0);
}

struct RECORD_DUMP {
    const char* m_What;
    std::vector<uint8_t> m_Data;
    TEXTS m_Lines;
};

const RECORD_DUMP g_RecordDumps[] = {
    {"an empty record", {}, {"             MR Type=0x12 len=0 data="}},
    {"sixteen bytes stand on one line",
     {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 255},
     {"             MR Type=0x12 len=16 data=", "      00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e ff"}},
    {"a vendor record of an unknown kind",
     {0x57, 0x01, 0x00, 0x09},
     {"             MR Type=0x12 len=4 data=", "      57 01 00 09", "             Tarsk Specific record type=9"}},
    {"another vendor's record",
     {0x57, 0x02, 0x00, 0x02},
     {"             MR Type=0x12 len=4 data=", "      57 02 00 02"}},
    {"a signature without a kind", {0x57, 0x01, 0x00}, {"             MR Type=0x12 len=3 data=", "      57 01 00"}},
    {"DSPs beyond the end of the record",
     {0x57, 0x01, 0x00, 0x02, 0x00, 0x02, 0x02, 0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5, 0x00},
     {"             MR Type=0x12 len=14 data=", "      57 01 00 02 00 02 02 a0 b1 c2 d3 e4 f5 00",
      "             Tarsk Specific record type=2", "                AMC", "                Num DSPs=2",
      "                   DSP 0 type=DSPTYPE_Mindspeed_829xx",
      "                   DSP 0 MacAddress=a0-b1-c2-d3-e4-f5"}},
    {"an AMC record without its first DSP's type",
     {0x57, 0x01, 0x00, 0x02, 0x00, 0x04},
     {"             MR Type=0x12 len=6 data=", "      57 01 00 02 00 04", "             Tarsk Specific record type=2"}},
    {"the shortest AMC record",
     {0x57, 0x01, 0x00, 0x02, 0x00, 0x04, 0x01},
     {"             MR Type=0x12 len=7 data=", "      57 01 00 02 00 04 01",
      "             Tarsk Specific record type=2", "                AMC", "                Num DSPs=4"}},
    {"an RTM record without its trunks",
     {0x57, 0x01, 0x00, 0x03, 0x00, 0x02, 0x01},
     {"             MR Type=0x12 len=7 data=", "      57 01 00 03 00 02 01",
      "             Tarsk Specific record type=3"}},
    {"an unknown framer",
     {0x57, 0x01, 0x00, 0x03, 0x00, 0x02, 0x07, 0x08},
     {"             MR Type=0x12 len=8 data=", "      57 01 00 03 00 02 07 08",
      "             Tarsk Specific record type=3", "                RTM", "                   Framer Type=UNKNOWN",
      "                   Num Trunks per framer=8"}},
};

TEST_F(FullyUpReport, PrintsMultirecordsSixteenBytesALine) {
    for (const auto& l_Case : g_RecordDumps) {
        auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
        AddRecord(AddFRU(l_Board, "fru"), l_Case.m_Data, 0x12);
        const TEXTS l_Expected = g_FullyUp + TEXTS{"Entity found 0.32.160.96.board", "        FRU fru"} + g_FRUTexts +
                                 l_Case.m_Lines + g_TestRecords;
        EXPECT_EQ(Report(), l_Expected) << l_Case.m_What;
        delete &l_Board;
        g_EntityMap.clear();
    }
}

TEST_F(CapturedModel, ReleasesTheAdaptorWhenItIsEmpty) {
    EXPECT_EQ(Capture(), TEXTS{});
    EXPECT_EQ(m_Log.Lines().front(), Trace("IPMITHREAD :: EntityCaptured - entity map size=%i", 0));
    EXPECT_TRUE(Released());
}

TEST_F(CapturedModel, IsTracedToTheEndBeforeTheAdaptorIsReleased) {
    std::vector<int> l_Ready;
    WATCHING_LOG l_Log([&](const std::string&) { l_Ready.push_back(IPMI_TEST_ACCESS::bDomainReady(m_Thread)); });
    g_Logger2 = &l_Log;
    AddFRU(AddToModel({0, 32, 160, 96}, "board"), "fru");
    m_Thread.EntityCaptured();
    EXPECT_GT(l_Ready.size(), 10U);
    EXPECT_THAT(l_Ready, ::testing::Each(0));
    EXPECT_TRUE(Released());
}

TEST_F(CapturedModel, ReleasesTheAdaptorWhileTracesAreOff) {
    const LOG_LEVEL_GUARD l_Off(0);
    AddToModel({0, 32, 160, 96}, "board");
    m_Thread.EntityCaptured();
    EXPECT_TRUE(m_Log.Lines().empty());
    EXPECT_TRUE(Released());
}

TEST_F(CapturedModel, IsTracedEntityByEntityWithARunningCount) {
    AddToModel({0, 32, 160, 96}, "board").m_BayLocation = 3;
    auto& l_Module = AddToModel({0, 9, 162, 5}, "module");
    l_Module.m_SensorMap["s1"] = new IPMI_SENSOR{"s1"};
    l_Module.m_ControlMap["c1"] = new IPMI_CONTROL;
    l_Module.m_ControlMap["c2"] = new IPMI_CONTROL;
    EXPECT_EQ(Capture(),
              (TEXTS{"IPMITHREAD :: EntityCaptured - Count=0", "EntityCaptured - Entity found 0.9.162.5.module\n",
                     "EntityCaptured -              0.9.162.5.module Bay/Slotlocation=0\n",
                     "IPMITHREAD :: EntityCaptured - Count=0 sensorsize=1",
                     "IPMITHREAD :: EntityCaptured - Count=0 controlsize=2", "IPMITHREAD :: EntityCaptured - Count=1",
                     "EntityCaptured - Entity found 0.32.160.96.board\n",
                     "EntityCaptured -              0.32.160.96.board Bay/Slotlocation=3\n",
                     "IPMITHREAD :: EntityCaptured - Count=1 sensorsize=0",
                     "IPMITHREAD :: EntityCaptured - Count=1 controlsize=0"}));
    EXPECT_EQ(m_Log.Lines().front(), Trace("IPMITHREAD :: EntityCaptured - entity map size=%i", 2));
    EXPECT_TRUE(Released());
}

TEST_F(CapturedModel, TracesFruTextsFirmwareRevisionsAndLeds) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    AddFRU(l_Board, "fru");
    l_Board.m_FRUMap["null"] = nullptr;
    l_Board.m_MCMap["mc"] = new IPMI_MC{"mc", 3, 14, ""};
    AddLED(l_Board, 1, {false, true, false, false, false, false});
    const TEXTS l_Texts = Capture();
    const TEXTS l_OfRecords(l_Texts.begin() + 5, l_Texts.end());
    const TEXTS l_Expected =
        TEXTS{Text("IPMITHREAD :: EntityCaptured - Count=%i entity=0x%p FRUSize=%i", 0, static_cast<void*>(&l_Board),
                   2)} +
        g_FRUTexts + TEXTS{"MC       FW Major    :3", "MC       FW Minor    :14", "        LED ID= 1  RED    \n"};
    EXPECT_EQ(l_OfRecords, l_Expected);
}

TEST_F(CapturedModel, TracesVendorRecords) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    IPMI_FRU& l_FRU = AddFRU(l_Board, "fru");
    AddRecord(l_FRU, {0x57, 0x01, 0x00, 0x02, 0x00, 0x01, 0x02, 0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5, 0x00}, 0xC0);
    AddRecord(l_FRU, {0x57, 0x01, 0x00, 0x03, 0x00, 0x02, 0x01, 0x08}, 0xC0);
    const TEXTS l_Texts = Capture();
    EXPECT_THAT(l_Texts, ::testing::IsSupersetOf({"             Tarsk Specific record type=2\n", "                AMC",
                                                  "                Num DSPs=1",
                                                  "                   DSP 0 type=DSPTYPE_Mindspeed_829xx\n",
                                                  "                   DSP 0 MacAddress=a0-b1-c2-d3-e4-f5\n",
                                                  "             Tarsk Specific record type=3\n", "                RTM",
                                                  "                   Framer Type=PM4354_COMET-QUAD\n",
                                                  "                   Num Trunks per framer=8\n"}));
    EXPECT_EQ(l_FRU.m_MultiRecords.size(), 2U) << "nothing is appended here";
}

TEST_F(CapturedModel, TracesOnlyTheKindOfAVendorRecordThatIsTooShort) {
    IPMI_FRU& l_FRU = AddFRU(AddToModel({0, 32, 160, 96}, "board"), "fru");
    AddRecord(l_FRU, {0x57, 0x01, 0x00, 0x02, 0x00, 0x04}, 0xC0);
    AddRecord(l_FRU, {0x57, 0x01, 0x00, 0x03, 0x00, 0x02, 0x01}, 0xC0);
    const TEXTS l_Texts = Capture();
    const TEXTS l_OfRecords(l_Texts.end() - 2, l_Texts.end());
    EXPECT_EQ(l_OfRecords,
              (TEXTS{"             Tarsk Specific record type=2\n", "             Tarsk Specific record type=3\n"}));
}

TEST_F(CapturedModel, SkipsNullEntities) {
    g_EntityMap[{0, 9, 162, 96}] = nullptr;
    AddToModel({0, 32, 160, 96}, "board");
    const TEXTS l_Texts = Capture();
    EXPECT_THAT(l_Texts, ::testing::Contains("EntityCaptured - Entity found 0.32.160.96.board\n"));
    EXPECT_EQ(m_Log.Texts("EntityCaptured - Entity found").size(), 1U);
    EXPECT_TRUE(Released());
}

} // namespace
