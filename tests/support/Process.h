#pragma once

#include <map>
#include <string>
#include <vector>

namespace Poco {
class Pipe;
class ProcessHandle;
}  // namespace Poco

namespace morvel::test {

struct ProcessResult {
    /// As the process gave it; 256 + signal off Windows if a signal ended it.
    int exitCode;
    /// What it wrote to its standard output and its standard error stream, as it came.
    std::string output;
};

/// Starts a program; one of another processor by what MORVEL_TEST_LAUNCHER has, words with a blank
/// between them. `environment` is added to this process's own; what the program writes goes to
/// `output` if that isn't null. One that can't be started throws on Windows, and ends with exit
/// code 72 elsewhere.
Poco::ProcessHandle StartProcess(const std::string& program,
                                 const std::vector<std::string>& arguments,
                                 const std::map<std::string, std::string>& environment = {},
                                 Poco::Pipe* output = nullptr);

/// Runs a program to its end, started as by StartProcess.
ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {});

}  // namespace morvel::test
