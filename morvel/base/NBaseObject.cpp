#include <morvel/base/NBaseObject.h>

#include <utility>

NClassRecord::NClassRecord(std::string name, std::uint32_t objectSize, Factory createInstance,
                           BaseRecord baseRecord)
    : _name(std::move(name)),
      _objectSize(objectSize),
      _createInstance(createInstance),
      _baseRecord(baseRecord) {}

NBaseObject* NClassRecord::CreateInstance() const {
    if (_createInstance == nullptr) return nullptr;
    try {
        return _createInstance();
    } catch (...) {
        return nullptr;
    }
}

NBaseObject::NBaseObject() = default;

const NClassRecord* NBaseObject::ClassRecord() const {
    return &_record;
}

NBaseObject::~NBaseObject() = default;

void NBaseObject::Reserved() {}

bool NBaseObject::IsInstanceOf(const NClassRecord* record) const {
    const NClassRecord* current = ClassRecord();
    while (current != record) {
        if (current->_baseRecord == nullptr) return false;
        current = current->_baseRecord();
    }
    return true;
}

const NClassRecord* NBaseObject::Record() {
    return &_record;
}
