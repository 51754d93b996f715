// All commands of one place, and the reading of a line.
#pragma once

#include "host/words/Command.h"

#include <memory>
#include <string>
#include <vector>

namespace bmhost {

/// A line that was read: a command whose values are set, or a help or version to show in its stead.
struct Line {
    const Command* m_command = nullptr;
    std::string m_answer;
};

class Commands {
public:
    explicit Commands(Place place);
    Commands(const Commands&) = delete;
    Commands& operator=(const Commands&) = delete;
    ~Commands();

    /// Registers a command. One that is not known in this place is kept, and refused by name.
    /// @param places  Place values, or-ed
    Command& Add(const std::string& name, const std::string& summary, unsigned places);
    /// Options that every command takes.
    Command& Root() { return *m_root; }
    const Command& Root() const { return *m_root; }
    Place Where() const { return m_place; }

    /// Reads a line. Throws UsageError saying what was expected.
    Line Read(const std::vector<std::string>& words);

    /// The help of a command, "led set", or without a name that of all. Throws UsageError for an unknown one.
    std::string Help(const std::vector<std::string>& path) const;

private:
    struct Apps;

    std::string Help() const;
    std::string List() const;
    std::string NamesOrList() const;
    std::vector<std::string> Arranged(const std::vector<std::string>& words) const;
    const Command* Chosen() const;
    [[noreturn]] void Refuse(const std::string& reason) const;
    [[noreturn]] void RefuseWord(const Command& family, const std::string& word) const;
    [[noreturn]] void RefuseOption(const Command* command, const std::string& word) const;

    Place m_place;
    std::unique_ptr<Apps> m_apps;
    std::unique_ptr<Command> m_root;
    std::unique_ptr<Command> m_elsewhere;
};

} // namespace bmhost
