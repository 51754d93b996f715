// What a controller is asked during a capture, and what it answered: every reply is kept, refusals and short ones too.
#pragma once

#include "sim/base/Bytes.h"
#include "sim/blade/Blade.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {

/// Sends a request (network function, command, data) and returns completion code and data; nullopt: there was no
/// answer.
using AskController = std::function<std::optional<Bytes>(const Bytes&)>;
/// Takes a line for the person who waits.
using Tell = std::function<void(const std::string&)>;

class Conversation {
public:
    Conversation(AskController ask, Tell tell) : m_ask(std::move(ask)), m_tell(std::move(tell)) {}

    /// Asks again when there is no answer. Throws a BladeError that names the controller when it does not answer Get
    /// Device ID either. The reply has a completion code at least.
    Bytes Ask(const Bytes& request);
    /// The same, and keeps what came.
    Bytes AskAndKeep(const Bytes& request);

    void Say(const std::string& line) const { m_tell(line); }

    /// By request.
    const std::map<Bytes, Bytes>& Replies() const { return m_replies; }
    /// What happened to requests that had to be asked again, in the words of a blade file's faults.
    const std::vector<Fault>& Faults() const { return m_faults; }

private:
    struct Outcome {
        Bytes m_reply;
        std::vector<Bytes> m_before; ///< what came instead of an answer
    };

    Bytes AskOnce(const Bytes& request) const;
    Outcome AskUntilAnswered(const Bytes& request) const;
    void KeepFaults(const Bytes& request, const Outcome& outcome);

    AskController m_ask;
    Tell m_tell;
    std::map<Bytes, Bytes> m_replies;
    std::vector<Fault> m_faults;
};

} // namespace bladesim
