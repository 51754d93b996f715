// Orders to the controller's parent process and its answers, over a socket pair.
#include "sim/controller/ControllerOrders.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

using namespace bladesim;
using testing::Optional;

namespace {

class ControllerOrders : public testing::Test {
protected:
    ControllerOrders() {
        std::array<int, 2> pair{-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair.data()), 0);
        m_driver = bm_dev::UniqueFd(pair[0]);
        m_parent = bm_dev::UniqueFd(pair[1]);
    }

    bm_dev::UniqueFd m_driver;
    bm_dev::UniqueFd m_parent;
};

} // namespace

TEST_F(ControllerOrders, ArriveOneByOneInTheirOrder) {
    SendOrder(m_driver.Get(), ControllerOrder::Stop);
    SendOrder(m_driver.Get(), ControllerOrder::Restart);
    EXPECT_THAT(ReceiveOrder(m_parent.Get()), Optional(ControllerOrder::Stop));
    EXPECT_THAT(ReceiveOrder(m_parent.Get()), Optional(ControllerOrder::Restart));
}

TEST_F(ControllerOrders, AreAnsweredWithTheReasonWhenTheyFail) {
    SendAnswer(m_parent.Get(), {"ipmi_sim: ended", bm_dev::UniqueFd()});
    const auto answer = ReceiveAnswer(m_driver.Get());
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->m_error, "ipmi_sim: ended");
    EXPECT_FALSE(answer->m_vmPort);
}

TEST_F(ControllerOrders, AreAnsweredWithoutAPortWhenThereIsNone) {
    SendAnswer(m_parent.Get(), ControllerAnswer());
    const auto answer = ReceiveAnswer(m_driver.Get());
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->m_error, "");
    EXPECT_FALSE(answer->m_vmPort);
}

TEST_F(ControllerOrders, AreAnsweredWithThePortOfTheStartedController) {
    std::array<int, 2> pipe{-1, -1};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const bm_dev::UniqueFd reader(pipe[0]);
    SendAnswer(m_parent.Get(), {"", bm_dev::UniqueFd(pipe[1])});
    const auto answer = ReceiveAnswer(m_driver.Get());
    ASSERT_TRUE(answer && answer->m_vmPort);
    ASSERT_EQ(::write(answer->m_vmPort.Get(), "x", 1), 1);
    char byte = 0;
    ASSERT_EQ(::read(reader.Get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST_F(ControllerOrders, OfALongReasonKeepItsBeginning) {
    SendAnswer(m_parent.Get(), {std::string(10000, 'e'), bm_dev::UniqueFd()});
    const auto answer = ReceiveAnswer(m_driver.Get());
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->m_error, std::string(4095, 'e'));
}

TEST_F(ControllerOrders, EndWithTheOtherSide) {
    m_parent.Reset();
    EXPECT_FALSE(ReceiveAnswer(m_driver.Get()));
    EXPECT_EQ(ReceiveOrder(m_driver.Get()), std::nullopt);
}
