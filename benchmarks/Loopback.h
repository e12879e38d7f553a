#pragma once

#include <string>

namespace bench {

/// The address, with a slash at its end, of an HTTP server on loopback, which the first call
/// starts. It is a process of its own, on the second core where there is one, answers from memory,
/// does as little as it can, and ends with this process: GET /<n> gives n bytes 'x', a POST is read
/// to its end and answered with two bytes.
///
/// REQUIRES: the first call comes before this process has threads.
std::string LoopbackServer();

}  // namespace bench
