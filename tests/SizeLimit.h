// A limit on the size of files, for tests of what happens when a file can no longer grow.
#pragma once

#include <csignal>
#include <sys/resource.h>

/// As long as it lives, a file of this process or of one that it starts cannot grow beyond `bytes`: the write fails.
/// The signal that comes with it does not end this process. A program that is started meanwhile has to see to that
/// itself: it does not inherit the handler.
class SizeLimit {
public:
    explicit SizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        m_limit = {bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &m_limit);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;
    ~SizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before{};
    rlimit m_limit{};
    void (*m_handler)(int) = signal(SIGXFSZ, [](int) {});
};
