// Lets the n-th allocation of an operation fail, for n = 1, 2, ... until none does. Each time the
// operation must end with its own kind of failure or with the right result, leak nothing, and leave
// objects that can be used and destroyed.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <morvel/morvel.h>
#include <tests/faults/FailingMemory.h>
#include <tests/support/Expose.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/TestServer.h>

using morvel::test::Attempt;
using morvel::test::ForEachFailingAllocation;
using morvel::test::TemporaryFolder;
using morvel::test::TestServer;

namespace {

NException* NException::*nested;

// All texts are too long for any place but the heap.
std::string _repeated(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

const std::string mark = "\xEF\xBB\xBF";
const std::string decomposed = _repeated("e\xCC\x81", 40);
const std::string composed = _repeated("\xC3\xA9", 40);
const NWideString wideDecomposed = [] {
    NWideString wide;
    for (int i = 0; i < 40; ++i) {
        wide += NWideChar('e');
        wide += NWideChar(0x301);
    }
    return wide;
}();
const std::string digits = _repeated("123", 20);
const std::string manyNumbers = _repeated("12,", 30) + "12";
const std::string path = "/a folder with a long name/another one/a file with a long name";

std::string _counted(const std::string& text) {
    return static_cast<char>(text.size()) + text;
}
const unsigned char* _bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// UTF-8 that isn't in NFC, which only wide text leaves behind.
NString _denormal() {
    return NString(wideDecomposed);
}

using Maker = std::function<std::unique_ptr<NString>()>;

template <class Class, class... Arguments>
Maker _maker(const Arguments&... arguments) {
    return [=] { return std::make_unique<Class>(arguments...); };
}

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
    const std::string marked = mark + decomposed;
    const std::string counted = _counted(marked);
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
        {"wide pointer", _maker<NString>(wideDecomposed.c_str()), decomposed},
        {"pointer", _maker<NString>(marked.c_str()), composed},
        {"pointer, UTF-8", _maker<NString>(decomposed.c_str(), EncodingUTF8), composed},
        {"counted", _maker<NString>(_bytes(counted)), composed},
        {"counted, UTF-8", _maker<NString>(_bytes(counted), EncodingUTF8), composed},
        {"copy", _maker<NString>(utf8), composed},
        {"path of a text", _maker<NPath>(utf8), composed},
        {"path of a pointer", _maker<NPath>(path.c_str()), path},
        {"path", _maker<NPath>(decomposed, EncodingUTF8), composed},
        {"path of a pointer, UTF-8", _maker<NPath>(decomposed.c_str(), EncodingUTF8), composed},
        {"path, copy", _maker<NPath>(asPath), path},
    };
    for (const auto& row : rows) {
        ForEachFailingAllocation(row.what, [&](Attempt& attempt) {
            std::unique_ptr<NString> text;
            if (attempt.Run([&] { text = row.make(); })) {
                EXPECT_EQ(text->Data(), row.expected);
            } else {
                EXPECT_EQ(text, nullptr);
            }
        });
    }
}

