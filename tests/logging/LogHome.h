#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>

namespace morvel::test {

/// The text of a log file; every line ends in "\n", whatever the platform writes.
inline std::string ReadLog(const std::filesystem::path& file) {
    std::string text;
    if (std::filesystem::is_regular_file(file)) {
        text.resize(std::filesystem::file_size(file));
        std::ifstream(file, std::ios::binary)
            .read(text.data(), static_cast<std::streamsize>(text.size()));
    }
    for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos; ++at) {
        text.erase(at, 1);
    }
    return text;
}

/// A log folder for the programs that a test starts, empty at the start: their own one where the
/// environment decides which it is, else the user's.
class LogHome {
public:
    /// `probe` is a program that prints its application-data folder when called with "where".
    explicit LogHome(const std::string& probe) : _probe(probe) {
        _environment["XDG_DATA_HOME"] = _root.File("data");
        std::filesystem::create_directory(_root.File("data"));
        _folder = std::filesystem::u8path(Run({"where"}).output) / "Tarnwick Software";
        std::filesystem::remove_all(_folder);
    }

    /// Switches the log on, with what the file holds already.
    void Arm(const std::string& content = "") {
        std::filesystem::create_directories(_folder);
        std::ofstream(_folder / "morvel.log", std::ios::binary) << content;
    }

    ProcessResult Run(const std::vector<std::string>& arguments) const {
        return RunProcess(_probe, arguments, _environment);
    }

    const std::map<std::string, std::string>& Environment() const { return _environment; }
    const std::filesystem::path& Folder() const { return _folder; }
    std::filesystem::path File(const std::string& name = "morvel.log") const {
        return _folder / name;
    }
    std::string Log() const { return ReadLog(File()); }

private:
    TemporaryFolder _root;
    std::string _probe;
    std::map<std::string, std::string> _environment;
    std::filesystem::path _folder;
};

}  // namespace morvel::test
