#pragma once

/// @namespace morvel
/// The companions: what programs that use this library do all the time, as functions and small
/// types. They stand on the classes, and morvel.h doesn't include them. Each of their headers says
/// once for all that it has how it fails, what threads may do, which encoding it has and what it
/// costs: TextTools.h, FileTools.h, DocumentTools.h, TimeTools.h, TransferTools.h, LogTools.h,
/// ErrorTools.h; and FmtTools.h for programs that have fmt: by itself, or behind fmt's own header.
#include <morvel/base/ErrorTools.h>
#include <morvel/documents/DocumentTools.h>
#include <morvel/files/FileTools.h>
#include <morvel/logging/LogTools.h>
#include <morvel/text/TextTools.h>
#include <morvel/time/TimeTools.h>
#include <morvel/transfer/TransferTools.h>
