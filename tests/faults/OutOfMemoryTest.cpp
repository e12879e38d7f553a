// Lets the n-th allocation of an operation fail, for n = 1, 2, ... until none does. Each time the
// operation must end with its own kind of failure or with the right result, leak nothing, and leave
// objects that can be used and destroyed.

#include <optional>

#include <morvel/morvel.h>
#include <tests/faults/FailingMemory.h>
#include <tests/support/Expose.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/support/TestServer.h>
#include <tests/support/Text.h>

using namespace morvel::test;
using namespace std::string_literals;

namespace {

NException* NException::*nested;

// All texts are too long for any place but the heap.
const std::string decomposed = Repeated(Decomposed, 40), composed = Repeated(Composed, 40);
const NWideString wideDecomposed = Repeated(Wide({'e', 0x301}), 40);
const std::string digits = Repeated("123"s, 20), manyNumbers = Repeated("12,"s, 30) + "12";
const std::string path = "/a folder with a long name/another one/a file with a long name";
const std::string fileName = "a file with a name that is long enough";
const std::string noMemory = "std::bad_alloc";

const unsigned char* _bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// UTF-8 that isn't in NFC, which only wide text leaves behind.
NString _denormal() {
    return NString(wideDecomposed);
}

// The result of `operation` as a text, whose making may be what fails.
template <class Operation>
std::string _resultOf(Attempt& attempt, Operation operation) {
    std::string result;
    return attempt.Run([&] { result = operation(); }) ? result : noMemory;
}

// What `operation` gives is what is done without a failure, or behind one perhaps what `failed` is.
void _expect(const char* what, const std::string& done,
             const testing::Matcher<const std::string&>& failed,
             const std::function<std::string(Attempt&)>& operation) {
    ForEachFailingAllocation(what, [&](Attempt& attempt) {
        const std::string outcome = operation(attempt);
        if (!attempt.Failed() || !failed.Matches(outcome)) {
            EXPECT_EQ(outcome, done);
        }
    });
}

using Maker = std::function<std::unique_ptr<NString>()>;

template <class Class, class... Arguments>
Maker _maker(const Arguments&... arguments) {
    return [=] { return std::make_unique<Class>(arguments...); };
}

// An operation on a text, and its result if it has one.
struct OnText {
    template <class Function>
    OnText(Function function)
        : Run([function](NString& text) -> std::string {
              using Result = decltype(function(text));
              if constexpr (std::is_void_v<Result>)
                  return function(text), "";
              else if constexpr (std::is_arithmetic_v<Result>)
                  return std::to_string(function(text));
              else
                  return function(text);
          }) {}
    std::function<std::string(NString&)> Run;
};

}  // namespace

template struct morvel::test::Expose<nested, &NException::_nested>;

// Memory that lacks for an object makes a null pointer, for a text an exception.
TEST(OutOfMemory, CloneOfAnException) {
    KelFileException original(digits, 1);
    original.*nested = new KelOpenFileException(digits, 2);
    std::string outcomes;
    outcomes.reserve(20);
    ForEachFailingAllocation("Clone", [&](Attempt& attempt) {
        std::unique_ptr<NException> clone;
        const bool done = attempt.Run([&] { clone.reset(original.Clone()); });
        outcomes += !done ? 'x' : clone == nullptr ? '0' : clone->Nested() == nullptr ? '1' : '2';
    });
    EXPECT_EQ(outcomes, "20x1x20x1x2");  // none fails, one fails, all fail
}

