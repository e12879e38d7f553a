// Find, replace all, compare.
#include <Poco/String.h>
#include <absl/strings/str_replace.h>

#include <QByteArray>
#include <cstring>
#include <string_view>

#include <morvel/text/NString.h>

#include "Subject.h"

namespace {

constexpr std::size_t Large = 1 << 20;

std::string _appendLoop(const std::string& text, const std::string& from, const std::string& to) {
    std::string result;
    std::size_t done = 0;
    for (std::size_t at; (at = text.find(from, done)) != std::string::npos;) {
        result.append(text, done, at - done).append(to);
        done = at + from.size();
    }
    return result.append(text, done, std::string::npos);
}

void _addReplace() {
    // A match in each 64 bytes.
    const std::string text = bench::Text("ascii", Large);
    const std::string from = "lazy dog", to = "sleeping cat";
    const std::string expected = _appendLoop(text, from, to);
    const std::string name = "replace all in 1 MiB";
    const bench::Size size = bench::Bytes(text.size());
    const NString own(text, EncodingUTF8);
    bench::AddEqual(
        name + "/Morvel", size,
        [own, from, to] {
            NString copy(own);
            copy.ReplaceAll(from, to);
            return copy;
        },
        expected);
    bench::AddEqual(
        name + "/append loop", size, [=] { return _appendLoop(text, from, to); }, expected);
    bench::AddEqual(
        name + "/POCO (raw)", size, [=] { return Poco::replace(text, from, to); }, expected);
    bench::AddEqual(
        name + "/Abseil", size,
        [=] {
            const std::pair<absl::string_view, absl::string_view> pair(from, to);
            return absl::StrReplaceAll(text, {pair});
        },
        expected);
    const QByteArray bytes = QByteArray::fromStdString(text);
    const QByteArray before = QByteArray::fromStdString(from);
    const QByteArray after = QByteArray::fromStdString(to);
    bench::Add(
        name + "/QByteArray", size,
        [=] {
            QByteArray copy(bytes);
            copy.replace(before, after);
            return copy;
        },
        [expected](const QByteArray& result) { return result.toStdString() == expected; });
    bench::AddEqual(
        name + "/ceiling: copy of the result", size, [expected] { return std::string(expected); },
        expected);
}

void _addFind() {
    const std::string needle = "lazy hog";
    std::string text = bench::Text("ascii", Large);
    text += needle;
    const auto expected = static_cast<long long>(text.size() - needle.size());
    const std::string name = "find in 1 MiB";
    const bench::Size size = bench::Bytes(text.size());
    const NString own(text, EncodingUTF8);
    bench::AddEqual(
        name + "/Morvel", size, [own, needle] { return own.Find(needle, 0); }, expected);
    bench::AddEqual(
        name + "/std::string", size,
        [own, needle] { return static_cast<long long>(own.Data().find(needle)); }, expected);
    const QByteArray bytes = QByteArray::fromStdString(text);
    const QByteArray sought = QByteArray::fromStdString(needle);
    bench::AddEqual(
        name + "/QByteArray", size,
        [bytes, sought] { return static_cast<long long>(bytes.indexOf(sought)); }, expected);
    bench::AddEqual(
        name + "/ceiling: memmem", size,
        [text, needle] {
            const void* const found =
                memmem(text.data(), text.size(), needle.data(), needle.size());
            return static_cast<long long>(static_cast<const char*>(found) - text.data());
        },
        expected);
}

void _addCompare(std::size_t bytes) {
    const std::string text = bench::Text("ascii", bytes);
    const std::string name = "compare " + bench::SizeName(bytes);
    const bench::Size size = bench::Bytes(text.size());
    const auto add = [&](const char* subject, auto work) {
        bench::AddEqual(name + '/' + subject, size, work, 0);
    };
    const NString a(text, EncodingUTF8), b(text, EncodingUTF8);
    add("Morvel", [a, b] { return a.Compare(b); });
    const std::string c = text, d = text;
    add("std::string", [c, d] { return c.compare(d); });
    const QByteArray e = QByteArray::fromStdString(text);
    const QByteArray f(e.constData(), e.size());
    add("QByteArray", [e, f] { return e.compare(f); });
}

// Of two texts that are the same, so that every byte counts.
void _addEqual(const std::string& script, std::size_t bytes) {
    const std::string text = bench::Text(script, bytes);
    const std::string name = "equal, " + script + " " + bench::SizeName(bytes);
    const bench::Size size = bench::Bytes(text.size());
    const auto add = [&](const char* subject, auto work) {
        bench::AddEqual(name + '/' + subject, size, work, true);
    };
    const NString a(text, EncodingUTF8), b(text, EncodingUTF8);
    add("Morvel", [a, b] { return a == b; });
    const std::string c = text, d = text;
    add("std::string", [c, d] { return c == d; });
    const QByteArray e = QByteArray::fromStdString(text);
    const QByteArray f(e.constData(), e.size());
    add("QByteArray", [e, f] { return e == f; });
}

}  // namespace

void AddSubjects() {
    _addReplace();
    _addFind();
    _addCompare(64);
    _addCompare(64 << 10);
    _addEqual("ascii", 64);
    _addEqual("ascii", 64 << 10);
    _addEqual("latin", 64 << 10);
}
