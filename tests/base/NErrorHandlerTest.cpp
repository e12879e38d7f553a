#include <morvel/base/NErrorHandler.h>

#include <iomanip>
#include <iostream>

#include <tests/support/Test.h>

TEST(NErrorHandler, DefaultWritesOneLineToTheStandardErrorStream) {
    std::ostringstream errors;
    std::streambuf* const former = std::cerr.rdbuf(errors.rdbuf());
    std::cerr << std::setw(40);
    NErrorHandler::Handle(KelFileNotFoundException("File a.xml not found", 5));
    NErrorHandler::Handle(KelRuntimeException(std::string("\0\xFF\n", 3), 0));
    std::cerr << std::setw(40);
    NErrorHandler::Handle(std::runtime_error("of the standard"));
    std::cerr << std::setw(40);
    NErrorHandler::Handle();
    std::cerr.rdbuf(former);
    const char expected[] =
        "File not found: File a.xml not found\n"
        "Runtime exception: \0\xFF\n\n"
        "of the standard\n"
        "unknown exception\n";
    EXPECT_EQ(errors.str(), std::string(expected, sizeof expected - 1));
}

TEST(NErrorHandler, SetReplacesTheHandlerWhoseExceptionsAreSwallowed) {
    struct Throwing : NErrorHandler {
        void Exception() override { Report("unknown"); }
        void Exception(const NException& e) override { Report("NException " + e.Message()); }
        void Exception(const std::exception& e) override { Report(e.what()); }
        void Report(const std::string& text) {
            reports += text + ' ';
            throw -1;
        }
        std::string reports;
    } handler;
    NErrorHandler* const standard = NErrorHandler::Get();
    EXPECT_EQ(standard, NErrorHandler::DefaultHandler());
    EXPECT_EQ(NErrorHandler::Set(&handler), standard);
    EXPECT_EQ(NErrorHandler::Get(), &handler);
    NErrorHandler::Handle(KelFileException("one", 0));
    NErrorHandler::Handle(std::runtime_error("two"));  // would wait for ever for the lock
    NErrorHandler::Handle();
    EXPECT_EQ(NErrorHandler::Set(nullptr), &handler);
    EXPECT_EQ(NErrorHandler::Get(), standard);
    EXPECT_EQ(handler.reports, "NException one two unknown ");
}
