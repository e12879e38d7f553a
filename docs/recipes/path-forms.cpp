#include <algorithm>
#include <iostream>

#include <morvel/companions.h>

namespace {

// With the separators of one platform, to have one table for both.
std::string shown(const NString& path) {
    std::string text = morvel::Utf8(path);
    std::replace(text.begin(), text.end(), '\\', '/');
    return text.empty() ? "-" : text;
}

}  // namespace

int main() {
    for (const char* const text : {"a/b.txt", "a/b/", "b", "a.tar.gz", "a/../b.txt", "./b", ""}) {
        const NPath path(text);
        std::cout << shown(path) << " | " << (path.IsFile() ? "file" : "folder") << " | "
                  << shown(path.BaseName()) << " | " << shown(path.Parent()) << " | "
                  << shown(NPath(path).Append("c")) << " | " << shown(NPath(path).MakeDirectory())
                  << '\n';
    }
    NPath renamed("a/b.txt");
    renamed.SetExtension(NString("old"));
    std::cout << shown(renamed) << '\n';
}
