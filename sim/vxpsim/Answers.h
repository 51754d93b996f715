// What the media software answers to the health monitor, as it is told to.
#pragma once

#include "bm/MsgQueue.h"
#include "sim/vxpsim/MediaOrder.h"

#include <memory>

namespace BLADESIM {

struct MESSAGE_FREE {
    void operator()(qMsg* a_Message) const { qMsgFree(a_Message); }
};
using MESSAGE = std::unique_ptr<qMsg, MESSAGE_FREE>;

/// A type that means nothing to anybody.
inline constexpr uint32_t g_UnknownType = 0x800099;
/// The codes of both kinds of error.
inline constexpr uint32_t g_ResultErrorCode = 0x5;
inline constexpr uint32_t g_StandardErrorCode = 0x7;

/// What befalls this request.
MEDIA_DEED DeedFor(const qMsg& a_Request, const MEDIA_ORDER& a_Order);

/// The message in return; null when there is none. Requests of a type that it does not know it does not understand.
MESSAGE AnswerTo(const qMsg& a_Request, const MEDIA_ORDER& a_Order);

} // namespace BLADESIM
