// Passwords and their hashes: libcrypt's yescrypt.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace bmhost {

/// Shorter ones are found by trying, however slow each try is made.
constexpr std::size_t ShortestPassword = 8;
/// What yescrypt takes, with room left.
constexpr std::size_t LongestPassword = 256;

/// A text that can be no password.
class PasswordError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws PasswordError that says what is wrong: too short, too long, or a control character in it.
void CheckPassword(std::string_view password);

/// A hash with a salt of its own. Takes tens of milliseconds and 16 MiB, deliberately. Throws std::runtime_error.
std::string HashOfPassword(const std::string& password);
/// The hash of no password at all; comparing with it costs what comparing with any other does.
const std::string& HashOfNobody();
/// Whether it looks like one that HashOfPassword has made, down to its length.
bool IsPasswordHash(std::string_view hash);
/// As slow as HashOfPassword, whether it matches or not.
bool PasswordMatches(const std::string& password, const std::string& hash);

} // namespace bmhost
