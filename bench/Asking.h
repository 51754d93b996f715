// For benchmarks: a client that asks over HTTP and waits, and the resident host that it asks.
#pragma once

#include "bench/Programs.h"
#include "bm_dev/UniqueFd.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace bench {

/// A connection that is used further. What is no answer of 200 is a failure.
class Asking {
public:
    /// At the resident host's socket.
    Asking();
    /// At a port of this machine.
    explicit Asking(uint16_t port);

    bool Connected() const { return m_connected; }
    /// The body of the answer.
    std::string Get(const std::string& path);
    std::string Post(const std::string& path, const std::string& body);

private:
    std::string Answer(const std::string& request);
    void ReadOn();

    bm_dev::UniqueFd m_socket;
    bool m_connected = false;
    std::string m_read;
};

/// A part of the resident host's picture.
nlohmann::json Part(const std::string& name);
/// Gives the host orders until it keeps as many news, requests and lines of its log as it ever keeps.
void FillTheRings();
/// Has a LED of the blade's on, or off.
void SetLed(Asking& host, bool on);

/// The resident host, from its Init's end.
class Host {
public:
    explicit Host(const Words& options);

    /// In KiB.
    uint64_t AnonymousMemory() const { return m_program.AnonymousMemory(); }

private:
    Program m_program;
};

} // namespace bench
