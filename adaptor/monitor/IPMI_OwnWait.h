// What tells the health monitor's own waits, which end by themselves, from those for the host.
#pragma once

namespace BM_ADAPTOR {

/// Is told when the monitor's thread begins to wait for a tool or a reply, and when it has its answer.
class WAIT_WATCHER {
public:
    WAIT_WATCHER() = default;
    WAIT_WATCHER(const WAIT_WATCHER&) = delete;
    WAIT_WATCHER& operator=(const WAIT_WATCHER&) = delete;
    virtual ~WAIT_WATCHER() = default;

    virtual void NoteOwnWait(bool a_bWaits) = 0;
};

/// The monitor waits for a tool or a reply while this lives; nothing of the host's is called meanwhile.
class OWN_WAIT {
public:
    explicit OWN_WAIT(WAIT_WATCHER& a_Watcher) : m_Watcher(a_Watcher) { m_Watcher.NoteOwnWait(true); }
    OWN_WAIT(const OWN_WAIT&) = delete;
    OWN_WAIT& operator=(const OWN_WAIT&) = delete;
    ~OWN_WAIT() { m_Watcher.NoteOwnWait(false); }

private:
    WAIT_WATCHER& m_Watcher;
};

} // namespace BM_ADAPTOR
