#pragma once

#include <random>
#include <string>

/// A name for a lock that nobody else uses. What the system keeps of the lock goes with the object.
/// The build picks the source.
struct NamedMutexName {
    ~NamedMutexName();

    const std::string name = "morvel-test-" + std::to_string(std::random_device()());
    const std::string file = "/tmp/" + name + ".mutex";  ///< Stands for the lock off Windows.
};
