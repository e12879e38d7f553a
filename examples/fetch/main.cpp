// Downloads a URL: progress and Ctrl-C through the callbacks of NURL, and a sentence for every end.
#include <csignal>
#include <cstdint>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include <morvel/morvel.h>

#include "CommandLine.h"
#include "Progress.h"
#include "terminal.h"

namespace {

enum Exit { Done = 0, TransferFailed = 1, OutputFailed = 2, Interrupted = 130 };

constexpr std::int32_t StatusCancelled = -2;
constexpr std::int32_t StatusNoOutput = -4;

volatile std::sig_atomic_t _interrupted = 0;

// The first Ctrl-C ends the transfer at the next piece of data, a second one ends the program.
void _onInterrupt(int) {
    _interrupted = 1;
    std::signal(SIGINT, SIG_DFL);
}

bool _isInterrupted(void*) {
    return _interrupted != 0;
}

void _showProgress(std::uint64_t received, std::uint64_t, void* progress) {
    static_cast<Progress*>(progress)->Update(received);
}

std::string _explain(std::int32_t status, std::uint32_t timeout) {
    switch (status) {
        case 1:
            return "The kind of address is not known. Begin it with http:// or https://.";
        case 3:
            return "The address is malformed. Give one like https://host/path.";
        case 5:
            return "The proxy's name is not known. Check the variable https_proxy or http_proxy.";
        case 6:
            return "The host's name is not known. Check its spelling and the network.";
        case 7:
            return "The connection was refused. Check that the server runs and the port is right.";
        case 18:
            return "The server closed the connection before the end. Try again.";
        case 22:
            return "The server answered with an HTTP error. Check the path; --keep-errors shows "
                   "the page that it sent.";
        case 28:
            return "No end within " + std::to_string(timeout) +
                   " s. Try again, or wait longer with --timeout.";
        case 35:
        case 60:
            return "No secure connection could be made. Check that the server speaks TLS under "
                   "this name.";
        case 52:
            return "The server closed the connection without an answer. Try again.";
        case 100:
            return "The transfer library could not be brought up; memory may be short.";
        default:
            return "The transfer failed with status " + std::to_string(status) +
                   " (of libcurl). Check the address and the network.";
    }
}

// False if not every byte could be written.
bool _writeFile(const NString& name, const char* data, std::uint64_t size) {
    const NFile file(name);
    NFileStream stream;
    if (stream.Open(file, NFileStream::ModeWrite) != 0) return false;
    while (size > 0) {
        const int piece = size < (1 << 20) ? static_cast<int>(size) : 1 << 20;
        if (stream.Write(data, piece) != piece) return false;
        data += piece;
        size -= static_cast<std::uint64_t>(piece);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Downloads a URL to the standard output, or to a file.\n"
        "Certificates of servers are not verified: do not trust what comes over https more than "
        "what comes over http.");
    std::string url;
    std::string output;
    std::uint64_t size = 0;
    std::uint32_t timeout = 0xFFFFFFFF;
    bool direct = false;
    bool keepErrors = false;
    app.add_option("url", url, "what to download")->required();
    auto* outputOption = app.add_option("-o,--output", output, "file to write; it is replaced");
    app.add_option("--size", size, "expected size, like 20MiB, for share and remaining time")
        ->transform(CLI::AsSizeValue(false));
    app.add_option("--timeout", timeout, "seconds for the whole transfer (default: no limit)")
        ->check(CLI::Range(1u, 2147483u));
    app.add_flag("--direct", direct,
                 "straight to the file, piece by piece: no memory for the whole, no progress, and "
                 "Ctrl-C ends the program")
        ->needs(outputOption);
    app.add_flag("--keep-errors", keepErrors, "take the page of an HTTP error as a result");
    if (const auto status = CommandLine(argc, argv).Parse(app)) return *status;

    const NPath file(output, EncodingUTF8);
    std::uint32_t flags = 0;
    if (keepErrors) flags |= RequestKeepHttpErrors;
    NURL transfer;
    if (direct) {
        const std::int32_t status = transfer.Request(url, &file, 0, timeout, nullptr, nullptr,
                                                     nullptr, nullptr, flags | RequestToFile);
        if (status == 0) return Done;
        if (status == StatusNoOutput) {
            std::cerr << "The file " << output << " cannot be written. Check folder and rights.\n";
            return OutputFailed;
        }
        std::cerr << _explain(status, timeout) << '\n';
        return TransferFailed;
    }

    std::signal(SIGINT, _onInterrupt);
    Progress progress(size, IsTerminal());
    const std::int32_t status = transfer.Request(url, nullptr, 0, timeout, _isInterrupted, nullptr,
                                                 _showProgress, &progress, flags);
    if (transfer.Size() != 0) progress.Finish(transfer.Size());
    if (status == StatusCancelled) {
        std::cerr << "Interrupted; nothing was written.\n";
        return Interrupted;
    }
    if (status != 0) {
        std::cerr << _explain(status, timeout) << '\n';
        return TransferFailed;
    }
    if (output.empty()) {
        std::cout.write(transfer.Data(), static_cast<std::streamsize>(transfer.Size()));
        std::cout.flush();
        if (!std::cout) {
            std::cerr << "The standard output did not take everything.\n";
            return OutputFailed;
        }
        return Done;
    }
    try {
        const NFile former(file);  // the open modes of NFileStream do not empty it
        if (former.Exists()) former.Remove(false);
    } catch (const NException& e) {
        std::cerr << "The file " << output << " cannot be replaced. " << e.what() << ": "
                  << e.Message() << '\n';
        return OutputFailed;
    }
    if (!_writeFile(file, transfer.Data(), transfer.Size())) {
        std::cerr << "The file " << output
                  << " cannot be written. Check folder, rights and room on the disk.\n";
        return OutputFailed;
    }
    return Done;
}
