#pragma once

#include <string>
#include <vector>

/// What main was given, in UTF-8. Windows hands it to main in a code page that lacks most scripts.
class CommandLine {
public:
    CommandLine(int argc, char** argv);

    int Count() const { return static_cast<int>(_pointers.size()); }
    const char* const* Arguments() const {
        return _pointers.data();
    }  ///< The program's name first.

private:
    std::vector<std::string> _texts;
    std::vector<const char*> _pointers;
};
