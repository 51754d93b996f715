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

namespace BLADESIM {
namespace {

UNIQUE_FD WatchFolder(const std::string& a_Folder) {
    UNIQUE_FD l_Watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!l_Watch || ::inotify_add_watch(l_Watch.Get(), a_Folder.c_str(), IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE) < 0)
        ThrowErrno(a_Folder + ": cannot be watched");
    return l_Watch;
}

UNIQUE_FD EndSignals() {
    sigset_t l_Signals;
    sigemptyset(&l_Signals);
    sigaddset(&l_Signals, SIGTERM);
    sigaddset(&l_Signals, SIGINT);
    UNIQUE_FD l_Fd(::signalfd(-1, &l_Signals, SFD_CLOEXEC));
    if (!l_Fd) ThrowErrno("no descriptor for signals");
    return l_Fd;
}

/// What happened is not asked; the order is read again in any case.
void Drain(int a_Changes) {
    std::array<char, 4096> l_Events;
    while (::read(a_Changes, l_Events.data(), l_Events.size()) > 0) {
    }
}

} // namespace

MEDIA_SERVER::MEDIA_SERVER(std::string a_RunFolder, int a_Queue)
    : m_RunFolder(std::move(a_RunFolder)),
      m_Queue(a_Queue),
      m_Changes(WatchFolder(m_RunFolder)),
      m_Signals(EndSignals()),
      m_Order(ReadMediaOrder(m_RunFolder)) {
    if (m_Order.m_Mode->m_Name == g_MediaDead) throw BLADE_ERROR("it is ordered to be dead");
    RemoveFile(m_RunFolder + "/" + g_MediaCountsFile); // of its predecessor
}

void MEDIA_SERVER::Run() {
    for (;;) {
        std::array<pollfd, 3> l_Events{
            {{m_Signals.Get(), POLLIN, 0}, {m_Changes.Get(), POLLIN, 0}, {TakesRequests() ? m_Queue : -1, POLLIN, 0}}};
        ::poll(l_Events.data(), l_Events.size(), MillisecondsLeft());
        if (l_Events[0].revents != 0) return;
        Drain(m_Changes.Get());
        TakeOrder();
        if (l_Events[2].revents != 0 && TakesRequests()) TakeRequest();
        SendDue();
    }
}

/// A file with errors leaves the order as it was.
void MEDIA_SERVER::TakeOrder() {
    try {
        m_Order = ReadMediaOrder(m_RunFolder);
        m_Complaint.clear();
    } catch (const BLADE_ERROR& l_Error) {
        if (m_Complaint != l_Error.what()) std::fprintf(stderr, "vxpsim: %s\n", l_Error.what());
        m_Complaint = l_Error.what();
    }
    if (m_Order.m_Mode->m_Name == g_MediaDead) std::raise(SIGKILL);
}

void MEDIA_SERVER::TakeRequest() {
    qMsg* l_Read = nullptr;
    if (qMsgRead(m_Queue, &l_Read) != 0) return; // what came was no message
    const MESSAGE l_Request(l_Read);
    TakeOrder(); // it may be newer than the one that was read before the request was sent
    Count(*l_Request);
    const MEDIA_DEED l_Deed = DeedFor(*l_Request, m_Order);
    if (l_Deed == MEDIA_DEED::END) std::raise(SIGKILL);
    if (MESSAGE l_Message = AnswerTo(*l_Request, m_Order))
        m_Answers.push_back({CLOCK::now() + std::chrono::milliseconds(m_Order.m_Delay), std::move(l_Message),
                             l_Deed == MEDIA_DEED::FLOOD});
}

void MEDIA_SERVER::Count(const qMsg& a_Request) {
    m_BoardRequests += qMsgType(&a_Request) == Q_MSG_BOARD_STATUS ? 1 : 0;
    m_ProcessorRequests += qMsgType(&a_Request) == Q_MSG_PROC_STATUS ? 1 : 0;
    const nlohmann::ordered_json l_Counts = {{"board_requests", m_BoardRequests},
                                             {"processor_requests", m_ProcessorRequests}};
    ReplaceFile(m_RunFolder + "/" + g_MediaCountsFile, l_Counts.dump() + "\n");
}

/// In the order of their requests, unless a later one's time comes first.
void MEDIA_SERVER::SendDue() {
    const auto l_Now = CLOCK::now();
    for (const ANSWER& l_Answer : m_Answers) {
        if (l_Answer.m_Due <= l_Now) Send(l_Answer);
    }
    std::erase_if(m_Answers, [&](const ANSWER& a_Answer) { return a_Answer.m_Due <= l_Now; });
}

/// Whoever is gone, or takes nothing, gets nothing.
void MEDIA_SERVER::Send(const ANSWER& a_Answer) const {
    bool l_Sent = false;
    do
        l_Sent = qMsgWrite(m_Queue, a_Answer.m_Message.get()) == 0;
    while (l_Sent && a_Answer.m_Again);
    if (!l_Sent && !a_Answer.m_Again)
        std::fprintf(stderr, "vxpsim: an answer was not taken: %s\n", qStatusErrorName(qStatusErrorGet()));
}

int MEDIA_SERVER::MillisecondsLeft() const {
    if (m_Answers.empty()) return -1;
    const auto l_Next = std::ranges::min_element(m_Answers, {}, &ANSWER::m_Due);
    const auto l_Left = std::chrono::ceil<std::chrono::milliseconds>(l_Next->m_Due - CLOCK::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(l_Left.count(), 0));
}

} // namespace BLADESIM
