#pragma once

#include <memory>
#include <string>

/// A small order desk for those who have none: answers orders on a loopback address for as long as
/// the object lives. Port and threads are its own.
class DeskServer {
public:
    DeskServer();
    ~DeskServer();

    std::string Url() const;

private:
    struct Server;
    std::unique_ptr<Server> _server;
};
