#include <morvel/files/ThrowTranslated.h>

#include <typeinfo>

#include <Poco/Exception.h>

#include <morvel/base/NException.h>
#include <tests/support/Test.h>

namespace {

template <class Expected, class Thrown>
void expect(const Thrown& thrown, const std::string& message) {
    try {
        try {
            throw thrown;
        } catch (...) {
            morvel::ThrowTranslated();
        }
    } catch (const NException& e) {
        EXPECT_EQ(typeid(e), typeid(Expected)) << e.ClassName();
        EXPECT_EQ(e.Code(), 0);
        EXPECT_EQ(e.Message(), message);
    }
}

}  // namespace

// By hand, since several of these no file system gives on demand. The code 13 is lost on the way.
TEST(translation, TurnsWhatPocoThrowsIntoTheFamily) {
    expect<KelFileAccessDeniedException>(Poco::FileAccessDeniedException("m", 13), "m");
    expect<KelFileNotFoundException>(Poco::FileNotFoundException("m", 13), "m");
    expect<KelOpenFileException>(Poco::OpenFileException("m", 13), "m");
    expect<KelFileReadOnlyException>(Poco::FileReadOnlyException("m", 13), "m");
    expect<KelFileExistsException>(Poco::FileExistsException("m", 13), "m");
    expect<KelFileException>(Poco::FileException("m", "n", 13), "m: n");
    expect<KelPathSyntaxException>(Poco::PathSyntaxException("m", 13), "m");
    // Without a row of their own: the base class answers, or the fixed text of what() is all.
    expect<KelFileException>(Poco::PathNotFoundException("m"), "m");
    expect<KelRuntimeException>(Poco::SyntaxException("m"), "Syntax error");
    expect<KelRuntimeException>(std::runtime_error("m"), "m");
    expect<KelRuntimeException>(42, "Unkwnown exception");
}
