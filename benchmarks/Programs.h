#pragma once

#include <string>
#include <vector>

namespace bench {

/// An empty folder for the files of one program; the one before is removed, and this one at the
/// process's end. The application data folder of the programs that this process starts is there.
std::string FreshFolder();

/// What a program that lies beside this one prints: numbers, and nothing else. Ends this process if
/// it doesn't give `count` of them.
std::vector<double> NumbersFrom(const std::string& program,
                                const std::vector<std::string>& arguments, std::size_t count);

/// The address of an nginx on loopback, without a slash at its end, which the first call starts, on
/// the second core where there is one. It ends with this process. `locations` is what stands in its
/// server block.
///
/// REQUIRES: the first call comes before this process has threads.
std::string NginxServer(const std::string& locations);

}  // namespace bench
