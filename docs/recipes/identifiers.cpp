#include <iostream>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include <morvel/morvel.h>

int main() {
    std::mutex lock;
    std::set<std::string> all;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            // The process-wide engine has no lock: each thread takes a source of its own.
            nanoid::crypto_random<std::mt19937> source{std::mt19937(std::random_device()())};
            for (int n = 0; n < 1000; ++n) {
                const std::string identifier =
                    nanoid::generate(source, nanoid::default_alphabet(), 21);
                const std::lock_guard<std::mutex> guard(lock);
                all.insert(identifier);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::cout << all.size() << " different ones of " << all.begin()->size() << " characters\n";
}
