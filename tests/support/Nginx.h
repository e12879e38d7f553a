#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>

namespace morvel::test {

/// An nginx of the test's own, on loopback and a port that was free, with its configuration, its
/// logs and its pages in a folder of its own. It runs from construction to destruction.
class Nginx {
public:
    static bool IsInstalled();

    /// `server` stands in the server block, which serves the files under "www" of Folder() already.
    /// Throws std::runtime_error, with what nginx says, if it doesn't come up.
    explicit Nginx(const std::string& server);

    /// Full URL of a target that begins with '/'.
    std::string Url(const std::string& target) const;
    const TemporaryFolder& Folder() const { return _folder; }

private:
    bool _start(const std::string& server);

    TemporaryFolder _folder;  // goes after the process
    std::uint16_t _port = 0;
    std::unique_ptr<BackgroundProcess> _process;
};

}  // namespace morvel::test
