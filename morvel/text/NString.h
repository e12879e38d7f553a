#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include <morvel/base/NBaseObject.h>

/// How the bytes of a text are to be read.
enum NStringEncoding : std::uint32_t {
    EncodingSystem = 0,  ///< The system's own: the ANSI code page on Windows, else UTF-8.
    EncodingASCII = 1,   ///< 00 to 7F.
    EncodingLatin1 = 2,  ///< ISO 8859-1.
    EncodingLatin9 = 3,  ///< ISO 8859-15.
    EncodingUTF8 = 4,    ///< Brought to NFC where text comes in.
    EncodingUTF16 = 5,   ///< 16-bit units in native byte order.
};

/// Unicode normalisation forms (Unicode Standard Annex #15).
enum NStringForm : std::int32_t {
    FormUnknown = -1,  ///< None was applied.
    FormNFD = 0,       ///< Decomposed.
    FormNFKD = 1,      ///< Decomposed, compatibility characters replaced.
    FormNFC = 2,       ///< Composed.
    FormNFKC = 3,      ///< Composed, compatibility characters replaced.
};

/// Two numbers written as "high,low". The first one written is the second in memory, so that on a
/// little-endian machine the pair read as one unsigned word has it in the high half.
struct NPair16 {
    std::int16_t low;   ///< The second one written.
    std::int16_t high;  ///< The first one written.
};

/// As NPair16, of 32 bits each.
struct NPair32 {
    std::int32_t low;   ///< The second one written.
    std::int32_t high;  ///< The first one written.
};

/// Text as bytes under an encoding tag, with the normalisation form last applied to it. Every
/// length, position, comparison and change of case counts bytes; there is no position by character.
///
///     NString name(std::string("caf\xE9"), EncodingLatin1);
///     name == NString(std::string("caf\xC3\xA9"), EncodingUTF8);  // true: one encoding for both
///     name.ConvertTo(EncodingUTF8);  // now the five bytes of UTF-8
///
/// A value: copies are deep and share nothing. A copy starts with the form FormUnknown; assignment
/// leaves the form of its target as it was.
///
/// A subclass sees every assignment, SetData included, arrive at operator=(const NString&), every
/// == and += at the one that takes an NString, every ReplaceAll at the one of byte strings. Left
/// and Right call Mid, and Trim calls TrimLeft and TrimRight.
///
/// A counted text is a byte with the number of bytes that follow, and those bytes: at most 255, and
/// the text ends at the first NUL among them.
///
/// @failure No member of the NException family leaves this class: a position out of range is
/// std::out_of_range with "invalid string position", and what a dependency throws is said where it
/// can happen.
/// @threads Threads may read one object at the same time as long as none calls Converted,
/// Data(encoding) or DataWithBOM, which write to it though they are const.
/// @encoding Any bytes are accepted under any tag. UTF-8 text that comes in as narrow text is
/// brought to NFC and ends at its first NUL; wide text is not normalised. A character that the
/// target of a conversion lacks becomes '?'. A byte-order mark (BOM) ahead of narrow text is taken
/// off: EF BB BF says UTF-8, FF FE says UTF-16; nothing else is one. Text from outside without one
/// counts as EncodingSystem.
/// @cost A copy copies the bytes. Conversion and comparison are linear in them, and so is NFC of
/// text that has no long runs of combining marks; text that is NFC already is only looked through.
/// Under equal tags nothing is converted.
class MORVEL_API NString : public NBaseObject {
public:
    NString();                                   ///< Empty, EncodingSystem.
    explicit NString(NStringEncoding encoding);  ///< Empty.
    NString(const NString& other);               ///< Bytes and tag; the form is FormUnknown.
    NString(NString&& other) noexcept;           ///< As the copy; `other` is empty afterwards.

    /// All bytes but a byte-order mark, which decides the tag; else that is EncodingSystem or
    /// `fallback`. UTF-8 ends at its first NUL.
    ///@{
    NString(const std::string& text);
    NString(const std::string& text, NStringEncoding fallback);
    ///@}

    /// Converted to UTF-8 up to the first NUL. A leading unit FFFE, a swapped BOM, is taken off
    /// by the first of these two; U+FEFF stays as a character.
    /// REQUIRES: a pointer is not null.
    ///@{
    NString(const NWideString& text);
    NString(const NWideChar* text);
    ///@}

    /// Up to the first NUL; null gives the empty text. After the BOM FF FE the rest is read as a
    /// NUL-terminated wide text and becomes UTF-8.
    NString(const char* text);

