#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

// Internal: whole files in one call. A folder is an error, std::errc::is_a_directory.
namespace morvel {

/// Puts all that the file holds into `*bytes`, which are to be empty.
std::error_code ReadWholeFile(const std::filesystem::path& name, std::string* bytes);

/// Makes the file hold `bytes`: writes them to a new file beside `name`, waits until they are on
/// the disk, and renames it over `name`, whose permissions it takes over. After an error there is
/// no new file, and `name` has what it had.
std::error_code ReplaceContents(const std::filesystem::path& name, std::string_view bytes);

}  // namespace morvel
