#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <morvel/base/NBaseObject.h>
#include <morvel/text/NString.h>

namespace Poco {
class StringTokenizer;
}

/// How NStringTokenizer treats what stands between two separators.
enum : std::uint32_t {
    TOK_IGNORE_EMPTY = 1,  ///< Empty tokens are dropped.
    TOK_TRIM = 2,          ///< ASCII white space goes off both ends; also drops empty tokens.
};

/// The tokens of a text between separator bytes, split once and for all when the text is given.
///
///     NStringTokenizer list(NString("a, b,,c"), NString(","), TOK_TRIM);
///     list.Count();   // 3
///     list.Token(1);  // "b"
///
/// The separators are a set of single bytes, in the encoding of the text: a character of several
/// bytes separates at each of them. Tokens are bytes in that encoding too, and Encoding() tells it,
/// so that NString(list.Token(i), list.Encoding()) is the token as text.
///
/// @failure Token throws Poco::RangeException for an index behind the end; else nothing is thrown
/// but std::bad_alloc.
/// @threads A copy splits anew and shares nothing. Any number of threads may read one object at the
/// same time, as long as none writes to a token.
/// @encoding Tokens have that of the text; the separators are brought to it.
/// @cost Splitting is linear in the text and copies each token.
class MORVEL_API NStringTokenizer : public NBaseObject {
public:
    /// As Assign, which leaks nothing the first time.
    ///@{
    NStringTokenizer(const NString& text, const NString& separators, std::uint32_t options);
    NStringTokenizer(const NStringTokenizer& other);
    ///@}

    ~NStringTokenizer() override;  ///< Ends the tokens.

    /// Splits the other's text at its separators, by its options, as Assign does.
    virtual NStringTokenizer& operator=(const NStringTokenizer& other);

    /// Splits `text`; `separators` are brought to its encoding, or kept as they are if that can't
    /// be done. `options` is a sum of TOK_ values. The tokens that were there are not released:
    /// each call on an object that has some, operator= included, leaks them. After an
    /// allocation failure Token and Encoding still tell the former ones.
    void Assign(const NString& text, const NString& separators, std::uint32_t options);

    std::size_t Count() const;  ///< How many tokens there are.

    /// The token at `index`, valid and writable until the next Assign or the object's end. Throws
    /// Poco::RangeException for an `index` of Count() or more.
    ///@{
    std::string& Token(std::size_t index) MORVEL_LIFETIMEBOUND;
    const std::string& Token(std::size_t index) const MORVEL_LIFETIMEBOUND;
    ///@}

    NStringEncoding Encoding() const { return _encoding; }  ///< That of the text as it was given.

private:
    NString _text;
    NString _separators;
    std::uint32_t _options = 0;
    NStringEncoding _encoding = EncodingSystem;
    Poco::StringTokenizer* _tokenizer = nullptr;
};
