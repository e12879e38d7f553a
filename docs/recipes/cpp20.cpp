#include <filesystem>
#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main() {
    const NString ship = morvel::FromUtf8(u8"Zoë");
    const NPath file = morvel::FromStdPath(u8"Zoë.txt");
    morvel::WriteFile(file, "in the harbour\n");

    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        const NString name = morvel::FromUtf8(entry.path().stem().u8string());
        if (name == ship) std::cout << name << " is " << morvel::ReadFile(file);
    }
#if defined(__cpp_lib_format)
    std::cout << std::format("[{:>8}] in {}\n", ship, file);
#else
    std::cout << '[' << std::string(8 - morvel::CountCharacters(ship), ' ') << ship << "] in "
              << file << '\n';
#endif
}
