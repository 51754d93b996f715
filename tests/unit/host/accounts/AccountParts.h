// What the tests of accounts share.
#pragma once

#include "host/TestFolder.h"
#include "host/accounts/AccountFile.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

/// A hash that a real one looks like; no password leads to it.
inline std::string SomeHash(char letter = 'a') {
    return "$y$j9T$" + std::string(22, letter) + "$" + std::string(43, letter);
}

inline bmhost::Account SomeAccount(const std::string& name, bmhost::Role role = bmhost::Role::Operator) {
    return {name, role, SomeHash()};
}

inline std::string TextIn(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

inline void WriteFile(const std::string& path, const std::string& text, mode_t mode = 0600) {
    std::ofstream(path) << text;
    chmod(path.c_str(), mode);
}

/// The text of the error that the call throws; "no error" when it throws none.
template <typename Called>
std::string ErrorOf(Called called) {
    try {
        called();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}
