#pragma once

// The release that these headers are of: the only place where its number is written.

/// One number of the release.
///@{
#define MORVEL_VERSION_MAJOR 1
#define MORVEL_VERSION_MINOR 0
#define MORVEL_VERSION_PATCH 0
///@}

/// As text: "1.0.0".
#define MORVEL_VERSION "1.0.0"
