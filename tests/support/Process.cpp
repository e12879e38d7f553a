#include <tests/support/Process.h>

#include <cstdlib>
#include <iterator>
#include <sstream>

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/StreamCopier.h>

namespace morvel::test {

Poco::ProcessHandle StartProcess(const std::string& program,
                                 const std::vector<std::string>& arguments,
                                 const std::map<std::string, std::string>& environment,
                                 Poco::Pipe* output) {
    const char* const launcher = std::getenv("MORVEL_TEST_LAUNCHER");
    std::istringstream front(launcher == nullptr ? "" : launcher);
    std::vector<std::string> words(std::istream_iterator<std::string>(front), {});
    words.push_back(program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Poco::Process::launch(words[0], {words.begin() + 1, words.end()}, nullptr, output,
                                 output, environment);
}

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment) {
    Poco::Pipe output;
    const Poco::ProcessHandle handle = StartProcess(program, arguments, environment, &output);
    Poco::PipeInputStream in(output);
    ProcessResult result;
    Poco::StreamCopier::copyToString(in, result.output);
    result.exitCode = handle.wait();
    return result;
}

}  // namespace morvel::test
