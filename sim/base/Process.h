// Starts programs and says how they ended.
#pragma once

#include <array>
#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bladesim {

// What a shell reports for a program that cannot be started.
constexpr int CommandNotExecutable = 126;
constexpr int CommandNotFound = 127;
constexpr int SignalBase = 128;

/// Becomes a program, looked for in PATH, with these descriptors for standard input, output and error. It gets default
/// signal handling, with nothing blocked. When it cannot be executed, this process says so on standard error and ends
/// with 126 or 127.
[[noreturn]] void Execute(const std::vector<std::string>& command, const std::array<int, 3>& standardFds = {0, 1, 2});

/// Starts a child that does so.
pid_t Spawn(const std::vector<std::string>& command, const std::array<int, 3>& standardFds = {0, 1, 2});

/// Whether a program of this name would be found.
bool IsInPath(const std::string& program);

/// A program's status as a shell reports it: its own, or 128 plus the number of the signal that ended it.
int ExitStatus(int waitStatus);

/// "status 1", "signal 11 (Segmentation fault)".
std::string DescribeEnd(int waitStatus);

} // namespace bladesim
