// A fake host behind the real server, on a socket in a folder of its own.
#pragma once

#include "Client.h"
#include "FakeHost.h"

#include "host/TestFolder.h"
#include "host/api/Server.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>

class ServedHost {
public:
    explicit ServedHost(const bmhost::ApiLimits& limits = {}, bmhost::MakeUploadSink makeSink = {},
                        std::size_t ring = 1000);
    ~ServedHost();
    ServedHost(const ServedHost&) = delete;
    ServedHost& operator=(const ServedHost&) = delete;

    FakeHost& Host() { return m_host; }
    const std::string& Folder() const { return m_folder.Path(); }
    const std::string& Socket() const { return m_socket; }
    Client Connect() const { return Client(m_socket); }
    /// Asks anew until the path's answer has this status.
    bool ComesTo(const std::string& path, int status) const;
    /// Ends the server; the fake host lives on.
    void Stop();
    /// Whoever is still in its queue gets an end.
    void CloseSocket();
    int Turns() const { return m_turns; }

private:
    FakeHost m_host;
    const TestFolder m_folder;
    std::string m_socket;
    int m_listening;
    std::atomic<int> m_turns{0};
    std::unique_ptr<bmhost::ApiServer> m_server;
    std::thread m_thread;
};

/// A socket that listens at the path.
int ListenAt(const std::string& path);

/// Keeps images as files in the folder, for tests. Its "hash" is the image's size.
bmhost::MakeUploadSink FilesIn(const std::string& folder);
