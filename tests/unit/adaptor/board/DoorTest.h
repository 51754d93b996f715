// What the tests of the door to the machine need: a kernel as new, which at the end has got everything back.
#pragma once

#include "adaptor/board/FakeKernel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace BM_ADAPTOR::TEST {

class DOOR_TEST : public ::testing::Test {
protected:
    DOOR_TEST() { Kernel() = {}; }
    ~DOOR_TEST() override {
        EXPECT_EQ(Kernel().m_Sockets, 0);
        EXPECT_EQ(Kernel().m_OpenFiles, 0);
        EXPECT_EQ(Kernel().m_OpenStreams, 0);
    }
};

} // namespace BM_ADAPTOR::TEST
