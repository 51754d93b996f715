// The board driver on a machine without the board: there is no card to open.
#include "bm/BoardDriver.h"

namespace {

constexpr int CARD_NOT_FOUND = 6;

} // namespace

int uPCIMemOpen(void*, int, int) {
    return CARD_NOT_FOUND;
}

int uPCIMemClose(void*) {
    return 0;
}
