#include <morvel/ids/nanoid.h>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

#include <morvel/ids/IdentifierGenerator.h>

namespace nanoid {

crypto_random_base::~crypto_random_base() = default;

template class crypto_random<std::mt19937>;

const std::string& default_alphabet() {
    return morvel::IdentifierAlphabet;
}

std::string generate(const std::string& alphabet, unsigned long long size) {
    return generate(morvel::_identifierGenerator, alphabet, size);
}

std::string generate(crypto_random_base& source, const std::string& alphabet,
                     unsigned long long size) {
    std::string result;
    morvel::GenerateInto(&result, source, alphabet, size);
    return result;
}

}  // namespace nanoid

void morvel::GenerateInto(std::string* result, nanoid::crypto_random_base& source,
                          const std::string& alphabet, unsigned long long size) {
    const std::size_t count = alphabet.size();
    if (count == 0 || count > 255) {
        throw std::invalid_argument("alphabet must contain between 1 and 255 symbols.");
    }
    if (size == 0) throw std::invalid_argument("size must be greater than zero.");
    if (size > result->max_size()) throw std::bad_alloc();
    if (result->capacity() < size) result->reserve(static_cast<std::size_t>(size));
    unsigned int mask = 1;  // the smallest 2^k - 1 that covers all indexes below `count`
    while (mask < count - 1) mask = mask << 1 | 1;
    // How many random bytes to draw at a time: the number that is needed on average, and 60 % more.
    // Always evaluated in this order, in double precision, so that a source sees the
    // same request everywhere. Whatever there was memory for leaves it far below 2^63.
    const double step = 1.6 * mask * static_cast<double>(size) / static_cast<double>(count);
    auto length = static_cast<std::size_t>(step);
    if (static_cast<double>(length) < step) ++length;  // rounded up; std::ceil is a call
    unsigned char small[64] = {};  // an identifier of usual length needs no heap
    const std::unique_ptr<unsigned char[]> large(
        length <= sizeof small ? nullptr : new unsigned char[length]());
    unsigned char* const buffer = large ? large.get() : small;
    source.next_bytes(buffer, length);
    result->resize(static_cast<std::size_t>(size));  // from here on nothing of ours throws

    const char* const symbols = alphabet.data();
    char* at = &(*result)[0];
    const char* const end = at + result->size();
    for (;;) {
        if (count > mask) {  // every byte chooses a symbol
            const std::size_t chosen = std::min(length, static_cast<std::size_t>(end - at));
            for (std::size_t i = 0; i < chosen; ++i) at[i] = symbols[buffer[i] & mask];
            at += chosen;
        } else {
            // Something is stored for every byte, and what a rejected one stored is overwritten by
            // the next: so no branch depends on the random bits.
            for (std::size_t i = 0; i < length && at != end; ++i) {
                const unsigned int index = buffer[i] & mask;
                const bool accepted = index < count;
                *at = symbols[accepted ? index : 0];
                at += accepted;
            }
        }
        if (at == end) return;
        source.next_bytes(buffer, length);
    }
}
