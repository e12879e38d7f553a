// A file of 64 MiB in calls of 64 KiB each; whether a name exists.
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <morvel/files/NFile.h>
#include <morvel/files/NFileStream.h>

#include "Subject.h"

namespace {

constexpr std::size_t Block = 64 << 10;
constexpr std::size_t Whole = 64 << 20;

std::string _path(const std::string& name) {
    return (std::filesystem::temp_directory_path() /
            ("morvel-bench-" + std::to_string(::getpid()) + "-" + name))
        .string();
}

// The calls for a piece are for derived classes alone.
class Device : public Poco::FileStreamBuf {
public:
    using Poco::FileStreamBuf::readFromDevice;
    using Poco::FileStreamBuf::writeToDevice;
};

}  // namespace

void AddSubjects() {
    const bench::Size size = bench::Bytes(Whole);
    static std::vector<char> block(Block, 'x');
    static const std::string source = _path("source"), target = _path("target");
    std::ofstream(source, std::ios::binary) << std::string(Whole, 'x');
    std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove(source, ignored);
        std::filesystem::remove(target, ignored);
    });

    bench::AddEqual(
        "read 64 MiB/Morvel", size,
        [] {
            NFileStream in;
            (void)in.Open(NFile(NString(source)), NFileStream::ModeReadBinary);
            std::size_t sum = 0;
            for (int got; (got = in.Read(block.data(), Block)) > 0;)
                sum += static_cast<std::size_t>(got);
            return sum;
        },
        Whole);
    bench::AddEqual(
        "read 64 MiB/POCO (raw)", size,
        [] {
            Device in;
            in.open(source, std::ios::in | std::ios::binary);
            std::size_t sum = 0;
            for (int got; (got = in.readFromDevice(block.data(), Block)) > 0;)
                sum += static_cast<std::size_t>(got);
            return sum;
        },
        Whole);
    bench::AddEqual(
        "read 64 MiB/QFile", size,
        [] {
            QFile in(QString::fromStdString(source));
            in.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
            std::size_t sum = 0;
            for (qint64 got; (got = in.read(block.data(), Block)) > 0;)
                sum += static_cast<std::size_t>(got);
            return sum;
        },
        Whole);
    bench::AddEqual(
        "read 64 MiB/ceiling: read(2)", size,
        [] {
            const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
            std::size_t sum = 0;
            for (ssize_t got; (got = ::read(in, block.data(), Block)) > 0;)
                sum += static_cast<std::size_t>(got);
            ::close(in);
            return sum;
        },
        Whole);

    // Over a file that is there: none of the subjects empties it first. All write to one, since
    // where a file's pages lie in memory makes more of a difference than who writes them.
    bench::AddEqual(
        "write 64 MiB/Morvel", size,
        [] {
            NFileStream out;
            (void)out.Open(NFile(NString(target)), NFileStream::ModeReadWrite);
            std::size_t sum = 0;
            while (sum < Whole) sum += static_cast<std::size_t>(out.Write(block.data(), Block));
            return sum;
        },
        Whole);
    bench::AddEqual(
        "write 64 MiB/POCO (raw)", size,
        [] {
            Device out;
            out.open(target, std::ios::in | std::ios::out | std::ios::binary);
            std::size_t sum = 0;
            while (sum < Whole)
                sum += static_cast<std::size_t>(out.writeToDevice(block.data(), Block));
            return sum;
        },
        Whole);
    bench::AddEqual(
        "write 64 MiB/QFile", size,
        [] {
            QFile out(QString::fromStdString(target));
            out.open(QIODevice::ReadWrite | QIODevice::Unbuffered);
            std::size_t sum = 0;
            while (sum < Whole) sum += static_cast<std::size_t>(out.write(block.data(), Block));
            return sum;
        },
        Whole);
    bench::AddEqual(
        "write 64 MiB/ceiling: write(2)", size,
        [] {
            const int out = ::open(target.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            std::size_t sum = 0;
            while (sum < Whole) sum += static_cast<std::size_t>(::write(out, block.data(), Block));
            ::close(out);
            return sum;
        },
        Whole);

    const std::string missing = _path("missing");
    const NFile there{NString(source)}, absent{NString(missing)};
    bench::AddEqual(
        "exists/Morvel", bench::Items(2), [=] { return there.Exists() && !absent.Exists(); }, true);
    bench::AddEqual(
        "exists/POCO (raw)", bench::Items(2),
        [missing] { return Poco::File(source).exists() && !Poco::File(missing).exists(); }, true);
    bench::AddEqual(
        "exists/QFile", bench::Items(2),
        [missing] {
            return QFile::exists(QString::fromStdString(source)) &&
                   !QFile::exists(QString::fromStdString(missing));
        },
        true);
    bench::AddEqual(
        "exists/ceiling: access(2)", bench::Items(2),
        [missing] {
            return ::access(source.c_str(), F_OK) == 0 && ::access(missing.c_str(), F_OK) != 0;
        },
        true);
}
