#include <morvel/files/translation.h>

#include <stdexcept>
#include <typeinfo>

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <morvel/base/NException.h>

namespace {

template <class Thrown>
std::string translated(const Thrown& thrown, const std::type_info& expected) {
    try {
        try {
            throw thrown;
        } catch (...) {
            morvel::ThrowTranslated();
        }
    } catch (const NException& e) {
        EXPECT_EQ(typeid(e), expected) << e.ClassName();
        EXPECT_EQ(e.Code(), 0);
        return e.Message();
    }
    return "nothing of the family";
}

}  // namespace

// By hand, since several of these no file system gives on demand. The code 13 is lost on the way.
TEST(translation, TurnsWhatPocoThrowsIntoTheFamily) {
    using namespace Poco;
    const auto denied =
        translated(FileAccessDeniedException("m", 13), typeid(KelFileAccessDeniedException));
    EXPECT_EQ(denied, "m");
    EXPECT_EQ(translated(FileNotFoundException("m", 13), typeid(KelFileNotFoundException)), "m");
    EXPECT_EQ(translated(OpenFileException("m", 13), typeid(KelOpenFileException)), "m");
    EXPECT_EQ(translated(FileReadOnlyException("m", 13), typeid(KelFileReadOnlyException)), "m");
    EXPECT_EQ(translated(FileExistsException("m", 13), typeid(KelFileExistsException)), "m");
    EXPECT_EQ(translated(FileException("m", 13), typeid(KelFileException)), "m");
    EXPECT_EQ(translated(PathSyntaxException("m", 13), typeid(KelPathSyntaxException)), "m");
    EXPECT_EQ(translated(FileException("m", "n", 13), typeid(KelFileException)), "m: n");

    // Without a row of their own: the base class answers, or the fixed text of what() is all.
    EXPECT_EQ(translated(PathNotFoundException("m"), typeid(KelFileException)), "m");
    EXPECT_EQ(translated(DirectoryNotEmptyException("m"), typeid(KelFileException)), "m");
    EXPECT_EQ(translated(SyntaxException("m"), typeid(KelRuntimeException)), "Syntax error");
    EXPECT_EQ(translated(std::runtime_error("m"), typeid(KelRuntimeException)), "m");
    EXPECT_EQ(translated(KelFileException("m", 13), typeid(KelRuntimeException)),
              "File access error");
    EXPECT_EQ(translated(42, typeid(KelRuntimeException)), "Unkwnown exception");
}
