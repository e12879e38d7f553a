#include <morvel/logging/NLogMessage.h>

#include <climits>
#include <cstddef>
#include <cstdio>

#include <morvel/base/NErrorHandler.h>
#include <tests/logging/LogInForce.h>
#include <tests/support/Test.h>

using namespace morvel::test;
using namespace testing;

namespace {
// The format is no constant here: compilers object to an empty one.
std::string LineOfFormat(const char* format, const char* argument = "") {
    return LineOf([&] {
        NLogMessage message("f", 1, "g", "INFO");
        message.Format(format, argument);
    });
}
}  // namespace

TEST(NLogMessage, ComposesFileLineFunctionAndLevel) {
    const std::tuple<const char*, std::int32_t, const char*, const char*> rows[] = {
        {"/home/a/Foo.cpp", 42, "NOTICE", "NOTICE [File: Foo.cpp Line: 42]"},
        {"c:\\src\\Foo.cpp", 7, "INFO", "INFO [File: Foo.cpp Line: 7]"},
        {"c:\\src/a\\b", 7, "INFO", "INFO [File: b Line: 7]"},
        {"/b", 1234567, "INFORMATION", "INFORMATION [File: b Line: 1234567]"},
        {"Foo.cpp", 1, "ERROR", "ERROR [File: Foo.cpp Line: 1]"},
        {"/a/b/", 1, "TRACE", "TRACE [File:  Line: 1]"},
        {"", -5, "CRITICAL", "CRITICAL [File:  Line: -5]"},
        {"/a/b.cpp(inner)", 1, "WARNING", "WARNING [File: inner) Line: 1]"},
        {"/a(1)/b.cpp", 1, "WARNING", "WARNING [File: b.cpp Line: 1]"},
        {"/a/b.cpp", 3, "FATAL", "FATAL [File: b.cpp at: run Line: 3]"},
    };
    for (const auto& row : rows) {
        const std::string written = LineOf([&] {
            const auto& [file, line, level, expected] = row;
            NLogMessage message(file, line, "run", level);
            message.Format("%c", 'x');
        });
        EXPECT_EQ(written, std::get<3>(row) + std::string("\t\"x\"\n"));
    }
}

TEST(NLogMessage, KeepsTextsUpTo2047CharactersAndMarksLongerOnesFrom2049) {
    const std::string head = "INFO [File: f Line: 1]\t\"";
    std::string text;
    for (int i = 0; i < 100000; ++i) text += static_cast<char>('a' + i % 26);
    for (const std::size_t length : {2047, 2048, 2049, 100000}) {
        EXPECT_EQ(LineOfFormat("%s", text.substr(0, length).c_str()),
                  head + text.substr(0, 2047) + (length < 2049 ? "" : "2048") + "\"\n");
    }
}

// Text, %s and numbers of the common types are printed a short way, all else by std::vsnprintf.
TEST(NLogMessage, PrintsWhateverPrintfPrints) {
    const std::string most(2047, 'y');
    const auto expect = [](const char* format, auto... arguments) {
        char printed[4096];
        std::snprintf(printed, sizeof printed, format, arguments...);
        const std::string line = LineOf([&] {
            NLogMessage message("f", 1, "g", "INFO");
            message.Format(format, arguments...);
        });
        EXPECT_EQ(line, "INFO [File: f Line: 1]\t\"" + std::string(printed) + "\"\n");
    };
    expect("%%");
    expect("100%% of %s%s", "caf\xC3\xA9", "");
    expect("%s", most.c_str());
    expect("%s%d", most.substr(0, 2046).c_str(), 7);
    for (const int number : {0, -1, 42, INT_MIN, INT_MAX}) {
        expect("<%d>", number);
        expect("%d%u,%d", number, static_cast<unsigned>(number), number);
        for (const char* format : {"%i", "%x", "%o", "%5d", "%-5d", "%+d", "%.3d"}) {
            expect(format, number);
        }
        expect("%s %5d|%-7d|%+d|%x|%c|%i", "mixed", number, number, number, number, 'c', number);
    }
    expect("%zu %zd %ld %llu", SIZE_MAX, std::ptrdiff_t(-1), LONG_MIN, ULLONG_MAX);
    expect("%d %.3f %s", 1, 2.5, "x");
    expect("%.2s %*d", "cut", 4, 1);
}

TEST(NLogMessage, ReportsAFormatThatGivesNothing) {
    const std::string notice =
        "INFO [File: f Line: 1]\t\"\n"
        "\tERROR LOG MSG NOTIFICATION: Failure to parse successfully the message";
    EXPECT_EQ(LineOfFormat(""), notice + "\"\"\n\"\n");
    EXPECT_EQ(LineOfFormat("%s", ""), notice + "\"%s\"\n\"\n");
}

TEST(NLogMessage, JoinsTextsWithoutASeparatorAndEndsInTheTabWithoutOne) {
    const std::string line = LineOf([] {
        NLogMessage message("f", 1, "g", "INFO");
        message.Format("%d", 1);
        message.Format("%s %d\n", "two", 3);
        message.Format("%%n %s", "four");
    });
    EXPECT_EQ(line, "INFO [File: f Line: 1]\t\"1two 3\n%n four\"\n");
    EXPECT_EQ(LineOf([] { NLogMessage("f", 1, "g", "INFO"); }), "INFO [File: f Line: 1]\t\n");
}

TEST(NLogMessage, MacroTakesThePlaceOfTheCall) {
    const int line = __LINE__ + 1;
    const std::string plain = LineOf([] { NLOG("FATAL", "morvel - plain"); });
    EXPECT_EQ(plain, "FATAL [File: NLogMessageTest.cpp at: operator() Line: " +
                         std::to_string(line) + "]\t\"morvel - plain\"\n");

    const bool yes = true;
    const std::string one = LineOf([&] {
        if (yes)
            NLOG("NOTICE", "morvel - %d of %s", 1, "two");
        else
            NLOG("WARNING", "never");
    });
    EXPECT_THAT(one, EndsWith("\t\"morvel - 1 of two\"\n"));
    EXPECT_THAT(one, StartsWith("NOTICE "));
}

TEST(NLogMessage, ErrorHandlerFunctionWritesAWarningAndReturns0) {
    int result = -1;
    const std::string line = LineOf([&] { result = _errorHandler_fn(-17, "no such thing"); });
    EXPECT_EQ(result, 0);
    EXPECT_THAT(line, StartsWith("WARNING [File: NLogMessage.cpp Line: "));
    EXPECT_THAT(line, EndsWith("]\t\"morvel - no such thing. error: -17\n\"\n"));

    const NReportCallback callback = _errorHandler_fn;
    EXPECT_EQ(callback(1, "nobody listens", &result), 0);  // no log is in force here
}
