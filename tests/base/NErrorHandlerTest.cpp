#include <morvel/base/NErrorHandler.h>

#include <tests/support/Test.h>

namespace {

// What the handler in force writes about one of each, where the host had set a width.
std::string _reports() {
    std::ostringstream errors;
    std::streambuf* const former = std::cerr.rdbuf(errors.rdbuf());
    std::cerr << std::setw(40);
    NErrorHandler::Handle(KelFileNotFoundException("a\0\xFF"s, 5));
    std::cerr << std::setw(40);
    NErrorHandler::Handle(std::runtime_error("two"));
    std::cerr << std::setw(40);
    NErrorHandler::Handle();  // would wait for ever for a lock that was kept
    std::cerr.rdbuf(former);
    return errors.str();
}

}  // namespace

TEST(NErrorHandler, SetReplacesTheDefaultAndWhatTheHandlerThrowsIsSwallowed) {
    struct Throwing : NErrorHandler {
        void Exception() override { Report("other"); }
        void Exception(const NException& e) override { Report("NException " + e.Message()); }
        void Exception(const std::exception& e) override { Report(e.what()); }
        void Report(const std::string& text) {
            std::cerr << std::setw(0) << text << '\n';
            throw -1;
        }
    } handler;
    NErrorHandler* const standard = NErrorHandler::Get();
    EXPECT_EQ(standard, NErrorHandler::DefaultHandler());
    EXPECT_EQ(_reports(), "File not found: a\0\xFF\ntwo\nunknown exception\n"s);
    EXPECT_EQ(NErrorHandler::Set(&handler), standard);
    EXPECT_EQ(_reports(), "NException a\0\xFF\ntwo\nother\n"s);
    EXPECT_EQ(NErrorHandler::Set(nullptr), &handler);
    EXPECT_EQ(NErrorHandler::Get(), standard);
}
