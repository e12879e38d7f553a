// A line while no log is in force: it is composed all the same, and dropped.
#include <cstdio>
#include <sstream>
#include <string>

#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>

#include "Subject.h"

namespace {

// What a reader of the file would see, composed with appends; then dropped.
std::size_t _withAppends(const char* file, int line, int count) {
    char text[2048];
    std::snprintf(text, sizeof text, "morvel - %d orders sent", count);
    std::string composed("NOTICE");
    const std::string path(file);
    composed.append(" [File: ")
        .append(path, path.find_last_of("(/\\") + 1, std::string::npos)
        .append(" Line: ")
        .append(std::to_string(line))
        .append("]\t\"")
        .append(text)
        .append("\"");
    benchmark::DoNotOptimize(composed.data());
    return composed.size();
}

std::size_t _withStreams(const char* file, int line, int count) {
    const std::string path(file);
    std::ostringstream composed;
    composed << "NOTICE [File: " << path.substr(path.find_last_of("(/\\") + 1) << " Line: " << line
             << "]\t\"morvel - " << count << " orders sent\"";
    const std::string text = composed.str();
    benchmark::DoNotOptimize(text.data());
    return text.size();
}

}  // namespace

void AddSubjects() {
    NLog::Set(nullptr);
    bench::AddEqual(
        "log off, one NLOG/Morvel", bench::Items(1),
        [count = 0]() mutable {
            NLOG("NOTICE", "morvel - %d orders sent", ++count % 100 + 100);
            return NLog::Get() == nullptr;
        },
        true);
    const std::size_t length =
        std::string("NOTICE [File: log_off.cpp Line: 50]\t\"morvel - 100 orders sent\"").size();
    bench::AddEqual(
        "log off, one NLOG/composed with appends", bench::Items(1),
        [count = 0]() mutable { return _withAppends(__FILE__, 50, ++count % 100 + 100); }, length);
    bench::AddEqual(
        "log off, one NLOG/composed with streams", bench::Items(1),
        [count = 0]() mutable { return _withStreams(__FILE__, 50, ++count % 100 + 100); }, length);
}
