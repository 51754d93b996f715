// What the stub adaptors serve.
#pragma once

constexpr unsigned StubEcho = 0x10;       ///< a read gives the keys back, a table two rows, a write an event
constexpr unsigned StubEventLater = 0x11; ///< a write gives an event, from a thread that Init's caller does not see
constexpr unsigned StubNotFound = 0x12;   ///< a read gives 12 and no row, a table 12 and no rows
constexpr unsigned StubText = 0x13;       ///< the only column of the table
constexpr unsigned StubUpgrade = 0x600; ///< a write gives its event, later: failed when the file's name has "bad" in it
