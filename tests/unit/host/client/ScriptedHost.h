// A resident host whose every answer is a script: for what a client makes of good and bad ones.
#pragma once

#include "host/TestFolder.h"
#include "host/client/HostClient.h"

#include "bm_dev/UniqueFd.h"

#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// The host's end of one connection.
class Peer {
public:
    explicit Peer(int socket) : m_socket(socket) {}

    /// The next request, with its body; empty when the client has closed the connection.
    std::string Request();
    void Send(const std::string& bytes);
    /// Until the client has closed it.
    void AwaitEnd();
    /// Ends the waiting of the other two, on any thread.
    void Cut();

private:
    bm_dev::UniqueFd m_socket;
    std::string m_read;
};

/// A folder that goes with it, which BLADESIM_RUN_DIR names meanwhile.
class HostRunFolder {
public:
    HostRunFolder();
    HostRunFolder(const HostRunFolder&) = delete;
    HostRunFolder& operator=(const HostRunFolder&) = delete;
    ~HostRunFolder();

    const std::string& Path() const { return m_folder.Path(); }

private:
    const TestFolder m_folder;
};

/// Listens in a run folder of its own, which the process's commands find as their blade's.
class ScriptedHost {
public:
    using Script = std::function<void(Peer&)>;

    /// @param scripts  of the connections in their order; the last one stands for all later ones
    explicit ScriptedHost(std::vector<Script> scripts);
    ScriptedHost(const ScriptedHost&) = delete;
    ScriptedHost& operator=(const ScriptedHost&) = delete;
    ~ScriptedHost();

    bmhost::HostPlace Place() const { return {m_folder.Path()}; }
    /// No longer: its socket stays, and refuses.
    void Die();

private:
    void Listen(const std::vector<Script>& scripts);

    std::vector<Script> m_scripts;
    HostRunFolder m_folder;
    bm_dev::UniqueFd m_listening;
    std::mutex m_guard;
    std::list<Peer> m_peers;
    std::list<std::thread> m_threads;
    std::thread m_listener;
};

/// A whole answer: "HTTP/1.1 200 OK", with the length of its body.
std::string JsonAnswer(unsigned status, const std::string& body);
/// Reads requests and answers each of them so.
ScriptedHost::Script Always(const std::string& answer);
