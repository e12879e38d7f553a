// Lets the n-th allocation of an operation fail, for n = 1, 2, ... until none does: for operations
// that promise what is left behind a failure. None may leak.

#include <limits>
#include <optional>

#include <morvel/documents/DocumentTools.h>
#include <morvel/morvel.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/support/Text.h>

using namespace morvel::test;
using namespace std::string_literals;
using testing::AnyOf;
using testing::Matcher;
using testing::StartsWith;

namespace {

thread_local long untilFailure = -1;  // negative: none fails
thread_local bool allFail = false;
thread_local bool hasFailed = false;
thread_local long alive = 0;

bool _failsNow() {
    if (untilFailure != 0) {
        untilFailure -= untilFailure > 0;
        return false;
    }
    hasFailed = true;
    untilFailure = allFail ? 0 : -1;
    return true;
}

void* _counted(void* memory) {
    alive += memory != nullptr;
    return memory;
}

}  // namespace

// The program's definitions stand in front of the C library's for all shared libraries.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) {
    return _failsNow() ? nullptr : _counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
    return _failsNow() ? nullptr : _counted(__libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size) {
    if (_failsNow()) return nullptr;
    alive += memory == nullptr;
    return __libc_realloc(memory, size);
}
void free(void* memory) {
    alive -= memory != nullptr;
    __libc_free(memory);
}
}

namespace {

// All texts are too long for any place but the heap.
const std::string composed = Repeated(Composed, 40);
const std::string digits = Repeated("123"s, 20), manyNumbers = Repeated("12,"s, 30) + "12";
const std::string noMemory = "std::bad_alloc";

// Runs an operation with one allocation failing, or all from one on.
struct Attempt {
    long count;
    bool all;

    // What the operation gives, or what() of the exception that came out of it.
    template <class Operation>
    std::string operator()(const Operation& operation) const {
        std::string result;
        hasFailed = false;
        allFail = all;
        untilFailure = count;
        try {
            if constexpr (std::is_arithmetic_v<decltype(operation())>) {
                result = std::to_string(operation());
            } else {
                result = operation();
            }
            untilFailure = -1;
        } catch (const std::exception& e) {
            untilFailure = -1;
            result = e.what();
        }
        return result;
    }
};

// What `outcome` gives is `done`; behind a failure it may be what `failed` matches. Up to `leaks`
// allocations stay behind, for a reason that the caller knows.
void _expect(const char* what, const std::string& done, const Matcher<const std::string&>& failed,
             const std::function<std::string(const Attempt&)>& outcome, long leaks = 0) {
    SCOPED_TRACE(what);
    outcome({std::numeric_limits<long>::max(), false});  // makes what is made once in a process
    for (const bool all : {false, true}) {
        hasFailed = true;
        for (long count = 0; hasFailed && !testing::Test::HasFailure(); ++count) {
            const long before = alive;
            {
                const std::string is = outcome({count, all});
                EXPECT_TRUE(is == done || (hasFailed && failed.Matches(is)))
                    << count << ": " << is.substr(0, 200);
            }
            EXPECT_TRUE(hasFailed || count > 0) << "no allocation at all";
            EXPECT_LE(alive - before, leaks) << count << ": allocations leaked";
        }
    }
}

}  // namespace

