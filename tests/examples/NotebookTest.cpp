#include <Poco/String.h>

#include <morvel/morvel.h>
#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::test;
using namespace testing;

namespace {

NFile _bookFile() {
    NPath path = NPath::AppDataFolder();
    path.Append("Morvel notebook");
    path.Append("addresses.xml");
    return NFile(path);
}

struct Notebook : Test {
    Notebook() {
        if (_bookFile().Exists()) _bookFile().Remove(false);
    }
};

}  // namespace

// One session of a user: each step with what it prints and how it ends.
TEST_F(Notebook, AddsFindsChangesAndRemoves) {
    const std::tuple<std::vector<std::string>, int, std::string> steps[] = {
        {{"list"}, 0, ""},
        {{"add", "Zoë Ångström", "--phone", "123", "--town", "Malmö"}, 0, ""},
        {{"add", "Ярослав", "--mail", "y@example.org"}, 0, ""},
        {{"add", "Zoe\xCC\x88 Ångström"}, 1, "already. Use change, or another name."},
        {{"list"}, 0, "Zoë Ångström, 123, Malmö\nЯрослав, y@example.org\n"},
        {{"find", "MALM"}, 0, "Zoë Ångström, 123, Malmö\n"},
        {{"find", "nowhere"}, 1, "Nothing found.\n"},
        {{"change", "Zoë Ångström", "--phone", "456"}, 0, ""},
        {{"find", "456"}, 0, "Zoë Ångström, 456, Malmö\n"},
        {{"change", "Nobody", "--phone", "1"}, 1, "There is no entry \"Nobody\"."},
        {{"remove", "Ярослав"}, 0, ""},
        {{"remove", "Ярослав"}, 1, "There is no entry"},
        {{"list"}, 0, "Zoë Ångström, 456, Malmö\n"},
    };
    for (const auto& [arguments, exitCode, output] : steps) {
        const ProcessResult result = RunProcess(PROGRAM, arguments);
        EXPECT_EQ(result.exitCode, exitCode) << PrintToString(arguments);
        EXPECT_THAT(Poco::replace(result.output, "\r\n", "\n"), HasSubstr(output));
    }
}

TEST_F(Notebook, LosesNothingToASecondProcess) {
    std::vector<std::thread> users;
    for (int user = 0; user < 4; ++user) {
        users.emplace_back([user] {
            for (int entry = 0; entry < 10; ++entry) {
                RunProcess(PROGRAM, {"add", NString().Format("%d-%d", user, entry).Data()});
            }
        });
    }
    for (std::thread& user : users) user.join();
    NXML book;
    ASSERT_TRUE(book.LoadFile(NPath(_bookFile().Path()).Converted(EncodingUTF8), true));
    NDataContainerArray entries;
    book.GetElements("book", entries);
    EXPECT_EQ(entries.size(), 40u);
}

TEST_F(Notebook, LeavesAFileThatIsNoBookAlone) {
    RunProcess(PROGRAM, {"add", "Zoë"});
    NXML other;
    other.CreateRoot("other");
    other.SaveFile(NPath(_bookFile().Path()).Converted(EncodingUTF8));
    const ProcessResult result = RunProcess(PROGRAM, {"add", "Ada"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, HasSubstr("is no address book. Mend it, or move it away"));
}
