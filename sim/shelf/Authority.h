// The shelf's certificate authority: made anew for each shelf, it signs the certificate of each blade.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace bladesim {

/// Texts in PEM.
struct SignedKey {
    std::string m_certificate;
    std::string m_key;
};

/// Its key stays in this object's memory. Throws a BladeError.
class Authority {
public:
    Authority();
    ~Authority();
    Authority(const Authority&) = delete;
    Authority& operator=(const Authority&) = delete;

    /// Its own certificate, by which clients trust those that it signs, in PEM.
    const std::string& Certificate() const { return m_certificate; }
    /// For a server with these names and IPv4 addresses, the first of which is its common name.
    SignedKey Sign(const std::vector<std::string>& names) const;

private:
    struct Material;
    std::unique_ptr<const Material> m_own;
    std::string m_certificate;
};

} // namespace bladesim
