#pragma once

#include <array>
#include <cstring>
#include <iomanip>
#include <optional>

#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>
#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>
#include <Poco/TextConverter.h>
#include <Poco/TextEncoding.h>
#include <Poco/URI.h>
#include <utf8proc.h>

#include <tests/support/Text.h>

namespace morvel::test {

using namespace std::string_literals;

inline std::string BytesOf(const NWideString& wide) {
    return std::string(reinterpret_cast<const char*>(wide.data()), 2 * wide.size());
}

/// The units in `bytes` up to the first that is 0.
inline NWideString WideOf(const std::string& bytes) {
    NWideString wide(bytes.size() / 2, NWideChar());
    std::memcpy(wide.data(), bytes.data(), 2 * wide.size());
    return wide.c_str();
}

inline std::string Utf8Of(int codePoint) {
    utf8proc_uint8_t bytes[4];
    const auto length = static_cast<std::size_t>(utf8proc_encode_char(codePoint, bytes));
    return std::string(reinterpret_cast<const char*>(bytes), length);
}

/// What POCO makes of the bytes, text of the system being wide; but it lets a low surrogate without
/// a high one pass, which is malformed here.
inline std::string ByPoco(std::string bytes, NStringEncoding from, NStringEncoding to) {
    for (std::size_t i = 0; (from == Utf16 || from == Sys) && i + 1 < bytes.size(); i += 2) {
        const int lead = bytes[i + 1] & 0xFC;
        if (lead == 0xDC) bytes.replace(i, 2, "?\0", 2);
        if (lead == 0xD8) i += 2;  // takes the next unit with it
    }
    const char* const names[] = {"UTF-16", "ASCII", "Latin1", "Latin9", "UTF-8", "UTF-16"};
    using Poco::TextEncoding;
    Poco::TextConverter converter(TextEncoding::byName(names[from]),
                                  TextEncoding::byName(names[to]), '?');
    std::string result;
    converter.convert(bytes, result);
    return result;
}

/// What utf8proc makes of the text up to its first NUL; nothing for malformed text.
inline std::optional<std::string> ByUtf8proc(const std::string& text, NStringForm form) {
    const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.c_str());
    const auto normalize = form == FormNFD    ? utf8proc_NFD
                           : form == FormNFKD ? utf8proc_NFKD
                           : form == FormNFC  ? utf8proc_NFC
                                              : utf8proc_NFKC;
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> result(normalize(bytes),
                                                                         &std::free);
    if (!result) return std::nullopt;
    return std::string(reinterpret_cast<const char*>(result.get()));
}

/// NString as its header tells it, by plain strings, POCO and utf8proc, without a short cut.
/// `calls` has what goes through the virtual table of the object itself.
struct ReferenceText {
    using Tag = NStringEncoding;
    using Str = const std::string&;
    using Ref = const ReferenceText&;
    using Size = std::size_t;
    using Byte = unsigned char;
    using Parser = Poco::NumberParser;

    ReferenceText() = default;
    explicit ReferenceText(Tag encoding) : tag(encoding) {}
    ReferenceText(Ref other) : data(other.data), tag(other.tag) {}
    ReferenceText(Str text, Tag fallback = Sys) { _take(text, _markOf(text, fallback)); }
    ReferenceText(const NWideChar* wide) : data(NString::WideToString(wide, 65001)), tag(Utf8) {}
    ReferenceText(const NWideString& s) : ReferenceText(s.c_str() + (s.c_str()[0] == 0xFFFE)) {}
    ReferenceText(const char* s) {
        _takePointer(s + 2 * (_markOf(s, Sys) == Utf16), _markOf(s, Sys));
    }
    ReferenceText(const char* text, Tag encoding) { _takePointer(text, encoding); }
    ReferenceText(const Byte* counted) : ReferenceText(_bytesOf(counted)) {}
    ReferenceText(const Byte* counted, Tag encoding) { _take(_bytesOf(counted), encoding); }

    Str Data() const { return data; }
    Tag Encoding() const { return tag; }
    NStringForm Form() const { return form; }

