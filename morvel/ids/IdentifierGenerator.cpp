#include <morvel/ids/IdentifierGenerator.h>

#include <new>
#include <random>

#include <morvel/platform/worker.h>

namespace {

// Whether this is a forked child that hasn't drawn yet. The system tells: comparing process ids
// would cost a system call a draw, which takes longer than an identifier.
bool _forked = false;

nanoid::crypto_random<morvel::MersenneTwister> _seeded() {
    return nanoid::crypto_random(morvel::MersenneTwister(std::random_device{}()));
}

}  // namespace

morvel::IdentifierGenerator::IdentifierGenerator() : _source(_seeded()) {
    if (!platform::AtFork(nullptr, nullptr, [] { _forked = true; })) throw std::bad_alloc();
}

void morvel::IdentifierGenerator::next_bytes(unsigned char* buffer, unsigned long long length) {
    if (_forked) {
        _source = _seeded();
        _forked = false;
    }
    _source.next_bytes(buffer, length);
}
