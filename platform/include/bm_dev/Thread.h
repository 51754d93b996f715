// Threads with a stack of a size that does not depend on where the program was started.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace bm_dev {

/// The stack of each of our threads, in bytes. Otherwise RLIMIT_STACK decides: 8 MiB of a 32-bit process' 3 GiB for
/// each, or far too little. The most that a thread was seen to use is 76 KiB (docs/reliability.md); a host's handlers
/// and loggers run on some of them, too. Frames with a sanitizer are several times as large.
#ifdef BM_SANITIZED
constexpr std::size_t ThreadStackSize = 8U << 20U;
#else
constexpr std::size_t ThreadStackSize = 1U << 20U;
#endif

/// Starts a thread that runs the body. An exception that leaves the body ends the process.
/// @return 0, or an errno: EAGAIN when the system cannot create a thread, ENOMEM
inline int StartThread(pthread_t& thread, std::function<void()> body) {
    using Body = std::function<void()>;
    const auto run = [](void* given) -> void* {
        (*std::unique_ptr<Body>(static_cast<Body*>(given)))();
        return nullptr;
    };
    auto kept = std::make_unique<Body>(std::move(body));
    pthread_attr_t attributes;
    if (const int error = pthread_attr_init(&attributes); error != 0) return error;
    int error = pthread_attr_setstacksize(&attributes, ThreadStackSize);
    if (error == 0) error = pthread_create(&thread, &attributes, run, kept.get());
    pthread_attr_destroy(&attributes);
    if (error == 0) static_cast<void>(kept.release()); // the thread's own
    return error;
}

/// As std::thread, but with a stack of ThreadStackSize.
class Thread {
public:
    Thread() = default;
    /// @throw std::system_error when there is no thread to be had
    explicit Thread(std::function<void()> body) {
        const int error = StartThread(m_thread, std::move(body));
        if (error != 0) throw std::system_error(error, std::generic_category(), "a thread cannot be started");
        m_joinable = true;
    }
    Thread(Thread&& other) noexcept : m_thread(other.m_thread), m_joinable(std::exchange(other.m_joinable, false)) {}
    Thread& operator=(Thread&& other) noexcept {
        if (m_joinable) std::terminate();
        m_thread = other.m_thread;
        m_joinable = std::exchange(other.m_joinable, false);
        return *this;
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    /// It must have been joined or detached.
    ~Thread() {
        if (m_joinable) std::terminate();
    }

    bool IsJoinable() const { return m_joinable; }
    void Join() {
        pthread_join(m_thread, nullptr);
        m_joinable = false;
    }
    void Detach() {
        pthread_detach(m_thread);
        m_joinable = false;
    }

private:
    pthread_t m_thread{};
    bool m_joinable = false;
};

} // namespace bm_dev
