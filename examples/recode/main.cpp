// Converts text files from one encoding to another, and refuses what would be lost on the way.
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <morvel/companions.h>
#include <morvel/morvel.h>

#include "CommandLine.h"

namespace {

enum Exit { Done = 0, Refused = 1, Failed = 2 };

const std::map<std::string, NStringEncoding> Encodings = {
    {"ascii", EncodingASCII}, {"latin1", EncodingLatin1}, {"latin9", EncodingLatin9},
    {"utf8", EncodingUTF8},   {"utf16", EncodingUTF16},
};

// The lines with characters that `encoding` lacks, such as "2, 5"; empty if nothing would be lost.
std::string _linesWithLoss(const NString& text, NStringEncoding encoding) {
    std::string lines;
    std::istringstream in(morvel::Utf8(text));
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (morvel::CanConvert(morvel::FromUtf8(line), encoding)) continue;
        lines += (lines.empty() ? "" : ", ") + std::to_string(number);
    }
    return lines;
}

// What a file in `encoding` holds of the text.
std::string _bytes(NString text, NStringEncoding encoding) {
    if (encoding == EncodingUTF8) return morvel::Utf8(text);
    text.ConvertTo(encoding);
    return (encoding == EncodingUTF16 ? "\xFF\xFE" : "") + text.Data();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Converts text files in their place, from UTF-8 and to UTF-8 unless told otherwise. A "
        "byte-order mark tells UTF-8 and UTF-16 whatever --from says; UTF-16 is written with one. "
        "Texts come out in Unicode's composed form (NFC).");
    std::string fromName = "utf8", toName = "utf8";
    bool lossy = false;
    std::vector<std::string> files;
    const CLI::IsMember known(Encodings, CLI::ignore_case);
    app.add_option("--from", fromName, "what the files are in")->transform(known);
    app.add_option("--to", toName, "what they are to be in")->transform(known);
    app.add_flag("--lossy", lossy, "write '?' for what the encoding lacks, and tell where");
    app.add_option("files", files, "what to convert, each in its place")->required();
    app.footer(
        "Ends with 0, with 1 if a file was refused, with 2 if one can't be read or written, above "
        "100 for a wrong command line.");
    if (const auto status = CommandLine(argc, argv).Parse(app)) return *status;
    const NStringEncoding from = Encodings.at(fromName), to = Encodings.at(toName);

    int result = Done;
    std::size_t number = 0;
    for (const std::string& name : files) {
        std::cout << ++number << '/' << files.size() << ' ' << name << ": " << std::flush;
        try {
            const NPath file(name, EncodingUTF8);
            const NString text = morvel::Decode(morvel::ReadFile(file), from);
            if (const auto offset = morvel::FindMalformed(text)) {
                std::cout << "refused: byte " << *offset << " is not text in this encoding\n";
                result = std::max<int>(result, Refused);
                continue;
            }
            const std::string lost = _linesWithLoss(text, to);
            if (!lost.empty() && !lossy) {
                std::cout << "refused: characters would be lost in line " << lost
                          << " (--lossy writes '?')\n";
                result = std::max<int>(result, Refused);
                continue;
            }
            morvel::WriteFile(file, _bytes(text, to));
            std::cout << (lost.empty() ? "done" : "done, with '?' in line " + lost) << '\n';
        } catch (const NException& e) {
            std::cout << morvel::Describe(e) << '\n';
            result = Failed;
        }
    }
    return result;
}
