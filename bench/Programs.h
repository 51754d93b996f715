// For benchmarks: the product's programs, started and watched from outside.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

using Words = std::vector<std::string>;

/// Says why, and ends this program with status 1.
[[noreturn]] void Fail(const std::string& reason);

/// Starts a program whose output nobody reads.
pid_t Started(const Words& words);
/// Waits for its end.
int StatusOf(pid_t child);
/// Status 2 and above is a failure.
void Ran(const Words& words);

/// Memory of its own (RssAnon), in KiB.
uint64_t AnonymousMemoryOf(pid_t process);

/// A program that is ended with this object.
class Program {
public:
    explicit Program(const Words& words) : m_process(Started(words)) {}
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// In KiB.
    uint64_t AnonymousMemory() const { return AnonymousMemoryOf(m_process); }

private:
    const pid_t m_process;
};

} // namespace bench
