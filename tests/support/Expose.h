#pragma once

namespace morvel::test {

/// Lets a test look at a private member that no public operation shows or sets. An explicit
/// instantiation may name what is private; this one keeps the pointer in its tag before main runs:
///
///     struct Nested {
///         using Type = NException* NException::*;
///         static inline Type member;
///     };
///     template struct morvel::test::Expose<Nested, &NException::_nested>;
///     ... exception.*Nested::member ...
template <class Tag, typename Tag::Type pointer>
struct Expose {
    static inline const bool stored = (Tag::member = pointer, true);
};

}  // namespace morvel::test