// Each operation is run once without a failure to know what comes of it. A failed one leaves the
// text as it was, in NFC perhaps, and does its work when it is called again.
TEST(OutOfMemory, OperationsOnText) {
    const struct {
        const char* what;
        NString before;
        std::string (*operation)(NString& text);
    } rows[] = {
        {"ConvertTo a narrow encoding", _denormal(),
         [](NString& text) { return std::to_string(text.ConvertTo(EncodingLatin1)); }},
        {"ConvertTo a wide encoding", _denormal(),
         [](NString& text) { return std::to_string(text.ConvertTo(EncodingUTF16)); }},
        {"ConvertTo from the system's", NString(composed),
         [](NString& text) { return std::to_string(text.ConvertTo(EncodingLatin9)); }},
        {"Normalize to NFC", _denormal(),
         [](NString& text) {
             text.Normalize(FormNFC);
             return std::string();
         }},
        {"Normalize to NFKD", NString(composed, EncodingUTF8),
         [](NString& text) {
             text.Normalize(FormNFKD);
             return std::string();
         }},
        {"Normalize a long run of marks",
         NString(NWideString(20, NWideChar(0x301)) + NWideString(20, NWideChar(0x323))),
         [](NString& text) {
             text.Normalize(FormNFC);
             return std::string();
         }},
        {"Converted", _denormal(), [](NString& text) { return text.Converted(EncodingLatin1); }},
        {"DataWithBOM", _denormal(), [](NString& text) { return text.DataWithBOM(EncodingUTF16); }},
        {"Wide", NString(decomposed, EncodingLatin1),
         [](NString& text) { return NString(text.Wide()).Data(); }},
        {"ReplaceAll", NString(digits),
         [](NString& text) {
             text.ReplaceAll("2", composed);
             return std::string();
         }},
        {"Replace", NString(digits), [](NString& text) { return text.Replace(3, 1, composed); }},
        {"operator=", NString(digits),
         [](NString& text) {
             text = composed;
             return std::string();
         }},
        {"operator+=", NString(digits),
         [](NString& text) {
             text += _denormal();
             return std::string();
         }},
        {"SetBytes", NString(digits),
         [](NString& text) {
             text.SetBytes(decomposed.data(), 100, EncodingLatin1);
             return std::string();
         }},
        {"UrlEncode", NString(composed),
         [](NString& text) {
             text.UrlEncode();
             return std::string();
         }},
        {"UrlDecode", NString(digits),
         [](NString& text) {
             text.UrlDecode();
             return std::string();
         }},
        {"EncodeBase64", NString(digits),
         [](NString& text) {
             text.EncodeBase64();
             return std::string();
         }},
        {"DecodeBase64", NString(digits),
         [](NString& text) {
             text.DecodeBase64();
             return std::string();
         }},
        {"SetNumber", NString("1"),
         [](NString& text) {
             text.SetNumber(1e50, 3);
             return std::string();
         }},
        {"SetHex", NString("1"),
         [](NString& text) {
             text.SetHex(_bytes(digits), 50);
             return std::string();
         }},
        {"Format", NString("1"),
         [](NString& text) { return text.Format("%s", digits.c_str()).Data(); }},
        {"ToList", NString(manyNumbers),
         [](NString& text) { return std::to_string(text.ToList().size()); }},
        {"Compare", _denormal(),
         [](NString& text) { return std::to_string(text.Compare(composed, EncodingLatin1)); }},
    };
    for (const auto& row : rows) {
        const NString& original = row.before;
        NString expected(original);
        const std::string expectedResult = row.operation(expected);
        NString inNfc(original);
        inNfc.Normalize(FormNFC);
        ForEachFailingAllocation(row.what, [&](Attempt& attempt) {
            NString text(original);
            std::string result;
            if (!attempt.Run([&] { result = row.operation(text); })) {
                EXPECT_TRUE(text.Data() == original.Data() || text.Data() == inNfc.Data());
                EXPECT_EQ(text.Encoding(), original.Encoding());
                result = row.operation(text);
            }
            EXPECT_EQ(text.Data(), expected.Data());
            EXPECT_EQ(text.Encoding(), expected.Encoding());
            EXPECT_EQ(result, expectedResult);
        });
    }
}

TEST(OutOfMemory, ToIntAndItsLikeReadZero) {
    const NString text(digits.substr(0, 3) + _repeated(",000", 20));
    ForEachFailingAllocation("ToDouble", [&](Attempt& attempt) {
        double number = -1;
        EXPECT_TRUE(attempt.Run([&] { number = text.ToDouble(); }));
        EXPECT_EQ(number, attempt.Failed() ? 0 : 123e60);
    });
}

TEST(OutOfMemory, Paths) {
    const NPath original(path, EncodingUTF8);
    ForEachFailingAllocation("Append", [&](Attempt& attempt) {
        NPath name(original);
        const bool done = attempt.Run([&] { name.Append(digits); });
        EXPECT_EQ(name.Data(), done ? path + "/" + digits : path);
    });
    ForEachFailingAllocation("Parent", [&](Attempt& attempt) {
        std::optional<NPath> parent;
        if (attempt.Run([&] { parent.emplace(original.Parent()); })) {
            EXPECT_EQ(parent->Data(), path.substr(0, path.rfind('/') + 1));
        }
    });
}

TEST(OutOfMemory, TokenizerKeepsTheTokensItHas) {
    const NString text(manyNumbers, EncodingUTF8), comma(",");
    ForEachFailingAllocation("constructor", [&](Attempt& attempt) {
        std::optional<NStringTokenizer> list;
        if (attempt.Run([&] { list.emplace(text, comma, 0); })) {
            EXPECT_EQ(list->Count(), 31u);
        }
    });
    ForEachFailingAllocation("Assign", [&](Attempt& attempt) {
        NStringTokenizer list(NString(digits, EncodingLatin1), comma, 0);
        if (attempt.Run([&] { list.Assign(text, comma, 0); })) {
            attempt.ExpectLeak(10);  // the former tokens
            EXPECT_EQ(list.Count(), 31u);
        } else {
            EXPECT_EQ(list.Count(), 1u);
            EXPECT_EQ(NString(list.Token(0), list.Encoding()), NString(digits));
            EXPECT_EQ(list.Encoding(), EncodingLatin1);
        }
    });
}

