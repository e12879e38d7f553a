#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main() {
    const NPath path("book.xml");
    NXML book;
    morvel::Put(book, "book.entry", "Zoë");
    try {
        morvel::SaveSafely(book, path);
        std::cout << morvel::ReadFile(path);

        NFile(NString("folder")).CreateDirectory();
        morvel::SaveSafely(book, NPath("folder"));
    } catch (const NException& e) {
        std::cout << morvel::Describe(e) << '\n';
    }
}
