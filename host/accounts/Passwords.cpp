// Passwords and their hashes: libcrypt's yescrypt.
#include "host/accounts/Passwords.h"

#include "host/accounts/ConstantTime.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <crypt.h>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace bmhost {

namespace {

constexpr const char* Method = "$y$";
// libcrypt's own default, written down: an unknown account must go on costing the same as a known one.
constexpr unsigned long Cost = 5;
constexpr std::string_view MethodAndCost = "$y$j9T$";
constexpr std::size_t MostSalt = 86;
constexpr std::size_t HashSize = 43;
static_assert(LongestPassword < CRYPT_MAX_PASSPHRASE_SIZE);

constexpr std::string_view HashLetters = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Passwords do not stay in memory that somebody else gets.
struct Wipe {
    void operator()(crypt_data* data) const {
        explicit_bzero(data, sizeof *data);
        delete data;
    }
};

// Empty when libcrypt refuses.
std::string Crypt(const std::string& password, const std::string& setting) {
    const std::unique_ptr<crypt_data, Wipe> data(new crypt_data{});
    const char* hash = crypt_rn(password.c_str(), setting.c_str(), data.get(), sizeof *data);
    return hash == nullptr ? std::string() : std::string(hash);
}

} // namespace

void CheckPassword(std::string_view password) {
    if (password.size() < ShortestPassword)
        throw PasswordError("the password has " + std::to_string(password.size()) + " bytes: at least " +
                            std::to_string(ShortestPassword) + " are expected, since shorter ones are soon guessed");
    if (password.size() > LongestPassword)
        throw PasswordError("the password has " + std::to_string(password.size()) + " bytes: at most " +
                            std::to_string(LongestPassword) + " are expected");
    const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    if (std::ranges::any_of(password, isControl))
        throw PasswordError("the password has a control character in it, which no form or prompt can send");
}

std::string HashOfPassword(const std::string& password) {
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> setting{};
    if (crypt_gensalt_rn(Method, Cost, nullptr, 0, setting.data(), static_cast<int>(setting.size())) == nullptr)
        throw std::runtime_error(std::string("no salt for the password: ") + std::strerror(errno));
    std::string hash = Crypt(password, setting.data());
    if (!IsPasswordHash(hash))
        throw std::runtime_error(std::string("no hash of the password: ") + std::strerror(errno));
    return hash;
}

const std::string& HashOfNobody() {
    // A salt as long as every other, and the hash of no password: nobody knows a text that leads to it.
    static const std::string hash =
        std::string(MethodAndCost) + std::string(22, '.') + "$" + std::string(HashSize, '.');
    return hash;
}

bool IsPasswordHash(std::string_view hash) {
    if (!hash.starts_with(MethodAndCost)) return false;
    hash.remove_prefix(MethodAndCost.size());
    const auto end = hash.find('$');
    if (end == std::string_view::npos || end == 0 || end > MostSalt) return false;
    const std::string_view salt = hash.substr(0, end);
    const std::string_view rest = hash.substr(end + 1);
    return salt.find_first_not_of(HashLetters) == std::string_view::npos && rest.size() == HashSize &&
           rest.find_first_not_of(HashLetters) == std::string_view::npos;
}

bool PasswordMatches(const std::string& password, const std::string& hash) {
    const std::string given = Crypt(password, hash);
    return !given.empty() && SameSecret(given, hash);
}

} // namespace bmhost
