// What the stub adaptors serve.
#pragma once

#include "common/veldo_common_protocol.h"

constexpr unsigned StubEcho = 0x10;       ///< a read returns the keys, a table two rows, a write sends an event
constexpr unsigned StubEventLater = 0x11; ///< a write sends an event from another thread
constexpr unsigned StubNotFound = 0x12;   ///< read and table give RESULT_NOT_FOUND, the read no row, the table no rows
constexpr unsigned StubText = 0x13;       ///< the only column of the table
/// A write sends its event later: failed when the image contains "bad". It is refused when that contains "refused".
constexpr unsigned StubUpgrade = BM_ADAPTOR::BMI_GROUP_FIRMWARE_UPDATE;
