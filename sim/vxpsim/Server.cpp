// The media software's loop: takes requests from its queue and answers them when their time has come.
#include "sim/vxpsim/Server.h"

#include "sim/base/Error.h"
#include "sim/tools/RunFiles.h"

#include <nlohmann/json.hpp>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <utility>

namespace bladesim {
namespace {

bm_dev::UniqueFd WatchFolder(const std::string& folder) {
    bm_dev::UniqueFd watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!watch || ::inotify_add_watch(watch.Get(), folder.c_str(), IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE) < 0)
        ThrowErrno(folder + ": cannot be watched");
    return watch;
}

bm_dev::UniqueFd EndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    bm_dev::UniqueFd fd(::signalfd(-1, &signals, SFD_CLOEXEC));
    if (!fd) ThrowErrno("no descriptor for signals");
    return fd;
}

/// Whatever has happened, the order is read again.
void Drain(int changes) {
    std::array<char, 4096> events;
    while (::read(changes, events.data(), events.size()) > 0) {
    }
}

} // namespace

MediaServer::MediaServer(std::string runFolder, int queue)
    : m_runFolder(std::move(runFolder)),
      m_queue(queue),
      m_changes(WatchFolder(m_runFolder)),
      m_signals(EndSignals()),
      m_order(ReadMediaOrder(m_runFolder)) {
    if (m_order.m_mode->m_name == MediaDead) throw BladeError("it is ordered to be dead");
    RemoveFile(m_runFolder + "/" + MediaCountsFile); // left by its predecessor
}

void MediaServer::Run() {
    for (;;) {
        std::array<pollfd, 3> events{
            {{m_signals.Get(), POLLIN, 0}, {m_changes.Get(), POLLIN, 0}, {TakesRequests() ? m_queue : -1, POLLIN, 0}}};
        ::poll(events.data(), events.size(), MillisecondsLeft());
        if (events[0].revents != 0) return;
        Drain(m_changes.Get());
        TakeOrder();
        if (events[2].revents != 0 && TakesRequests()) TakeRequest();
        SendDue();
    }
}

/// A file with errors leaves the order as it was.
void MediaServer::TakeOrder() {
    try {
        m_order = ReadMediaOrder(m_runFolder);
        m_complaint.clear();
    } catch (const BladeError& error) {
        if (m_complaint != error.what()) std::fprintf(stderr, "vxpsim: %s\n", error.what());
        m_complaint = error.what();
    }
    if (m_order.m_mode->m_name == MediaDead) std::raise(SIGKILL);
}

void MediaServer::TakeRequest() {
    qMsg* read = nullptr;
    if (qMsgRead(m_queue, &read) != 0) return; // the received bytes were not a message
    const Message request(read);
    TakeOrder(); // it may be newer than the one that was read before the request was sent
    Count(*request);
    const MediaDeed deed = DeedFor(*request, m_order);
    if (deed == MediaDeed::End) std::raise(SIGKILL);
    if (Message message = AnswerTo(*request, m_order))
        m_answers.push_back(
            {Clock::now() + std::chrono::milliseconds(m_order.m_delay), std::move(message), deed == MediaDeed::Flood});
}

void MediaServer::Count(const qMsg& request) {
    m_boardRequests += qMsgType(&request) == Q_MSG_BOARD_STATUS ? 1 : 0;
    m_processorRequests += qMsgType(&request) == Q_MSG_PROC_STATUS ? 1 : 0;
    const nlohmann::ordered_json counts = {{"board_requests", m_boardRequests},
                                           {"processor_requests", m_processorRequests}};
    ReplaceFile(m_runFolder + "/" + MediaCountsFile, counts.dump() + "\n");
}

/// In the order of their requests, unless a later one is due first.
void MediaServer::SendDue() {
    const auto now = Clock::now();
    for (const Answer& waiting : m_answers) {
        if (waiting.m_due <= now) Send(waiting);
    }
    std::erase_if(m_answers, [&](const Answer& answer) { return answer.m_due <= now; });
}

/// An asker that is gone, or does not read, gets nothing.
void MediaServer::Send(const Answer& answer) const {
    bool sent = false;
    do
        sent = qMsgWrite(m_queue, answer.m_message.get()) == 0;
    while (sent && answer.m_again);
    if (!sent && !answer.m_again)
        std::fprintf(stderr, "vxpsim: an answer was not taken: %s\n", qStatusErrorName(qStatusErrorGet()));
}

int MediaServer::MillisecondsLeft() const {
    if (m_answers.empty()) return -1;
    const auto next = std::ranges::min_element(m_answers, {}, &Answer::m_due);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next->m_due - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

} // namespace bladesim
