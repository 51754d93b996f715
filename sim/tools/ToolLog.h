// How the tools were called, in a file of the run folder: a line of JSON when a tool begins, and one when it ends.
//
//     {"number":1,"tool":"mavk_init","argv":["/usr/korvel/bin/mavk_init","-v"],"process":57,"clock_ms":81234.567}
//     {"number":1,"process":57,"exit":0,"signal":null,"clock_ms":81236.012}
//
// The clock is the machine's monotonic one.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace bladesim {

/// One run of a tool.
class ToolRun {
public:
    /// Gives it the next number and enters its beginning; throws a BladeError.
    ToolRun(std::string runFolder, const std::string& tool, const std::vector<std::string>& arguments);

    /// Enters its end: by this signal, or with this status when there is none.
    void End(int exit, int signal) const;

    unsigned Number() const { return m_number; }

private:
    std::string m_runFolder;
    unsigned m_number = 0;
};

/// All runs by their numbers, with beginning and end joined: number, tool, argv, process, start_ms, end_ms, exit,
/// signal. Times count from the beginning of the first run; what is not known yet is null. Throws a BladeError.
nlohmann::ordered_json ReadToolLog(const std::string& runFolder);

/// Forgets all runs; the next one has number 1. The end of one that is still under way is ignored.
void ClearToolLog(const std::string& runFolder);

} // namespace bladesim
