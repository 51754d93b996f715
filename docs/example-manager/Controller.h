// Whether the blade's controller answers.
#pragma once

#include <bm/BaseAdaptor.h>

#include <condition_variable>
#include <mutex>
#include <thread>

/// Reads one LED again and again, on a thread of its own: while the controller is away, a read waits for as long as the
/// kernel's driver does, and nothing else of the host has to wait with it. Says when the controller goes and comes
/// back.
class ControllerWatch {
public:
    explicit ControllerWatch(BM_ADAPTOR::CBaseAdaptor& adaptor);
    ControllerWatch(const ControllerWatch&) = delete;
    ControllerWatch& operator=(const ControllerWatch&) = delete;
    ~ControllerWatch();

private:
    void Run();
    bool Answers();
    bool Pause();

    BM_ADAPTOR::CBaseAdaptor& m_adaptor;
    std::mutex m_guard;
    std::condition_variable m_ended;
    bool m_end = false;
    std::thread m_thread; // last, since it uses the other members
};
