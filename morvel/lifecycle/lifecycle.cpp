// Every object of the library that is constructed at load and destroyed at unload. One translation
// unit constructs its objects from top to bottom and destroys them from bottom to top, so that the
// order below is the order in which the library comes up, on every platform; nothing else in the
// library has a dynamic initialiser. An object may use what stands above it while it comes and
// goes.

#include <iostream>
#include <string>

#include <Poco/Mutex.h>

#include <morvel/base/NBaseObject.h>
#include <morvel/base/NErrorHandler.h>
#include <morvel/documents/NXML.h>
#include <morvel/ids/IdentifierGenerator.h>
#include <morvel/lifecycle/NLogOwner.h>
#include <morvel/platform/platform.h>
#include <morvel/sync/NMutex.h>
#include <morvel/time/NDateTime.h>

using morvel::platform::UnloadMark;

// A reference, bound without any code. It is here for the sake of <iostream>: the header brings an
// initialiser along, which makes the standard streams ready for all that follows.
std::ostream& NErrorHandler::_standardError = std::cerr;

// The lock that the library offers to the application.
NMutex NMutex::_process;

// The log's owner, which switches the log on or leaves it off. What it asks for while it goes is
// cleaned up right behind it.
namespace {
const UnloadMark BehindTheLog;
NLogOwner _logOwner;
}  // namespace

// The record of the root class.
const NClassRecord NBaseObject::_record("NBaseObject", sizeof(NBaseObject), nullptr, nullptr);

// The record of the only other class that has one. NDataContainer stands between, without one.
const NClassRecord NXML::_record(
    "NXML", sizeof(NXML), []() -> NBaseObject* { return new NXML; }, &NBaseObject::Record);

// Date patterns, in the syntax that POCO's formatter and parser share, and names.
const std::string NDateTime::_patterns[] = {
    "%Y-%m-%dT%H:%M:%S%z",       // ISO 8601
    "%w, %e %b %y %H:%M:%S %Z",  // RFC 822
    "%w, %e %b %Y %H:%M:%S %Z",  // RFC 1123
    "%w, %d %b %Y %H:%M:%S %Z",  // HTTP
    "%W, %e-%b-%y %H:%M:%S %Z",  // RFC 850
    "%W, %e %b %y %H:%M:%S %Z",  // RFC 1036
    "%w %b %f %H:%M:%S %Y",      // asctime
    "%Y-%m-%d %H:%M:%S",         // sortable
};
const std::string NDateTime::_dayNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                            "Thursday", "Friday", "Saturday"};
const std::string NDateTime::_monthNames[] = {"January",   "February", "March",    "April",
                                              "May",       "June",     "July",     "August",
                                              "September", "October",  "November", "December"};

// Where exceptions end that an operation must not let through.
Poco::FastMutex NErrorHandler::_mutex;
static const UnloadMark BehindTheHandler;
NErrorHandler* NErrorHandler::_handler = NErrorHandler::DefaultHandler();

// What identifiers are usually made of, and the generator that draws them.
const std::string morvel::IdentifierAlphabet(
    "_-0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
morvel::IdentifierGenerator morvel::_identifierGenerator;

// Whatever comes into being later goes before all of the above.
static const UnloadMark BehindTheApplication;