TEST(OutOfMemory, ConstructorsOfText) {
    const std::string marked = Mark + decomposed,
                      counted = static_cast<char>(marked.size()) + marked;
    const NString utf8(marked);
    const NPath asPath(path);
    const struct {
        const char* what;
        Maker make;
        std::string expected;
    } rows[] = {
        {"marked", _maker<NString>(marked), composed},
        {"UTF-8", _maker<NString>(decomposed, EncodingUTF8), composed},
        {"Latin-1", _maker<NString>(decomposed, EncodingLatin1), decomposed},
        {"wide", _maker<NString>(wideDecomposed), decomposed},
        {"pointer", _maker<NString>(marked.c_str()), composed},
        {"pointer, UTF-8", _maker<NString>(decomposed.c_str(), EncodingUTF8), composed},
        {"counted", _maker<NString>(_bytes(counted)), composed},
        {"copy", _maker<NString>(utf8), composed},
        {"path of a text", _maker<NPath>(utf8), composed},
        {"path", _maker<NPath>(decomposed, EncodingUTF8), composed},
        {"path of a pointer, UTF-8", _maker<NPath>(decomposed.c_str(), EncodingUTF8), composed},
        {"path, copy", _maker<NPath>(asPath), path},
    };
    for (const auto& row : rows) {
        _expect(row.what, row.expected, noMemory, [&](Attempt& attempt) {
            return _resultOf(attempt, [&] { return row.make()->Data(); });
        });
    }
}

// Each operation is run once without a failure to know what comes of it. A failed one leaves the
// text as it was, in NFC perhaps, and does its work when it is called again.
TEST(OutOfMemory, OperationsOnText) {
    const NWideString marks(20, NWideChar(0x301)), lowerMarks(20, NWideChar(0x323));
    const struct {
        const char* what;
        NString before;
        OnText operation;
    } rows[] = {
        {"narrower", _denormal(), [](NString& t) { return t.ConvertTo(EncodingLatin1); }},
        {"wider", _denormal(), [](NString& t) { return t.ConvertTo(EncodingUTF16); }},
        {"from the system's", composed, [](NString& t) { return t.ConvertTo(EncodingLatin9); }},
        {"NFC", _denormal(), [](NString& t) { t.Normalize(FormNFC); }},
        {"NFKD", {composed, EncodingUTF8}, [](NString& t) { t.Normalize(FormNFKD); }},
        {"a run of marks", marks + lowerMarks, [](NString& t) { t.Normalize(FormNFC); }},
        {"Converted", _denormal(), [](NString& t) { return t.Converted(EncodingLatin1); }},
        {"DataWithBOM", _denormal(), [](NString& t) { return t.DataWithBOM(EncodingUTF16); }},
        {"Wide", {decomposed, EncodingLatin1}, [](NString& t) { return NString(t.Wide()).Data(); }},
        {"ReplaceAll", digits, [](NString& t) { t.ReplaceAll("2", composed); }},
        {"Replace", digits, [](NString& t) { return t.Replace(3, 1, composed); }},
        {"operator=", digits, [](NString& t) { t = composed; }},
        {"operator+=", digits, [](NString& t) { t += _denormal(); }},
        {"SetBytes", digits, [](NString& t) { t.SetBytes(composed.data(), 80, EncodingLatin1); }},
        {"UrlEncode", composed, [](NString& t) { t.UrlEncode(); }},
        {"UrlDecode", digits, [](NString& t) { t.UrlDecode(); }},
        {"EncodeBase64", digits, [](NString& t) { t.EncodeBase64(); }},
        {"DecodeBase64", digits, [](NString& t) { t.DecodeBase64(); }},
        {"SetNumber", {"1"}, [](NString& t) { t.SetNumber(1e50, 3); }},
        {"SetHex", {"1"}, [](NString& t) { t.SetHex(_bytes(digits), 50); }},
        {"Format", {"1"}, [](NString& t) { return t.Format("%s", digits.c_str()).Data(); }},
        {"ToList", manyNumbers, [](NString& t) { return t.ToList().size(); }},
        {"Compare", _denormal(), [](NString& t) { return t.Compare(composed, EncodingLatin1); }},
    };
    for (const auto& row : rows) {
        const auto is = [](const NString& text, const NString& expected) {
            return text.Data() == expected.Data() && text.Encoding() == expected.Encoding();
        };
        NString expected(row.before), inNfc(row.before);
        const std::string expectedResult = row.operation.Run(expected);
        inNfc.Normalize(FormNFC);
        ForEachFailingAllocation(row.what, [&](Attempt& attempt) {
            NString text(row.before);
            std::string result;
            if (!attempt.Run([&] { result = row.operation.Run(text); })) {
                EXPECT_TRUE(is(text, row.before) || is(text, inNfc)) << text.Data();
                result = row.operation.Run(text);
            }
            EXPECT_TRUE(is(text, expected)) << text.Data();
            EXPECT_EQ(result, expectedResult);
        });
    }
}

