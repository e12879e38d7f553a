#include <filesystem>
#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main() {
    const NPath path(NString("Zo\xEB \xA4.txt", EncodingLatin9));
    morvel::WriteFile(path, "found");

    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        const NPath found = morvel::FromStdPath(entry.path().filename());
        if (NString(found) == NString(path)) {
            std::cout << morvel::Utf8(found) << ": " << morvel::ReadFile(found) << '\n';
        }
    }
    const NPath renamed(NString("Zo\xEB.old", EncodingLatin1));
    morvel::Rename(path, renamed);
    std::cout << std::filesystem::file_size(morvel::ToStdPath(renamed)) << " bytes\n";
}
