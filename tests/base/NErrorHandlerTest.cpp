#include <morvel/base/NErrorHandler.h>

#include <iomanip>
#include <iostream>

#include <tests/support/Test.h>

using namespace std::string_literals;

namespace {

void handleOneOfEach() {
    NErrorHandler::Handle(KelFileNotFoundException("a\0\xFF"s, 5));
    std::cerr << std::setw(40);
    NErrorHandler::Handle(std::runtime_error("two"));
    std::cerr << std::setw(40);
    NErrorHandler::Handle();
}

}  // namespace

TEST(NErrorHandler, SetReplacesTheDefaultAndWhatTheHandlerThrowsIsSwallowed) {
    struct Throwing : NErrorHandler {
        void Exception() override { Report("unknown"); }
        void Exception(const NException& e) override { Report("NException " + e.Message()); }
        void Exception(const std::exception& e) override { Report(e.what()); }
        void Report(const std::string& text) {
            reports += text + '\n';
            throw -1;
        }
        std::string reports;
    } handler;
    NErrorHandler* const standard = NErrorHandler::Get();
    EXPECT_EQ(standard, NErrorHandler::DefaultHandler());
    EXPECT_EQ(NErrorHandler::Set(&handler), standard);
    handleOneOfEach();  // would wait for ever for the lock
    EXPECT_EQ(handler.reports, "NException a\0\xFF\ntwo\nunknown\n"s);
    EXPECT_EQ(NErrorHandler::Set(nullptr), &handler);
    EXPECT_EQ(NErrorHandler::Get(), standard);

    std::ostringstream errors;
    std::streambuf* const former = std::cerr.rdbuf(errors.rdbuf());
    std::cerr << std::setw(40);
    handleOneOfEach();
    std::cerr.rdbuf(former);
    EXPECT_EQ(errors.str(), "File not found: a\0\xFF\ntwo\nunknown exception\n"s);
}
