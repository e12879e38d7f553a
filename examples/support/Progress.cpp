#include "Progress.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <iterator>

#include <morvel/text/NString.h>

Progress::Progress(std::uint64_t total, bool terminal) : _total(total), _terminal(terminal) {}

void Progress::Update(std::uint64_t received) {
    const Clock::time_point now = Clock::now();
    if (_terminal && now - _drawn >= std::chrono::milliseconds(100)) {
        _drawn = now;
        _draw(received, now);
    } else if (!_terminal && received >= _nextLine) {
        while (_nextLine <= received) _nextLine *= 2;
        _draw(received, now);
    }
}

void Progress::Finish(std::uint64_t received) {
    _draw(received, Clock::now());
    if (_terminal) std::cerr << '\n';
}

void Progress::_draw(std::uint64_t received, Clock::time_point now) {
    const double seconds = std::max(std::chrono::duration<double>(now - _start).count(), 1e-3);
    const double speed = static_cast<double>(received) / seconds;
    std::string line =
        ReadableSize(static_cast<double>(received)) + ", " + ReadableSize(speed) + "/s";
    if (_total != 0) {
        const double share =
            std::min(static_cast<double>(received) / static_cast<double>(_total), 1.0);
        const double remaining =
            speed > 0 ? static_cast<double>(_total) * (1 - share) / speed : 0.0;
        constexpr std::size_t Width = 30;
        const auto filled = static_cast<std::size_t>(share * Width);
        line = '[' + std::string(filled, '#') + std::string(Width - filled, '.') + "] " +
               NString()
                   .Format("%3.0f %%, %s, %.0f s left", share * 100, line.c_str(), remaining)
                   .Data();
    }
    if (_terminal) {
        line.resize(std::max<std::size_t>(line.size(), 78), ' ');  // covers a longer line before it
        std::cerr << '\r' << line << std::flush;
    } else {
        std::cerr << line << '\n';
    }
}

std::string ReadableSize(double bytes) {
    static const char* const units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    while (bytes >= 1024 && unit + 1 < std::size(units)) {
        bytes /= 1024;
        ++unit;
    }
    return NString().Format(unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]).Data();
}