    /// Up to the first NUL, a BOM taken off. `encoding` becomes the tag whatever the BOM says;
    /// with EncodingUTF16 the pointer is read as NUL-terminated wide text, and the text becomes
    /// UTF-8.
    /// REQUIRES: `text` is not null.
    NString(const char* text, NStringEncoding encoding);

    /// A counted text. The BOM decides the tag, or with the second form `encoding` does.
    /// REQUIRES: `counted` is not null.
    ///@{
    NString(const unsigned char* counted);
    NString(const unsigned char* counted, NStringEncoding encoding);
    ///@}

    ~NString() override;  ///< Ends what was exported.

    /// `other` is converted to this object's encoding first, which brings UTF-8 to NFC; this
    /// object's own bytes are compared as they stand, all of them.
    ///@{
    virtual bool operator==(const NString& other) const;
    virtual bool operator==(const std::string& other) const;
    virtual bool operator==(const unsigned char* counted) const;
    virtual bool operator==(const char* other) const;
    template <class Text>
    bool operator!=(const Text& other) const {
        return !(*this == other);
    }
    ///@}

    /// Takes over bytes and tag but not the form, and empties the cache of the exports, also where
    /// the object is assigned to itself. The other forms go through a temporary of the constructor
    /// with that argument.
    ///@{
    virtual NString& operator=(const NString& other);
    virtual NString& operator=(const std::string& text);
    virtual NString& operator=(const unsigned char* counted);
    virtual NString& operator=(const char* text);
    ///@}

    /// Appends, converted to this object's encoding where the tags differ. Narrow text and `byte`
    /// count as EncodingSystem unless a BOM says otherwise; the byte NUL appends nothing.
    ///@{
    virtual NString& operator+=(const NString& other);
    virtual NString& operator+=(const std::string& text);
    virtual NString& operator+=(const unsigned char* counted);
    virtual NString& operator+=(const char* text);
    virtual NString& operator+=(char byte);
    ///@}

    /// A new text: `left` with `right` appended as += does, so in the encoding of `left`.
    [[nodiscard]] friend NString operator+(NString left, const NString& right) {
        left += right;
        return left;
    }

    /// Assigns what the constructor of the same arguments makes.
    ///@{
    virtual void SetData(const unsigned char* counted, NStringEncoding encoding);
    virtual void SetData(const char* text, NStringEncoding encoding);
    virtual void SetData(const std::string& text, NStringEncoding fallback);
    virtual void SetData(const unsigned char* counted);
    virtual void SetData(const NWideChar* text);
    virtual void SetData(const char* text);
    virtual void SetData(const NWideString& text);
    virtual void SetData(const std::string& text);
    ///@}

    /// The first form keeps `length` bytes as they are, byte-order marks and NULs included, and
    /// then normalises UTF-8 to NFC unless the form says that it is NFC already: UTF-8 ends at its
    /// first NUL then. The other two assign a wide text of `count` units and a byte string of
    /// `length` bytes through their constructors.
    ///@{
    virtual void SetBytes(const char* bytes, std::size_t length, NStringEncoding encoding);
    virtual void SetBytes(const NWideChar* chars, std::size_t count);
    virtual void SetBytes(const char* bytes, std::size_t length);
    ///@}

    /// Converts the text in place. UTF-8 is brought to NFC first, even when nothing else is to do,
    /// and so ends at its first NUL. What is malformed, a surrogate alone among it, and what the
    /// target lacks becomes '?'.
    /// False, and the text as it was but for that, if either tag is none of NStringEncoding's.
    virtual bool ConvertTo(NStringEncoding encoding);

    /// Swaps the bytes of each 16-bit unit; does nothing to a text that isn't UTF-16. With an odd
    /// number of bytes the last one is paired with a NUL, and the text grows by that byte.
    virtual void SwapBytes();

    /// Brings UTF-8 text to `form`; ends it at its first NUL. Malformed text stays as it is. In
    /// every case, text that isn't UTF-8 included, Form() tells `form` afterwards, and a second
    /// call with the same form does nothing. std::bad_alloc leaves text and form as they were.
    virtual void Normalize(NStringForm form);

    virtual void KeepNumeric();  ///< Drops all bytes but + - . and the digits.

    /// Each byte up to the first NUL, as the C library's locale has it: the ASCII letters alone
    /// unless the application has set another.
    ///@{
    virtual void ToUpper();
    virtual void ToLower();
    virtual void Capitalize();  ///< The first byte upper case, all others lower.
    ///@}

