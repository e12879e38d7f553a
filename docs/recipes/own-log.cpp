#include <fstream>
#include <iostream>
#include <string>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main() {
    bool started = morvel::StartLog("harbour");
    for (int other = 2; !started && other < 10; ++other) {
        started = morvel::StartLog(NString().Format("harbour-%d", other));
    }
    if (!started) std::cerr << "No log will be written.\n";

    NLOG(morvel::LevelNotice, "%d ships in the harbour", 3);
    NLOG("DEBUG", "nobody reads this");
    morvel::FlushLog(5);

    std::cout << morvel::LogFile() << '\n';
    std::ifstream log(morvel::ToStdPath(morvel::LogFile()));
    for (std::string line; std::getline(log, line);) std::cout << line << '\n';
}
