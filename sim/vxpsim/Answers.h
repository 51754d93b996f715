// What the media software answers to the health monitor, as ordered.
#pragma once

#include "bm/MsgQueue.h"
#include "sim/vxpsim/MediaOrder.h"

#include <memory>

namespace bladesim {

struct MessageFree {
    void operator()(qMsg* message) const { qMsgFree(message); }
};
using Message = std::unique_ptr<qMsg, MessageFree>;

/// A type that means nothing.
inline constexpr uint32_t UnknownType = 0x800099;
/// The codes of both kinds of error.
inline constexpr uint32_t ResultErrorCode = 0x5;
inline constexpr uint32_t StandardErrorCode = 0x7;

/// What happens to this request.
MediaDeed DeedFor(const qMsg& request, const MediaOrder& order);

/// The answer; null when there is none. A request of an unknown type is answered as not understood.
Message AnswerTo(const qMsg& request, const MediaOrder& order);

} // namespace bladesim
