// Every object of the library that is constructed at load and destroyed at unload. One translation
// unit constructs its objects from top to bottom and destroys them from bottom to top, so that the
// order below is the order in which the library comes up, on every platform; nothing else in the
// library has a dynamic initialiser. An object may use what stands above it while it comes and
// goes.

#include <iostream>

#include <Poco/Mutex.h>

#include <morvel/base/NBaseObject.h>
#include <morvel/base/NErrorHandler.h>

// A reference, bound without any code. It is here for the sake of <iostream>: the header brings an
// initialiser along, which makes the standard streams ready for all that follows.
std::ostream& NErrorHandler::_standardError = std::cerr;

// The record of the root class.
const NClassRecord NBaseObject::_record("NBaseObject", sizeof(NBaseObject), nullptr, nullptr);

// Where exceptions end that an operation must not let through.
Poco::FastMutex NErrorHandler::_mutex;
NErrorHandler* NErrorHandler::_handler = NErrorHandler::DefaultHandler();
