#include <morvel/base/NErrorHandler.h>

#include <memory>
#include <ostream>
#include <utility>

#include <Poco/Mutex.h>

#include <morvel/platform/platform.h>

namespace {

// Deleted at unload.
NErrorHandler* _makeDefault() {
    auto handler = std::make_unique<NErrorHandler>();
    morvel::platform::AtUnload([](void* object) { delete static_cast<NErrorHandler*>(object); },
                               handler.get());
    return handler.release();
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
    static NErrorHandler* const handler = _makeDefault();
    return handler;
}
