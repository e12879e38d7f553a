#include <tests/support/Process.h>

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/StreamCopier.h>

namespace morvel::test {

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment) {
    Poco::Pipe output;
    const Poco::ProcessHandle handle =
        Poco::Process::launch(program, arguments, nullptr, &output, &output, environment);
    Poco::PipeInputStream in(output);
    ProcessResult result;
    Poco::StreamCopier::copyToString(in, result.output);
    result.exitCode = handle.wait();
    return result;
}

}  // namespace morvel::test
