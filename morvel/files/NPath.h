#pragma once

#include <string>

#include <morvel/text/NString.h>

/// A text that knows the structure of a path.
///
///     NPath log = NPath::AppDataFolder().Append("Example").MakeDirectory().Append("run.log");
///     log.Parent();               // the folder, with its closing separator
///     log.BaseName();             // "run"
///     log.SetExtension("old");    // in place: .../run.old
///
/// The text is kept as it was given, neither checked nor tidied. The operations below read it in
/// the style of the platform, and what they give is in that style too: its separator, a folder ends
/// with one, "." and "x/.." inside are gone. A last part without a closing separator counts as a
/// file.
///
/// @failure On Windows each operation on the structure throws Poco::PathSyntaxException, the path
/// unchanged, for a text that is no path; elsewhere any text is one. Else that of NString.
/// @threads A value with the threading rules of NString; the operations marked const only read.
/// @encoding Results are in this path's own encoding; Append alone may widen it.
/// @cost Each operation on the structure converts the text to UTF-8, takes it apart and puts it
/// together again. Except for Absolute and the three folders nothing asks the disk.
class MORVEL_API NPath : public NString {
public:
    NPath();                     ///< Empty, EncodingSystem.
    NPath(const NString& text);  ///< The bytes and the encoding of `text`.

    /// What the constructor of NString with the same arguments makes.
    ///@{
    NPath(const char* text);
    NPath(const std::string& bytes, NStringEncoding encoding);
    NPath(const char* bytes, NStringEncoding encoding);  ///< REQUIRES: `bytes` is not null.
    ///@}

    NPath(const NPath& other);      ///< As the copy of an NString.
    NPath(NPath&& other) noexcept;  ///< As the copy; `other` is empty afterwards.
    ~NPath() override;              ///< As that of an NString.

    using NString::operator=;
    NPath& operator=(const NPath& other);  ///< As the assignment of an NString.

    [[nodiscard]] NPath Absolute() const;  ///< Seen from the current folder.

    /// Adds `other` in place, this path being read as a folder whatever its end, and `other` as
    /// relative. The encoding becomes the higher of the two by number. Narrow text counts as
    /// EncodingSystem unless it begins with a byte-order mark.
    ///@{
    NPath& Append(const NString& other) MORVEL_LIFETIMEBOUND;
    NPath& Append(const std::string& other) MORVEL_LIFETIMEBOUND;
    NPath& Append(const char* other) MORVEL_LIFETIMEBOUND;
    ///@}

    /// The file name up to its last dot; empty for a folder.
    [[nodiscard]] NString BaseName() const;

    /// Whether the text names a file: isn't empty and doesn't end in a separator. What the disk has
    /// under that name isn't asked.
    bool IsFile() const;

    /// In place: the file name becomes the last folder.
    NPath& MakeDirectory() MORVEL_LIFETIMEBOUND;

    /// In place: the last folder becomes the file name.
    NPath& MakeFile() MORVEL_LIFETIMEBOUND;

    [[nodiscard]] NPath Parent() const;  ///< The folder that holds the file or folder.

    /// In place: replaces the extension or adds one, without the dot; an empty one takes it away.
    void SetExtension(const NString& extension);

    /// The folders for application data of the user and of all users, and for documents of all
    /// users, each with a closing separator; empty if the system has none. Only the user's own is
    /// writable for sure. Off Windows: $XDG_DATA_HOME, else ~/.local/share, made if missing;
    /// /var/lib; /usr/local/share. A process with raised privileges takes the home folder from the
    /// password database instead of the environment. A name that isn't in NFC is made and returned
    /// in NFC, and bytes that are no UTF-8 become U+FFFD: set XDG_DATA_HOME to another name there.
    ///@{
    static NPath AppDataFolder();
    static NPath CommonAppDataFolder();
    static NPath CommonDocumentsFolder();
    ///@}
};
