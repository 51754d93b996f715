// Who may give a blade orders: users of their own connect, each in a process of its own.
#include "sim/driver/ControlServer.h"

#include "sim/base/DriverAddress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace BLADESIM;

namespace {

constexpr uid_t OWNER = 1000;
constexpr uid_t STRANGER = 65534;

class ControlServer : public testing::Test {
protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "only root can be several users";
        UNIQUE_FD l_Listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        // The kernel gives a free name.
        const sockaddr_un l_Any{AF_UNIX, {}};
        ASSERT_EQ(0, ::bind(l_Listener.Get(), reinterpret_cast<const sockaddr*>(&l_Any), sizeof(l_Any.sun_family)));
        ASSERT_EQ(0, ::listen(l_Listener.Get(), 8));
        ASSERT_EQ(0, ::getsockname(l_Listener.Get(), reinterpret_cast<sockaddr*>(&m_Address.m_Address),
                                   &(m_Address.m_Length = sizeof(m_Address.m_Address))));
        m_Server = std::make_unique<CONTROL_SERVER>(std::move(l_Listener), [this](auto a_Client, const auto& a_Line) {
            m_Orders.push_back(a_Line);
            m_Server->Answer(a_Client, "done");
        });
    }

    /// In a process of its own: gives an order as this user, and passes on what comes back.
    [[noreturn]] void GiveOrder(uid_t a_User, int a_Out) const {
        std::array<char, 256> l_Answer{};
        const int l_Socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const bool l_Connected = ::setuid(a_User) == 0 && ::connect(l_Socket, m_Address.Get(), m_Address.m_Length) == 0;
        if (!l_Connected || (::send(l_Socket, "order\n", 6, MSG_NOSIGNAL) != 6 && errno != EPIPE)) ::_exit(1);
        const ssize_t l_Size = ::recv(l_Socket, l_Answer.data(), l_Answer.size(), 0);
        ::_exit(l_Size > 0 && ::write(a_Out, l_Answer.data(), static_cast<size_t>(l_Size)) == l_Size ? 0 : 2);
    }

    /// Serves until the user has his answer, as `a_Owner`.
    std::string AnswerTo(uid_t a_User, uid_t a_Owner) {
        int l_Pipe[2];
        EXPECT_EQ(0, ::pipe(l_Pipe));
        const pid_t l_Child = ::fork();
        if (l_Child == 0) GiveOrder(a_User, l_Pipe[1]);
        ::close(l_Pipe[1]);
        EXPECT_EQ(0, ::seteuid(a_Owner));
        std::vector<pollfd> l_Events;
        do {
            l_Events = {{l_Pipe[0], POLLIN, 0}};
            m_Server->AddEvents(l_Events);
            ::poll(l_Events.data(), l_Events.size(), -1);
            for (size_t i = 1; i < l_Events.size(); ++i)
                if (l_Events[i].revents != 0) m_Server->Handle(l_Events[i]);
        } while (l_Events[0].revents == 0);
        EXPECT_EQ(0, ::seteuid(0));
        std::array<char, 256> l_Answer{};
        const ssize_t l_Size = ::read(l_Pipe[0], l_Answer.data(), l_Answer.size());
        ::close(l_Pipe[0]);
        int l_Status = -1;
        EXPECT_EQ(l_Child, ::waitpid(l_Child, &l_Status, 0));
        EXPECT_EQ(0, l_Status);
        m_Child = l_Child;
        return {l_Answer.data(), static_cast<size_t>(l_Size)};
    }

    SOCKET_ADDRESS m_Address{};
    std::unique_ptr<CONTROL_SERVER> m_Server;
    std::vector<std::string> m_Orders;
    pid_t m_Child = -1;
};

TEST_F(ControlServer, TakesTheOrdersOfItsOwnUserAndOfRoot) {
    EXPECT_EQ("done\n", AnswerTo(0, 0));
    EXPECT_EQ("done\n", AnswerTo(0, OWNER));
    EXPECT_EQ("done\n", AnswerTo(OWNER, OWNER));
    EXPECT_THAT(m_Orders, testing::ElementsAre("order", "order", "order"));
}

TEST_F(ControlServer, RefusesTheOrdersOfOtherUsersAndSaysSoToBothSides) {
    for (const uid_t l_Owner : {uid_t{0}, OWNER}) {
        testing::internal::CaptureStderr();
        const std::string l_Answer = AnswerTo(STRANGER, l_Owner);
        const std::string l_Told = testing::internal::GetCapturedStderr();
        EXPECT_EQ("{\"error\":\"only the blade's user and root may give it orders\"}\n", l_Answer);
        EXPECT_EQ("bladesim: refused the orders of process " + std::to_string(m_Child) +
                      " of user 65534: this is the blade of user " + std::to_string(l_Owner) + "\n",
                  l_Told);
    }
    EXPECT_THAT(m_Orders, testing::IsEmpty());
}

} // namespace
