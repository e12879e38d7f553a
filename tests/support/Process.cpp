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

struct BackgroundProcess::Handle {
    Poco::ProcessHandle process;
    bool ended = false;
    int exitCode = 0;
};

BackgroundProcess::BackgroundProcess(const std::string& program,
                                     const std::vector<std::string>& arguments,
                                     const std::map<std::string, std::string>& environment)
    : _handle(new Handle{
          Poco::Process::launch(program, arguments, nullptr, nullptr, nullptr, environment)}) {}

BackgroundProcess::~BackgroundProcess() {
    try {
        if (!_handle->ended) {
            Kill();
            Wait();
        }
    } catch (...) {
        // it ended between the question and the kill
    }
    delete _handle;
}

int BackgroundProcess::Id() const {
    return static_cast<int>(_handle->process.id());
}

bool BackgroundProcess::IsRunning() {
    if (!_handle->ended) {
        // Not Poco::Process::isRunning, which counts an ended child that nobody waited for as
        // running.
        const int exitCode = Poco::Process::tryWait(_handle->process);
        _handle->ended = exitCode != -1;
        _handle->exitCode = exitCode;
    }
    return !_handle->ended;
}

void BackgroundProcess::Kill() {
    Poco::Process::kill(_handle->process);
}

int BackgroundProcess::Wait() {
    if (!_handle->ended) {
        _handle->exitCode = _handle->process.wait();
        _handle->ended = true;
    }
    return _handle->exitCode;
}

}  // namespace morvel::test
