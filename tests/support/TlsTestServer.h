#pragma once

#include <tests/support/TestServer.h>

namespace morvel::test {

/// As TestServer, but over TLS, under the name "localhost" and with a certificate of that name
/// which is made at construction and which nobody else has signed. Url() begins with
/// "https://localhost".
class TlsTestServer : public TestServer {
public:
    TlsTestServer();
};

}  // namespace morvel::test
