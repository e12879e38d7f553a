// Random identifiers and CRC-32.
#include <Poco/Checksum.h>
#include <Poco/Random.h>
#include <zlib.h>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <memory>
#include <random>
#include <string>

#include <morvel/ids/NChecksum.h>
#include <morvel/ids/NUUID.h>
#include <morvel/ids/nanoid.h>

#include "Subject.h"

namespace {

constexpr int Count = 1000;

template <class Make>
void _addIdentifiers(const std::string& subject, std::size_t length, Make make) {
    bench::Add(
        "identifiers/" + subject, bench::Items(Count),
        [make]() mutable {
            std::string last;
            for (int i = 0; i < Count; ++i) last = make();
            return last;
        },
        [length](const std::string& last) { return last.size() == length; });
}

}  // namespace

void AddSubjects() {
    const std::string alphabet = nanoid::default_alphabet();
    _addIdentifiers("Morvel", 21, [alphabet, id = NUUID()]() mutable {
        id.Generate(alphabet, 21);
        return id.Value();
    });
    _addIdentifiers("Morvel nanoid::generate", 21,
                    [alphabet] { return nanoid::generate(alphabet, 21); });
    // The same engine and the same text, symbol by symbol.
    _addIdentifiers("std::mt19937, symbol by symbol", 21,
                    [alphabet, engine = std::mt19937(5)]() mutable {
                        std::uniform_int_distribution<std::size_t> index(0, 63);
                        std::string text(21, '_');
                        for (char& symbol : text) symbol = alphabet[index(engine)];
                        return text;
                    });
    _addIdentifiers("Boost uuid", 36,
                    [generator = std::make_shared<boost::uuids::random_generator_mt19937>()] {
                        return boost::uuids::to_string((*generator)());
                    });

    const std::string bytes = bench::Repeated(bench::Text("ascii", 1 << 20), 64 << 20);
    const auto data = std::make_shared<const std::string>(bytes);
    const auto expected = static_cast<std::uint32_t>(
        ::crc32(0, reinterpret_cast<const Bytef*>(data->data()), static_cast<uInt>(data->size())));
    const bench::Size size = bench::Bytes(data->size());
    bench::AddEqual(
        "CRC-32 of 64 MiB/Morvel", size,
        [data] {
            NChecksum sum;
            sum.Update(*data);
            return sum.Value();
        },
        expected);
    bench::AddEqual(
        "CRC-32 of 64 MiB/POCO (raw)", size,
        [data] {
            Poco::Checksum sum(Poco::Checksum::TYPE_CRC32);
            sum.update(data->data(), static_cast<unsigned>(data->size()));
            return static_cast<std::uint32_t>(sum.checksum());
        },
        expected);
    bench::AddEqual(
        "CRC-32 of 64 MiB/zlib", size,
        [data] {
            return static_cast<std::uint32_t>(::crc32(
                0, reinterpret_cast<const Bytef*>(data->data()), static_cast<uInt>(data->size())));
        },
        expected);
}