TEST(OutOfMemory, NumbersReadAsZeroPathsAndTokensStay) {
    const NString number(digits.substr(0, 3) + Repeated(",000"s, 20));
    _expect("ToDouble", "123", "0", [&](Attempt& attempt) {
        double value = -1;
        EXPECT_TRUE(attempt.Run([&] { value = number.ToDouble() / 1e60; }));
        return std::to_string(std::lround(value));
    });
    _expect("Append", path + "/" + digits, path, [](Attempt& attempt) {
        NPath name(path, EncodingUTF8);
        attempt.Run([&] { name.Append(digits); });
        return name.Data();
    });
    const NPath whole(path, EncodingUTF8);
    _expect("Parent", path.substr(0, path.rfind('/') + 1), noMemory, [&](Attempt& attempt) {
        return _resultOf(attempt, [&] { return whole.Parent().Data(); });
    });
    const NString text(manyNumbers, EncodingUTF8), comma(",");
    _expect("NStringTokenizer", "31", noMemory, [&](Attempt& attempt) {
        return _resultOf(attempt,
                         [&] { return std::to_string(NStringTokenizer(text, comma, 0).Count()); });
    });
    _expect("Assign", "31 of 4", "1 of 2", [&](Attempt& attempt) {
        NStringTokenizer list(NString(digits, EncodingLatin1), comma, 0);
        if (attempt.Run([&] { list.Assign(text, comma, 0); })) {
            attempt.ExpectLeak(10);  // the former tokens
        } else {
            EXPECT_EQ(NString(list.Token(0)), NString(digits));
        }
        return std::to_string(list.Count()) + " of " + std::to_string(list.Encoding());
    });
}

// What each says, and what is in the other document then; only a reader leaves that open.
TEST(OutOfMemory, Documents) {
    const TemporaryFolder folder;
    // Some pages of pugixml's memory, so that it can end in the middle of a copy; and one of each
    // kind of text that is so long that it gets a page of its own.
    const std::string value = Repeated(digits, 20), page = Repeated("n"s, 33000);
    const std::string xml = "<r>" +
                            Repeated("<a x=\"" + value + "\"><b>" + value + "</b></a>", 40) + "<" +
                            page + " " + page + "=\"1\" x=\"" + page + "\"/><c>" + page + "</c>" +
                            Repeated("<empty/>"s, 700) + "</r>";
    const std::string name = Repeated("name"s, 10000);  // needs a page of its own
    const std::string file = folder.Write("document.xml", xml), saved = folder.File("saved.xml");
    const std::string children = Repeated("<c/>"s, 40), o = "<o>" + children + "</o>";
    NDataContainerArray array;
    array.push_back(new NXML);
    array.back()->FromText(xml);
    const auto either = [](const std::string& first, const std::string& second) {
        return testing::AnyOf(testing::StartsWith(first), testing::StartsWith(second));
    };
    const struct {
        const char* what;
        std::string done;
        testing::Matcher<const std::string&> failed;
        std::function<std::string(NXML& document, NXML& other)> operation;
    } rows[] = {
        {"LoadStream", "1" + xml, either("Could not allocate memory", noMemory),
         [&](NXML&, NXML& other) {
             std::istringstream stream(xml);
             try {
                 return std::to_string(other.LoadStream(stream, false));
             } catch (const KelXMLElementException& e) {
                 return e.Message();
             }
         }},
        {"LoadFile", "1" + xml, either("0", "0"),
         [&](NXML&, NXML& other) { return std::to_string(other.LoadFile(file, true)); }},
        {"SaveFile", "1" + o, either("Exception saving", noMemory),
         [&](NXML& document, NXML&) {
             try {
                 return std::to_string(document.SaveFile(saved));
             } catch (const KelPathNotFoundException& e) {
                 return e.Message();
             }
         }},
        {"SetValue", "1<o>" + children + "<n>" + value + "</n></o>", noMemory + o,
         [&](NXML&, NXML& other) { return std::to_string(other.SetValue("o.n", NString(value))); }},
        {"GetElement", "1" + xml, testing::AnyOf(noMemory, noMemory + o),
         [](NXML& document, NXML& other) {
             return std::to_string(document.GetElement("r", &other, -1));
         }},
        {"AppendElements", "1<o>" + children + xml + "</o>", "0" + o,
         [&](NXML&, NXML& other) { return std::to_string(other.AppendElements("o", array)); }},
        {"Assign", xml, testing::AnyOf(noMemory, noMemory + o),
         [](NXML& document, NXML& other) { return other.Assign(document, 0), ""s; }},
        {"CreateRoot", "0<" + name + "/>", "-1",
         [&](NXML&, NXML& other) { return other.Clear(), std::to_string(other.CreateRoot(name)); }},
        {"ToText", xml + o, o, [](NXML& document, NXML&) { return document.ToText(0); }},
    };
    for (const auto& row : rows) {
        _expect(row.what, row.done, row.failed, [&](Attempt& attempt) {
            NXML document, other;
            document.FromText(xml);
            other.FromText(o);
            const std::string result =
                _resultOf(attempt, [&] { return row.operation(document, other); });
            const std::string text = other.ToText(0);
            EXPECT_TRUE(other.FromText(xml)) << "can be used again";
            return result + text;
        });
    }
    NXML again;
    EXPECT_TRUE(again.LoadFile(saved, true));
    EXPECT_EQ(again.ToText(0), xml);
}

