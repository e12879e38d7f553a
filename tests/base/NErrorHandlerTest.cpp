#include <morvel/base/NErrorHandler.h>

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

// What goes to the standard error stream while this stands.
class CapturedErrors {
public:
    CapturedErrors() : _former(std::cerr.rdbuf(_text.rdbuf())) {}
    ~CapturedErrors() { std::cerr.rdbuf(_former); }
    std::string Text() const { return _text.str(); }

private:
    std::ostringstream _text;
    std::streambuf* _former;
};

class CurrentHandler {
public:
    explicit CurrentHandler(NErrorHandler* handler) : _former(NErrorHandler::Set(handler)) {}
    ~CurrentHandler() { NErrorHandler::Set(_former); }

private:
    NErrorHandler* _former;
};

class Recorder : public NErrorHandler {
public:
    void Exception() override { calls.push_back("unknown"); }
    void Exception(const NException& exception) override {
        calls.push_back("NException " + exception.Message());
    }
    void Exception(const std::exception& exception) override {
        calls.push_back(std::string("std ") + exception.what());
    }
    std::vector<std::string> calls;
};

}  // namespace

TEST(NErrorHandler, DefaultWritesOneLineToTheStandardErrorStream) {
    CapturedErrors errors;
    NErrorHandler::Handle(KelFileNotFoundException("File a.xml not found", 5));
    NErrorHandler::Handle(KelXMLParseException("", 0));
    NErrorHandler::Handle(KelRuntimeException(std::string("\0\xFF\n", 3), 0));
    NErrorHandler::Handle(std::runtime_error("of the standard"));
    NErrorHandler::Handle();
    const char expected[] =
        "File not found: File a.xml not found\n"
        "XML parse error: \n"
        "Runtime exception: \0\xFF\n\n"
        "of the standard\n"
        "unknown exception\n";
    EXPECT_EQ(errors.Text(), std::string(expected, sizeof expected - 1));
}

TEST(NErrorHandler, DefaultSurvivesAStreamThatFails) {
    const std::ios_base::iostate former = std::cerr.exceptions();
    std::streambuf* const buffer = std::cerr.rdbuf(nullptr);
    NErrorHandler::Handle(KelRuntimeException("lost", 0));
    EXPECT_TRUE(std::cerr.bad());
    EXPECT_THROW(std::cerr.exceptions(std::ios_base::badbit), std::ios_base::failure);
    NErrorHandler::Handle(KelRuntimeException("lost, and the stream throws", 0));
    std::cerr.exceptions(former);
    std::cerr.rdbuf(buffer);

    CapturedErrors errors;
    NErrorHandler::Handle(KelRuntimeException("back", 0));
    EXPECT_EQ(errors.Text(), "Runtime exception: back\n");
}

TEST(NErrorHandler, SetReplacesTheHandlerAndNullBringsTheDefaultBack) {
    NErrorHandler* const standard = NErrorHandler::Get();
    EXPECT_EQ(standard, NErrorHandler::DefaultHandler());
    EXPECT_EQ(standard->ClassRecord(), NBaseObject::Record());

    Recorder recorder;
    EXPECT_EQ(NErrorHandler::Set(&recorder), standard);
    EXPECT_EQ(NErrorHandler::Get(), &recorder);
    CapturedErrors errors;
    NErrorHandler::Handle(KelFileException("one", 0));
    NErrorHandler::Handle(std::runtime_error("two"));
    NErrorHandler::Handle();
    EXPECT_EQ(NErrorHandler::Set(nullptr), &recorder);
    EXPECT_EQ(NErrorHandler::Get(), standard);
    EXPECT_EQ(recorder.calls, (std::vector<std::string>{"NException one", "std two", "unknown"}));
    EXPECT_EQ(errors.Text(), "");
}

TEST(NErrorHandler, WhatAHandlerThrowsIsSwallowedAndTheLockIsFreeAgain) {
    struct Throwing : NErrorHandler {
        void Exception() override { throw -1; }
        void Exception(const NException& exception) override { exception.Rethrow(); }
        void Exception(const std::exception&) override { throw std::string("thrown"); }
    } throwing;
    CurrentHandler current(&throwing);
    for (int i = 0; i < 2; ++i) {  // the second round would wait for ever
        EXPECT_NO_THROW(NErrorHandler::Handle(KelFileException("m", 0)));
        EXPECT_NO_THROW(NErrorHandler::Handle(std::runtime_error("m")));
        EXPECT_NO_THROW(NErrorHandler::Handle());
    }
}

TEST(NErrorHandler, ReportsOfSeveralThreadsRunOneAfterAnother) {
    struct Watching : NErrorHandler {
        void Exception(const NException&) override {
            overlapped = overlapped || inside.exchange(true);
            std::this_thread::yield();
            ++count;
            inside = false;
        }
        using NErrorHandler::Exception;
        std::atomic<bool> inside{false};
        std::atomic<bool> overlapped{false};
        int count = 0;  // not atomic: the handler's lock is what keeps it right
    } watching;
    CurrentHandler current(&watching);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 500; ++i) {
                NErrorHandler::Handle(NException("m", i));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(watching.overlapped);
    EXPECT_EQ(watching.count, 2000);
}
