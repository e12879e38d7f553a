#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace bench {

/// Counts heap allocations in all threads, C libraries' too, from the one call to the other. A
/// block that grows counts as one more. Between other calls they cost no more than without a count.
void CountAllocations();
std::uint64_t CountedAllocations();

/// A line of /proc/self/status, in bytes: "VmRSS:" what the process holds, "VmHWM:" the most that
/// it ever held.
std::uint64_t StatusBytes(const std::string& line);

/// Bytes of memory by which `work` raised the process's peak over what it held before.
std::uint64_t PeakBytes(const std::function<void()>& work);

}  // namespace bench
