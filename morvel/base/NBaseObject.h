#pragma once

#include <cstdint>
#include <string>

#include <morvel/platform/config.h>

class NBaseObject;

/// The identity of a class at run time: one static object for each class that has one. Records are
/// compared by address. Immutable once the library is loaded, so any thread may use one.
class MORVEL_API NClassRecord {
public:
    using Factory = NBaseObject* (*)();
    using BaseRecord = const NClassRecord* (*)();

    /// `name` as spelled in the source; `objectSize` in bytes; `createInstance` gives a new
    /// instance, null for an abstract class; `baseRecord` gives the record of the parent, null at
    /// the root. A container class of an application that is to be copied by NDataContainerArray
    /// keeps one of these with a factory and returns it from ClassRecord().
    NClassRecord(std::string name, std::uint32_t objectSize, Factory createInstance,
                 BaseRecord baseRecord);
    NClassRecord(const NClassRecord&) = delete;
    NClassRecord& operator=(const NClassRecord&) = delete;

    /// A new instance of the class, which the caller owns; null if the class has no factory or the
    /// factory throws, whatever it throws.
    [[nodiscard]] NBaseObject* CreateInstance() const;

    const std::string& Name() const { return _name; }
    std::uint32_t ObjectSize() const { return _objectSize; }
    std::uint32_t Schema() const { return _schema; }  ///< 0xFFFF in every record.

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
/// Throughout the family: an object is owned by whoever constructs it and is used by one thread at
/// a time unless its class says otherwise. Virtual operations keep their order from release to
/// release.
class MORVEL_API NBaseObject {
public:
    NBaseObject();

    /// The record of the object's class. A class without a record of its own returns its
    /// parent's: all do but NXML.
    virtual const NClassRecord* ClassRecord() const;

    virtual ~NBaseObject() = 0;

    /// Does nothing. Keeps the slots of the operations behind it.
    virtual void Reserved();

    /// Whether `record` is that of the object's class or of one of its parents; false for null.
    bool IsInstanceOf(const NClassRecord* record) const;

    /// The record of NBaseObject itself.
    static const NClassRecord* Record();

private:
    MORVEL_LOCAL static const NClassRecord _record;
};
