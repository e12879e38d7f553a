#include <fstream>
#include <iostream>
#include <string>

#include <Poco/AutoPtr.h>
#include <Poco/ConsoleChannel.h>
#include <Poco/Logger.h>
#include <Poco/Message.h>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main() {
    // A channel of its own, which the log doesn't touch.
    Poco::AutoPtr<Poco::Channel> console(new Poco::ConsoleChannel(std::cout));
    Poco::Logger& harbour =
        Poco::Logger::create("harbour", console, Poco::Message::PRIO_INFORMATION);

    morvel::StartLog("ships");
    NLOG(morvel::LevelNotice, "to the file");
    harbour.information("to the console");
    Poco::Logger::get("stranger").information("to the file, without a channel of its own");

    Poco::Logger::get("ships").setChannel(console);
    NLOG(morvel::LevelNotice, "to the console, as the host wants it");

    morvel::FlushLog(5);
    std::ifstream log(morvel::ToStdPath(morvel::LogFile()));
    for (std::string line; std::getline(log, line);) {
        if (line.find("to the") != line.npos) std::cout << line << '\n';
    }
}
