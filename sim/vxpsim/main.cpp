// vxpsim: the media software's stand-in, which answers the health monitor's questions on the message queue.
#include "sim/base/Error.h"
#include "sim/tools/MediaProcess.h"
#include "sim/tools/RunFiles.h"
#include "sim/vxpsim/Server.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>

using namespace bladesim;

namespace {

class Queue {
public:
    Queue() : m_queue(qDrvSetInterface(0, 0) == 0 ? qQueueOpen() : -1) {
        // A killed process releases its lock before its queue, so the former process may still be on its way out.
        for (int patience = 100; m_queue >= 0; --patience) {
            if (qQueueBind(m_queue, Q_ADDRESS_VXP) == 0) return;
            if (qStatusErrorGet() != Q_ERROR_ADDRESS_TAKEN || patience == 0) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        throw BladeError(std::string("no queue: ") + qStatusErrorName(qStatusErrorGet()));
    }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue() { qQueueClose(m_queue); }

    int Get() const { return m_queue; }

private:
    int m_queue;
};

void BlockEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

/// The waiting starter may go on now; nothing should wait for the end of this output.
void SayReady() {
    const bm_dev::UniqueFd null(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    std::fputs(MediaReady, stdout);
    std::fflush(stdout);
    ::dup2(null.Get(), STDOUT_FILENO);
}

} // namespace

int main() {
    try {
        ::setsid(); // Ctrl-C at the starter's terminal is not meant for it
        BlockEndSignals();
        if (::chdir("/") != 0) ThrowErrno("/");
        const std::string runFolder = RunFolder();
        const Queue queue;
        MediaServer server(runFolder, queue.Get());
        const bm_dev::UniqueFd lock = EnterMediaProcess(runFolder);
        SayReady();
        server.Run();
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vxpsim: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
