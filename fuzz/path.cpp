// Operations on paths, against the steps that NPath tells, taken with Poco::Path.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include <Poco/Path.h>

#include <morvel/files/NPath.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::WithBytes;

std::string utf8(NString text) {
    text.ConvertTo(EncodingUTF8);
    return text.Data();
}

// What the step makes of the path, in the path's own encoding, or in `other` for an Append.
template <class Step>
std::string byPoco(const NPath& path, Step step, NStringEncoding other = EncodingSystem) {
    NString result = WithBytes(step(Poco::Path(utf8(path))), EncodingUTF8);
    result.ConvertTo(std::max(path.Encoding(), other));
    return result.Data();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto encoding = static_cast<NStringEncoding>(input.ConsumeIntegralInRange(0, 5));
    const auto otherEncoding = static_cast<NStringEncoding>(input.ConsumeIntegralInRange(0, 5));
    const NString other = WithBytes(input.ConsumeRandomLengthString(16), otherEncoding);
    const NPath path(WithBytes(input.ConsumeRemainingBytesAsString(), encoding));

    Expect(path.IsFile() == Poco::Path(utf8(path)).isFile(), "a file by its text");
    ExpectEqual(path.Parent().Data(), byPoco(path, [](auto p) { return p.parent().toString(); }),
                "the folder that holds it");
    ExpectEqual(path.BaseName().Data(), byPoco(path, [](auto p) { return p.getBaseName(); }),
                "the name without its extension");
    ExpectEqual(path.Absolute().Data(),
                byPoco(path, [](auto p) { return p.absolute().toString(); }), "seen from here");
    ExpectEqual(NPath(path).MakeDirectory().Data(),
                byPoco(path, [](auto p) { return p.makeDirectory().toString(); }), "as a folder");
    ExpectEqual(NPath(path).MakeFile().Data(),
                byPoco(path, [](auto p) { return p.makeFile().toString(); }), "as a file");

    NPath extended(path), appended(path);
    extended.SetExtension(other);
    ExpectEqual(extended.Data(),
                byPoco(path, [&](auto p) { return p.setExtension(utf8(other)).toString(); }),
                "with another extension");
    appended.Append(other);
    Expect(appended.Encoding() == std::max(encoding, otherEncoding), "in the higher encoding");
    ExpectEqual(appended.Data(),
                byPoco(
                    path, [&](auto p) { return p.append(Poco::Path(utf8(other))).toString(); },
                    otherEncoding),
                "with another path behind it");
    return 0;
}
