// The same work shared out among more and more threads, down to the last one's end. The name of a
// case is that of the work, the subject is the number of threads.
#include <cstdint>
#include <memory>
#include <string>

#include <morvel/documents/NXML.h>
#include <morvel/logging/LogTools.h>
#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>

#include "Documents.h"
#include "Programs.h"
#include "Subject.h"

namespace {

// `work` does its argument's number of items and returns how many came out right.
template <class Work>
void _add(const std::string& name, int items, Work work) {
    for (const int threads : {1, 2, 4, 8}) {
        bench::AddEqual(
            name + '/' + std::to_string(threads), bench::Items(static_cast<std::uint64_t>(items)),
            [=] {
                return bench::InThreads(static_cast<std::size_t>(threads),
                                        [=] { return work(items / threads); });
            },
            items, bench::Clock::Wall);
    }
}

// Until the last line is on disk.
void _addLog() {
    constexpr int Lines = 40000;
    for (const int threads : {1, 2, 4, 8}) {
        bench::AddEqual(
            "log lines/" + std::to_string(threads), bench::Items(Lines),
            [threads] {
                auto* const log = new NLog;
                log->SetName("bench");
                NLog::Set(log);
                const int logged = bench::InThreads(static_cast<std::size_t>(threads), [threads] {
                    for (int i = 0; i < Lines / threads; ++i) NLOG("NOTICE", "morvel - line %d", i);
                    return Lines / threads;
                });
                const bool written = morvel::FlushLog(60);
                delete log;
                return written ? logged : 0;
            },
            Lines, bench::Clock::Wall);
    }
}

// Looked up, copied and read.
void _addOneDocument() {
    const auto book = std::make_shared<bench::Book>(1 << 20);
    const auto document = std::make_shared<NXML>();
    (void)document->FromText(book->xml);
    _add("values read from one document", 40000, [=](int count) {
        int right = 0;
        NXML element;
        for (int i = 0; i < count; ++i) {
            const int section = i % (book->chapters * 10);
            right += document->GetElement(book->Path(section), &element, -1) &&
                     element.RootValue() == bench::Book::Value(section);
        }
        return right;
    });
}

// Parsed, changed and written.
void _addOwnDocuments() {
    const auto book = std::make_shared<bench::Book>(10 << 10);
    _add("documents of their own, 10 KiB", 800, [=](int count) {
        int right = 0;
        for (int i = 0; i < count; ++i) {
            NXML document;
            right += document.FromText(book->xml) &&
                     document.SetValue(book->Path(0), std::string("changed")) &&
                     !document.ToText(0).empty();
        }
        return right;
    });
}

// What the machine itself gives: each step waits for the one before, and nothing is shared.
void _addArithmetic() {
    constexpr int Steps = 20000000;
    _add("ceiling: arithmetic", Steps, [](int count) {
        std::uint64_t value = 1;
        for (int i = 0; i < count; ++i) {
            value = value * 6364136223846793005u + 1;
            benchmark::DoNotOptimize(value);
        }
        return count;
    });
}

}  // namespace

void AddSubjects() {
    static_cast<void>(bench::FreshFolder());  // for the log
    _addLog();
    _addOneDocument();
    _addOwnDocuments();
    _addArithmetic();
}