TEST(OutOfMemory, LeavesWhatIsPromised) {
    const std::string path = "/a folder with a long name/another one/a file with a long name";
    const NString number(digits.substr(0, 3) + Repeated(",000"s, 20));
    const NString text(manyNumbers, EncodingUTF8), comma(",");
    // The mark makes it a text to be converted; any other is read where it lies.
    const std::string date = Mark + "2001-02-03 04:05:06";
    const std::string format = "%Y-%m-%d %H:%M:%S", now = std::to_string(NDateTime().Year());
    const TemporaryFolder folder;
    const NFile file{NString(folder.Write("a file with a name that is long enough", "text"))};
    const NFile missing{NString(path)};
    const KelFileException exception(digits, 1);
    const auto clone = [&](const Attempt& attempt) {
        std::unique_ptr<NException> made;
        return attempt([&] { return made.reset(exception.Clone()), made ? "copy" : "none"; });
    };
    const auto remove = [&](const Attempt& attempt) {
        return attempt([&] { return missing.Remove(true), ""; });
    };
    _expect("Clone", "copy", AnyOf("none", noMemory), clone);
    EXPECT_EQ(clone({0, false}), "none") << "the object comes before its texts";
    _expect("Remove", "File not found", AnyOf("Runtime exception", noMemory), remove);
    EXPECT_EQ(remove({0, false}), noMemory) << "the copy of the path comes first";
    EXPECT_EQ((Attempt{0, false}([&] { return missing.CreateDirectories(), ""; })), noMemory);
    _expect("ToDouble", "123", "0", [&](const Attempt& attempt) {
        return attempt([&] { return std::lround(number.ToDouble() / 1e60); });
    });
    _expect("Append", path + "/" + digits, noMemory + path, [&](const Attempt& attempt) {
        NPath name(path, EncodingUTF8);
        return attempt([&] { return name.Append(digits), ""; }) + name.Data();
    });
    _expect("Generate", "0 50", "-1 40", [&](const Attempt& attempt) {
        NUUID id;
        id.Generate(digits, 40);
        std::string alphabet(digits);
        const auto status = attempt([&] { return id.Generate(std::move(alphabet), 50); });
        return status + ' ' + std::to_string(id.Value().size());
    });
    const auto assign = [&](const Attempt& attempt) {
        NStringTokenizer list(NString(digits, EncodingLatin1), comma, 0);
        const std::string result = attempt([&] { return list.Assign(text, comma, 0), ""; });
        EXPECT_TRUE(result.empty() || NString(list.Token(0)) == NString(digits));
        return result + std::to_string(list.Count()) + " of " + std::to_string(list.Encoding());
    };
    _expect("Assign", "31 of 4", noMemory + "1 of 2", assign, 10);  // leaks the former tokens
    const auto parse = [&](const Attempt& attempt) {
        std::int32_t zone = 0;
        return attempt([&] { return NDateTime::Parse(format, date, zone).Year(); });
    };
    _expect("Parse", "2001", now, parse, 1);  // the C library's copy of the zone's name, each time
    const NString base64(digits);
    _expect("DecodeBase64", "45", noMemory + "0", [&](const Attempt& attempt) {
        std::uint32_t count = 99;
        const auto decode = [&] { return base64.DecodeBase64(nullptr, &count), ""; };
        const std::string status = attempt(decode);
        return status + std::to_string(count);
    });
    const auto open = [&](const Attempt& attempt) {
        NFileStream stream;
        const auto read = [&] { return stream.Open(file, NFileStream::ModeRead); };
        const std::string status = attempt(read), size = std::to_string(stream.Size());
        stream.Close();
        return status + ' ' + size + ' ' + std::to_string(read());
    };
    // POCO's buffer for reading is lost when it gets none for writing.
    _expect("Open", "0 4 0", "-1 0 0", open, 1);
}

// The text is as it was, in NFC perhaps, and the operation does its work when it is called again.
TEST(OutOfMemory, OperationsOnText) {
    // UTF-8 that isn't in NFC, which only wide text leaves behind.
    const NString denormal(Repeated(Wide({'e', 0x301}), 40));
    const NString marks(NWideString(20, NWideChar(0x301)) + NWideString(20, NWideChar(0x323)));
    const struct {
        const char* what;
        NString before;
        std::function<void(NString&)> operation;
    } rows[] = {
        {"narrower", denormal, [](NString& text) { text.ConvertTo(EncodingLatin1); }},
        {"wider", denormal, [](NString& text) { text.ConvertTo(EncodingUTF16); }},
        {"from the system's", composed, [](NString& text) { text.ConvertTo(EncodingLatin9); }},
        {"NFC", denormal, [](NString& text) { text.Normalize(FormNFC); }},
        {"NFKD", {composed, Utf8}, [](NString& text) { text.Normalize(FormNFKD); }},
        {"a run of marks", marks, [](NString& text) { text.Normalize(FormNFC); }},
        {"ReplaceAll", digits, [](NString& text) { text.ReplaceAll("2", composed); }},
        {"operator+=", digits, [&](NString& text) { text += denormal; }},
    };
    for (const auto& row : rows) {
        const auto state = [](const NString& text) {
            return std::to_string(text.Encoding()) + text.Data();
        };
        NString done(row.before), inNfc(row.before);
        row.operation(done);
        inNfc.Normalize(FormNFC);
        const auto same = AnyOf(noMemory + state(row.before), noMemory + state(inNfc));
        _expect(row.what, state(done), same, [&](const Attempt& attempt) {
            NString text(row.before);
            const std::string result = attempt([&] { return row.operation(text), ""; });
            const std::string outcome = result + state(text);
            if (!result.empty()) {
                row.operation(text);
                EXPECT_EQ(state(text), state(done));
            }
            return outcome;
        });
    }
}

