// Lets the n-th allocation of an operation fail, for n = 1, 2, ... until none does: for operations
// that promise what is left behind a failure. None may leak.

#include <morvel/morvel.h>
#include <tests/support/Text.h>

namespace {

thread_local long _untilFailure = -1;  // negative: none fails
thread_local bool _allFail = false;
thread_local bool _hasFailed = false;
thread_local long _alive = 0;

using Text = Matcher<const std::string&>;

// All texts are too long for any place but the heap.
const std::string Digits = Repeated("123"s, 20), NoMemory = "std::bad_alloc";

// Runs an operation with one allocation failing, or all from one on.
struct Attempt {
    long count;
    bool all = false;

    // What the operation gives, or what() of the exception that came out of it.
    std::string operator()(const std::function<std::string()>& operation) const {
        std::string result;
        _hasFailed = false;
        _allFail = all;
        _untilFailure = count;
        try {
            result = operation();
            _untilFailure = -1;
        } catch (const std::exception& e) {
            _untilFailure = -1;
            result = e.what();
        }
        return result;
    }
};

// What `outcome` gives is `done`; behind a failure it may be what `failed` matches.
void _expect(const char* what, const std::string& done, const Text& failed,
             const std::function<std::string(const Attempt&)>& outcome) {
    SCOPED_TRACE(what);
    outcome({std::numeric_limits<long>::max()});  // makes what is made once in a process
    for (const bool all : {false, true}) {
        _hasFailed = true;
        for (long count = 0; _hasFailed && !Test::HasFailure(); ++count) {
            const long before = _alive;
            {
                const std::string is = outcome({count, all});
                EXPECT_TRUE(is == done || (_hasFailed && failed.Matches(is)))
                    << count << ": " << is.substr(0, 200);
            }
            EXPECT_LE(_alive, before) << count << ": allocations leaked";
            EXPECT_TRUE(_hasFailed || count > 0) << "no allocation at all";
        }
    }
}

}  // namespace

TEST(OutOfMemory, LeavesWhatIsPromised) {
    const KelFileException exception(Digits, 1);
    const auto clone = [&](const Attempt& attempt) {
        std::unique_ptr<NException> made;
        return attempt([&] { return made.reset(exception.Clone()), made ? "copy" : "none"; });
    };
    _expect("Clone", "copy", AnyOf("none", NoMemory), clone);
    EXPECT_EQ(clone({0}), "none") << "the object comes before its texts";
    _expect("Generate", "0 50", "-1 40", [&](const Attempt& attempt) {
        NUUID id;
        id.Generate(Digits, 40);
        std::string alphabet(Digits);
        const std::string status =
            attempt([&] { return std::to_string(id.Generate(std::move(alphabet), 50)); });
        return status + ' ' + std::to_string(id.Value().size());
    });
    _expect("DecodeBase64", "45", NoMemory + "0", [&](const Attempt& attempt) {
        std::uint32_t count = 99;
        const NString base64(Digits);
        const auto decode = [&] { return base64.DecodeBase64(nullptr, &count), ""; };
        const std::string status = attempt(decode);
        return status + std::to_string(count);
    });
}

// The text is as it was, in NFC perhaps, and the operation does its work when it is called again.
TEST(OutOfMemory, LeavesTextsAsTheyWere) {
    // UTF-8 that isn't in NFC, which only wide text leaves behind.
    const NString denormal(Repeated(Wide({'e', 0x301}), 40));
    const NString marks(NWideString(20, NWideChar(0x301)) + NWideString(20, NWideChar(0x323)));
    const struct {
        const char* what;
        NString before;
        void (*operation)(NString& text);
    } rows[] = {
        {"narrower", denormal, [](NString& text) { text.ConvertTo(EncodingLatin1); }},
        {"wider", denormal, [](NString& text) { text.ConvertTo(EncodingUTF16); }},
        {"NFC", denormal, [](NString& text) { text.Normalize(FormNFC); }},
        {"NFKD", {Repeated(Composed, 40), Utf8}, [](NString& text) { text.Normalize(FormNFKD); }},
        {"a run of marks", marks, [](NString& text) { text.Normalize(FormNFC); }},
    };
    for (const auto& row : rows) {
        const auto state = [](auto& t) { return std::to_string(t.Encoding()) + t.Data(); };
        NString done(row.before), inNfc(row.before);
        row.operation(done);
        inNfc.Normalize(FormNFC);
        const auto same = AnyOf(NoMemory + state(row.before), NoMemory + state(inNfc));
        _expect(row.what, state(done), same, [&](const Attempt& attempt) {
            NString text(row.before);
            const std::string result = attempt([&] { return row.operation(text), ""; });
            const std::string outcome = result + state(text);
            if (!result.empty()) row.operation(text);
            EXPECT_EQ(state(text), state(done));
            return outcome;
        });
    }
}

