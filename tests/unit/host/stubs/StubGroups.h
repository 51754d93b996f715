// What the stub adaptors serve.
#pragma once

#include "common/veldo_common_protocol.h"

constexpr unsigned StubEcho = 0x10;       ///< a read gives the keys back, a table two rows, a write an event
constexpr unsigned StubEventLater = 0x11; ///< a write gives an event, from a thread that Init's caller does not see
constexpr unsigned StubNotFound = 0x12;   ///< a read gives RESULT_NOT_FOUND and no row, a table likewise
constexpr unsigned StubText = 0x13;       ///< the only column of the table
/// A write gives its event, later: failed when the file's name has "bad" in it.
constexpr unsigned StubUpgrade = BM_ADAPTOR::BMI_GROUP_FIRMWARE_UPDATE;
