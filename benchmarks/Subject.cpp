#include "Subject.h"

#include <malloc.h>

#include <map>

namespace bench {

std::string Repeated(const std::string& pattern, std::size_t bytes) {
    std::string text = pattern;
    while (text.size() + pattern.size() <= bytes) text += pattern;
    return text;
}

std::string Text(const std::string& script, std::size_t bytes) {
    static const std::map<std::string, std::string> patterns = {
        {"ascii", "The quick brown fox jumps over a lazy dog, 17 times. And rests. "},
        {"latin",
         "D\u00E8s No\u00EBl, o\u00F9 un z\u00E9phyr ha\u00EF me v\u00EAt de gla\u00E7ons "
         "w\u00FCrmiens, je d\u00EEne. "},
        {"greek",
         "\u0391\u03BB\u03B7\u03B8\u03B5\u03B9\u03B1 \u03BA\u03B1\u03B9 "
         "\u03BB\u03CC\u03B3\u03BF\u03C2 \u03C4\u03BF\u03C5 \u03BA\u03CC\u03C3\u03BC\u03BF"
         "\u03C5. "},
        {"cyrillic",
         "\u0421\u044A\u0435\u0448\u044C \u0436\u0435 \u0435\u0449\u0451 "
         "\u044D\u0442\u0438\u0445 \u043C\u044F\u0433\u043A\u0438\u0445 "
         "\u0431\u0443\u043B\u043E\u043A. "},
        {"kana",
         "\u3044\u308D\u306F\u306B\u307B\u3078\u3068\u3001\u3061\u308A\u306C\u308B\u3092"
         "\u3002\u30A2\u30A4\u30A6\u30A8\u30AA\u30AC\u30AE\u30B0"},
        {"cjk",
         "\u5929\u5730\u7384\u9EC4\uFF0C\u5B87\u5B99\u6D2A\u8352\u3002\u65E5\u6708\u76C8"
         "\u6603\uFF0C\u8FB0\u5BBF\u5217\u5F20\u3002"},
        {"hangul",
         "\uB098\uB78F\uB9D0\uC2F8\uBBF8 \uB4D5\uADC0\uC5D0 \uB2EC\uC544 \uBB38\uC790"
         "\uC640. "},
        {"decomposed",
         "De\u0300s Noe\u0308l, ou\u0300 un ze\u0301phyr hai\u0308 me ve\u0302t de "
         "glac\u0327ons. "},
    };
    return Repeated(patterns.at(script), bytes);
}

std::string SizeName(std::size_t bytes) {
    if (bytes >= 1 << 20) return std::to_string(bytes >> 20) + " MiB";
    if (bytes >= 1 << 10) return std::to_string(bytes >> 10) + " KiB";
    return std::to_string(bytes) + " B";
}

}  // namespace bench

int main(int argc, char** argv) {
    // What is freed stays in the process: otherwise it depends on what lies behind it in the heap
    // whether it goes back to the system, and the subject so hit pays for the same pages each
    // round. Blocks above 32 MiB are the system's all the same, as they are in every program.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    void AddSubjects();
    AddSubjects();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
