#pragma once

/// What LoadHost asks of the system; the build picks the source.
namespace system_calls {

void* Open(const char* library);  ///< Null if it can't be loaded.
void* Find(void* library, const char* name);
void Close(void* library);

bool IsLibraryMapped();  ///< Whether the library under test is in this process.
void SetEnvironment(const char* name, const char* value);

/// Makes a child that ends at once: "child-ended ", "child-failed ", or "no-forks ".
const char* Fork();

}  // namespace system_calls