// With no memory for an index a search walks; with one, a path of 256 bytes takes none.
TEST(OutOfMemory, SearchesOfDocuments) {
    std::string xml;
    std::vector<std::string> paths;
    for (int i = 10; i < 50; ++i) {
        const std::string name = std::string(252, 'n') + std::to_string(i);
        xml += "<" + name + "/>";
        paths.push_back("r." + name);
        paths.push_back(paths.back());
        paths.back()[100] = '|';  // leads to none
    }
    constexpr long all = std::numeric_limits<long>::max();
    for (long count = 0; count < 5; ++count) {
        NXML document;
        ASSERT_TRUE(document.FromText("<r>" + xml + "</r>"));
        const auto failedIn = [&](long allocations) {
            Attempt attempt(allocations, true);
            std::size_t right = 0;
            EXPECT_TRUE(attempt.Run([&] {
                for (std::size_t i = 0; i < paths.size(); ++i) {
                    right += document.GetElement(paths[i], nullptr, -1) == (i % 2 == 0);
                }
            }));
            EXPECT_EQ(right, paths.size()) << count;
            return attempt.Failed();
        };
        EXPECT_TRUE(failedIn(count)) << count;
        EXPECT_FALSE(failedIn(all));
        EXPECT_FALSE(failedIn(0)) << count;
    }
}

TEST(OutOfMemory, IdentifiersAndDates) {
    _expect("NUUID::Generate", "0 50", "-1 40", [](Attempt& attempt) {
        NUUID id;
        id.Generate(digits, 40);
        std::string alphabet(digits);
        std::int32_t status = 1;
        EXPECT_TRUE(attempt.Run([&] { status = id.Generate(std::move(alphabet), 50); }));
        return std::to_string(status) + ' ' + std::to_string(id.Value().size());
    });
    _expect("nanoid::generate", "50", noMemory, [](Attempt& attempt) {
        return _resultOf(attempt,
                         [] { return std::to_string(nanoid::generate(digits, 50).size()); });
    });
    // The mark makes it a text to be converted; any other is read where it lies.
    const std::string date = Mark + "2001-02-03 04:05:06" + std::string(40, ' ');
    const std::string format = "%Y-%m-%d %H:%M:%S", now = std::to_string(NDateTime().Year());
    _expect("NDateTime::Parse", "2001", now, [&](Attempt& attempt) {
        attempt.ExpectLeak(1);  // the C library's copy of the zone's name, made anew each time
        std::int32_t zone = 0, year = 0;
        EXPECT_TRUE(attempt.Run([&] { year = NDateTime::Parse(format, date, zone).Year(); }));
        return std::to_string(year);
    });
}

