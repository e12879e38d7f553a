// Decompose, order each run of combining marks, recompose: the steps of Unicode Standard Annex 15
// and of utf8proc's one-call operations, whose results these are. Those order marks in quadratic
// time. Covered by NormalizationTest.
#include <morvel/text/Normalization.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include <utf8proc.h>

#include <morvel/platform/Codecs.h>
#include <morvel/text/NfcQuickCheck.h>

using CodePoints = std::vector<utf8proc_int32_t>;

namespace {

// utf8proc's options for each form, in the order of their numbers.
constexpr int OptionsOf[] = {
    UTF8PROC_STABLE | UTF8PROC_DECOMPOSE, UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | UTF8PROC_COMPAT,
    UTF8PROC_STABLE | UTF8PROC_COMPOSE, UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_COMPAT};

// Whether the text is in that form already; true is certain, false is not.
bool _isSettled(std::string_view text, NStringForm form) {
    return form == FormNFC ? morvel::NfcQuickCheck(text) : morvel::IsAscii(text);
}

utf8proc_int32_t _combiningClass(utf8proc_int32_t c) {
    return c < 0x300 ? 0 : utf8proc_get_property(c)->combining_class;
}

void _appendDecomposed(char32_t c, utf8proc_option_t options, CodePoints* out) {
    utf8proc_int32_t parts[32];  // the longest decomposition there is has 18
    int boundClass = 0;
    const utf8proc_ssize_t count = utf8proc_decompose_char(static_cast<utf8proc_int32_t>(c), parts,
                                                           std::size(parts), options, &boundClass);
    out->insert(out->end(), parts, parts + count);
}

// Puts each run of combining marks in canonical order: by class, else as they are.
void _orderMarks(CodePoints* text) {
    constexpr int Bits = 21;  // of a code point; the class stands above while a run is sorted
    const auto isStarter = [](utf8proc_int32_t c) { return _combiningClass(c) == 0; };
    const auto isLess = [](auto a, auto b) { return a >> Bits < b >> Bits; };
    for (auto end = text->begin(); end != text->end();) {
        const auto run = std::find_if_not(end, text->end(), isStarter);
        end = std::find_if(run, text->end(), isStarter);
        if (end - run < 2) continue;
        for (auto c = run; c != end; ++c) *c |= _combiningClass(*c) << Bits;
        if (!std::is_sorted(run, end, isLess)) std::stable_sort(run, end, isLess);
        for (auto c = run; c != end; ++c) *c &= (1 << Bits) - 1;
    }
}

}  // namespace

bool morvel::NormalizeText(std::string* text, NStringForm form) {
    if (form < FormNFD || form > FormNFKC) return false;
    if (_isSettled(*text, form)) return true;
    const std::string_view head = std::string_view(*text).substr(0, text->find('\0'));
    if (_isSettled(head, form)) {
        text->resize(head.size());
        return true;
    }
    const auto options = static_cast<utf8proc_option_t>(OptionsOf[form]);
    const auto* p = reinterpret_cast<const unsigned char*>(head.data());
    const unsigned char* const end = p + head.size();
    std::string result;
    result.reserve(head.size());
    CodePoints segment;
    while (p != end) {
        // ASCII stays, but for a last character that might compose with what follows.
        const unsigned char* const begin = p;
        p = SkipAscii(p, end);
        if (p != begin && p != end) --p;
        result.append(begin, p);
        if (p == end) break;
        segment.clear();
        do {
            const char32_t c = Utf8Codec::Read(p, end);
            if (c == Malformed) return false;
            _appendDecomposed(c, options, &segment);
        } while (p != end && *p > 0x7F);
        _orderMarks(&segment);
        const utf8proc_ssize_t count = utf8proc_normalize_utf32(
            segment.data(), static_cast<utf8proc_ssize_t>(segment.size()), options);
        segment.resize(static_cast<std::size_t>(count));
        for (const utf8proc_int32_t c : segment) {
            char bytes[4];
            result.append(bytes, Utf8Codec::Write(bytes, static_cast<char32_t>(c)));
        }
    }
    text->swap(result);
    return true;
}
