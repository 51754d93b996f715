// A captured blade as a file: whole, or not at all.
#include "sim/capture/CaptureFile.h"

#include "sim/base/Error.h"
#include "sim/base/Replacement.h"
#include "sim/blade/BladeFile.h"
#include "sim/blade/HexText.h"
#include "sim/blade/ReplyReader.h"
#include "sim/capture/BladeText.h"
#include "sim/capture/ComposeBlade.h"

#include <algorithm>
#include <csignal>

namespace bladesim {
namespace {

/// Signals that would leave the temporary file behind wait until this ends.
class SignalsWait {
public:
    SignalsWait() {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT})
            sigaddset(&signals, signal);
        sigprocmask(SIG_BLOCK, &signals, &m_before);
    }
    ~SignalsWait() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsWait(const SignalsWait&) = delete;
    SignalsWait& operator=(const SignalsWait&) = delete;

private:
    sigset_t m_before{};
};

/// The replies that never come, and those that were cut, differ for good reason.
void CheckSame(const Blade& blade, const CapturedController& captured, const std::string& file) {
    for (const auto& [request, reply] : DifferentReplies(blade, captured.m_replies)) {
        const bool isLost = std::ranges::any_of(blade.m_faults, [&r = request](const Fault& fault) {
            return fault.m_count == 0 && std::ranges::equal(fault.m_request, r);
        });
        if (isLost || reply.size() > MaxKeptReply) continue;
        throw BladeError(file + ": the captured blade would not answer " + HexText(request) + " with " +
                         HexText(reply) + ", as the real one does");
    }
}

} // namespace

void CheckWritable(const std::string& file) {
    const SignalsWait wait;
    Replacement attempt(file);
}

void WriteCaptured(const std::string& file, const Blade& blade, const CapturedController& captured) {
    const SignalsWait wait;
    Replacement replacement(file);
    replacement.Write(BladeText(blade, "Captured by bladesim."));
    CheckSame(ReadBladeFile(replacement.Name()), captured, file);
    replacement.Commit();
}

} // namespace bladesim
