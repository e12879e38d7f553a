// Numbers to text and back: a thousand of each kind a round.
#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>

#include <QByteArray>
#include <QLocale>
#include <charconv>
#include <random>
#include <string>
#include <vector>

#include <morvel/text/NString.h>

#include "Subject.h"

namespace {

constexpr std::size_t Count = 1000;

template <class Number>
std::vector<Number> _numbers() {
    std::mt19937_64 engine(5);
    std::vector<Number> numbers;
    for (std::size_t i = 0; i < Count; ++i) {
        const std::uint64_t bits = engine();
        if constexpr (std::is_same<Number, double>::value) {
            numbers.push_back(static_cast<double>(bits >> 11) / 1e12);
        } else {
            numbers.push_back(static_cast<Number>(bits >> (engine() % (sizeof(Number) * 8))));
        }
    }
    return numbers;
}

// One subject: each number through `format`, whose result has a length; all lengths summed up.
template <class Number, class Format>
void _addFormat(const std::string& name, const std::vector<Number>& numbers, Format format) {
    std::size_t expected = 0;
    for (const Number number : numbers) expected += Poco::NumberFormatter::format(number).size();
    for (const Number number : numbers) {
        if (format(number) != Poco::NumberFormatter::format(number)) {
            std::fprintf(stderr, "%s: wrong text\n", name.c_str());
            std::exit(1);
        }
    }
    bench::AddEqual(
        name, bench::Items(Count),
        [numbers, format]() mutable {
            std::size_t sum = 0;
            for (const Number number : numbers) sum += format(number).size();
            return sum;
        },
        expected);
}

template <class Number, class Text, class Parse>
void _addParse(const std::string& name, const std::vector<Number>& numbers,
               const std::vector<Text>& texts, Parse parse) {
    bench::Add(
        name, bench::Items(Count),
        [texts, parse, results = std::vector<Number>(Count)]() mutable {
            for (std::size_t i = 0; i < Count; ++i) results[i] = parse(texts[i]);
            return &results;
        },
        [numbers](const std::vector<Number>* results) { return *results == numbers; });
}

template <class Number, class Set, class Read, class PocoRead, class AbslFormat, class AbslRead>
void _addKind(const std::string& kind, Set set, Read read, PocoRead pocoRead, AbslFormat abslFormat,
              AbslRead abslRead) {
    const std::vector<Number> numbers = _numbers<Number>();
    std::vector<NString> own(Count);
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < Count; ++i) {
        set(own[i], numbers[i]);
        texts.push_back(own[i].Data());
    }
    const std::string to = kind + " to text", from = "text to " + kind;
    _addFormat(to + "/Morvel", numbers,
               [set, text = NString()](Number n) mutable -> const std::string& {
                   set(text, n);
                   return text.Data();
               });
    _addFormat(to + "/POCO (raw)", numbers,
               [](Number n) { return Poco::NumberFormatter::format(n); });
    abslFormat(to, numbers);
    _addParse(from + "/Morvel", numbers, own, read);
    _addParse(from + "/POCO (raw)", numbers, texts, pocoRead);
    _addParse(from + "/Abseil", numbers, texts, abslRead);
    _addParse(from + "/ceiling: from_chars", numbers, texts, [](const std::string& text) {
        Number number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    });
}

}  // namespace

void AddSubjects() {
    const auto set = [](NString& text, auto number) { text.SetNumber(number); };
    const auto whole = [](const std::string& name, const auto& numbers) {
        _addFormat(name + "/Abseil", numbers, [](auto n) { return absl::StrCat(n); });
        _addFormat(name + "/QByteArray", numbers,
                   [](auto n) { return QByteArray::number(n).toStdString(); });
        _addFormat(name + "/ceiling: to_chars", numbers, [](auto n) {
            char digits[24];
            return std::string(digits, std::to_chars(digits, digits + sizeof digits, n).ptr);
        });
    };
    const auto abslInteger = [](auto zero) {
        return [zero](const std::string& text) {
            auto number = zero;
            static_cast<void>(absl::SimpleAtoi(text, &number));
            return number;
        };
    };
    _addKind<int>(
        "int", set, [](const NString& text) { return text.ToInt(); },
        [](const std::string& text) { return Poco::NumberParser::parse(text); }, whole,
        abslInteger(0));
    _addKind<unsigned long long>(
        "u64", set, [](const NString& text) { return text.ToUInt64(); },
        [](const std::string& text) {
            return static_cast<unsigned long long>(Poco::NumberParser::parseUnsigned64(text));
        },
        whole, abslInteger(0ULL));
    // Abseil prints six digits, which is another result: POCO and the standard library print all.
    _addKind<double>(
        "double", set, [](const NString& text) { return text.ToDouble(); },
        [](const std::string& text) { return Poco::NumberParser::parseFloat(text); },
        [](const std::string& name, const std::vector<double>& numbers) {
            _addFormat(name + "/QByteArray", numbers, [](double n) {
                return QByteArray::number(n, 'g', QLocale::FloatingPointShortest).toStdString();
            });
            _addFormat(name + "/ceiling: to_chars", numbers, [](double n) {
                char digits[32];
                return std::string(digits, std::to_chars(digits, digits + sizeof digits, n).ptr);
            });
        },
        [](const std::string& text) {
            double number = 0;
            static_cast<void>(absl::SimpleAtod(text, &number));
            return number;
        });
}
