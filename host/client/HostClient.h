// The client's end of the resident host's socket.
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace bmhost {

struct Elsewhere;

/// Where lock and socket of this blade's resident host are: the simulated blade's run folder, /run/bmhost otherwise. Of
/// a blade elsewhere where its web door is.
struct HostPlace {
    std::string m_folder;
    std::shared_ptr<const Elsewhere> m_elsewhere{};
    std::string Socket() const { return m_folder + "/bmhost.sock"; }
    std::string Lock() const { return m_folder + "/bmhost.lock"; }
    /// The socket's path, or the door's URL.
    std::string Text() const;
};
HostPlace PlaceOfHost();

/// The end of a connection: where it is, and the process that the kernel names for it (0: unknown).
struct HostEnd {
    HostPlace m_place;
    int32_t m_process = 0;
};

struct HostAnswer {
    unsigned m_status = 0;
    nlohmann::ordered_json m_body;
};

/// One connection, used by one thread at a time. Every member throws TimeUpError (exit status 5) when its time is up
/// and std::runtime_error when the host goes away or answers what is no answer.
class HostClient {
public:
    /// Nothing when no resident host has the blade. Throws std::runtime_error when one has it and it may not be asked.
    /// @param timeout  for each answer; none: without a limit
    static std::unique_ptr<HostClient> Connect(std::optional<std::chrono::milliseconds> timeout);
    /// The same at this place. A blade elsewhere always has one: throws what host/connect throws when it cannot be
    /// reached or may not be asked.
    static std::unique_ptr<HostClient> ConnectAt(const HostPlace& place,
                                                 std::optional<std::chrono::milliseconds> timeout);
    virtual ~HostClient() = default;

    /// For whom the next requests are made: "anna (192.0.2.7)"; nobody: for this process's user.
    virtual void SpeakFor(const std::string& /*account*/) {}

    virtual HostAnswer Get(const std::string& path) = 0;
    virtual HostAnswer Post(const std::string& path, const nlohmann::json& body) = 0;
    /// Sends the file's bytes. @param progress  called with the bytes sent so far
    virtual HostAnswer PostFile(const std::string& path, int descriptor, uint64_t size,
                                const std::function<void(uint64_t sent)>& progress) = 0;

    struct ServerEvent {
        uint64_t m_id = 0;
        std::string m_kind;
        std::string m_data;
        int32_t m_process = 0; ///< of the host that sent it (0: unknown)
    };
    /// Reads events after this id until the reader returns false; reconnects by itself where the stream breaks.
    /// @param output  where the reader writes to, or -1: throws std::system_error as soon as nobody reads that pipe
    virtual void Events(uint64_t after, const std::function<bool(const ServerEvent&)>& reader, int output = -1) = 0;

    virtual HostEnd End() const { return {}; }
};

} // namespace bmhost
