#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Poco {
class ProcessHandle;
}

namespace morvel::test {

struct ProcessResult {
    /// As the process gave it; 256 + signal off Windows if a signal ended it.
    int exitCode;
    /// What it wrote to its standard output and its standard error stream, as it came.
    std::string output;
};

/// Runs a program to its end. `environment` is added to this process's own. A program that can't be
/// started throws on Windows, and ends with exit code 72 elsewhere.
ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {});

/// A program that runs beside the test; killed, if nobody has waited for its end, with the object.
class BackgroundProcess {
public:
    BackgroundProcess(const std::string& program, const std::vector<std::string>& arguments);
    BackgroundProcess(const BackgroundProcess&) = delete;
    BackgroundProcess& operator=(const BackgroundProcess&) = delete;
    ~BackgroundProcess();

    void Kill();

    /// Until it has ended; its exit code as in ProcessResult. REQUIRES: the first call.
    int Wait();

private:
    std::unique_ptr<Poco::ProcessHandle> _process;
    bool _ended = false;
};

}  // namespace morvel::test
