// A command that another program carries out.
#include "host/context/OtherProgram.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

std::string FileOf(const std::string& program) {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& candidate : {folder / program, folder.parent_path() / "sbin" / program}) {
        if (std::filesystem::exists(candidate, error)) return candidate;
    }
    return (folder / program).string();
}

} // namespace

void BecomeProgram(const std::string& name, std::vector<std::string> words) {
    const std::string file = FileOf(name);
    words.insert(words.begin(), name);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(file.c_str(), arguments.data());
    const int error = errno;
    throw std::runtime_error(file + ": " + std::strerror(error) +
                             (error == ENOENT ? "; is " + name + " installed?" : ""));
}

} // namespace bmhost
