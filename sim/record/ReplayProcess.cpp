// The process that takes the controller's place when a recording answers.
#include "sim/record/ReplayProcess.h"

#include "sim/base/Error.h"
#include "sim/controller/VMCodec.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <thread>
#include <utility>

namespace bladesim {
namespace {

constexpr uint8_t NeverAnswered = 0xC3; // the driver's time-out

class ReplayServer {
public:
    ReplayServer(bm_dev::UniqueFd driver, Replay replay, bool atOnce)
        : m_driver(std::move(driver)),
          m_replay(std::move(replay)),
          m_atOnce(atOnce) {}

    /// Until the driver has gone.
    void Serve() {
        std::array<uint8_t, 1024> bytes;
        for (;;) {
            const ssize_t size = ::recv(m_driver.Get(), bytes.data(), bytes.size(), 0);
            if (size < 0 && errno == EINTR) continue;
            if (size <= 0) return;
            for (ssize_t index = 0; index < size; ++index) {
                const auto frame = m_decoder.Feed(bytes[static_cast<size_t>(index)]);
                if (const auto* request = frame ? std::get_if<VmMessage>(&*frame) : nullptr) Answer(*request);
            }
        }
    }

private:
    void Answer(const VmMessage& request) {
        std::vector<uint8_t> whole = {request.m_netFn, request.m_command};
        whole.insert(whole.end(), request.m_data.begin(), request.m_data.end());
        ReplayedAnswer answer = m_replay.Answer(whole);
        if (m_atOnce && !answer.m_reply) answer.m_reply = {NeverAnswered};
        if (!answer.m_reply) return;
        if (!m_atOnce) std::this_thread::sleep_for(answer.m_delay);
        const auto bytes = Encode(VmMessage{request.m_sequence, static_cast<uint8_t>(request.m_netFn | 1),
                                            request.m_lun, request.m_command, *answer.m_reply});
        ::send(m_driver.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    bm_dev::UniqueFd m_driver;
    Replay m_replay;
    bool m_atOnce;
    VmDecoder m_decoder;
};

void TellUser(const std::string& line) {
    std::fprintf(stderr, "bladesim: %s\n", line.c_str());
}

} // namespace

RunningController StartReplay(const Recording& recording, const Replay::NameCommand& name, bool atOnce) {
    std::array<int, 2> pair{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0)
        ThrowErrno("no socket to the recording");
    RunningController running;
    running.m_vmPort = bm_dev::UniqueFd(pair[0]);
    bm_dev::UniqueFd driver(pair[1]);
    running.m_process = ::fork();
    if (running.m_process < 0) ThrowErrno("the recording cannot be played");
    if (running.m_process > 0) return running;
    running.m_vmPort.Reset();
    ReplayServer(std::move(driver), Replay(recording, name, TellUser), atOnce).Serve();
    ::_exit(0);
}

} // namespace bladesim