TEST(OutOfMemory, Documents) {
    const TemporaryFolder folder;
    // Some pages of pugixml's memory, so that it can end in the middle of a copy.
    const std::string value = _repeated(digits, 20);
    const std::string xml =
        "<r>" + _repeated("<a x=\"" + value + "\"><b>" + value + "</b></a>", 40) + "</r>";
    ForEachFailingAllocation("LoadStream", [&](Attempt& attempt) {
        NXML document;
        std::istringstream stream(xml);
        bool loaded = false, refused = false;
        attempt.Run([&] {
            try {
                loaded = document.LoadStream(stream, false);
            } catch (const KelXMLElementException& e) {
                refused = e.Message() == "Could not allocate memory";
            }
        });
        EXPECT_TRUE(loaded ? document.ToText(0) == xml : attempt.Failed());
        EXPECT_FALSE(loaded && refused);
        EXPECT_TRUE(document.FromText(xml));
    });
    ForEachFailingAllocation("LoadFile", [&](Attempt& attempt) {
        const std::string name = folder.Write("document.xml", xml);
        NXML document;
        bool loaded = false;
        EXPECT_TRUE(attempt.Run([&] { loaded = document.LoadFile(name, true); }));
        EXPECT_TRUE(loaded ? document.ToText(0) == xml : attempt.Failed());
    });
    ForEachFailingAllocation("SaveFile", [&](Attempt& attempt) {
        const std::string name = folder.File("saved.xml");
        NXML document, again;
        document.FromText(xml);
        bool saved = false;
        attempt.Run([&] {
            try {
                saved = document.SaveFile(name);
            } catch (const KelPathNotFoundException&) {
            }
        });
        EXPECT_TRUE(saved || attempt.Failed());
        if (saved) {
            EXPECT_TRUE(again.LoadFile(name, true));
            EXPECT_EQ(again.ToText(0), xml);
        }
    });
    ForEachFailingAllocation("SetValue", [&](Attempt& attempt) {
        NXML document;
        document.FromText(xml);
        bool set = false;
        attempt.Run([&] { set = document.SetValue("r." + digits, NString(digits)); });
        EXPECT_EQ(document.GetElement("r." + digits, nullptr, -1), set);
    });
    ForEachFailingAllocation("GetElement", [&](Attempt& attempt) {
        NXML document, element;
        document.FromText(xml);
        bool got = false;
        if (attempt.Run([&] { got = document.GetElement("r", &element, -1); })) {
            EXPECT_TRUE(got);
            EXPECT_EQ(element.ToText(0), xml);
        } else {
            EXPECT_TRUE(element.IsEmpty());
        }
    });
    ForEachFailingAllocation("AppendElements", [&](Attempt& attempt) {
        NXML document;
        document.CreateRoot("all");
        NDataContainerArray array;
        array.push_back(new NXML);
        array.back()->FromText(xml);
        bool done = false;
        EXPECT_TRUE(attempt.Run([&] { done = document.AppendElements("all", array); }));
        EXPECT_EQ(done, !attempt.Failed());
        EXPECT_EQ(document.ToText(0), done ? "<all>" + xml + "</all>" : "<all/>");
    });
    ForEachFailingAllocation("Assign", [&](Attempt& attempt) {
        NXML document, copy;
        document.FromText(xml);
        const bool done = attempt.Run([&] { copy.Assign(document, 0); });
        EXPECT_EQ(copy.ToText(0), done ? xml : "");
    });
    ForEachFailingAllocation("CreateRoot", [&](Attempt& attempt) {
        NXML document;
        const std::string name = _repeated("name", 10000);  // needs a page of its own
        std::int32_t status = 1;
        EXPECT_TRUE(attempt.Run([&] { status = document.CreateRoot(name); }));
        EXPECT_EQ(status, attempt.Failed() ? -1 : 0);
        EXPECT_EQ(document.RootName(), attempt.Failed() ? "" : name);
    });
    ForEachFailingAllocation("ToText", [&](Attempt& attempt) {
        NXML document;
        document.FromText(xml);
        std::string text;
        EXPECT_TRUE(attempt.Run([&] { text = document.ToText(0); }));
        EXPECT_EQ(text, attempt.Failed() ? "" : xml);
    });
}

TEST(OutOfMemory, Identifiers) {
    ForEachFailingAllocation("NUUID::Generate", [](Attempt& attempt) {
        NUUID id;
        ASSERT_EQ(id.Generate(digits, 40), 0);
        const std::string former = id.Value();
        std::string alphabet(digits);
        std::int32_t status = 1;
        EXPECT_TRUE(attempt.Run([&] { status = id.Generate(std::move(alphabet), 50); }));
        EXPECT_EQ(status, attempt.Failed() ? -1 : 0);
        EXPECT_EQ(id.Value().size(), attempt.Failed() ? 40u : 50u);
        EXPECT_EQ(id.Value() == former, attempt.Failed());
    });
    ForEachFailingAllocation("nanoid::generate", [](Attempt& attempt) {
        std::string id;
        if (attempt.Run([&] { id = nanoid::generate(digits, 50); })) {
            EXPECT_EQ(id.size(), 50u);
        } else {
            EXPECT_EQ(id, "");
        }
    });
}

