#include <morvel/files/FileTools.h>

#include <system_error>

#include <morvel/base/NException.h>
#include <morvel/files/WholeFile.h>
#include <morvel/platform/platform.h>

namespace {

// Throws the member of the family that stands for `error`, if it is one.
void _check(const std::error_code& error, const NPath& path, bool toWrite) {
    if (!error) return;
    const std::string& name = path.Data();
    if (error == std::errc::no_such_file_or_directory && !toWrite) {
        throw KelFileNotFoundException(name, 0);
    }
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
        throw KelPathNotFoundException(name, 0);
    }
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted) {
        throw KelFileAccessDeniedException(name, 0);
    }
    if (error == std::errc::read_only_file_system) throw KelFileReadOnlyException(name, 0);
    if (error == std::errc::is_a_directory) throw KelOpenFileException(name, 0);
    throw KelFileException(name + ": " + error.message(), 0);
}

}  // namespace

std::filesystem::path morvel::ToStdPath(const NPath& path) {
    if constexpr (std::is_same_v<std::filesystem::path::value_type, char>) {
        NString name(path);
        name.ConvertTo(EncodingUTF8);
        return name.Data();
    } else {
        return platform::NativeFileName(path.Wide());
    }
}

NPath morvel::FromStdPath(const std::filesystem::path& path) {
    return NString(path.native());
}

std::string morvel::ReadFile(const NPath& path) {
    std::string bytes;
    _check(ReadWholeFile(ToStdPath(path), &bytes), path, false);
    return bytes;
}

void morvel::WriteFile(const NPath& path, std::string_view bytes) {
    std::error_code error;
    std::filesystem::path name = ToStdPath(path);
    if (std::filesystem::is_symlink(name, error)) {
        name = std::filesystem::weakly_canonical(name, error);
        _check(error, path, true);
    }
    _check(ReplaceContents(name, bytes), path, true);
}

void morvel::Rename(const NPath& from, const NPath& to) {
    _check(platform::Rename(ToStdPath(from), ToStdPath(to)), from, false);
}
