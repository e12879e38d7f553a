#pragma once

#include <cstdint>

#include <morvel/files/NPath.h>
#include <morvel/time/NTimestamp.h>

// windows.h makes macros of these names, which would rename the members of NFile in just those
// files that include it. Who needs both includes this header last.
#undef CreateDirectory
#undef CreateFile

/// A named place in the file system, with or without anything there. It holds no handle: to read or
/// write use NFileStream. No operation changes the object.
///
///     try {
///         NFile(folder).Remove(true);
///     } catch (const KelFileAccessDeniedException& e) {
///         std::cerr << e.what() << ": " << e.Message() << '\n';
///     } catch (const KelFileException& e) {  // whatever else went wrong on the disk
///         ...
///     }
///
/// An empty path is no place: operations that would create it fail.
///
/// @failure How one shows is fixed for each operation. CreateFile, CreateDirectory and Exists throw
/// nothing: a denied folder, a full disk and a malformed path are all a plain false. CreationTime
/// gives 0. CreateDirectories and Remove tell the reason by a member of the NException family.
/// @threads Any number of threads may use one object; which of two operations on one place comes
/// first is up to the file system.
/// @encoding Names reach the system in UTF-8, byte for byte: a NUL ends the name, and two names
/// that differ in their form alone are two files off Windows. NXML opens files by the NFC of their
/// name, so give both the name in NFC.
/// @cost One or a few system calls each, nothing is kept; CreateDirectories and a recursive Remove
/// make some for each folder and each file.
class MORVEL_API NFile : public NBaseObject {
public:
    NFile(const NString& path);  ///< Doesn't touch the disk.
    ~NFile() override;           ///< Leaves the place as it is.

    /// As given, in its own encoding.
    const NPath& Path() const MORVEL_LIFETIMEBOUND { return _path; }

    /// True if a new empty file was made; an existing one stays as it is.
    bool CreateFile() const;
    bool CreateDirectory() const;  ///< True if the folder was made; its parent must be there.

    /// Makes the folder and all parents that are missing; does nothing if the name is taken, by a
    /// file too. Throws KelRuntimeException for an empty path.
    void CreateDirectories() const;

    /// When the file or folder came into being, in whole seconds; a timestamp of 0 if nobody knows.
    /// Off Windows a file system without that moment gives the last change of status instead.
    NTimestamp CreationTime() const;

    [[nodiscard]] bool Exists() const;  ///< A link that leads nowhere doesn't exist.

    /// Removes a file or an empty folder, with `recursive` a folder and all that is in it, and of a
    /// symbolic link the link. Throws KelFileNotFoundException if there is none; what a recursive
    /// call removed before it failed stays removed. An empty path is no error.
    void Remove(bool recursive) const;

    /// Does nothing and is false on every platform, so that callers which set `mode` need not ask.
    bool SetPermissions(std::uint32_t mode) const;

private:
    NPath _path;
};
