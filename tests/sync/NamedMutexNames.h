#pragma once

#include <random>
#include <string>

/// Names for locks that nobody else uses. What the system keeps of such locks is removed with the
/// object. The build picks the source.
class NamedMutexNames {
public:
    ~NamedMutexNames();

    std::string New() { return _prefix + std::to_string(_count++); }

    /// The file that stands for the lock off Windows.
    static std::string FileOf(const std::string& name) { return "/tmp/" + name + ".mutex"; }

private:
    const std::string _prefix = "morvel-test-" + std::to_string(std::random_device()()) + "-";
    int _count = 0;
};
