#include "CommandLine.h"

#include <CLI/CLI.hpp>

std::optional<int> CommandLine::Parse(CLI::App& app) const {
    try {
        app.parse(static_cast<int>(_pointers.size()), _pointers.data());
        return std::nullopt;
    } catch (const CLI::RequiredError& e) {  // CLI11 looks for these first
        const std::vector<std::string> unknown = app.remaining(true);
        return unknown.empty() ? app.exit(e) : app.exit(CLI::ExtrasError(unknown));
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
}
