#include <morvel/base/NErrorHandler.h>

#include <memory>
#include <ostream>
#include <utility>

#include <Poco/Mutex.h>

#include <morvel/platform/platform.h>

namespace {

// Makes the default handler on demand and deletes it at unload. Its exit handler is registered when
// the holder is made.
struct DefaultHolder {
    ~DefaultHolder() { delete handler; }

    Poco::FastMutex mutex;
    NErrorHandler* handler = nullptr;
};

DefaultHolder* _makeHolder() {
    auto holder = std::make_unique<DefaultHolder>();
    morvel::platform::AtUnload([](void* object) { delete static_cast<DefaultHolder*>(object); },
                               holder.get());
    return holder.release();
}

// A width that the host has set for an output of its own pads no report.
std::ostream& _unpadded(std::ostream& stream) {
    stream.width(0);
    return stream;
}

}  // namespace

NErrorHandler::NErrorHandler() = default;

NErrorHandler::~NErrorHandler() = default;

void NErrorHandler::Exception() {
    _unpadded(_standardError) << "unknown exception" << std::endl;
}

void NErrorHandler::Exception(const NException& exception) {
    _unpadded(_standardError) << exception.what() << ": " << exception.Message() << std::endl;
}

void NErrorHandler::Exception(const std::exception& exception) {
    _unpadded(_standardError) << exception.what() << std::endl;
}

template <class... Arguments>
void NErrorHandler::_report(const Arguments&... arguments) {
    Poco::FastMutex::ScopedLock lock(_mutex);
    try {
        _handler->Exception(arguments...);
    } catch (...) {
        // There is nobody left to tell.
    }
}

void NErrorHandler::Handle(const NException& exception) {
    _report(exception);
}

void NErrorHandler::Handle(const std::exception& exception) {
    _report(exception);
}

void NErrorHandler::Handle() {
    _report();
}

NErrorHandler* NErrorHandler::Set(NErrorHandler* handler) {
    Poco::FastMutex::ScopedLock lock(_mutex);
    return std::exchange(_handler, handler != nullptr ? handler : DefaultHandler());
}

NErrorHandler* NErrorHandler::Get() {
    Poco::FastMutex::ScopedLock lock(_mutex);
    return _handler;
}

NErrorHandler* NErrorHandler::DefaultHandler() {
    static DefaultHolder* const holder = _makeHolder();
    Poco::FastMutex::ScopedLock lock(holder->mutex);
    if (holder->handler == nullptr) {
        holder->handler = new NErrorHandler;
    }
    return holder->handler;
}
