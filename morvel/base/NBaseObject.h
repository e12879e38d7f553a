#pragma once

#include <cstdint>
#include <string>

#include <morvel/platform/config.h>

class NBaseObject;

/// The identity of a class at run time: one static object for each class that has one. Records are
/// compared by address.
///
/// @failure CreateInstance reports one by a null pointer; the constructor throws std::bad_alloc.
/// @threads Immutable once it is made: any thread may use one.
/// @encoding A name has the bytes that the source has.
/// @cost None after load: two records are the same if their addresses are.
class MORVEL_API NClassRecord {
public:
    using Factory = NBaseObject* (*)();            ///< Makes an object of the class by `new`.
    using BaseRecord = const NClassRecord* (*)();  ///< Tells the record of the parent class.

    /// `name` as spelled in the source; `objectSize` in bytes; `createInstance` gives a new
    /// instance, null for an abstract class; `baseRecord` gives the record of the parent, null at
    /// the root. A container class of an application that is to be copied by NDataContainerArray
    /// keeps one of these with a factory and returns it from ClassRecord().
    NClassRecord(std::string name, std::uint32_t objectSize, Factory createInstance,
                 BaseRecord baseRecord);
    NClassRecord(const NClassRecord&) = delete;             ///< Not copied.
    NClassRecord& operator=(const NClassRecord&) = delete;  ///< Not copied.

    /// A new instance of the class, which the caller owns; null if the class has no factory or the
    /// factory throws, whatever it throws.
    [[nodiscard]] NBaseObject* CreateInstance() const;

    /// Name of the class.
    const std::string& Name() const MORVEL_LIFETIMEBOUND { return _name; }
    std::uint32_t ObjectSize() const { return _objectSize; }  ///< Size of an object, in bytes.
    std::uint32_t Schema() const { return _schema; }          ///< 0xFFFF in every record.

private:
    friend class NBaseObject;

    std::string _name;
    std::uint32_t _objectSize;
    std::uint32_t _schema = 0xFFFF;
    Factory _createInstance;
    BaseRecord _baseRecord;
};

/// Root of the class family: no data, three leading virtual operations and the class identity.
///
/// Throughout the family an object is owned by whoever constructs it, and virtual operations keep
/// their order from release to release.
///
/// @failure Nothing here fails. How a class of the family fails is fixed for each of them and told
/// on its own page.
/// @threads Throughout the family an object is used by one thread at a time unless its class says
/// otherwise; different objects are independent.
/// @encoding This class holds no text.
/// @cost One pointer an object, to its virtual table. IsInstanceOf goes from class to parent.
class MORVEL_API NBaseObject {
public:
    NBaseObject();  ///< Nothing to set up.

    /// The record of the object's class. A class without a record of its own returns its
    /// parent's: all do but NXML.
    virtual const NClassRecord* ClassRecord() const;

    virtual ~NBaseObject() = 0;  ///< Virtual throughout the family.

    /// Does nothing. Keeps the slots of the operations behind it.
    virtual void Reserved();

    /// Whether `record` is that of the object's class or of one of its parents; false for null.
    bool IsInstanceOf(const NClassRecord* record) const;

    /// The record of NBaseObject itself.
    static const NClassRecord* Record();

private:
    MORVEL_LOCAL static const NClassRecord _record;
};