    /// Removes every repetition of `byte` at both ends, the head, the tail.
    ///@{
    virtual void Trim(char byte);
    virtual void TrimLeft(char byte);
    virtual void TrimRight(char byte);
    ///@}

    /// Up to `count` bytes from `pos`, from the head, and exactly `count` from the tail. Mid throws
    /// std::out_of_range for a `pos` above the length, Right for a `count` above it; Left clips.
    ///@{
    [[nodiscard]] virtual std::string Mid(std::size_t pos, std::size_t count) const;
    [[nodiscard]] virtual std::string Left(std::size_t count) const;
    [[nodiscard]] virtual std::string Right(std::size_t count) const;
    ///@}

    /// Position of the first match at or behind `pos`, or -1. An empty needle is found at `pos`
    /// itself as long as that isn't above the length.
    ///@{
    virtual long long Find(const char* text, std::size_t pos) const;
    virtual long long Find(const std::string& text, std::size_t pos) const;
    ///@}

    /// Position of the last match that starts no later than `fromEnd` bytes before the last byte,
    /// cut to 32 bits; 0xFFFFFFFF for no match, where Find has -1 in 64 bits. With a `fromEnd` of
    /// the length or more the search starts at the end of the text. An empty needle is found where
    /// the search starts.
    ///@{
    virtual std::uint32_t ReverseFind(const char* text, std::size_t fromEnd) const;
    virtual std::uint32_t ReverseFind(const std::string& text, std::size_t fromEnd) const;
    ///@}

    /// Replaces up to `count` bytes from `pos` and returns a copy of the whole text. Throws
    /// std::out_of_range, with nothing changed, for a `pos` above the length.
    ///@{
    virtual std::string Replace(std::size_t pos, std::size_t count, const char* text);
    virtual std::string Replace(std::size_t pos, std::size_t count, const std::string& text);
    ///@}

    /// Replaces every match from left to right; what was put in is not searched again. The bytes of
    /// the arguments count as they stand, tags are not looked at.
    /// REQUIRES: `from` is not empty.
    ///@{
    virtual void ReplaceAll(const char* from, const char* to);
    virtual void ReplaceAll(const NString& from, const NString& to);
    virtual void ReplaceAll(const std::string& from, const std::string& to);
    ///@}

    /// UrlEncode escapes every byte but letters, digits and - . _ as %XX (for query values).
    /// UrlDecode takes escapes back, leaves a plus sign alone and throws what Poco::URI::decode
    /// throws for a bad escape, with the text unchanged.
    ///@{
    virtual void UrlEncode();
    virtual void UrlDecode();
    ///@}

    /// Below, equal to or above 0 as `strcmp`, `strncmp`, and the same two with ASCII letters
    /// folded to lower case, whatever the locale, give it. The argument is converted to this
    /// object's encoding first; where Compare and CompareNoCase are told that the encodings are
    /// equal they compare at once, the cheap way. All stop at the first NUL, so UTF-16 text
    /// compares only up to its first zero byte.
    ///@{
    virtual int Compare(const char* other, NStringEncoding encoding) const;
    virtual int Compare(const char* other) const;
    virtual int Compare(const std::string& other, NStringEncoding encoding) const;
    virtual int Compare(const std::string& other) const;
    virtual int Compare(const NString& other) const;
    virtual int CompareN(const char* other, NStringEncoding encoding, std::uint32_t count) const;
    virtual int CompareN(const char* other, std::uint32_t count) const;
    virtual int CompareN(const std::string& other, NStringEncoding encoding,
                         std::uint32_t count) const;
    virtual int CompareN(const std::string& other, std::uint32_t count) const;
    virtual int CompareN(const NString& other, std::uint32_t count) const;
    virtual int CompareNoCase(const char* other, NStringEncoding encoding) const;
    virtual int CompareNoCase(const char* other) const;
    virtual int CompareNoCase(const std::string& other, NStringEncoding encoding) const;
    virtual int CompareNoCase(const std::string& other) const;
    virtual int CompareNoCase(const NString& other) const;
    virtual int CompareNoCaseN(const char* other, NStringEncoding encoding,
                               std::size_t count) const;
    virtual int CompareNoCaseN(const char* other, std::size_t count) const;
    virtual int CompareNoCaseN(const std::string& other, NStringEncoding encoding,
                               std::size_t count) const;
    virtual int CompareNoCaseN(const std::string& other, std::size_t count) const;
    virtual int CompareNoCaseN(const NString& other, std::size_t count) const;
    ///@}