    bool operator==(Ref other) const { return Note("=="), data == other.In(tag); }
    ReferenceText& operator=(Ref other) {
        return Note("="), data = other.data, tag = other.tag, cache = "", *this;
    }
    ReferenceText& operator+=(Ref other) {
        return Note("+="), data += std::string(other.tag == tag ? other.data : other.In(tag)),
               *this;
    }
    ReferenceText& operator+=(char byte) { return *this += std::string(byte != '\0', byte); }
    friend ReferenceText operator+(ReferenceText left, Ref right) { return left += right; }
    friend std::ostream& operator<<(std::ostream& stream, Ref t) { return stream << t.In(Utf8); }
    template <class... Arguments>
    void SetData(const Arguments&... arguments) {
        *this = ReferenceText(arguments...);
    }
    void SetBytes(const NWideChar* chars, Size count) { SetData(NWideString(chars, count)); }
    void SetBytes(const char* bytes, Size length) { SetData(std::string(bytes, length)); }
    void SetBytes(const char* bytes, Size length, Tag encoding) {
        data.assign(bytes, length), tag = encoding, cache = "";
        if (tag == Utf8) Normalize(FormNFC);
    }

    bool ConvertTo(Tag encoding) {
        if (tag == Utf8) Normalize(FormNFC);
        if (tag == encoding) return true;
        if (tag >= NoTag || encoding >= NoTag) return false;
        if (tag == Sys) data = BytesOf(NString::StringToWide(data, 0));
        data = ByPoco(data, tag, encoding);
        if (encoding == Sys) data = NString::WideToString(WideOf(data), 0);
        tag = encoding;
        return true;
    }
    void Normalize(NStringForm to) {
        Note("Normalize " + std::to_string(to));
        const bool known = to >= FormNFD && to <= FormNFKC;
        if (to != form && tag == Utf8 && known) data = ByUtf8proc(data, to).value_or(data);
        form = to;
    }
    std::string In(Tag encoding) const {  ///< The bytes that a copy has in `encoding`.
        ReferenceText copy(*this);
        return copy.ConvertTo(encoding), copy.data;
    }
    Str Converted(Tag encoding) const { return cache = In(encoding); }
    const char* Data(Tag encoding) const { return Converted(encoding).c_str(); }
    std::string DataWithBOM() const { return cache = _marked(data, tag); }
    std::string DataWithBOM(Tag to) const { return cache = _marked(In(to), to); }
    NWideString Wide() const { return StringToWide(tag == Utf8 ? data : In(Utf8), 65001); }
    static NWideString StringToWide(Str text, int) {
        return WideOf(ByPoco(ByUtf8proc(text, FormNFC).value_or(""), Utf8, Utf16));
    }

    void SwapBytes() {
        if (tag == Utf16) data.resize((data.size() + 1) / 2 * 2);
        for (Size i = 1; tag == Utf16 && i < data.size(); i += 2) std::swap(data[i - 1], data[i]);
    }
    void UrlEncode() {
        Poco::URI::encode(std::exchange(data, ""), "#&+/:;=?@", data);
        for (Size at; (at = data.find('~')) != data.npos;) data.replace(at, 1, "%7E");
    }
    void UrlDecode() {
        std::string decoded;
        Poco::URI::decode(data, decoded, false);
        data = decoded;
    }
    void EncodeBase64(const Byte* bytes, std::uint32_t count) {
        std::ostringstream digits;
        Poco::Base64Encoder encoder(digits);
        encoder.rdbuf()->setLineLength(0);
        encoder.write(reinterpret_cast<const char*>(bytes), count);
        encoder.close();
        data = digits.str();
    }
    void EncodeBase64() {
        EncodeBase64(reinterpret_cast<const Byte*>(data.data()),
                     static_cast<std::uint32_t>(data.size()));
    }
    void DecodeBase64(Byte* out, std::uint32_t* count) const {
        std::istringstream digits(data);
        Poco::Base64Decoder decoder(digits);
        *count = 0;
        for (char c; decoder.get(c); ++*count) {
            if (out != nullptr) out[*count] = static_cast<Byte>(c);
        }
    }
    void DecodeBase64() {
        std::istringstream digits(data);
        Poco::Base64Decoder decoder(digits);
        data = std::string(std::istreambuf_iterator<char>(decoder.rdbuf()), {});
    }

