// The socket at which the resident host is asked.
#include "host/service/ServerSocket.h"

#include "host/TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

class ServerSocketTest : public testing::Test {
protected:
    bool Connects() const {
        const bm_dev::UniqueFd client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const bm_dev::UniqueFd folder(open(m_place.m_folder.c_str(), O_PATH | O_CLOEXEC));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ("/proc/self/fd/" + std::to_string(folder.Get()) + "/bmhost.sock")
            .copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
        return connect(client.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }

    TestFolder m_folder;
    HostPlace m_place{m_folder.Path()};
};

TEST_F(ServerSocketTest, IsForOwnerAndGroupAndGoneAtItsEnd) {
    const BladeLock lock(m_place, "bmhostd");
    {
        const ServerSocket socket(lock, m_place);
        EXPECT_TRUE(Connects());
        struct stat state {};
        ASSERT_EQ(0, stat(m_place.Socket().c_str(), &state));
        EXPECT_EQ(0660U, state.st_mode & 0777U);
        EXPECT_EQ(GroupOfAskers(), state.st_gid);
        EXPECT_EQ(FD_CLOEXEC, fcntl(socket.Descriptor(), F_GETFD) & FD_CLOEXEC);
    }
    EXPECT_FALSE(std::filesystem::exists(m_place.Socket()));
}

TEST_F(ServerSocketTest, TakesOverADeadHosts) {
    const BladeLock lock(m_place, "bmhostd");
    {
        const bm_dev::UniqueFd dead(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_place.Socket().copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
        ASSERT_EQ(0, bind(dead.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    }
    EXPECT_FALSE(Connects());
    const ServerSocket socket(lock, m_place);
    EXPECT_TRUE(Connects());
}

TEST_F(ServerSocketTest, AFileInItsPlaceIsSomebodys) {
    std::ofstream(m_place.Socket()) << "valuable";
    const BladeLock lock(m_place, "bmhostd");
    try {
        const ServerSocket socket(lock, m_place);
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("bmhost.sock: it is no socket"));
    }
    EXPECT_EQ(8U, std::filesystem::file_size(m_place.Socket()));
}

TEST_F(ServerSocketTest, APathTooLongForAnAddressIsNoObstacle) {
    m_place.m_folder += "/" + std::string(120, 'x');
    const BladeLock lock(m_place, "bmhostd");
    const ServerSocket socket(lock, m_place);
    EXPECT_TRUE(Connects());
}

} // namespace
