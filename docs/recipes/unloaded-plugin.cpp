// A host that knows nothing of the library, which the plugin alone is linked to.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <Poco/SharedLibrary.h>

int main(int, char** argv) {
    const std::filesystem::path plugin = std::filesystem::path(argv[0]).parent_path() / PLUGIN;
    Poco::SharedLibrary library(plugin.string());
    const auto call = [&](const char* name) { return library.getSymbol(name); };
    const std::string logFile = reinterpret_cast<const char* (*)()>(call("PluginBegin"))();
    const bool done = reinterpret_cast<bool (*)(const char*)>(call("PluginWork"))("ships.xml");
    reinterpret_cast<void (*)()>(call("PluginEnd"))();
    library.unload();
    std::cout << (done ? "done\n" : "not done\n");

    std::ifstream log(std::filesystem::u8path(logFile));
    for (std::string line; std::getline(log, line);) {
        if (line.find("plugin.cpp") != line.npos) std::cout << line << '\n';
    }
}
