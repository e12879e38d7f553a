#include <tests/support/TlsTestServer.h>

#include <memory>
#include <stdexcept>

#include <Poco/Net/Context.h>
#include <Poco/Net/SecureServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

namespace morvel::test {

namespace {

struct Free {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
};

// Gives `context` a key and a certificate for "localhost" that vouches for itself.
bool _useOwnCertificate(SSL_CTX* context) {
    const std::unique_ptr<EVP_PKEY, Free> key(EVP_EC_gen("P-256"));
    const std::unique_ptr<X509, Free> certificate(X509_new());
    if (key == nullptr || certificate == nullptr) {
        return false;
    }
    X509* const it = certificate.get();
    X509_NAME* const name = X509_get_subject_name(it);
    const auto* const host = reinterpret_cast<const unsigned char*>("localhost");
    return X509_gmtime_adj(X509_getm_notBefore(it), -3600) != nullptr &&
           X509_gmtime_adj(X509_getm_notAfter(it), 86400) != nullptr &&
           X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, host, -1, -1, 0) != 0 &&
           X509_set_issuer_name(it, name) != 0 && X509_set_pubkey(it, key.get()) != 0 &&
           X509_sign(it, key.get(), EVP_sha256()) != 0 &&
           SSL_CTX_use_certificate(context, it) == 1 &&
           SSL_CTX_use_PrivateKey(context, key.get()) == 1;
}

Poco::Net::ServerSocket _secureLoopback() {
    const Poco::Net::Context::Ptr context(new Poco::Net::Context(
        Poco::Net::Context::TLS_SERVER_USE, "", "", "", Poco::Net::Context::VERIFY_NONE));
    if (!_useOwnCertificate(context->sslContext())) {
        throw std::runtime_error("no certificate for the test server");
    }
    return Poco::Net::SecureServerSocket(Poco::Net::SocketAddress("127.0.0.1", 0), 64, context);
}

}  // namespace

TlsTestServer::TlsTestServer() : TestServer(_secureLoopback(), "https://localhost") {}

}  // namespace morvel::test