// What each gives, and what is in the other document then; only a reader leaves that open.
TEST(OutOfMemory, Documents) {
    const TemporaryFolder folder;
    // Some pages of pugixml's memory, so that it can end in the middle of a copy; and one of each
    // kind of text that is so long that it gets a page of its own.
    const std::string value = Repeated(digits, 20), page(33000, 'n');
    const std::string xml = "<r>" +
                            Repeated("<a x=\"" + value + "\"><b>" + value + "</b></a>", 40) + "<" +
                            page + " " + page + "=\"1\" x=\"" + page + "\"/><c>" + page + "</c>" +
                            Repeated("<empty/>"s, 700) + "</r>";
    const std::string file = folder.Write("document.xml", xml), saved = folder.File("saved.xml");
    const std::string children = Repeated("<c/>"s, 40), o = "<o>" + children + "</o>";
    NDataContainerArray array;
    array.push_back(new NXML);
    ASSERT_TRUE(array.back()->FromText(xml));
    const struct {
        const char* what;
        std::string done;
        Matcher<const std::string&> failed;
        std::function<int(NXML& document, NXML& other)> operation;
    } rows[] = {
        {"LoadStream", "1" + xml, AnyOf(StartsWith("XML element"), StartsWith(noMemory)),
         [&](NXML&, NXML& other) {
             std::istringstream stream(xml);
             return other.LoadStream(stream, false);
         }},
        {"LoadFile", "1" + xml, StartsWith("0"),
         [&](NXML&, NXML& other) { return other.LoadFile(file, true); }},
        {"SaveFile", "1" + o, AnyOf("Path not found" + o, noMemory + o),
         [&](NXML& document, NXML&) { return document.SaveFile(saved); }},
        {"SaveSafely", "1" + o, noMemory + o,
         [&](NXML& document, NXML&) {
             morvel::SaveSafely(document, NPath(NString(saved)));
             return std::filesystem::file_size(saved) > xml.size();
         }},
        {"SetValue", "1<o>" + children + "<" + page + ">" + page + "</" + page + "></o>",
         AnyOf("0" + o, noMemory + o),
         [&](NXML&, NXML& other) { return other.SetValue("o." + page, page); }},
        {"SetAttributes", "1<o " + page + "=\"" + page + "\">" + children + "</o>",
         AnyOf("0" + o, noMemory + o),
         [&](NXML&, NXML& other) { return other.SetAttribute("o", page, page); }},
        {"GetElement", "1" + xml, noMemory + o,
         [](NXML& document, NXML& other) { return document.GetElement("r", &other, -1); }},
        {"AppendElements", "1<o>" + children + xml + "</o>", "0" + o,
         [&](NXML&, NXML& other) { return other.AppendElements("o", array); }},
        {"Assign", "1" + xml, noMemory + o,
         [](NXML& document, NXML& other) { return other.Assign(document, 0), 1; }},
        {"CreateRoot", "0<" + page + "/>", "-1",
         [&](NXML&, NXML& other) { return other.Clear(), other.CreateRoot(page); }},
        {"ToText", "1" + o, "0" + o,
         [&](NXML& document, NXML&) { return document.ToText(0) == xml; }},
    };
    for (const auto& row : rows) {
        _expect(row.what, row.done, row.failed, [&](const Attempt& attempt) {
            NXML document, other;
            EXPECT_TRUE(document.FromText(xml) && other.FromText(o));
            const std::string result = attempt([&] { return row.operation(document, other); });
            const std::string text = other.ToText(0);
            EXPECT_TRUE(other.FromText(xml)) << "can be used again";
            return result + text;
        });
    }
    NXML again;
    EXPECT_TRUE(again.LoadFile(saved, true) && again.ToText(0) == xml);
}

// With no memory for an index a search walks; with one, a search takes none.
TEST(OutOfMemory, SearchesOfDocuments) {
    std::string xml;
    std::vector<std::string> paths;
    for (int i = 10; i < 50; ++i) {
        const std::string name = std::string(252, 'n') + std::to_string(i);
        xml += "<" + name + "/>";
        paths.push_back("r." + name);
    }
    for (long count = 0; count < 4; ++count) {
        NXML document;
        ASSERT_TRUE(document.FromText("<r>" + xml + "</r>"));
        const auto failedIn = [&](long allocations) {
            std::size_t right = 0;
            Attempt{allocations, true}([&] {
                for (const std::string& path : paths) {
                    right += document.GetElement(path, nullptr, -1);
                }
                return "";
            });
            EXPECT_EQ(right, paths.size()) << count;
            return hasFailed;
        };
        EXPECT_TRUE(failedIn(count)) << count;
        EXPECT_FALSE(failedIn(std::numeric_limits<long>::max()));
        EXPECT_FALSE(failedIn(0)) << count;
    }
}

// What they throw then is no exception object. The name isn't looked at.
TEST(OutOfMemory, LocksThrowMinusOne) {
    std::optional<NMutex> mutex;
    std::optional<NNamedMutex> named;
    EXPECT_EQ((Attempt{0, false}([&] { return mutex.emplace(), ""; })), "");
    EXPECT_EQ((Attempt{0, false}([&] { return named.emplace(nullptr), ""; })), "");
    EXPECT_THAT([&] { mutex->Lock(); }, testing::Throws<int>(-1));
    EXPECT_THAT([&] { mutex->Unlock(); }, testing::Throws<int>(-1));
    EXPECT_THAT([&] { named->Lock(); }, testing::Throws<int>(-1));
    EXPECT_THAT([&] { named->Unlock(); }, testing::Throws<int>(-1));
}