    void ToUpper() { _shift(0, 'a', 'z', 'A' - 'a'); }
    void ToLower(Size from = 0) { _shift(from, 'A', 'Z', 'a' - 'A'); }
    void Capitalize() {
        if (data.c_str()[0] == '\0') return;
        ToLower(1);
        if (data[0] >= 'a' && data[0] <= 'z') data[0] = static_cast<char>(data[0] - 'a' + 'A');
    }
    void KeepNumeric() {
        std::string kept;
        for (const char c : data)
            kept.append(c != '\0' && std::strchr("+-.0123456789", c) ? 1 : 0, c);
        data = kept;
    }
    void Trim(char byte) { TrimLeft(byte), TrimRight(byte); }
    void TrimLeft(char c) { Note("TrimLeft"), data.erase(0, data.find_first_not_of(c)); }
    void TrimRight(char c) { Note("TrimRight"), data.erase(data.find_last_not_of(c) + 1); }
    std::string Mid(Size pos, Size count) const { return Note("Mid"), _from(pos).substr(0, count); }
    std::string Left(Size count) const { return Mid(0, count); }
    std::string Right(Size count) const { return Mid(data.size() - count, count); }
    long long Find(Str text, Size pos) const {
        return static_cast<long long>(data.find(text, pos));
    }
    std::uint32_t ReverseFind(Str text, Size fromEnd) const {
        return static_cast<std::uint32_t>(data.rfind(text, data.size() - 1 - fromEnd));
    }
    std::string Replace(Size pos, Size count, const std::string text) {
        return data = data.substr(0, pos) + text + _from(pos).erase(0, count);
    }
    void ReplaceAll(const std::string from, const std::string to) {
        Size pos = 0;
        for (Note("ReplaceAll"); (pos = data.find(from, pos)) != data.npos; pos += to.size()) {
            data.replace(pos, from.size(), to);
        }
    }
    void ReplaceAll(const char* a, const char* b) { ReplaceAll(std::string(a), std::string(b)); }
    void ReplaceAll(Ref a, Ref b) { ReplaceAll(a.data, b.data); }

    template <class Number, class... Precision>
    void SetNumber(Number value, Precision... precision) {
        _setSystem(Poco::NumberFormatter::format(value, std::max(precision, 0)...));
    }
    void SetNumber64(long long value) { SetNumber(value); }
    void SetFourCC(std::uint32_t code) {
        std::string text;
        for (int i = 0; i < 4; ++i, code <<= 8) text += static_cast<char>(code >> 24);
        _setSystem(text.c_str());
    }
    void SetVersion(std::uint32_t version) {
        const std::string patch = "." + std::to_string(version & 0xFF);
        SetPair(static_cast<int>(version >> 16), static_cast<int>(version >> 8 & 0xFF), ".");
        if (patch != ".0") data += patch;
    }
    static std::string HexString(const Byte* bytes, std::uint32_t count) {
        std::ostringstream text;
        text << std::hex << std::uppercase << std::setfill('0');
        for (; count > 0; --count) text << std::setw(2) << int{*bytes++};
        return text.str();
    }
    void SetHex(const Byte* bytes, std::uint32_t count) { _setSystem(HexString(bytes, count)); }
    void SetHex(Byte a, Byte b, Byte c, Byte d) { SetHex(std::array{a, b, c, d}.data(), 4); }
    void SetHex(std::uint32_t n) {
        _setSystem((std::ostringstream() << std::hex << std::uppercase << n).str());
    }
    void SetPair(NPair16 pair) { SetPair(pair.high, pair.low); }
    void SetPair(NPair32 pair) { SetPair(pair.high, pair.low); }
    void SetPair(int a, int b, Str between = ",") {
        _setSystem(IntToString(a) + between + IntToString(b));
    }
    template <class Number>
    void SetList(const Number* values, int count) {
        data = count > 0 ? Poco::NumberFormatter::format(*values++) : "";
        while (--count > 0) Poco::NumberFormatter::append(data += ',', *values++);
    }
    static std::string IntToString(int value) { return std::to_string(value); }
    ReferenceText Format(const char*, const char* a, char b, const char* c) const {
        return ReferenceText(std::string((std::string(a) + b + c).c_str()));
    }

