// A client that speaks TLS, and certificates for the server that it speaks to.
#pragma once

#include "Client.h"

#include "host/http/Server.h"

#include <gnutls/gnutls.h>

#include <string>

/// A new key, and a certificate for it that nobody else has signed.
/// @param name  its common name
bmhost::Tls MakeTls(const std::string& name);

class TlsClient : public Client {
public:
    /// Throws std::runtime_error when there is no handshake.
    explicit TlsClient(uint16_t port, const char* priorities = "NORMAL");
    ~TlsClient() override;

    /// The common name in the server's certificate.
    std::string ServerName() const;

protected:
    ssize_t Write(const char* bytes, std::size_t size) const override;
    ssize_t ReadByte(char& byte) const override;

private:
    gnutls_certificate_credentials_t m_credentials = nullptr;
    gnutls_session_t m_session = nullptr;
};
