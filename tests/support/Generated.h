#pragma once

#include <tests/support/Test.h>

/// What tests that hold an operation against a reference on generated input share:
///
///     ForEachDraw(10000, [](Draw& draw) {
///         const std::string text = draw.Joined(Pieces, 8);
///         EXPECT_EQ(Outcome([&] { return ours(text); }),
///                   Outcome([&] { return reference(text); }));
///     });
namespace morvel::test {

/// Draws one case. A case has a number, and the same number draws the same on every platform.
class Draw {
public:
    explicit Draw(unsigned number) : _engine(number) {}

    std::uint64_t Bits() { return _engine(); }
    std::size_t Below(std::size_t count) { return static_cast<std::size_t>(_engine() % count); }
    bool OneIn(std::size_t count) { return Below(count) == 0; }

    template <class Pool>
    const auto& Of(const Pool& pool) {
        return std::data(pool)[Below(std::size(pool))];
    }

    /// Up to `most` of the pieces, one behind the other.
    template <class Pool>
    std::string Joined(const Pool& pieces, std::size_t most) {
        std::string joined;
        for (std::size_t left = Below(most + 1); left > 0; --left) joined += Of(pieces);
        return joined;
    }

private:
    std::mt19937_64 _engine;
};

/// The result of `function` in print, or the text of the exception that it throws.
template <class Function>
std::string Outcome(Function function) {
    using Result = decltype(function());
    try {
        if constexpr (std::is_void_v<Result>) {
            return function(), std::string();
        } else if constexpr (std::is_convertible_v<Result, std::string>) {
            return function();
        } else {
            return PrintToString(function());
        }
    } catch (const std::exception& e) {
        return std::string("throws: ") + e.what();
    }
}

/// Calls `check` with a Draw for each of `count` cases; the first that fails is the last.
inline void ForEachDraw(unsigned count, const std::function<void(Draw&)>& check) {
    for (unsigned number = 0; number < count && !Test::HasFailure(); ++number) {
        Draw draw(number);
        check(draw);
        if (Test::HasFailure()) ADD_FAILURE() << "in case " << number;
    }
}

}  // namespace morvel::test
