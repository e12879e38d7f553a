#pragma once

/// What nearly every test stands on: GoogleTest with its matchers, and of the standard library what
/// holds values, makes texts and files of them, draws them at random and runs beside.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// GoogleTest brings windows.h, whose macros would take these names of NFile's.
#undef CreateDirectory
#undef CreateFile
