#include <windows.h>
//
#include <shellapi.h>

#include <morvel/text/NString.h>

#include "CommandLine.h"

CommandLine::CommandLine(int, char**) {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; i < count; ++i) _texts.push_back(NString(arguments[i]).Converted(EncodingUTF8));
    LocalFree(arguments);
    for (const std::string& text : _texts) _pointers.push_back(text.c_str());
}
