// The board driver of a machine without the board.
#include "bm/BoardDriver.h"

#include <gtest/gtest.h>

namespace {

TEST(BoardDriver, OpenFindsNoCard) {
    unsigned char l_Handle[8] = {};
    EXPECT_EQ(6, uPCIMemOpen(l_Handle, 1, 0));
}

TEST(BoardDriver, CloseOfAHandleThatWasNeverOpenIsHarmless) {
    unsigned char l_Handle[8] = {};
    EXPECT_EQ(0, uPCIMemClose(l_Handle));
}

} // namespace
