#pragma once

#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>

/// Why an exchange came to nothing: one sentence on what happened and one on what to try.
class DeskError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Sends one order to the desk at `url` and reads its confirmation, as an application would:
/// request document, transfer, reply document, values, the reply saved in the application data
/// folder. Tells the road on `account`. `timeout` is in seconds. Throws DeskError.
void PlaceOrder(const std::string& url, std::uint32_t timeout, std::ostream& account);

/// Where the log is and its last lines, or how to switch it on.
void ShowLog(std::ostream& account);
