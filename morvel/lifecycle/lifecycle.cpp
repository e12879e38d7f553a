// Every object of the library that is constructed at load and destroyed at unload. One translation
// unit constructs its objects from top to bottom and destroys them from bottom to top, so that the
// order below is the order in which the library comes up, on every platform; nothing else in the
// library has a dynamic initialiser. What stands further down may use what stands above it.

#include <morvel/base/NBaseObject.h>

// The record of the root class.
const NClassRecord NBaseObject::_record("NBaseObject", sizeof(NBaseObject), nullptr, nullptr);
