#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include <morvel/companions.h>
#include <morvel/morvel.h>

namespace {

[[noreturn]] void lastWords() {
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const std::exception& e) {
        NLOG(morvel::LevelFatal, "nobody caught %s", morvel::Describe(e).c_str());
    } catch (...) {
        NLOG(morvel::LevelFatal, "nobody caught something that is no exception");
    }
    const bool written = morvel::FlushLog(2);

    std::ifstream log(morvel::ToStdPath(morvel::LogFile()));
    std::string last;
    for (std::string line; std::getline(log, line);) last = line;
    std::cout << (written ? "written: " : "lost: ") << last << std::endl;
    std::_Exit(EXIT_SUCCESS);  // std::abort() in earnest
}

}  // namespace

int main() {
    std::set_terminate(lastWords);
    morvel::StartLog("harbour");
    throw KelFileNotFoundException("ships.xml", 0);
}
