// The health monitor's talk with the media software: the queue, the requests, and what the replies mean.
#include "adaptor/monitor/IPMI_MediaSoftware.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/monitor/IPMI_OwnWait.h"
#include "bm/Log.h"
#include "bm/MsgQueue.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_trace.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace BM_ADAPTOR {

namespace {

constexpr int REPLY_TIMEOUT_MS = 5000;
constexpr std::size_t FILE_NAME_SIZE = 62; // characters; what a longer name has beyond is cut off
constexpr uint32_t PROC_STATE_FAULT_BELOW = 2;

struct MESSAGE_FREE {
    void operator()(qMsg* a_Message) const { qMsgFree(a_Message); }
};
using MESSAGE = std::unique_ptr<qMsg, MESSAGE_FREE>;

using FILE_NAME = std::array<char, 64>;

MESSAGE NewRequest(qMsgType_e a_Type) {
    return MESSAGE(qMsgAllocate(a_Type, Q_ADDRESS_MONITOR, Q_ADDRESS_VXP));
}

bool PutNumber(qMsg& a_Message, uint32_t a_Field, uint32_t a_Value) {
    return qMsgVarFieldPut(&a_Message, a_Field, &a_Value, sizeof a_Value) == 0;
}

// Nothing when there is no such field, or when it holds no number.
std::optional<uint32_t> NumberField(const qMsg& a_Message, uint32_t a_Field) {
    uint32_t l_Value = 0;
    std::size_t l_Size = sizeof l_Value;
    if (qMsgVarFieldGet(&a_Message, a_Field, &l_Value, &l_Size) != 0 || l_Size != sizeof l_Value) return std::nullopt;
    return l_Value;
}

uint32_t NumberOr0(const qMsg& a_Message, uint32_t a_Field) {
    return NumberField(a_Message, a_Field).value_or(0);
}

// The beginning of a text; empty when there is no such field.
FILE_NAME FileNameField(const qMsg& a_Message, uint32_t a_Field) {
    FILE_NAME l_Name{};
    std::size_t l_Size = FILE_NAME_SIZE;
    if (qMsgVarFieldGet(&a_Message, a_Field, l_Name.data(), &l_Size) != 0) l_Size = 0;
    l_Name[std::min(l_Size, FILE_NAME_SIZE)] = '\0';
    return l_Name;
}

bool IsBoardLive(uint32_t a_State, uint32_t a_SubState) {
    return (a_SubState >= 4 && a_State < 2) || (a_SubState == 0 && a_State == 1);
}

void LogOtherMessage(const qMsg& a_Message, unsigned a_ExpectedType) {
    const uint32_t l_Type = qMsgType(&a_Message);
    if (l_Type == Q_MSG_RESULT_ERROR) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "Received QResultError message (ERROR code=0x%x) from %d",
               NumberOr0(a_Message, Q_FIELD_RESULT_ERROR), static_cast<int>(qMsgSource(&a_Message)));
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "Processor status message reply failed");
    } else if (l_Type == Q_MSG_STANDARD_ERROR) {
        const auto l_Data = [&](uint32_t a_Index) {
            return NumberOr0(a_Message, Q_FIELD_STANDARD_ERROR_DATA + a_Index);
        };
        bmiLog(
            BM_LOG_ERROR, COMPONENT_MONITOR_THREAD,
            "Received standard ERROR message\nerror_msg=0x%x, error_code=0x%x,data[0]=0x%x data[1]=0x%x, data[2]=0x%x, data[3]=0x%x",
            NumberOr0(a_Message, Q_FIELD_STANDARD_ERROR_MSG), NumberOr0(a_Message, Q_FIELD_STANDARD_ERROR_CODE),
            l_Data(0), l_Data(1), l_Data(2), l_Data(3));
    } else {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD,
               "Unexpected msg (msgtype = 0x%x) received. expecting msgtype = 0x%x", l_Type, a_ExpectedType);
    }
}

} // namespace

int MEDIA_SOFTWARE::Open() {
    Close();
    if (qDrvSetInterface(0, 0) != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "qDrvSetInterface() failed in InitDriver()");
        return MONITOR_NO_EXCHANGE;
    }
    m_Queue = qQueueOpen();
    if (m_Queue < 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "Fail to get MSG handle in InitDriver() ");
        return MONITOR_NO_EXCHANGE;
    }
    if (qQueueBind(m_Queue, Q_ADDRESS_MONITOR) != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "Fail to bind MSG handle in InitDriver()");
        Close();
        return MONITOR_NO_EXCHANGE;
    }
    return MONITOR_LIVE;
}

