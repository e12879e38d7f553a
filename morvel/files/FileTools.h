#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <morvel/files/NPath.h>

/// @file
/// Companions of the files: whole files in one call, and the road to std::filesystem.
///
/// @failure A member of the NException family with the name in its Message:
/// KelFileNotFoundException or KelPathNotFoundException (nothing of that name, or no such folder:
/// systems tell these apart differently), KelFileAccessDeniedException, KelFileReadOnlyException
/// (the file system is), KelOpenFileException (a folder stands there), and KelFileException with
/// the system's reason for the rest. std::bad_alloc where memory runs out.
/// @threads Any thread may call these.
/// @encoding Names as in NFile. Contents are bytes.
/// @cost ReadFile holds the whole file in memory; WriteFile waits for the disk once.
namespace morvel {

/// The path as the standard library takes it, its bytes or units being those under which NFile
/// looks for the file: UTF-8 off Windows, wide there. Throws std::bad_alloc alone.
[[nodiscard]] MORVEL_API std::filesystem::path ToStdPath(const NPath& path);

/// The same the other way. Off Windows the bytes stay as they are, under EncodingSystem; on Windows
/// the result is UTF-8.
[[nodiscard]] MORVEL_API NPath FromStdPath(const std::filesystem::path& path);

/// All bytes of the file, of any size, up to what memory takes. A pipe is read to its end.
[[nodiscard]] MORVEL_API std::string ReadFile(const NPath& path);

/// Makes the file hold `bytes` and nothing else. They are written to a new file in the same folder,
/// flushed to the disk, and renamed over the old one: whatever happens in between, a full disk or
/// the end of the process, the name has the old contents or the new ones, never a part. After a
/// failure the new file is removed; a process that was killed can leave it behind, as
/// `<name>.<number>.new`.
///
/// The permissions of the old file stay, its owner and its other names (hard links) don't. Through
/// a symbolic link the file that it leads to is replaced. What is no file, a device or a pipe, is
/// refused by a KelFileException. The name needs room for six bytes more. Costs one wait for the
/// disk.
MORVEL_API void WriteFile(const NPath& path, std::string_view bytes);

/// Renames a file or a folder; a file of the new name is replaced. Both names have to be on one
/// volume.
MORVEL_API void Rename(const NPath& from, const NPath& to);

}  // namespace morvel
