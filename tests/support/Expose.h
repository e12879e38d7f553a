#pragma once

namespace morvel::test {

/// Lets a test look at a private member that no public operation shows or sets. An explicit
/// instantiation may name what is private; this one has put the pointer in place before main runs:
///
///     NException* NException::*nested;
///     template struct morvel::test::Expose<nested, &NException::_nested>;
///     ... exception.*nested ...
template <auto& place, auto pointer>
struct Expose {
    static inline const bool stored = (place = pointer, true);
};

}  // namespace morvel::test
