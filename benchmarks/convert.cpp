// Between encodings: the text in another one, from an object that has it.
#include <Poco/Latin1Encoding.h>
#include <Poco/TextConverter.h>
#include <Poco/UTF16Encoding.h>
#include <Poco/UTF8Encoding.h>
#include <unicode/bytestream.h>
#include <unicode/unistr.h>

#include <QByteArray>
#include <QString>
#include <string_view>

#include <morvel/text/NString.h>

#include "Subject.h"

namespace {

template <class From, class To>
std::string _poco(const std::string& text, const From& from, const To& to) {
    std::string result;
    Poco::TextConverter(from, to, '?').convert(text, result);
    return result;
}

const Poco::Latin1Encoding latin1;
const Poco::UTF8Encoding utf8;
const Poco::UTF16Encoding utf16(Poco::UTF16Encoding::NATIVE_BYTE_ORDER);

std::string _bytes(const QString& text) {
    return std::string(reinterpret_cast<const char*>(text.utf16()),
                       static_cast<std::size_t>(text.size()) * 2);
}

std::string_view _view(const QByteArray& bytes) {
    return std::string_view(bytes.data(), static_cast<std::size_t>(bytes.size()));
}

void _addMorvel(const std::string& name, const std::string& bytes, NStringEncoding from,
                NStringEncoding to, const std::string& expected) {
    const NString text(bytes, from);
    bench::AddEqual(
        name + "/Morvel", bench::Bytes(bytes.size()),
        [text, to] { return std::string_view(text.Converted(to)); }, expected);
    bench::AddEqual(
        name + "/ceiling: copy of the result", bench::Bytes(bytes.size()),
        [expected] { return std::string(expected); }, expected);
}

void _addCases(const std::string& script) {
    const std::string narrow = bench::Text(script, 64 << 10);
    const std::string latin = _poco(narrow, utf8, latin1);
    const std::string wide = _poco(narrow, utf8, utf16);
    const std::string suffix = ", " + script + " 64 KiB";

    if (_poco(latin, latin1, utf8) == narrow) {  // a script that Latin-1 has
        const std::string name = "Latin-1 to UTF-8" + suffix;
        const bench::Size size = bench::Bytes(latin.size());
        _addMorvel(name, latin, EncodingLatin1, EncodingUTF8, narrow);
        bench::AddEqual(
            name + "/POCO (raw)", size, [latin] { return _poco(latin, latin1, utf8); }, narrow);
        bench::Add(
            name + "/Qt 6", size,
            [latin] {
                return QString::fromLatin1(latin.data(), static_cast<qsizetype>(latin.size()))
                    .toUtf8();
            },
            [narrow](const QByteArray& result) { return _view(result) == narrow; });
    }
    {
        const std::string name = "UTF-8 to UTF-16" + suffix;
        const bench::Size size = bench::Bytes(narrow.size());
        _addMorvel(name, narrow, EncodingUTF8, EncodingUTF16, wide);
        bench::AddEqual(
            name + "/POCO (raw)", size, [narrow] { return _poco(narrow, utf8, utf16); }, wide);
        bench::Add(
            name + "/Qt 6", size,
            [narrow] {
                return QString::fromUtf8(narrow.data(), static_cast<qsizetype>(narrow.size()));
            },
            [wide](const QString& result) { return _bytes(result) == wide; });
        bench::Add(
            name + "/ICU", size, [narrow] { return icu::UnicodeString::fromUTF8(narrow); },
            [wide](const icu::UnicodeString& result) {
                return std::string_view(reinterpret_cast<const char*>(result.getBuffer()),
                                        static_cast<std::size_t>(result.length()) * 2) == wide;
            });
    }
    {
        const std::string name = "UTF-16 to UTF-8" + suffix;
        const bench::Size size = bench::Bytes(wide.size());
        _addMorvel(name, wide, EncodingUTF16, EncodingUTF8, narrow);
        bench::AddEqual(
            name + "/POCO (raw)", size, [wide] { return _poco(wide, utf16, utf8); }, narrow);
        const QString text = QString::fromStdString(narrow);
        bench::Add(
            name + "/Qt 6", size, [text] { return text.toUtf8(); },
            [narrow](const QByteArray& result) { return _view(result) == narrow; });
        const icu::UnicodeString own = icu::UnicodeString::fromUTF8(narrow);
        bench::AddEqual(
            name + "/ICU", size,
            [own] {
                std::string result;
                own.toUTF8String(result);
                return result;
            },
            narrow);
    }
}

}  // namespace

void AddSubjects() {
    _addCases("latin");
    _addCases("ascii");
    _addCases("cjk");
}
