// 1 MiB of text into its words.
#include <Poco/StringTokenizer.h>
#include <absl/strings/str_split.h>

#include <memory>
#include <string>
#include <vector>

#include <morvel/text/NStringTokenizer.h>

#include "Subject.h"

void AddSubjects() {
    const std::string text = bench::Text("ascii", 1 << 20);
    const std::size_t expected =
        Poco::StringTokenizer(text, " ,", Poco::StringTokenizer::TOK_IGNORE_EMPTY).count();
    const bench::Size size = bench::Bytes(text.size());
    const std::string name = "tokenize 1 MiB";

    const NString own(text, EncodingUTF8), separators(std::string(" ,"), EncodingUTF8);
    bench::AddEqual(
        name + "/Morvel", size,
        [=] { return NStringTokenizer(own, separators, TOK_IGNORE_EMPTY).Count(); }, expected);
    bench::AddEqual(
        name + "/POCO (raw)", size,
        [=] {
            return Poco::StringTokenizer(text, " ,", Poco::StringTokenizer::TOK_IGNORE_EMPTY)
                .count();
        },
        expected);
    bench::AddEqual(
        name + "/Abseil", size,
        [=] {
            const std::vector<std::string> words =
                absl::StrSplit(text, absl::ByAnyChar(" ,"), absl::SkipEmpty());
            return words.size();
        },
        expected);
}