// What each gives, and what is in the other document then, which can be used again.
TEST(OutOfMemory, LeavesDocumentsThatCanBeUsedAgain) {
    // Some pages of pugixml's memory, so that it can end in the middle of a copy; and one of each
    // kind of text that is so long that it gets a page of its own.
    const std::string value = Repeated(Digits, 20), page(33000, 'n');
    const std::string xml = "<r>" +
                            Repeated("<a x=\"" + value + "\"><b>" + value + "</b></a>", 40) + "<" +
                            page + " " + page + "=\"1\" x=\"" + page + "\"/><c>" + page + "</c>" +
                            Repeated("<empty/>"s, 700) + "</r>";
    const std::string children = Repeated("<c/>"s, 40), o = "<o>" + children + "</o>";
    NDataContainerArray array;
    array.push_back(new NXML);
    ASSERT_TRUE(array.back()->FromText(xml));
    const TemporaryFolder folder;
    const std::string file = folder.Write("o.xml", o);
    const Text refused = AnyOf("0" + o, NoMemory + o);
    const struct {
        const char* what;
        std::string done;
        Text failed;
        std::function<int(const NXML& document, NXML& other)> operation;
    } rows[] = {
        {"SetValue", "1<o>" + children + "<" + page + ">" + page + "</" + page + "></o>", refused,
         [&](auto&, auto& other) { return other.SetValue("o." + page, page); }},
        {"SetAttributes", "1<o " + page + "=\"" + page + "\">" + children + "</o>", refused,
         [&](auto&, auto& other) { return other.SetAttribute("o", page, page); }},
        {"GetElement", "1" + xml, NoMemory + o,
         [](auto& document, auto& other) { return document.GetElement("r", &other, -1); }},
        {"AppendElements", "1<o>" + children + xml + "</o>", "0" + o,
         [&](auto&, auto& other) { return other.AppendElements("o", array); }},
        {"Assign", "1" + xml, NoMemory + o,
         [](auto& document, auto& other) { return other.Assign(document, 0), 1; }},
        {"CreateRoot", "0<" + page + "/>", "-1",
         [&](auto&, auto& other) { return other.Clear(), other.CreateRoot(page); }},
        {"LoadFile", "1" + o, StartsWith("0"),
         [&](auto&, auto& other) { return other.LoadFile(file, true); }},
        // With no memory for an index it walks.
        {"search", "2" + o, "2" + o,
         [](auto& document, auto&) {
             return document.GetElement("r.c", nullptr, -1) +
                    document.GetElement("r.c", nullptr, -1);
         }},
    };
    for (const auto& row : rows) {
        _expect(row.what, row.done, row.failed, [&](const Attempt& attempt) {
            NXML document, other;
            EXPECT_TRUE(document.FromText(xml) && other.FromText(o));
            const std::string result =
                attempt([&] { return std::to_string(row.operation(document, other)); });
            const std::string text = other.ToText(0);
            EXPECT_TRUE(other.FromText(xml)) << "can be used again";
            return result + text;
        });
    }
}

// What they throw then is no exception object. The name isn't looked at.
TEST(OutOfMemory, LocksThrowMinusOne) {
    std::optional<NMutex> mutex;
    std::optional<NNamedMutex> named;
    Attempt{0}([&] { return mutex.emplace(), ""; });
    Attempt{0}([&] { return named.emplace(nullptr), ""; });
    EXPECT_THAT([&] { mutex->Lock(); }, Throws<int>(-1));
    EXPECT_THAT([&] { mutex->Unlock(); }, Throws<int>(-1));
    EXPECT_THAT([&] { named->Lock(); }, Throws<int>(-1));
    EXPECT_THAT([&] { named->Unlock(); }, Throws<int>(-1));
}

// The program's definitions stand in front of the C library's for all shared libraries.
extern "C" {
void* __libc_malloc(std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) {
    if (_untilFailure != 0) {
        _untilFailure -= _untilFailure > 0;
        ++_alive;
        return __libc_malloc(size);
    }
    _hasFailed = true;
    _untilFailure = _allFail ? 0 : -1;
    return nullptr;
}
void free(void* memory) {
    _alive -= memory != nullptr;
    __libc_free(memory);
}
}
