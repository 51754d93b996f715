// The host's interface in one object: each of its types and functions is named by a variable that is seen from outside,
// so that a dump of this object's interface tells slots, sizes and signatures, and nothing of the libraries behind
// them. What such a dump leaves out, member functions that are no slots, is asserted.
#include "bm/BaseAdaptor.h"
#include "bm/BoardDriver.h"
#include "bm/DataStorage.h"
#include "bm/Log.h"
#include "bm/MsgQueue.h"
#include "bm/OSAL.h"
#include "bm/Params.h"

#include <type_traits>

// bm/BaseAdaptor.h: what an adaptor is, and what it is given
BM_ADAPTOR::CBaseAdaptor* g_Adaptor;
BM_ADAPTOR::IBMAdaptorMgr* g_Manager;

// bm/Params.h: what goes between them
BM_ADAPTOR::CBMIParam* g_Param;
BM_ADAPTOR::CBMIKeys* g_Keys;
BM_ADAPTOR::CBMIEvParams* g_EventParams;
BM_ADAPTOR::CBMITable* g_Table;

// The host's services
CBaseOsLog* g_Logger;
decltype(&bmiLog) g_Log;
decltype(&BM_LOG_LEVEL) g_LogLevel;
QUB_STORAGE::CDataStorage* g_Storage;
OSAL::OSALMutex* g_Mutex;
OSAL::OSALThread* g_Thread;
OSAL::OSALMonitor* g_Monitor;

// bm/BoardDriver.h
decltype(&uPCIMemOpen) g_MemOpen;
decltype(&uPCIMemClose) g_MemClose;
decltype(&mavkAmcSwitchPortEnable) g_PortEnable;
decltype(&mavkAmcSwitchPortCheckLink) g_PortCheckLink;
decltype(&mavkAmcSwitchMACLearn) g_MACLearn;
decltype(&mavkAmcSwitchMACLearnByDSP) g_MACLearnByDSP;

// bm/MsgQueue.h
decltype(&qDrvSetInterface) g_DrvSetInterface;
decltype(&qQueueOpen) g_QueueOpen;
decltype(&qQueueBind) g_QueueBind;
decltype(&qQueueClose) g_QueueClose;
decltype(&qMsgAllocate) g_MsgAllocate;
decltype(&qMsgWrite) g_MsgWrite;
decltype(&qMsgRead) g_MsgRead;
decltype(&qMsgFree) g_MsgFree;
decltype(&qMsgType) g_MsgType;
decltype(&qMsgSource) g_MsgSource;
decltype(&qMsgVarFieldGet) g_MsgVarFieldGet;
decltype(&qMsgVarFieldPut) g_MsgVarFieldPut;
decltype(&qStatusErrorGet) g_StatusErrorGet;
decltype(&qStatusErrorName) g_StatusErrorName;
qError_e g_ErrorValues;
qAddress_e g_AddressValues;
qMsgType_e g_MsgTypeValues;
qProcStatusField_e g_ProcStatusFieldValues;
qBoardStatusReplyField_e g_BoardStatusReplyFieldValues;
qProcStatusReplyField_e g_ProcStatusReplyFieldValues;
qResultErrorField_e g_ResultErrorFieldValues;
qStandardErrorField_e g_StandardErrorFieldValues;

namespace {

using namespace BM_ADAPTOR;
using namespace OSAL;

/// Whether the member function has this signature; among overloads the one that has it is found.
template <typename SIGNATURE>
consteval bool Is(SIGNATURE) {
    return true;
}

static_assert(std::is_constructible_v<CBMIParam, BMIParamType_e, unsigned, bool>);
static_assert(Is<BMIParamType_e (CBMIParam::*)() const>(&CBMIParam::GetType));
static_assert(Is<unsigned (CBMIParam::*)() const>(&CBMIParam::GetId));
static_assert(Is<bool (CBMIParam::*)() const>(&CBMIParam::IsKey));
static_assert(Is<void (CBMIParam::*)(bool)>(&CBMIParam::SetBool));
static_assert(Is<bool (CBMIParam::*)() const>(&CBMIParam::GetBool));
static_assert(Is<void (CBMIParam::*)(int32_t)>(&CBMIParam::SetInt));
static_assert(Is<int32_t (CBMIParam::*)() const>(&CBMIParam::GetInt));
static_assert(Is<void (CBMIParam::*)(const std::string&)>(&CBMIParam::SetString));
static_assert(Is<const std::string& (CBMIParam::*)() const>(&CBMIParam::GetString));

static_assert(Is<void (CBMIParams::*)(CBMIParam*)>(&CBMIParams::Add));
static_assert(Is<void (CBMIParams::*)(const CBMIParam&)>(&CBMIParams::Add));
static_assert(Is<CBMIParam* (CBMIParams::*)(unsigned) const>(&CBMIParams::GetParamById));
static_assert(Is<bool (CBMIParams::*)(CBMIParam&) const>(&CBMIParams::GetParam));
static_assert(Is<int (CBMIParams::*)() const>(&CBMIParams::GetSize));
static_assert(Is<CBMIParam* (CBMIParams::*)(int) const>(&CBMIParams::Get));

static_assert(Is<void (CBMITable::*)(CBMIParams*)>(&CBMITable::AddRow));
static_assert(Is<void (CBMITable::*)(CBMIParams&)>(&CBMITable::AddRow));
static_assert(Is<int (CBMITable::*)() const>(&CBMITable::GetSize));
static_assert(Is<CBMIParams* (CBMITable::*)(int) const>(&CBMITable::Get));

static_assert(Is<void (OSALMutex::*)()>(&OSALMutex::Lock));
static_assert(Is<void (OSALMutex::*)()>(&OSALMutex::Unlock));
static_assert(Is<int (OSALThread::*)()>(&OSALThread::Start));
static_assert(Is<int (OSALThread::*)()>(&OSALThread::Join));
static_assert(Is<void (OSALMonitor::*)()>(&OSALMonitor::Lock));
static_assert(Is<void (OSALMonitor::*)()>(&OSALMonitor::Unlock));
static_assert(Is<bool (OSALMonitor::*)(int)>(&OSALMonitor::Wait));
static_assert(Is<void (OSALMonitor::*)()>(&OSALMonitor::Notify));

} // namespace
