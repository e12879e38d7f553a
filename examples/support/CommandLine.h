#pragma once

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// What main was given, in UTF-8. Windows hands it to main in a code page that lacks most scripts.
class CommandLine {
public:
    CommandLine(int argc, char** argv);

    /// Has `app` read it. A status to end with after --help and after a wrong line, about which a
    /// sentence is written by then: of a word too many and one that is missing, about the former.
    std::optional<int> Parse(CLI::App& app) const;

private:
    std::vector<std::string> _texts;
    std::vector<const char*> _pointers;  // the program's name first
};
