#include <tests/support/TlsTestServer.h>

#include <stdexcept>

#include <Poco/Net/Context.h>
#include <Poco/Net/SecureServerSocket.h>
#include <Poco/Net/SocketAddress.h>

#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>

namespace morvel::test {

namespace {

Poco::Net::ServerSocket _secureLoopback() {
    const TemporaryFolder folder;
    const std::string key = folder.File("key.pem");
    const std::string certificate = folder.File("certificate.pem");
    const ProcessResult made = RunProcess(
        "openssl", {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                    "-nodes", "-keyout", key, "-out", certificate, "-days", "2", "-subj",
                    "/CN=localhost", "-addext", "subjectAltName=DNS:localhost"});
    if (made.exitCode != 0) {
        throw std::runtime_error("openssl made no certificate: " + made.output);
    }
    const Poco::Net::Context::Ptr context(new Poco::Net::Context(
        Poco::Net::Context::TLS_SERVER_USE, key, certificate, "", Poco::Net::Context::VERIFY_NONE));
    return Poco::Net::SecureServerSocket(Poco::Net::SocketAddress("127.0.0.1", 0), 64, context);
}

}  // namespace

TlsTestServer::TlsTestServer() : TestServer(_secureLoopback(), "https://localhost") {}

}  // namespace morvel::test
