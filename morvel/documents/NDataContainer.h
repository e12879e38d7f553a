#pragma once

#include <cstdint>
#include <iosfwd>
#include <list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <morvel/base/NBaseObject.h>
#include <morvel/text/NString.h>

class NDataContainer;

// std::list has no virtual destructor, and nothing here deletes an array through it.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// Attributes as pairs of name and value, in the order in which the element has them.
using NAttributeList = std::vector<std::pair<std::string, std::string>>;

/// Names of elements.
using NNameList = std::vector<std::string>;

/// Called with the name of an element. `user` is null.
using NElementCallback = void (*)(const std::string& name, void* user);

/// A list of containers that owns them: those that it still points at are destroyed with it or by
/// Clear. What is taken out by the list's own operations (erase, pop_front, clear) is let go
/// without being destroyed and belongs to the caller from then on. A null pointer may stand in the
/// list.
///
/// @failure A container that Assign can't copy is left out, without a report.
/// @threads One at a time.
/// @encoding That of the containers.
/// @cost A list node and a document of its own for each container (see NXML).
class MORVEL_API NDataContainerArray : public std::list<NDataContainer*> {
public:
    NDataContainerArray();                                     ///< Empty.
    NDataContainerArray(const NDataContainerArray&) = delete;  ///< Copies are made by Assign.
    NDataContainerArray& operator=(const NDataContainerArray&) = delete;  ///< By Assign.
    virtual ~NDataContainerArray();  ///< Destroys the containers.

    /// Destroys what the array holds and fills it with deep copies of the containers of `other`,
    /// each of the same class as the original: made by the factory of its class record, filled by
    /// NDataContainer::Assign. A null pointer is left out, and so is a container whose class has no
    /// factory or whose factory fails: compare size() where that can happen. An array assigned to
    /// itself stays as it was. Where a copy throws, the copies made before it stay.
    virtual void Assign(const NDataContainerArray& other);

    virtual void Clear();  ///< Destroys the containers and empties the list.
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

/// A document in the form of a tree: one root element, elements below it, attributes on elements,
/// text inside them. This class tells what a caller can do without knowing how the document is
/// stored; NXML is the one storage that the library brings. An application adds its own by
/// deriving, filling the pure operations as they are described here, and giving the class a record
/// with a factory (see NClassRecord), without which NDataContainerArray can't copy it.
///
///     NXML order;
///     order.CreateRoot("order");
///     order.SetValue("order.customer", NString("Zo\xEB", EncodingLatin1));
///     order.SetAttribute("order.customer", "id", "17");
///     order.ToText(0);  // <order><customer id="17">Zoë</customer></order>, in UTF-8
///
/// Paths. An element is named by its path from the top of the document, the names of the elements
/// with dots between them, the root's own first: `order.customer`. There is no cursor; each call
/// looks its path up anew, the first of several like-named siblings is the one that is found, and
/// letters match whatever their case. A `|` in a name stands for a dot in it. An index counts all
/// child nodes of an element, text included, from 0; -1 means the element of the path itself.
///
/// Values are text. Numbers and dates are read through NString and NDateTime.
///
/// Elements that are handed out are deep copies in containers of their own. To read the text of an
/// element, GetElement puts it into a second container, and RootValue there gives the text.
///
/// @failure True says that the thing was done or found. An unknown path, an empty path or a missing
/// document is a plain false with nothing changed.
/// @threads One at a time, and that includes the operations that are const where they say so.
/// @encoding Every std::string and character array that goes in or comes out is UTF-8, which nobody
/// checks; NString values are converted.
/// @cost Each call looks its path up, and each element that is handed out is a copy; how long that
/// takes is up to the storage (see NXML).
class MORVEL_API NDataContainer : public NBaseObject {
public:
    NDataContainer();                                ///< Without a document.
    NDataContainer(const NDataContainer&) = delete;  ///< Copies are made by Assign.
    ~NDataContainer() override;                      ///< Discards the document.

    /// Replaces the document by what a file holds. Never throws: a failure is false and, unless
    /// `silent`, a report to NErrorHandler.
    [[nodiscard]] virtual bool LoadFile(const std::string& path, bool silent) = 0;

    /// Replaces the document by what `stream` holds from its current position on.
    virtual bool LoadStream(std::istream& stream, bool silent) = 0;

    /// Empties the document and gives it a root element. 0, or -1 if that failed.
    virtual std::int32_t CreateRoot(const std::string& name) = 0;

    /// Writes the document. False without one.
    virtual bool SaveFile(const std::string& path) = 0;

    /// Writes the document. Bit 0 of `flags` asks for an indented layout rather than one without
    /// any white space added, bit 1 for a declaration in front. False without a document.
    virtual bool SaveStream(std::ostream& stream, std::uint32_t flags) = 0;

    /// Finds the element or the child node at `index`, and replaces the document in `out` by a copy
    /// of it. `out` may be null to ask only whether the element is there.
    [[nodiscard]] virtual bool GetElement(const std::string& path, NDataContainer* out,
                                          std::int32_t index) const = 0;