    static int ParseInt(Str s, int v = 0) { return Parser::tryParse(s, v, ',') ? v : 0; }
    int ToInt() const { return ParseInt(data); }
    unsigned ToUInt(unsigned v = 0) const { return Parser::tryParseUnsigned(data, v, ',') ? v : 0; }
    unsigned HexValue(unsigned v = 0) const { return Parser::tryParseHex(data, v) ? v : 0; }
    std::uint64_t ToUInt64(Poco::UInt64 v = 0) const {
        return Parser::tryParseUnsigned64(data, v) ? v : 0;
    }
    std::uint64_t ToSize() const { return ToUInt64(); }
    double ToDouble(double v = 0) const { return Parser::tryParseFloat(data, v, '.', ',') ? v : 0; }
    float ToFloat() const { return static_cast<float>(ToDouble()); }
    std::uint32_t ToFourCC() const {
        std::uint32_t code = 0;
        for (const char c : (data + "\0\0\0\0"s).substr(0, 4))
            code = code << 8 | static_cast<Byte>(c);
        return code;
    }
    std::uint32_t ToVersion() const {
        std::uint32_t version = 0, shift = 16;
        std::istringstream fields(data);
        for (std::string field; std::getline(fields, field, '.'); shift -= 8) {
            version |= static_cast<std::uint32_t>(ParseInt(field)) << shift % 32;
        }
        return version;
    }
    unsigned HexByte(Size index) const {
        return Parser::parseHex("000000" + (_from(2 * index) + "00").substr(0, 2));
    }
    int HexBytes(Byte* out, std::uint32_t capacity) const {
        if (data.size() % 2 != 0) return -1;
        if (data.size() / 2 > capacity) return -2;
        for (Size i = 0; i < data.size(); i += 2)
            *out++ = static_cast<Byte>(Parser::parseHex(data.substr(i, 2)));
        return 0;
    }
    NPair32 ToPair32() const {
        const Size comma = data.find(',');
        int high = 0;
        if (comma == data.npos || !Parser::tryParse(data.substr(0, comma), high, ',')) return {};
        return {ParseInt(data.substr(comma + 1)), high};
    }
    NPair16 ToPair16() const {
        return {static_cast<std::int16_t>(ToPair32().low),
                static_cast<std::int16_t>(ToPair32().high)};
    }
    template <class Number>
    std::uint32_t ToList(Number* out) const {
        Number* const first = out;
        std::istringstream pieces(data + ",");
        for (std::string piece; std::getline(pieces, piece, ',');) {
            *out++ = std::is_same_v<Number, float>
                         ? static_cast<Number>(Parser::parseFloat(piece, '.', ','))
                         : static_cast<Number>(Parser::parse(piece, ','));
        }
        return static_cast<std::uint32_t>(out - first);
    }
    std::vector<std::int32_t> ToList() const {
        std::vector<std::int32_t> values(data.size() + 1);
        return values.resize(ToList(values.data())), values;
    }

    void Note(Str call) const { calls += call + ' '; }

    std::string data;
    mutable std::string cache, calls;
    Tag tag = Sys;
    NStringForm form = FormUnknown;

private:
    static Tag _markOf(Str text, Tag none) {
        return text.substr(0, 3) == Mark ? Utf8 : text.substr(0, 2) == "\xFF\xFE" ? Utf16 : none;
    }
    static std::string _unmarked(Str text) {
        return text.substr(_markOf(text, Sys) == Utf8 ? 3 : _markOf(text, Sys) == Utf16 ? 2 : 0);
    }
    static std::string _marked(Str text, Tag encoding) {
        const std::string mark = encoding == Utf8 ? Mark : encoding == Utf16 ? "\xFF\xFE" : "";
        return (_unmarked(text).empty() ? "" : mark) + _unmarked(text);
    }
    static std::string _bytesOf(const Byte* counted) {
        return std::string(reinterpret_cast<const char*>(counted + 1), *counted).c_str();
    }
    void _take(Str text, Tag encoding) {
        data = _unmarked(text), tag = encoding;
        if (tag == Utf8) Normalize(FormNFC);
    }
    void _takePointer(const char* text, Tag encoding) {
        if (encoding != Utf16) return _take(text, encoding);
        Size size = 0;
        while (text[size] != 0 || text[size + 1] != 0) size += 2;
        *this = ReferenceText(WideOf(std::string(text, size)).c_str());
    }
    void _setSystem(Str text) { data = text, tag = Sys; }
    std::string _from(Size pos) const {
        if (pos > data.size()) throw std::out_of_range("invalid string position");
        return data.substr(pos);
    }
    void _shift(Size from, char first, char last, int distance) {
        for (char* c = &data[from]; *c != '\0'; ++c) {
            if (*c >= first && *c <= last) *c = static_cast<char>(*c + distance);
        }
    }
};

}  // namespace morvel::test
