#pragma once

#include <cstring>

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

#include <Poco/TextConverter.h>
#include <Poco/TextEncoding.h>
#include <utf8proc.h>

#include <tests/support/Generated.h>
#include <tests/support/Text.h>

namespace morvel::test {

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

/// Up to four bytes at the edges of the table of well-formed UTF-8: Unicode Standard, table 3-7.
inline std::string OddCharacter(Draw& draw) {
    const auto leads = "\x41\x80\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5\xFF"s;
    const auto seconds = "\x22\x7F\x80\x8F\x90\x9F\xA0\xBF\xC2"s, others = "\x22\x80\xBF\xC2"s;
    return std::string{draw.Of(leads), draw.Of(seconds)} + draw.Joined(others, 2);
}

/// What POCO makes of the bytes, text of the system being wide; but it lets a low surrogate without
/// a high one pass, which is malformed here.
inline std::string ByPoco(std::string bytes, NStringEncoding from, NStringEncoding to) {
    for (std::size_t i = 0; (from == Utf16 || from == Sys) && i + 1 < bytes.size(); i += 2) {
        const int lead = bytes[i + 1] & 0xFC;
        if (lead == 0xDC) bytes.replace(i, 2, "?\0", 2);
        if (lead == 0xD8) i += 2;  // takes the next unit with it
    }
    // Once: each look-up takes a lock, which is slow under Wine.
    using Poco::TextEncoding;
    static TextEncoding* const encodings[] = {
        &TextEncoding::byName("UTF-16"), &TextEncoding::byName("ASCII"),
        &TextEncoding::byName("Latin1"), &TextEncoding::byName("Latin9"),
        &TextEncoding::byName("UTF-8"),  &TextEncoding::byName("UTF-16")};
    Poco::TextConverter converter(*encodings[from], *encodings[to], '?');
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

/// A copy of `text` at the front or at the end of memory between two pages without access, so that
/// whoever reads beyond an end crashes. Kept until the next call. On Windows, where the same code
/// reads, the memory is any.
inline std::string_view Guarded(std::string_view text, bool atFront) {
    constexpr std::size_t Size = 0x40000;
#if __has_include(<sys/mman.h>)
    static char* const memory = [] {
        constexpr std::size_t Page = 0x10000;  // the largest of any system
        void* const whole =
            mmap(nullptr, Size + 2 * Page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        mprotect(static_cast<char*>(whole) + Page, Size, PROT_READ | PROT_WRITE);
        return static_cast<char*>(whole) + Page;
    }();
#else
    static char memory[Size];
#endif
    char* const copy = atFront ? memory : memory + Size - text.size();
    return {copy, text.copy(copy, text.size())};
}

/// NString as its header tells it, by plain strings, POCO and utf8proc, without a short cut: what
/// deals with its tag, form and cache, or takes other texts. `calls` has what goes through the
/// virtual table of the object itself.
struct ReferenceText {
    using Tag = NStringEncoding;
    using Str = const std::string&;
    using Ref = const ReferenceText&;
    using Size = std::size_t;
    using Byte = unsigned char;

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

    bool operator==(Ref other) const { return Note("operator=="), data == other.In(tag); }
    ReferenceText& operator=(Ref other) {
        return Note("operator="), data = other.data, tag = other.tag, cache = "", *this;
    }
    ReferenceText& operator+=(Ref other) {
        return Note("operator+="),
               data += std::string(other.tag == tag ? other.data : other.In(tag)), *this;
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
        Note("Normalize");
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

    void Note(const char* call) const { calls += call; }

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
    std::string _from(Size pos) const {
        if (pos > data.size()) throw std::out_of_range("invalid string position");
        return data.substr(pos);
    }
};

}  // namespace morvel::test
