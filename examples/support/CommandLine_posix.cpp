#include <morvel/text/NString.h>

#include "CommandLine.h"

CommandLine::CommandLine(int argc, char** argv) {
    for (int i = 0; i < argc; ++i) {
        _texts.push_back(NString(argv[i], EncodingSystem).Converted(EncodingUTF8));
    }
    for (const std::string& text : _texts) _pointers.push_back(text.c_str());
}
