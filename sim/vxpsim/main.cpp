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

using namespace BLADESIM;

namespace {

class QUEUE {
public:
    QUEUE() : m_Queue(qDrvSetInterface(0, 0) == 0 ? qQueueOpen() : -1) {
        // Who was killed gives its lock back before its queue: the one before may not be quite gone.
        for (int l_Patience = 100; m_Queue >= 0; --l_Patience) {
            if (qQueueBind(m_Queue, Q_ADDRESS_VXP) == 0) return;
            if (qStatusErrorGet() != Q_ERROR_ADDRESS_TAKEN || l_Patience == 0) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        throw BLADE_ERROR(std::string("no queue: ") + qStatusErrorName(qStatusErrorGet()));
    }
    QUEUE(const QUEUE&) = delete;
    QUEUE& operator=(const QUEUE&) = delete;
    ~QUEUE() { qQueueClose(m_Queue); }

    int Get() const { return m_Queue; }

private:
    int m_Queue;
};

void BlockEndSignals() {
    sigset_t l_Signals;
    sigemptyset(&l_Signals);
    sigaddset(&l_Signals, SIGTERM);
    sigaddset(&l_Signals, SIGINT);
    sigprocmask(SIG_BLOCK, &l_Signals, nullptr);
}

/// Who waits for the word may go now: nobody shall wait for the end of this output.
void SayReady() {
    const UNIQUE_FD l_Null(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    std::fputs(g_MediaReady, stdout);
    std::fflush(stdout);
    ::dup2(l_Null.Get(), STDOUT_FILENO);
}

} // namespace

int main() {
    try {
        ::setsid(); // Ctrl-C at the terminal of whoever started it is not meant for it
        BlockEndSignals();
        if (::chdir("/") != 0) ThrowErrno("/");
        const std::string l_RunFolder = RunFolder();
        const QUEUE l_Queue;
        MEDIA_SERVER l_Server(l_RunFolder, l_Queue.Get());
        const UNIQUE_FD l_Lock = EnterMediaProcess(l_RunFolder);
        SayReady();
        l_Server.Run();
        return EXIT_SUCCESS;
    } catch (const std::exception& l_Error) {
        std::fprintf(stderr, "vxpsim: %s\n", l_Error.what());
        return EXIT_FAILURE;
    }
}
