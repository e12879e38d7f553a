#include <morvel/logging/NLogMessage.h>

#include <cstddef>

#include <morvel/base/NErrorHandler.h>
#include <tests/logging/Log.h>

namespace {
const std::string Head = "INFO [File: f Line: 1]\t\"";

template <class... Arguments>
std::string _lineOfFormat(const char* format, Arguments... arguments) {
    return LineOf([&] { NLogMessage("f", 1, "g", "INFO").Format(format, arguments...); });
}

// Text, %s and numbers of the common types are printed a short way, all else by std::vsnprintf.
template <class... Arguments>
void _expectAsPrinted(const char* format, Arguments... arguments) {
    char printed[4096];
    std::snprintf(printed, sizeof printed, format, arguments...);
    EXPECT_EQ(_lineOfFormat(format, arguments...), Head + printed + "\"\n");
}
}  // namespace

TEST(NLogMessage, ComposesFileLineFunctionAndLevel) {
    for (const auto& row : ReadTable(HEADS, 4)) {
        const std::int32_t line = std::stoi(row[1]);
        EXPECT_EQ(LineOf([&] {
                      NLogMessage(row[0].c_str(), line, "run", row[2].c_str()).Format("%c", 'x');
                  }),
                  Decoded(row[3]) + "\t\"x\"\n");
    }
}

TEST(NLogMessage, KeepsTextsUpTo2047CharactersAndMarksLongerOnesFrom2049) {
    for (const std::size_t length : {2047, 2048, 2049, 100000}) {
        EXPECT_EQ(_lineOfFormat("%s", std::string(length, 'x').c_str()),
                  Head + std::string(2047, 'x') + (length < 2049 ? "" : "2048") + "\"\n");
    }
}

TEST(NLogMessage, PrintsWhateverPrintfPrints) {
    _expectAsPrinted("100%% of %s%s", "caf\xC3\xA9", "");
    _expectAsPrinted("%s%d", std::string(2046, 'y').c_str(), 7);
    for (const int number : {0, -1, INT_MIN, INT_MAX}) {
        for (const char* format : {"%d", "sums%d", "%i", "%x", "%5d", "%-5d", "%+d", "%.3d"}) {
            _expectAsPrinted(format, number);
        }
        _expectAsPrinted("%d%u,%zu %s", number, 0u - static_cast<unsigned>(number), SIZE_MAX, "x");
        _expectAsPrinted("%s %5d|%x|%c|%i", "mixed", number, number, 'c', number);
    }
    _expectAsPrinted("%zd %ld %llu %.3f %.2s %*d", std::ptrdiff_t(-1), LONG_MIN, ULLONG_MAX, 2.5,
                     "cut", 4, 1);
}

TEST(NLogMessage, ReportsAFormatThatGivesNothing) {
    const std::string notice =
        Head + "\n\tERROR LOG MSG NOTIFICATION: Failure to parse successfully the message\"";
    EXPECT_EQ(_lineOfFormat("", 0), notice + "\"\n\"\n");
    EXPECT_EQ(_lineOfFormat("%s", ""), notice + "%s\"\n\"\n");
    if (!OnWindows) {  // there the locale C has this character
        EXPECT_EQ(_lineOfFormat("lost %ls", L"\u00E9"), notice + "lost %ls\"\n\"\n");
    }
}

TEST(NLogMessage, JoinsTextsWithoutASeparatorAndEndsInTheTabWithoutOne) {
    EXPECT_EQ(LineOf([] {
                  NLogMessage message("a/f"s, 1, "run"s, "FATAL"s);
                  message.Format("%d", 1);
                  message.Format("%s %d\n", "two", 3);
                  message.Format("%%n %s", "four");
              }),
              "FATAL [File: f at: run Line: 1]\t\"1two 3\n%n four\"\n");
    EXPECT_EQ(LineOf([] { NLogMessage("f", 1, "g", "INFO"); }), "INFO [File: f Line: 1]\t\n");
}

TEST(NLogMessage, MacroIsOneStatementOfThePlaceOfTheCall) {
    int line = 0;
    const std::string written = LineOf([&] {
        if ((line = __LINE__ + 1) > 0)
            NLOG("FATAL", "morvel - plain");
        else
            NLOG("INFO", "no");
    });
    EXPECT_EQ(written, "FATAL [File: NLogMessageTest.cpp at: operator() Line: " +
                           std::to_string(line) + "]\t\"morvel - plain\"\n");
}

TEST(NLogMessage, ErrorHandlerFunctionWritesAWarningAndReturns0) {
    const NReportCallback callback = _errorHandler_fn;
    EXPECT_EQ(callback(1, "nobody listens", nullptr), 0);  // no log is in force here
    int result = -1;
    const std::string line = LineOf([&] { result = _errorHandler_fn(-17, "no such thing"); });
    EXPECT_EQ(result, 0);
    EXPECT_THAT(line, StartsWith("WARNING [File: NLogMessage.cpp Line: "));
    EXPECT_THAT(line, EndsWith("]\t\"morvel - no such thing. error: -17\n\"\n"));
}
