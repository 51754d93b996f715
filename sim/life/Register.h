// The register of a user's running blades: by it another terminal finds a blade by its name.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace bladesim {

struct RunningBlade {
    std::string m_name;
    std::string m_blade;                ///< the blade file's name
    std::vector<std::string> m_command; ///< what runs in it
    pid_t m_process = -1;               ///< process 1 of the blade, as it is known outside
};

/// The folder of the register: for its user only. Makes it when it is not there yet. Throws a BladeError when there is
/// none that nobody else could have written to. The last blade that ends removes it, but not from /tmp.
std::string RegisterFolder();

/// Those that run, by their names.
std::vector<RunningBlade> RunningBlades(const std::string& folder);

/// A name that makes a good one: letters, digits, dot, dash and underscore, 64 at most, no dot or dash at the
/// beginning.
bool IsBladeName(const std::string& name);

/// A place in the register, held as long as this process and this object live: the lock on the entry says that the
/// blade runs, so a killed one's entry means nothing.
class Registration {
public:
    /// Holds no place.
    Registration() = default;
    Registration(Registration&&) = default;
    Registration& operator=(Registration&&) = delete;
    ~Registration();

    /// Takes the first of name, name-2, name-3… that no running blade has.
    static Registration Any(const std::string& folder, const std::string& name);
    /// Takes this name. Throws a BladeError that tells who has it.
    static Registration Exactly(const std::string& folder, const std::string& name);

    const std::string& Name() const { return m_name; }
    /// Writes the entry, from when on the blade can be found. Does nothing without a place.
    void Enter(const RunningBlade& blade) const;

private:
    Registration(const std::string& folder, const std::string& name);

    std::string m_name; ///< empty: no place
    std::string m_path;
    bm_dev::UniqueFd m_entry;
};

} // namespace bladesim
