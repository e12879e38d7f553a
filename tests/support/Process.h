#pragma once

#include <map>
#include <string>
#include <vector>

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

}  // namespace morvel::test
