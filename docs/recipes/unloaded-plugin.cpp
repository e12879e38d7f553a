// A host that knows nothing of the library, which the plugin alone is linked to.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <Poco/SharedLibrary.h>

int main(int, char** argv) {
    const std::filesystem::path plugin = std::filesystem::path(argv[0]).parent_path() / PLUGIN;
    Poco::SharedLibrary library(plugin.string());
    const auto call = [&](const char* name) { return library.getSymbol(name); };
    reinterpret_cast<void (*)()>(call("PluginBegin"))();
    const bool done = reinterpret_cast<bool (*)(const char*)>(call("PluginWork"))("ships.xml");
    reinterpret_cast<void (*)()>(call("PluginEnd"))();
    library.unload();
    std::cout << (done ? "done\n" : "not done\n");

    std::ifstream log(std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "Tarnwick Software" /
                      "plugin.log");
    for (std::string line; std::getline(log, line);) {
        if (line.find("plugin.cpp") != line.npos) std::cout << line << '\n';
    }
}
