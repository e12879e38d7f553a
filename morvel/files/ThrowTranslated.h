#pragma once

namespace morvel {

/// Throws, with code 0, the member of the NException family that stands for the exception in
/// flight. REQUIRES: an exception is being handled.
[[noreturn]] void ThrowTranslated();

}  // namespace morvel
