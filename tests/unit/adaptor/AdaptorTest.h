// What every adaptor test needs: the process-wide state as in a new process, an adaptor in the started state with a
// recording log and a fake manager, records to put into the model, and rows and tables as texts to compare.
#pragma once

#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/IPMI_Adaptor_Frame.h"
#include "adaptor/hardware/IPMI_AMCHardwareTable.h"
#include "common/veldo_common_protocol.h"
#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/model/IPMI_Model.h"

#include "fake/FakeBoard.h"
#include "fake/FakeManager.h"
#include "fake/RecordingLog.h"
#include "fake/TestAccess.h"
#include "fake/openipmi/FakeOpenIPMI.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

/// How a failed comparison shows a line.
void PrintTo(const LOG_LINE& a_Line, std::ostream* a_Stream);

namespace BM_ADAPTOR::TEST {

using TEXTS = std::vector<std::string>;

/// A line on the logger object, and one on the host's bmiLog.
LOG_LINE Trace(const std::string& a_Text);
LOG_LINE Error(const std::string& a_Text);
LOG_LINE BmiTrace(const std::string& a_Text);

/// One parameter as "0x303 i:3 key": id, value behind its type (b, i, u, s), whether it is a key.
std::string TextOf(const CBMIParam& a_Param);
/// The parameters of a row, in order.
TEXTS TextsOf(const CBMIParams& a_Row);
/// The rows of a table, in order.
std::vector<TEXTS> TextsOf(const CBMITable& a_Table);

/// Keys with one parameter.
CBMIKeys KeyOf(BMIParamId_e a_Id, int32_t a_Value, BMIParamType_e a_Type = BMI_PARAM_INT);
CBMIKeys TextKeyOf(BMIParamId_e a_Id, const std::string& a_Value);

/// Vendor records of an AMC (number of DSPs, first DSP's type) and of an RTM, as short as their fields allow.
BYTES AMCRecord(uint8_t a_NumDSPs, uint8_t a_FirstType);
BYTES RTMRecord(uint8_t a_NumFramers, uint8_t a_FramerType, uint8_t a_Trunks);

void AddMultiRecord(IPMI_FRU& a_FRU, BYTES a_Data);
IPMI_FRU& AddFRU(IPMI_ENTITY& a_Entity, const std::string& a_Name);
IPMI_MC& AddMC(IPMI_ENTITY& a_Entity, const std::string& a_Name, int a_Major, int a_Minor);
/// A FRU whose every text names its own field.
IPMI_FRU& AddFRUWithTexts(IPMI_ENTITY& a_Entity, const std::string& a_Name);
/// A new entity in the model; `a_Address` comes first in the map's order.
IPMI_ENTITY& AddEntity(int a_EntityID, int a_Bay, int a_Instance = ENTITY_INSTANCE_FIRST, int a_Address = 0x20);

/// Model, flags, run-status cache, probe and the fakes as they are in a new process.
void ResetProcess();

/// A process as new before and after each test; one recorder sees what goes to the logger object and to bmiLog.
class ADAPTOR_PROCESS_TEST : public ::testing::Test {
protected:
    ADAPTOR_PROCESS_TEST();
    ~ADAPTOR_PROCESS_TEST() override;

    /// The lines written since the last call.
    std::vector<LOG_LINE> Lines();

    RECORDING_LOG m_Log;
    LOG_LEVEL_GUARD m_TracesOn;
    FAKE_MANAGER m_Manager;
    FAKE_BOARD m_Board;
};

/// What a room takes of a started adaptor, without the adaptor.
class ROOM_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    void BeInState(int32_t a_State) { m_State = a_State; }
    /// The row filled so far.
    TEXTS Row() const { return TextsOf(m_Row); }

    std::atomic<int32_t> m_State = ADAPTOR_STARTED;
    std::atomic<CBaseOsLog*> m_Logger = &m_Log;
    std::atomic<QUB_STORAGE::CDataStorage*> m_Storage = nullptr;
    const ADAPTOR_FRAME m_Frame{m_Board, m_State, m_Logger, m_Storage};
    CBMIParams m_Row;
};

/// An adaptor as Init leaves it, without the domain thread.
class ADAPTOR_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    ADAPTOR_TEST();

    void BeInState(int a_State) { IPMI_TEST_ACCESS::State(m_Adaptor) = a_State; }
    /// The row filled so far.
    TEXTS Row() const { return TextsOf(m_Row); }
    /// GetParamTable: the table's rows; nothing when there is no table.
    std::optional<std::vector<TEXTS>> Table(BMIGroup_e a_Group, int a_Result = 1);

    IPMIAdaptor m_Adaptor{m_Board};
    CBMIParams m_Row;
};

} // namespace BM_ADAPTOR::TEST
