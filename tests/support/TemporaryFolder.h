#pragma once

#include <system_error>

#include <tests/support/Test.h>

namespace morvel::test {

inline const bool OnWindows = std::filesystem::path::preferred_separator == '\\';

/// An empty folder of the test's own, which goes with all that is in it at the object's end. Names
/// are UTF-8 and relative to the folder.
///
///     TemporaryFolder folder;
///     folder.Write("a.xml", "<a/>");
///     NXML document;
///     document.LoadFile(NPath(folder.File("a.xml").c_str()), ...);
class TemporaryFolder {
public:
    TemporaryFolder() {
        while (!std::filesystem::create_directory(_path)) _path += '-';  // another one's name
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() {
        std::error_code ignored;  // a leftover in the system's temporary folder is no failure
        std::filesystem::remove_all(_path, ignored);
    }

    const std::filesystem::path& Path() const { return _path; }

    /// Full name of `name` in this folder, native separators, UTF-8.
    std::string File(const std::string& name) const { return _full(name).u8string(); }

    bool Has(const std::string& name) const { return std::filesystem::exists(_full(name)); }

    /// Makes or replaces the file and gives its full name as File does.
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(_full(name), std::ios::binary | std::ios::trunc) << bytes;
        return File(name);
    }

    /// All bytes of the file.
    std::string Read(const std::string& name) const {
        std::ifstream in(_full(name), std::ios::binary);
        if (!in) throw std::runtime_error("can't read " + File(name));
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::filesystem::path _full(const std::string& name) const {
        return _path / std::filesystem::u8path(name);
    }

    std::filesystem::path _path = std::filesystem::temp_directory_path() /
                                  ("morvel-test-" + std::to_string(std::random_device()()));
};

}  // namespace morvel::test
