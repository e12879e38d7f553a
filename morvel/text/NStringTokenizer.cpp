#include <morvel/text/NStringTokenizer.h>

#include <Poco/StringTokenizer.h>

static_assert(int{TOK_IGNORE_EMPTY} == int{Poco::StringTokenizer::TOK_IGNORE_EMPTY} &&
                  int{TOK_TRIM} == int{Poco::StringTokenizer::TOK_TRIM},
              "the options go to POCO as they are");

NStringTokenizer::NStringTokenizer(const NString& text, const NString& separators,
                                   std::uint32_t options) {
    Assign(text, separators, options);
}

NStringTokenizer::NStringTokenizer(const NStringTokenizer& other)
    : NStringTokenizer(other._text, other._separators, other._options) {}

NStringTokenizer::~NStringTokenizer() {
    delete _tokenizer;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a tokenizer splits its own text anew.
NStringTokenizer& NStringTokenizer::operator=(const NStringTokenizer& other) {
    Assign(other._text, other._separators, other._options);
    return *this;
}

void NStringTokenizer::Assign(const NString& text, const NString& separators,
                              std::uint32_t options) {
    _text = text;
    _separators = separators;
    _options = options;
    if (_options & TOK_TRIM) _options |= TOK_IGNORE_EMPTY;
    const NStringEncoding encoding = _text.Encoding();
    _separators.ConvertTo(encoding);
    // The former tokenizer is abandoned, not released, as the header tells.
    _tokenizer =
        new Poco::StringTokenizer(_text.Data(), _separators.Data(), static_cast<int>(_options));
    _encoding = encoding;  // that of the tokens that are there, also where memory ran out above
}

std::size_t NStringTokenizer::Count() const {
    return _tokenizer->count();
}

std::string& NStringTokenizer::Token(std::size_t index) {
    return (*_tokenizer)[index];
}

const std::string& NStringTokenizer::Token(std::size_t index) const {
    return static_cast<const Poco::StringTokenizer&>(*_tokenizer)[index];
}
