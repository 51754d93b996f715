// A resident host whose picture, events and answers a test says, at a socket of its own.
#pragma once

#include "host/client/ScriptedHost.h"
#include "host/picture/Picture.h"
#include "host/picture/Statistics.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// On any thread, except for what says otherwise.
class ScriptedBlade {
public:
    ScriptedBlade();
    ~ScriptedBlade();
    ScriptedBlade(const ScriptedBlade&) = delete;
    ScriptedBlade& operator=(const ScriptedBlade&) = delete;

    bmhost::HostPlace Place() const { return m_host->Place(); }
    void Show(bmhost::Picture picture);
    /// A host that has not been given any counts is one that does not count.
    void Count(const bmhost::Statistics& counts);
    /// To whoever follows; those who come later get it, too.
    void Tell(const std::string& kind, const std::string& data);
    /// What other requests are answered with; called on the connection's thread.
    void AnswerWith(std::function<std::string(const std::string& request)> answer);
    /// Answers 503 for the picture, or gives it again.
    void BeIll(bool ill);
    void Die();

    /// The requests so far whose first line begins so.
    std::vector<std::string> Requests(const std::string& beginning) const;
    /// Waits until there are that many; false after half a minute.
    bool Awaits(const std::string& beginning, std::size_t count);

private:
    void Serve(Peer& peer);
    void ServeEvents(Peer& peer);
    std::string AnswerTo(const std::string& request);

    mutable std::mutex m_guard;
    std::condition_variable m_changed;
    std::string m_picture;
    std::string m_counts;
    bool m_ill = false;
    bool m_ending = false;
    std::vector<std::string> m_events;
    std::vector<std::string> m_requests;
    std::function<std::string(const std::string&)> m_answer;
    std::unique_ptr<ScriptedHost> m_host; // last, since its threads use the other members
};
