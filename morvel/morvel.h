#pragma once

// Everything public, but for NFileStreamBuf.h: that one needs POCO's headers, which an application
// that links this library need not have.
#include <morvel/base/NBaseObject.h>
#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <morvel/documents/NDataContainer.h>
#include <morvel/documents/NXML.h>
#include <morvel/files/NFile.h>
#include <morvel/files/NFileStream.h>
#include <morvel/files/NPath.h>
#include <morvel/ids/NChecksum.h>
#include <morvel/ids/NUUID.h>
#include <morvel/ids/nanoid.h>
#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>
#include <morvel/sync/NMutex.h>
#include <morvel/sync/NNamedMutex.h>
#include <morvel/text/NString.h>
#include <morvel/text/NStringTokenizer.h>
#include <morvel/time/NDateTime.h>
#include <morvel/time/NTimestamp.h>
#include <morvel/transfer/NURL.h>
#include <morvel/version.h>
