#pragma once

#include <cstddef>
#include <string_view>

namespace morvel {

/// The names in a dotted path, from left to right: `a.b` has two, `a..b` three with an empty one in
/// the middle, the empty path none. Blanks around a name (those of ASCII: 09 to 0D and 20) are no
/// part of it. Internal; the names point into the path, which must outlive them.
///
/// These are the tokens of Poco::StringTokenizer(path, ".", TOK_TRIM), without a copy of each.
class DottedPath {
public:
    explicit DottedPath(std::string_view path) : _rest(path), _atEnd(path.empty()) {}

    /// Moves on to the next name; false, and `*name` left alone, when there is none.
    bool Next(std::string_view* name) {
        if (_atEnd) return false;
        const std::size_t dot = _rest.find('.');
        *name = _trimmed(_rest.substr(0, dot));
        _atEnd = dot == std::string_view::npos;
        if (!_atEnd) {
            _rest.remove_prefix(dot + 1);  // a path that ends in a dot has an empty last name
        }
        return true;
    }

private:
    static bool _isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

    static std::string_view _trimmed(std::string_view name) {
        while (!name.empty() && _isBlank(name.front())) name.remove_prefix(1);
        while (!name.empty() && _isBlank(name.back())) name.remove_suffix(1);
        return name;
    }

    std::string_view _rest;
    bool _atEnd;
};

}  // namespace morvel