    /// Appends copies of all child elements to `array`. False if there are none.
    virtual bool GetElements(const std::string& path, NDataContainerArray& array) const = 0;

    /// Appends copies of the root elements of all containers as children. Stops with false at a
    /// container that has no root element; the copies made before it stay.
    virtual bool AppendElements(const std::string& path, const NDataContainerArray& array) = 0;

    /// Puts a copy of the root element of `source` in place of the element, at the end of its
    /// parent's children, under the name that it has in `source`. Where only the last element of
    /// the path is missing, the copy is added. False without change if `source` is null or has no
    /// root element.
    virtual bool ReplaceElement(const std::string& path, const NDataContainer* source) = 0;

    /// Replaces everything inside the element by `value`; its attributes stay. Where only the last
    /// element of the path is missing, it is created. An NString is converted to the container's
    /// encoding first; the bytes of a character array go in as NString(value) holds them. Both end
    /// in the third form, through the virtual table.
    ///@{
    virtual bool SetValue(const std::string& path, const NString& value);
    virtual bool SetValue(const std::string& path, const char* value);
    virtual bool SetValue(const std::string& path, const std::string& value) = 0;
    ///@}

    /// A number doesn't compile: 0 would be taken for a null pointer, and empty the element.
    template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
    bool SetValue(const std::string& path, Number value) = delete;

    /// Sets the listed attributes, each on the first one of that name whatever its case, which
    /// keeps its spelling, else as a new one at the end. False for an empty list.
    virtual bool SetAttributes(const std::string& path, const NAttributeList& list) = 0;

    /// Appends the attributes of the element to `list`. False if it has none.
    virtual bool GetAttributes(const std::string& path, NAttributeList& list) const = 0;

    /// Sets one attribute, as SetAttributes does.
    virtual bool SetAttribute(const std::string& path, const std::string& name,
                              const std::string& value) = 0;

    /// A number doesn't compile: 0 would be taken for a null pointer.
    template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
    bool SetAttribute(const std::string& path, const std::string& name, Number value) = delete;

    /// False if the element has no attribute of exactly this name: here, and only here, case
    /// counts.
    virtual bool RemoveAttribute(const std::string& path, const std::string& name) = 0;

    /// An index doesn't compile: attributes have names alone, and 0 would be taken for a null
    /// pointer.
    template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
    bool RemoveAttribute(const std::string& path, Number index) = delete;

    /// Removes all. True if there are none too.
    virtual bool RemoveAttributes(const std::string& path) = 0;

    /// Removes the child nodes with the listed names. False if there are none.
    virtual bool RemoveElementsByName(const std::string& path, NNameList names) = 0;

    /// Removes the element or its child node at `index`. The root element can't be removed so.
    virtual bool RemoveElement(const std::string& path, std::int32_t index) = 0;

    /// Calls `callback` with the name of each child element, those of the root for an empty path.
    /// The names are taken beforehand, so `callback` may edit the document. False if there are
    /// none.
    virtual bool ForEachElement(const std::string& path, NElementCallback callback) const = 0;

    /// Number of nodes at the top of the document, normally 1; -1 without a document.
    virtual std::int32_t CountNodes() const = 0;

    /// Assign(other, 0), through the virtual table; nothing if `other` is this object. A derived
    /// class keeps it visible beside its own assignment by `using NDataContainer::operator=;`.
    virtual NDataContainer& operator=(const NDataContainer& other);

    /// Takes over a deep copy of the document of `source`. `reserved` is 0.
    virtual void Assign(const NDataContainer& source, std::int32_t reserved) = 0;

    [[nodiscard]] virtual bool IsEmpty() const;  ///< True.
    virtual void Clear();                        ///< Does nothing.

    virtual std::string RootName() const = 0;  ///< Empty without a root element.

    /// Value of the first child node of the root element: its text, unless an element comes first.
    /// Empty if there is none.
    virtual std::string RootValue() const = 0;

    /// Attributes of the root element. The list lies in this object: the next call, const though it
    /// is, refills it, and changes of the document don't show in it.
    virtual const NAttributeList& RootAttributes() const MORVEL_LIFETIMEBOUND = 0;

    /// Value of an attribute of the root element, its name in any case. Where it is missing, an
    /// NString stays as it was and a std::string is empty. The first form calls the second.
    ///@{
    virtual bool GetRootAttribute(const std::string& name, NString& out) const;
    virtual bool GetRootAttribute(const std::string& name, std::string& out) const = 0;
    ///@}

    /// The document as text: what SaveStream writes under the same flags. Empty if that returns
    /// false or throws; nothing is thrown.
    virtual std::string ToText(std::uint32_t flags);

    /// LoadStream of `text`. False where that returns false or throws; nothing is thrown.
    [[nodiscard]] virtual bool FromText(const std::string& text);

protected:
    /// The encoding of every std::string of this container. UTF-8; nothing changes it.
    NStringEncoding _encoding = EncodingUTF8;
};
