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

BackgroundProcess::BackgroundProcess(const std::string& program,
                                     const std::vector<std::string>& arguments)
    : _process(new Poco::ProcessHandle(Poco::Process::launch(program, arguments))) {}

BackgroundProcess::~BackgroundProcess() {
    try {
        if (!_ended) {
            Kill();
            Wait();
        }
    } catch (...) {
        // it ended by itself in front of the kill
    }
}

void BackgroundProcess::Kill() {
    // By its number: POCO closes the handle that it kills by, and nothing could be waited for.
    Poco::Process::kill(_process->id());
}

int BackgroundProcess::Wait() {
    _ended = true;
    return _process->wait();
}

}  // namespace morvel::test
