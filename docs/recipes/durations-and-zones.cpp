#include <chrono>
#include <iostream>

#include <morvel/companions.h>

int main() {
    using namespace std::chrono_literals;

    const NTimestamp begin(1764057909000000);
    const NTimestamp end = morvel::FromTimePoint(morvel::ToTimePoint(begin) + 90min);
    std::cout << morvel::Between(begin, end) / 1s << " s\n";

    // Which zone a reading is in is known to whoever made it, and to nobody else.
    const NDateTime utc{NTimestamp()};
    const NDateTime local;
    const auto ahead = morvel::Between(utc, local);
    std::cout << (ahead > -15h && ahead < 15h ? "a zone of this world\n" : "which planet?\n");
}
