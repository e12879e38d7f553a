#pragma once

#include <string>

namespace bench {

/// `<book>` with chapters of sections, each with an attribute and a value: about `bytes` of XML,
/// without white space between the elements. Chapter and section are numbered, from 0:
/// book.c<i>.s<j>.
struct Book {
    explicit Book(std::size_t bytes);

    std::string xml;
    int chapters = 0;
    static constexpr int Sections = 10;

    /// The path of section `i`, counted through the whole book.
    std::string Path(int i) const;
    static std::string Value(int i);
};

inline std::string Book::Path(int i) const {
    return "book.c" + std::to_string(i / Sections % chapters) + ".s" + std::to_string(i % Sections);
}

inline std::string Book::Value(int i) {
    return "value number " + std::to_string(i) + " of this book";
}

inline Book::Book(std::size_t bytes) {
    xml = "<book>";
    do {
        const std::string chapter = "c" + std::to_string(chapters);
        xml += "<" + chapter + ">";
        for (int j = 0; j < Sections; ++j) {
            const std::string section = "s" + std::to_string(j);
            xml += "<" + section + " id=\"" + std::to_string(j) + "\">" +
                   Value(chapters * Sections + j) + "</" + section + ">";
        }
        xml += "</" + chapter + ">";
        ++chapters;
    } while (xml.size() + 7 < bytes);
    xml += "</book>";
}

}  // namespace bench
