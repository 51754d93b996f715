// What systemd is told of the resident host.
#include "host/service/ServiceManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

constexpr const char* Time = "1970-01-01T00:00:00.000Z";

TEST(ServiceStatus, SaysHowTheBladeIs) {
    Picture picture;
    picture.m_calls = {{"init", {}, ""}};
    EXPECT_EQ(std::string("init is under way, since ") + Time, ServiceStatus(picture));
    picture.m_calls.push_back({"stop", {}, "uid 0, process 5", true});
    EXPECT_EQ(std::string("init is under way, since ") + Time, ServiceStatus(picture));
    picture.m_calls.clear();
    picture.m_host.m_init = CallOutcome{"init", 0, {}, {"first", "no\nhost address"}};
    EXPECT_EQ(std::string("init: 0 (nothing done), ") + Time + ": no host address", ServiceStatus(picture));
    picture.m_host.m_init = CallOutcome{"init", 1, {}, {}};
    EXPECT_EQ("not started", ServiceStatus(picture));
    picture.m_host.m_start = CallOutcome{"start", 0x30011, {}, {}};
    EXPECT_THAT(ServiceStatus(picture), testing::StartsWith("start: 0x30011"));
    picture.m_host.m_start = CallOutcome{"start", 1, {}, {}};
    picture.m_health.m_state = HealthState::Monitored;
    EXPECT_EQ(std::string("running, monitored since ") + Time, ServiceStatus(picture));
    picture.m_health = {HealthState::Fault, {}, {"AMC failed"}};
    picture.m_controller.m_state = Controller::State::Lost;
    EXPECT_EQ(std::string("fault, ") + Time + ": AMC failed; controller lost since " + Time, ServiceStatus(picture));
}

class ServiceManagerTest : public testing::Test {
protected:
    ServiceManagerTest() : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        // In the abstract name space; its name is the process's own.
        const std::string name = "bmhost-test-" + std::to_string(getpid());
        name.copy(&address.sun_path[1], name.size());
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        EXPECT_EQ(0, bind(m_socket, reinterpret_cast<const sockaddr*>(&address), size));
        setenv("NOTIFY_SOCKET", ("@" + name).c_str(), 1);
        setenv("WATCHDOG_USEC", "10000000", 1);
        unsetenv("WATCHDOG_PID");
    }
    ~ServiceManagerTest() override {
        unsetenv("NOTIFY_SOCKET");
        unsetenv("WATCHDOG_USEC");
        close(m_socket);
    }
    std::string Told() const {
        std::array<char, 1024> bytes{};
        const ssize_t size = recv(m_socket, bytes.data(), bytes.size(), 0);
        return size > 0 ? std::string(bytes.data(), static_cast<std::size_t>(size)) : "";
    }

    int m_socket;
};

TEST_F(ServiceManagerTest, TellsSystemdWhatChangesAndFeedsItsWatchdogEachTime) {
    EXPECT_TRUE(ServiceManager::IsThere());
    ServiceManager service;
    service.Ready();
    EXPECT_EQ("READY=1", Told());
    service.Feed(Picture{});
    EXPECT_THAT(Told(), testing::AllOf(HasSubstr("WATCHDOG=1\n"), HasSubstr("STATUS=not monitored")));
    service.Feed(Picture{});
    EXPECT_THAT(Told(), testing::AllOf(HasSubstr("WATCHDOG=1\n"), testing::Not(HasSubstr("STATUS"))));
    service.Feed("serves the blade");
    EXPECT_THAT(Told(), testing::AllOf(HasSubstr("WATCHDOG=1\n"), HasSubstr("STATUS=serves the blade\n")));
    ServiceManager::Stopping();
    EXPECT_EQ("STOPPING=1", Told());
}

} // namespace