    /// The writers of numbers replace the whole text and set the tag to EncodingSystem, but for
    /// SetList, which leaves the tag. Without a precision a floating number gets the fewest digits
    /// that read back as the same value; with one it is fixed, halves away from zero, a negative
    /// precision counts as 0, and the text is empty for a finite magnitude of 1e60 or more or a
    /// precision above what POCO formats: 60, from its release 1.13 on 100.
    ///@{
    virtual void SetNumber(double value);
    virtual void SetNumber(double value, int precision);
    virtual void SetNumber(float value);
    virtual void SetNumber(float value, int precision);
    virtual void SetNumber(int value);
    virtual void SetNumber(unsigned int value);
    virtual void SetNumber(long value);
    virtual void SetNumber(unsigned long value);
    virtual void SetNumber(long long value);
    ///@}

protected:
    virtual void SetNumber64(long long value);  ///< As SetNumber(long long), in a slot of its own.

public:
    /// The four bytes of `code`, highest first, up to a zero one.
    virtual void SetFourCC(std::uint32_t code);

    /// "major.minor", and ".patch" if that isn't 0: bits 16 to 31, 8 to 15, 0 to 7.
    virtual void SetVersion(std::uint32_t version);

    /// Two upper-case hexadecimal digits a byte; a number without leading zeros.
    ///@{
    virtual void SetHex(const unsigned char* bytes, std::uint32_t count);
    virtual void SetHex(unsigned char a, unsigned char b, unsigned char c, unsigned char d);
    virtual void SetHex(std::uint32_t value);
    ///@}

    virtual void SetNumber(unsigned long long value);  ///< As SetNumber(long long).

    /// "high,low", or "first,second".
    ///@{
    virtual void SetPair(NPair16 pair);
    virtual void SetPair(std::int32_t first, std::int32_t second);
    virtual void SetPair(NPair32 pair);
    ///@}

    /// The plain readers leave the text alone and read 0 from what isn't a number, is out of range
    /// or empty. Commas are separators of thousands: "1,5" reads as 15. ToFloat reads a double and
    /// narrows it: a number out of the range of float becomes an infinity.
    ///@{
    virtual double ToDouble() const;
    virtual float ToFloat() const;
    virtual std::int32_t ToInt() const;
    ///@}

    /// The first four bytes as a big-endian number; a byte that the text lacks counts as 0.
    virtual std::uint32_t ToFourCC() const;

    /// What SetVersion wrote; a field that is no number counts as 0. Fields are not masked: a minor
    /// above 255 runs into the major, a fourth field lands in bits 24 and up.
    virtual std::uint32_t ToVersion() const;

    virtual std::uint32_t HexValue() const;  ///< A plain reader, of hexadecimal digits.

    /// The byte at `index` of a text of two hexadecimal digits a byte; a lone last digit stands in
    /// the higher place, and the end of the text reads as 0. Throws std::out_of_range behind the
    /// end, Poco::SyntaxException for what isn't hexadecimal.
    virtual std::uint32_t HexByte(std::uint32_t index) const;

    /// All bytes of such a text into `out`, which has room for `capacity`. 0; -1 for an odd length,
    /// -2 for too little room, with nothing written. Throws Poco::SyntaxException for what isn't
    /// hexadecimal; the bytes before it are written by then.
    [[nodiscard]] virtual std::int32_t HexBytes(unsigned char* out, std::uint32_t capacity) const;

    virtual unsigned long long ToUInt64() const;  ///< As ToInt, without a sign.

    /// A pair as SetPair writes it; zero without a comma, and what was read so far where a half is
    /// no number.
    ///@{
    virtual NPair16 ToPair16() const;
    virtual NPair32 ToPair32() const;
    ///@}

    /// Numbers joined by commas; a count of 0 gives an empty text. Leaves the tag as it is.
    ///@{
    virtual void SetList(const float* values, std::uint8_t count);
    virtual void SetList(const std::uint16_t* values, std::uint8_t count);
    virtual void SetList(const std::int16_t* values, std::uint8_t count);
    virtual void SetList(const unsigned char* values, std::uint8_t count);
    ///@}

