// What several threads may do at once. The thread sanitizer looks on; without it these are tests of
// the results alone.

#include <morvel/morvel.h>
#include <tests/support/Test.h>

namespace {

// Counts without a lock: the error handler runs one report at a time.
struct Counter : NErrorHandler {
    void Exception() override {
        const int former = count;
        std::this_thread::yield();  // lets another report in if there is no lock
        count = former + 1;
    }
    void Exception(const NException&) override { Exception(); }
    void Exception(const std::exception&) override { Exception(); }
    int count = 0;
};

}  // namespace

TEST(Threads, ReportWhileTheHandlerIsExchanged) {
    Counter counter;
    NErrorHandler::Set(&counter);
    InThreads(4, [&](int) {
        for (int i = 0; i < 500; ++i) {
            NErrorHandler::Handle(KelInvalidArgumentException("text", 0));
            NErrorHandler::Handle(std::out_of_range("text"));
            NErrorHandler::Handle();
            NErrorHandler::Set(&counter);
            EXPECT_EQ(NErrorHandler::Get(), &counter);
        }
    });
    NErrorHandler::Set(nullptr);
    EXPECT_EQ(counter.count, 4 * 500 * 3);
}

// The first searches make an index of the names, each thread beside the others.
TEST(Threads, ReadOneDocument) {
    std::vector<std::string> paths;
    NXML book;
    book.CreateRoot("book");
    for (int i = 0; i < 1600; ++i) {
        const std::string chapter = "book.c" + std::to_string(i / 8);
        if (i % 8 == 0) book.SetValue(chapter, "");
        paths.push_back(chapter + ".s" + std::to_string(i % 8));
        book.SetValue(paths.back(), paths.back());
    }
    for (int round = 0; round < 10; ++round) {
        NXML document;
        document.Assign(book, 0);
        const NXML& shared = document;
        InThreads(4, [&](int number) {
            NXML section;
            NDataContainerArray array;
            for (std::size_t i = 0; i < 3 * paths.size(); ++i) {
                const std::string& path = paths[i % paths.size()];
                const bool copies = i % 40 == static_cast<std::size_t>(number);
                ASSERT_TRUE(shared.GetElement(path, copies ? &section : nullptr, -1)) << path;
                ASSERT_FALSE(shared.GetElement(path + 'x', nullptr, -1)) << path;
                ASSERT_TRUE(!copies || section.RootValue() == path) << path;
            }
            EXPECT_TRUE(shared.GetElements(shared.RootName() + ".c7", array));
            EXPECT_TRUE(shared.ForEachElement("book.c3", [](const std::string&, void*) {}));
        });
    }
}

// What is made once, one text and the class records for all, and objects of each thread's own.
TEST(Threads, ReadAndUseTheRest) {
    const NString text(std::string("caf\xE9"), EncodingLatin1), number("1,234");
    NErrorHandler* handlers[4] = {};
    NLog* logs[4] = {};
    InThreads(4, [&](int thread) {
        handlers[thread] = NErrorHandler::DefaultHandler();
        logs[thread] = NLog::DefaultLog();
        for (int i = 0; i < 100; ++i) {
            const std::unique_ptr<NBaseObject> made(NXML::Record()->CreateInstance());
            EXPECT_TRUE(made->IsInstanceOf(NXML::Record()));
            EXPECT_EQ(text.Find("f", 0), 2);
            EXPECT_EQ(text.Wide().size(), 4u);
            EXPECT_TRUE(text == NString(std::string("caf\xC3\xA9"), EncodingUTF8));
            EXPECT_EQ(number.ToInt(), 1234);

            NString own(std::string("e\xCC\x81"), EncodingUTF8);
            own.ConvertTo(EncodingLatin9);
            own.SetNumber(1.5 + thread);
            std::int32_t zone = 0;
            EXPECT_EQ(NDateTime::Parse("%Y-%m-%d", "2001-02-03", zone).Year(), 2001);
            EXPECT_GT(NDateTime().Year(), 2001);
            EXPECT_EQ(NStringTokenizer(own, NString(","), 0).Count(), 1u);
        }
    });
    EXPECT_THAT(handlers, Each(handlers[0]));
    EXPECT_THAT(logs, Each(logs[0]));
}
