// What every adaptor test needs; see the header.
#include "adaptor/AdaptorTest.h"

#include "common/veldo_common_text.h"

#include <memory>
#include <utility>

void PrintTo(const LOG_LINE& a_Line, std::ostream* a_Stream) {
    *a_Stream << a_Line.m_Level << ' ' << a_Line.m_Component << ": \"" << a_Line.m_Text << '"';
}

namespace BM_ADAPTOR::TEST {

LOG_LINE Trace(const std::string& a_Text) {
    return {BM_LOG_DEBUG, "IPMI-Adaptor", a_Text};
}

LOG_LINE Error(const std::string& a_Text) {
    return {BM_LOG_ERROR, "IPMI-Adaptor", a_Text};
}

LOG_LINE BmiTrace(const std::string& a_Text) {
    return {BM_LOG_DEBUG, "IPMI Adaptor", a_Text};
}

std::string TextOf(const CBMIParam& a_Param) {
    std::string l_Text = FormatText("0x%x ", a_Param.GetId());
    switch (a_Param.GetType()) {
    case BMI_PARAM_BOOL:
        l_Text += a_Param.GetBool() ? "b:true" : "b:false";
        break;
    case BMI_PARAM_INT:
        l_Text += "i:" + std::to_string(a_Param.GetInt());
        break;
    case BMI_PARAM_UINT:
        l_Text += "u:" + std::to_string(a_Param.GetInt());
        break;
    case BMI_PARAM_STRING:
        l_Text += "s:" + a_Param.GetString();
        break;
    }
    return a_Param.IsKey() ? l_Text + " key" : l_Text;
}

TEXTS TextsOf(const CBMIParams& a_Row) {
    TEXTS l_Texts;
    for (int i = 0; i < a_Row.GetSize(); ++i)
        l_Texts.push_back(TextOf(*a_Row.Get(i)));
    return l_Texts;
}

std::vector<TEXTS> TextsOf(const CBMITable& a_Table) {
    std::vector<TEXTS> l_Rows;
    for (int i = 0; i < a_Table.GetSize(); ++i)
        l_Rows.push_back(TextsOf(*a_Table.Get(i)));
    return l_Rows;
}

CBMIKeys KeyOf(BMIParamId_e a_Id, int32_t a_Value, BMIParamType_e a_Type) {
    CBMIParam l_Param(a_Type, a_Id, true);
    l_Param.SetInt(a_Value);
    CBMIKeys l_Keys;
    l_Keys.Add(l_Param);
    return l_Keys;
}

CBMIKeys TextKeyOf(BMIParamId_e a_Id, const std::string& a_Value) {
    CBMIParam l_Param(BMI_PARAM_STRING, a_Id, true);
    l_Param.SetString(a_Value);
    CBMIKeys l_Keys;
    l_Keys.Add(l_Param);
    return l_Keys;
}

BYTES AMCRecord(uint8_t a_NumDSPs, uint8_t a_FirstType) {
    return {0x57, 0x01, 0x00, VENDOR_RECORD_AMC, 0x00, a_NumDSPs, a_FirstType};
}

BYTES RTMRecord(uint8_t a_NumFramers, uint8_t a_FramerType, uint8_t a_Trunks) {
    return {0x57, 0x01, 0x00, VENDOR_RECORD_RTM, 0x00, a_NumFramers, a_FramerType, a_Trunks};
}

void AddMultiRecord(IPMI_FRU& a_FRU, BYTES a_Data) {
    a_FRU.m_MultiRecords.push_back(
        new MULTIRECORD(reinterpret_cast<char*>(a_Data.data()), static_cast<int>(a_Data.size())));
}

IPMI_FRU& AddFRU(IPMI_ENTITY& a_Entity, const std::string& a_Name) {
    auto l_FRU = std::make_unique<IPMI_FRU>(a_Entity.Address(), a_Name);
    a_Entity.m_FRUMap[a_Name] = l_FRU.get();
    return *l_FRU.release();
}

IPMI_FRU& AddFRUWithTexts(IPMI_ENTITY& a_Entity, const std::string& a_Name) {
    IPMI_FRU& l_FRU = AddFRU(a_Entity, a_Name);
    l_FRU.m_BoardManufacturer = a_Name + " board manufacturer";
    l_FRU.m_BoardProductName = a_Name + " board product name";
    l_FRU.m_BoardSerialNumber = a_Name + " board serial";
    l_FRU.m_BoardPartNumber = a_Name + " board part number";
    l_FRU.m_ProductManufacturer = a_Name + " product manufacturer";
    l_FRU.m_ProductName = a_Name + " product name";
    l_FRU.m_ProductPartModelNumber = a_Name + " product model";
    l_FRU.m_ProductSerialNumber = a_Name + " product serial";
    l_FRU.m_ProductVersion = a_Name + " product version";
    return l_FRU;
}

IPMI_MC& AddMC(IPMI_ENTITY& a_Entity, const std::string& a_Name, int a_Major, int a_Minor) {
    auto l_MC = std::make_unique<IPMI_MC>();
    l_MC->m_Name = a_Name;
    l_MC->m_MajorFWRevision = a_Major;
    l_MC->m_MinorFWRevision = a_Minor;
    a_Entity.m_MCMap[a_Name] = l_MC.get();
    return *l_MC.release();
}

IPMI_ENTITY& AddEntity(int a_EntityID, int a_Bay, int a_Instance, int a_Address) {
    auto l_Entity = std::make_unique<IPMI_ENTITY>(0, a_Address, a_EntityID, a_Instance);
    l_Entity->m_BayLocation = a_Bay;
    IPMI_ENTITY*& l_Place = g_EntityMap[l_Entity->Address()];
    delete l_Place;
    l_Place = l_Entity.release();
    return *l_Place;
}

void ResetProcess() {
    for (auto& [l_Address, l_Entity] : g_EntityMap)
        delete l_Entity;
    g_EntityMap.clear();
    for (auto& [l_Bay, l_Info] : sg_AMC_MAP)
        delete l_Info;
    sg_AMC_MAP.clear();
    g_bCompleteIPMISimulation = false;
    g_bAMCRTMOnlySimulation = false;
    g_ENTITYCapture = nullptr;
    g_Logger2 = nullptr;
    Fake().Reset();
}

ADAPTOR_PROCESS_TEST::ADAPTOR_PROCESS_TEST() {
    ResetProcess();
    RecordBmiLogTo(&m_Log);
    m_Manager.m_Logger = &m_Log;
}

ADAPTOR_PROCESS_TEST::~ADAPTOR_PROCESS_TEST() {
    RecordBmiLogTo(nullptr);
    ResetProcess();
}

std::vector<LOG_LINE> ADAPTOR_PROCESS_TEST::Lines() {
    auto l_Lines = m_Log.Lines();
    m_Log.Clear();
    return l_Lines;
}

ADAPTOR_TEST::ADAPTOR_TEST() {
    BeInState(ADAPTOR_STARTED);
    IPMI_TEST_ACCESS::Logger(m_Adaptor) = &m_Log;
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = &m_Manager;
}

std::optional<std::vector<TEXTS>> ADAPTOR_TEST::Table(BMIGroup_e a_Group, int a_Result) {
    CBMITable* l_Table = nullptr;
    EXPECT_EQ(m_Adaptor.GetParamTable(a_Group, l_Table), a_Result);
    const std::unique_ptr<CBMITable> l_Owner(l_Table);
    return l_Table == nullptr ? std::nullopt : std::optional(TextsOf(*l_Table));
}

} // namespace BM_ADAPTOR::TEST
