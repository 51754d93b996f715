// Who may give a blade orders: each user connects from a separate process.
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

using namespace bladesim;

namespace {

constexpr uid_t Owner = 1000;
constexpr uid_t Stranger = 65534;

class ControlServerTest : public testing::Test {
protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "only root can be several users";
        bm_dev::UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        // The kernel gives a free name.
        const sockaddr_un any{AF_UNIX, {}};
        ASSERT_EQ(0, ::bind(listener.Get(), reinterpret_cast<const sockaddr*>(&any), sizeof(any.sun_family)));
        ASSERT_EQ(0, ::listen(listener.Get(), 8));
        ASSERT_EQ(0, ::getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&m_address.m_address),
                                   &(m_address.m_length = sizeof(m_address.m_address))));
        m_server = std::make_unique<ControlServer>(std::move(listener), [this](auto client, const auto& line) {
            m_orders.push_back(line);
            m_server->Answer(client, "done");
        });
    }

    /// In a separate process: gives an order as this user, and passes on the answer.
    [[noreturn]] void GiveOrder(uid_t user, int out) const {
        std::array<char, 256> answer{};
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const bool connected = ::setuid(user) == 0 && ::connect(socket, m_address.Get(), m_address.m_length) == 0;
        if (!connected || (::send(socket, "order\n", 6, MSG_NOSIGNAL) != 6 && errno != EPIPE)) ::_exit(1);
        const ssize_t size = ::recv(socket, answer.data(), answer.size(), 0);
        ::_exit(size > 0 && ::write(out, answer.data(), static_cast<size_t>(size)) == size ? 0 : 2);
    }

    /// Serves until the user has his answer, as `owner`.
    std::string AnswerTo(uid_t user, uid_t owner) {
        int pipe[2];
        EXPECT_EQ(0, ::pipe(pipe));
        const pid_t child = ::fork();
        if (child == 0) GiveOrder(user, pipe[1]);
        ::close(pipe[1]);
        EXPECT_EQ(0, ::seteuid(owner));
        std::vector<pollfd> events;
        do {
            events = {{pipe[0], POLLIN, 0}};
            m_server->AddEvents(events);
            ::poll(events.data(), events.size(), -1);
            for (size_t i = 1; i < events.size(); ++i)
                if (events[i].revents != 0) m_server->Handle(events[i]);
        } while (events[0].revents == 0);
        EXPECT_EQ(0, ::seteuid(0));
        std::array<char, 256> answer{};
        const ssize_t size = ::read(pipe[0], answer.data(), answer.size());
        ::close(pipe[0]);
        int status = -1;
        EXPECT_EQ(child, ::waitpid(child, &status, 0));
        EXPECT_EQ(0, status);
        m_child = child;
        return {answer.data(), static_cast<size_t>(size)};
    }

    SocketAddress m_address{};
    std::unique_ptr<ControlServer> m_server;
    std::vector<std::string> m_orders;
    pid_t m_child = -1;
};

TEST_F(ControlServerTest, TakesTheOrdersOfItsOwnUserAndOfRoot) {
    EXPECT_EQ("done\n", AnswerTo(0, 0));
    EXPECT_EQ("done\n", AnswerTo(0, Owner));
    EXPECT_EQ("done\n", AnswerTo(Owner, Owner));
    EXPECT_THAT(m_orders, testing::ElementsAre("order", "order", "order"));
}

TEST_F(ControlServerTest, RefusesTheOrdersOfOtherUsersAndSaysSoToBothSides) {
    for (const uid_t owner : {uid_t{0}, Owner}) {
        testing::internal::CaptureStderr();
        const std::string answer = AnswerTo(Stranger, owner);
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_EQ("{\"error\":\"only the blade's user and root may give it orders\"}\n", answer);
        EXPECT_EQ("bladesim: refused the orders of process " + std::to_string(m_child) +
                      " of user 65534: this is the blade of user " + std::to_string(owner) + "\n",
                  told);
    }
    EXPECT_THAT(m_orders, testing::IsEmpty());
}

} // namespace
