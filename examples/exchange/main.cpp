// A small order desk: one exchange with a server, from the request document to the saved reply.
#include <exception>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "CommandLine.h"
#include "DeskServer.h"
#include "OrderDesk.h"

int main(int argc, char** argv) {
    CLI::App app(
        "Sends an order to an order desk and shows what happened.\n"
        "Without --url it starts a desk of its own on a loopback address first.");
    std::string url;
    std::uint32_t timeout = 10;
    app.add_option("--url", url, "address of an order desk, like http://127.0.0.1:8080/orders");
    app.add_option("--timeout", timeout, "seconds to wait for the reply")
        ->capture_default_str()
        ->check(CLI::Range(1, 86400));
    if (const auto status = CommandLine(argc, argv).Parse(app)) return *status;

    int result = 0;
    try {
        std::unique_ptr<DeskServer> server;
        if (url.empty()) {
            server = std::make_unique<DeskServer>();
            url = server->Url();
        }
        PlaceOrder(url, timeout, std::cout);
    } catch (const DeskError& e) {
        std::cout << "No order was placed\n  " << e.what() << "\n\n";
        result = 1;
    } catch (const std::exception& e) {
        std::cout << "The order desk could not be started: " << e.what() << ".\n\n";
        result = 1;
    }
    ShowLog(std::cout);
    return result;
}
