#pragma once

#include <Poco/Exception.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>

#include <tests/support/Test.h>

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
inline Poco::ProcessHandle StartProcess(const std::string& program,
                                        const std::vector<std::string>& arguments,
                                        const std::map<std::string, std::string>& environment = {},
                                        Poco::Pipe* output = nullptr) {
    const char* const launcher = std::getenv("MORVEL_TEST_LAUNCHER");
    std::istringstream front(launcher == nullptr ? "" : launcher);
    std::vector<std::string> words(std::istream_iterator<std::string>(front), {});
    words.push_back(program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Poco::Process::launch(words[0], {words.begin() + 1, words.end()}, nullptr, output,
                                 output, environment);
}

/// Runs a program to its end, started as by StartProcess. What goes wrong beneath is told in full:
/// the what() of POCO's exceptions is the name of their class alone.
inline ProcessResult RunProcess(const std::string& program,
                                const std::vector<std::string>& arguments,
                                const std::map<std::string, std::string>& environment = {}) try {
    Poco::Pipe output;
    const Poco::ProcessHandle handle = StartProcess(program, arguments, environment, &output);
    Poco::PipeInputStream in(output);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    return {handle.wait(), text};
} catch (const Poco::Exception& fault) {
    throw std::runtime_error(fault.displayText());
}

}  // namespace morvel::test
