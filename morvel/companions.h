#pragma once

// The companions: what programs that use this library do all the time, as functions and small types
// in the namespace morvel. They stand on the classes, and morvel.h doesn't include them.
#include <morvel/base/ErrorTools.h>
#include <morvel/documents/DocumentTools.h>
#include <morvel/files/FileTools.h>
#include <morvel/text/TextTools.h>
#include <morvel/time/TimeTools.h>
#include <morvel/transfer/TransferTools.h>