void MEDIA_SOFTWARE::Close() {
    if (m_Queue >= 0) qQueueClose(m_Queue);
    m_Queue = -1;
}

int MEDIA_SOFTWARE::Check() {
    if (TracesOn()) bmiLog(BM_LOG_DEBUG, COMPONENT_MEDIA_ADAPTOR, "Enter IsVXPLive() in Monitor Thread");
    const MESSAGE l_Request = NewRequest(Q_MSG_BOARD_STATUS);
    if (l_Request == nullptr) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "MSG allocation failure in IsVXPLive() with Error Id = %x",
               qStatusErrorGet());
        return MONITOR_NO_EXCHANGE;
    }
    if (qMsgWrite(m_Queue, l_Request.get()) != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR,
               "Fail to send QBorardStatus MSG in IsVXPLive() with Error Id = %x", qStatusErrorGet());
        return MONITOR_NO_EXCHANGE;
    }
    const MESSAGE l_Reply(Receive(Q_MSG_BOARD_STATUS_REPLY));
    const auto l_State = l_Reply ? NumberField(*l_Reply, Q_FIELD_BOARD_STATE) : std::nullopt;
    const auto l_SubState = l_Reply ? NumberField(*l_Reply, Q_FIELD_BOARD_SUB_STATE) : std::nullopt;
    if (!l_State || !l_SubState) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "QBoardStatusReply() failed in IsVXPLive()");
        return MONITOR_NO_EXCHANGE;
    }
    return IsBoardLive(*l_State, *l_SubState) ? static_cast<int>(MONITOR_LIVE) : mAskProcessor();
}

// Of a board that is not live its worst processor tells whether there is a fault.
int MEDIA_SOFTWARE::mAskProcessor() {
    const MESSAGE l_Request = NewRequest(Q_MSG_PROC_STATUS);
    const bool l_bSent = l_Request != nullptr && PutNumber(*l_Request, Q_FIELD_ASKED_PROCESSOR, Q_ANY_PROCESSOR) &&
                         PutNumber(*l_Request, Q_FIELD_ASKED_DETAIL, 1) && qMsgWrite(m_Queue, l_Request.get()) == 0;
    if (!l_bSent) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "Fail to send MSG in IsVXPLive()with Error Id = %x",
               qStatusErrorGet());
        return MONITOR_NO_EXCHANGE;
    }
    const MESSAGE l_Reply(Receive(Q_MSG_PROC_STATUS_REPLY));
    const auto l_State = l_Reply ? NumberField(*l_Reply, Q_FIELD_PROC_STATE) : std::nullopt;
    if (!l_State) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "QProcStatusReply() failed in IsVXPLive()");
        return MONITOR_NO_EXCHANGE;
    }
    if (*l_State >= PROC_STATE_FAULT_BELOW) return MONITOR_LIVE;
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "Processor %d, User Severity %d, Error File %s, Cause File %s",
           static_cast<int>(NumberOr0(*l_Reply, Q_FIELD_PROCESSOR)),
           static_cast<int>(NumberOr0(*l_Reply, Q_FIELD_USER_SEVERITY)),
           FileNameField(*l_Reply, Q_FIELD_ERROR_FILE).data(), FileNameField(*l_Reply, Q_FIELD_CAUSE_FILE).data());
    return MONITOR_PROCESSOR_FAULT;
}

qMsg* MEDIA_SOFTWARE::Receive(unsigned a_ExpectedType) {
    int l_Ready = 0;
    {
        const OWN_WAIT l_Wait(m_Watcher);
        l_Ready = m_Board.WaitUntilReadable(m_Queue, REPLY_TIMEOUT_MS);
    }
    if (l_Ready < 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "checkMessage() select failed");
        return nullptr;
    }
    if (l_Ready == 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "Waiting for 0x%x message timed out. timeout period = %d ms",
               a_ExpectedType, REPLY_TIMEOUT_MS);
        return nullptr;
    }
    qMsg* l_Read = nullptr;
    if (qMsgRead(m_Queue, &l_Read) != 0 || l_Read == nullptr) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "checkMessage() qMsgRead failed.");
        return nullptr;
    }
    MESSAGE l_Message(l_Read);
    if (qMsgType(l_Read) == a_ExpectedType) return l_Message.release();
    LogOtherMessage(*l_Message, a_ExpectedType);
    return nullptr;
}

} // namespace BM_ADAPTOR
