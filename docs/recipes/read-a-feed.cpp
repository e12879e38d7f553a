#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

namespace {

const char* const Feed = R"(<rss version="2.0"><channel><title>News of the harbour</title>
<item><title>Ferry back in service</title><pubDate>Wed, 25 Nov 2026 08:05:09 GMT</pubDate></item>
<item><title>Caf&#233; <b>Zo&#235;</b> opens</title><pubDate>soon</pubDate></item>
</channel></rss>)";

}  // namespace

int main() {
    NXML feed;
    if (const morvel::XmlFault fault = morvel::Load(feed, Feed)) {
        std::cerr << fault.line << ':' << fault.column << ": " << fault.message << '\n';
        return 1;
    }
    for (const morvel::ChildElement& item : morvel::Children(feed, "rss.channel", "item")) {
        std::cout << morvel::Utf8(morvel::TextOf(*item.element, "item.title"));
        const auto published = morvel::ValueOf(*item.element, "item.pubDate").value_or(NString());
        const auto date = morvel::ParseStrict("%w, %e %b %Y %H:%M:%S %Z", published.Data());
        if (date) std::cout << ", " << date->Day() << '.' << date->Month() << '.';
        std::cout << '\n';
    }
}