// What they throw then is no exception object. The name isn't looked at.
TEST(OutOfMemory, LocksThrowMinusOne) {
    std::optional<NMutex> mutex;
    std::optional<NNamedMutex> named;
    EXPECT_TRUE(Attempt(0, false).Run([&] { mutex.emplace(); }));
    EXPECT_TRUE(Attempt(0, false).Run([&] { named.emplace(nullptr); }));
    EXPECT_THAT([&] { mutex->Lock(); }, testing::Throws<int>(-1));
    EXPECT_THAT([&] { mutex->Unlock(); }, testing::Throws<int>(-1));
    EXPECT_THAT([&] { named->Lock(); }, testing::Throws<int>(-1));
    EXPECT_THAT([&] { named->Unlock(); }, testing::Throws<int>(-1));
}

// Later failures, in POCO, become members of the NException family.
TEST(OutOfMemory, FileCopiesItsPathBeforeItTranslates) {
    const NFile file{NString(path)};
    EXPECT_FALSE(Attempt(0, false).Run([&] { file.CreateDirectories(); }));
    EXPECT_FALSE(Attempt(0, false).Run([&] { file.Remove(true); }));
    EXPECT_THROW(Attempt(1, false).Run([&] { file.Remove(true); }), KelRuntimeException);
}

TEST(OutOfMemory, FileStreamStaysClosed) {
    const TemporaryFolder folder;
    const NFile file{NString(folder.Write(fileName, "text"))};
    _expect("NFileStream::Open", "0 4", "-1 0", [&](Attempt& attempt) {
        NFileStream stream;
        int status = 1;
        EXPECT_TRUE(attempt.Run([&] { status = stream.Open(file, NFileStream::ModeRead); }));
        if (attempt.Failed()) {
            attempt.ExpectLeak(1);  // POCO's buffer for reading, when it gets none for writing
        }
        const std::string outcome = std::to_string(status) + ' ' + std::to_string(stream.Size());
        stream.Close();
        EXPECT_EQ(stream.Open(file, NFileStream::ModeRead), 0);
        return outcome;
    });
}

// A want of memory inside libcurl is one of its statuses, whichever it makes of it.
TEST(OutOfMemory, Transfers) {
    const TestServer server;
    const TemporaryFolder folder;
    const std::string address = server.Url("/bytes/20000"), expected = TestServer::Bytes(20000);
    const std::vector<std::string> headers = {"X-First: " + digits, "X-Second: " + digits};
    const NPath file(folder.File(fileName), EncodingUTF8);
    constexpr std::int32_t noFile = -4;
    for (const bool toFile : {false, true}) {
        const auto request = [&](NURL& url) {
            return toFile ? url.Request(address, nullptr, &file, 0, 20, nullptr, nullptr, nullptr,
                                        nullptr, RequestToFile)
                          : url.Request(address, &headers, digits.data(), digits.size(), 20,
                                        nullptr, nullptr, nullptr, nullptr, 0);
        };
        const auto received = [&](const NURL& url) {
            return toFile ? folder.Read(fileName) : std::string(url.Data(), url.Size());
        };
        ForEachFailingAllocation(toFile ? "to a file" : "to memory", [&](Attempt& attempt) {
            NURL url;
            std::int32_t status = -1;
            if (!attempt.Run([&] { status = request(url); })) {
                EXPECT_EQ(url.Size(), 0u);
            } else if (status == 0) {
                EXPECT_TRUE(received(url) == expected);
            } else if (status == noFile) {
                attempt.ExpectLeak(1000);  // libcurl's handle and all that hangs on it
            }
            EXPECT_TRUE(attempt.Failed() || status == 0) << status;
            EXPECT_EQ(request(url), 0);
        });
    }
}