    /// The numbers between commas, cut to the type of `out`, and how many there were. Throws
    /// Poco::SyntaxException for a piece that is no number, the empty text included; the numbers
    /// before it are written by then.
    /// REQUIRES: `out` has room for them.
    ///@{
    virtual std::uint32_t ToList(float* out) const;
    virtual std::uint32_t ToList(std::uint16_t* out) const;
    virtual std::uint32_t ToList(unsigned char* out) const;
    virtual std::vector<std::int32_t> ToList() const;
    ///@}

    /// A new text, printed as std::printf would, up to the first NUL and without a BOM at its
    /// head; empty for a null `format`. The object takes no part.
    [[nodiscard]] virtual NString Format(const char* format, ...) const MORVEL_PRINTF_LIKE(2, 3);

    virtual std::uint32_t ToUInt() const;       ///< As ToInt, without a sign.
    virtual unsigned long long ToSize() const;  ///< As ToUInt64.

    /// Replaces the text by the Base64 form (RFC 4648, 4) of `count` bytes, or of its own bytes, in
    /// one line.
    ///@{
    virtual void EncodeBase64(const unsigned char* bytes, std::uint32_t count);
    virtual void EncodeBase64();
    ///@}

    /// Decodes the text as Base64 into `out`, which the caller owns and has made large enough, and
    /// sets `*count` to the bytes decoded, 0 where memory runs out; stops without a report at what
    /// is no Base64. A null `out` only counts: measure, allocate, call again. The form without
    /// arguments replaces the text by the bytes decoded, and throws Poco::DataFormatException, the
    /// text unchanged, where the other stops.
    ///@{
    virtual void DecodeBase64(unsigned char* out, std::uint32_t* count) const;
    virtual void DecodeBase64();
    ///@}

    /// The bytes as they are, until the object changes or ends.
    const std::string& Data() const MORVEL_LIFETIMEBOUND { return _data; }

    /// The same with a NUL behind them.
    const char* CStr() const MORVEL_LIFETIMEBOUND { return _data.c_str(); }

    std::size_t Length() const { return _data.size(); }           ///< In bytes.
    [[nodiscard]] bool IsEmpty() const { return _data.empty(); }  ///< Whether it has no byte.
    NStringEncoding Encoding() const { return _encoding; }        ///< The tag.
    NStringForm Form() const { return _form; }  ///< The form that was last applied.

    /// The byte at `index`, unchecked.
    ///@{
    char& operator[](std::size_t index) MORVEL_LIFETIMEBOUND { return _data[index]; }
    const char& operator[](std::size_t index) const MORVEL_LIFETIMEBOUND { return _data[index]; }
    ///@}

    /// The text in `encoding`, UTF-8 in NFC; this object's own bytes and tag stay. The unconverted
    /// bytes if the conversion is refused. The result lies in this object until the next export, an
    /// assignment or the object's end. The call writes that cache although it is const: no other
    /// thread may use the object meanwhile.
    ///@{
    const std::string& Converted(NStringEncoding encoding) const MORVEL_LIFETIMEBOUND;
    const char* Data(NStringEncoding encoding) const MORVEL_LIFETIMEBOUND;
    ///@}

    /// The text in `encoding`, or as it is, with the byte-order mark of UTF-8 or UTF-16 in front
    /// unless it is empty. Writes the same cache as Converted.
    ///@{
    std::string DataWithBOM(NStringEncoding encoding) const;
    std::string DataWithBOM() const;
    ///@}

    /// The text as wide text in NFC, for the platform's calls. Reads only.
    NWideString Wide() const;

    /// Writes the text in UTF-8, brought to NFC, in the field that the stream is set to. Reads
    /// only.
    friend MORVEL_API std::ostream& operator<<(std::ostream& stream, const NString& text);

    /// Between narrow and wide text in a code page of the system, 0 for its own, 65001 or any
    /// negative number for UTF-8. Each ends at the first NUL. UTF-8 text is brought to NFC on the
    /// way to wide; a text that can't be converted gives an empty one. Any thread may call these.
    ///@{
    static NWideString StringToWide(const std::string& text, std::int32_t codePage);
    static std::string WideToString(const NWideString& text, std::int32_t codePage);
    ///@}

    /// As SetHex, SetNumber(int) and ToInt make it. Any thread may call these.
    ///@{
    static std::string HexString(const unsigned char* bytes, std::uint32_t count);
    static std::string IntToString(std::int32_t value);
    static std::int32_t ParseInt(const std::string& text);
    ///@}

private:
    std::string _data;
    mutable std::string _cache;
    NStringEncoding _encoding = EncodingSystem;
    NStringForm _form = FormUnknown;
};
