#pragma once

class NLog;

/// Decides, when the library is loaded, whether the log is on, and owns the log if it is.
///
/// The log is on if `morvel.log` stands in its folder at that moment. On the way down the default
/// log takes the place of the one owned, so that a late line meets a log, if one that is about to
/// go.
class NLogOwner {
public:
    NLogOwner();
    NLogOwner(const NLogOwner&) = delete;
    NLogOwner& operator=(const NLogOwner&) = delete;
    ~NLogOwner();

private:
    NLog* _log;  // null if no log is in force
};