TEST(OutOfMemory, DatesFallBackOnNow) {
    // The mark makes it a text to be converted; any other is read where it lies.
    const std::string text =
        "\xEF\xBB\xBF"
        "2001-02-03 04:05:06" +
        std::string(40, ' ');
    const NDateTime now;
    const std::string format = "%Y-%m-%d %H:%M:%S";
    ForEachFailingAllocation("NDateTime::Parse", [&](Attempt& attempt) {
        attempt.ExpectLeak(1);  // the C library's copy of the zone's name, made anew each time
        std::int32_t zone = 0;
        std::optional<NDateTime> date;
        EXPECT_TRUE(attempt.Run([&] { date.emplace(NDateTime::Parse(format, text, zone)); }));
        EXPECT_EQ(date->Year(), attempt.Failed() ? now.Year() : 2001);
    });
}

// What they throw then is no exception object. The name isn't looked at.
TEST(OutOfMemory, LocksThrowMinusOne) {
    std::optional<NMutex> mutex;
    std::optional<NNamedMutex> named;
    EXPECT_TRUE(Attempt(0, false).Run([&] { mutex.emplace(); }));
    EXPECT_TRUE(Attempt(0, false).Run([&] { named.emplace(nullptr); }));
    const std::function<void()> operations[] = {[&] { mutex->Lock(); }, [&] { mutex->Unlock(); },
                                                [&] { named->Lock(); }, [&] { named->Unlock(); }};
    for (const auto& operation : operations) {
        try {
            operation();
            ADD_FAILURE() << "nothing thrown";
        } catch (int value) {
            EXPECT_EQ(value, -1);
        }
    }
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
    const std::string name = folder.Write("a file with a name that is long enough", "text");
    const NFile file{NString(name)};
    ForEachFailingAllocation("NFileStream::Open", [&](Attempt& attempt) {
        NFileStream stream;
        int status = 1;
        EXPECT_TRUE(attempt.Run([&] { status = stream.Open(file, NFileStream::ModeRead); }));
        if (attempt.Failed()) {
            attempt.ExpectLeak(1);  // POCO's buffer for reading, when it gets none for writing
        }
        EXPECT_EQ(status, attempt.Failed() ? -1 : 0);
        EXPECT_EQ(stream.Size(), attempt.Failed() ? 0 : 4);
        stream.Close();
        EXPECT_EQ(stream.Open(file, NFileStream::ModeRead), 0);
    });
}

// A want of memory inside libcurl is one of its statuses, whichever it makes of it.
TEST(OutOfMemory, Transfers) {
    const TestServer server;
    const std::string address = server.Url("/echo");
    const std::vector<std::string> headers = {"X-First: " + digits, "X-Second: " + digits};
    const auto request = [&](NURL& url) {
        return url.Request(address, &headers, digits.data(), digits.size(), 20, nullptr, nullptr,
                           nullptr, nullptr, 0);
    };
    std::string expected;
    {
        NURL url;
        ASSERT_EQ(request(url), 0);
        expected.assign(url.Data(), url.Size());
    }
    ForEachFailingAllocation("NURL::Request", [&](Attempt& attempt) {
        NURL url;
        std::int32_t status = -1;
        if (!attempt.Run([&] { status = request(url); })) {
            EXPECT_EQ(url.Size(), 0u);
        } else if (status == 0) {
            EXPECT_EQ(std::string(url.Data(), url.Size()), expected);
        } else {
            EXPECT_TRUE(attempt.Failed()) << status;
        }
        EXPECT_EQ(request(url), 0);
    });
}

TEST(OutOfMemory, TransfersToAFile) {
    const TestServer server;
    const TemporaryFolder folder;
    const std::string address = server.Url("/bytes/20000");
    const std::string fileName = "a file with a name that is long enough";
    const NPath file(folder.File(fileName), EncodingUTF8);
    constexpr std::int32_t noFile = -4;
    ForEachFailingAllocation("RequestToFile", [&](Attempt& attempt) {
        NURL url;
        std::int32_t status = -1;
        const bool done = attempt.Run([&] {
            status = url.Request(address, nullptr, &file, 0, 20, nullptr, nullptr, nullptr, nullptr,
                                 RequestToFile);
        });
        if (done && status == 0) {
            EXPECT_EQ(folder.Read(fileName), TestServer::Bytes(20000));
        }
        if (status == noFile) {
            attempt.ExpectLeak(1000);  // libcurl's handle and all that hangs on it
        }
        EXPECT_TRUE(attempt.Failed() || status == 0) << status;
    });
}
