// Reads a feed, RSS or Atom, from the network or from a file, and lists what is in it.
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include <morvel/companions.h>
#include <morvel/morvel.h>

#include "CommandLine.h"
#include "Progress.h"
#include "terminal.h"

namespace {

enum Exit { Done = 0, NotRead = 1, NoFeed = 2 };

// The time in UTC where the text is a date of RSS (RFC 822) or of Atom (RFC 3339), else the text.
std::string _readableDate(const std::string& text) {
    for (const char* pattern : {"%w, %d %b %Y %H:%M:%S %Z", "%w, %e %b %Y %H:%M:%S %Z",
                                "%Y-%m-%dT%H:%M:%S%z", "%Y-%m-%dT%H:%M:%s%z"}) {
        std::int32_t fromUtc = 0;
        const auto date = morvel::ParseStrict(pattern, text, &fromUtc);
        if (!date) continue;
        const NDateTime utc(
            NTimestamp(date->Timestamp().Value() - fromUtc * std::int64_t{1000000}));
        return NDateTime::Format(utc, "%Y-%m-%d %H:%M UTC", 0);
    }
    return text;
}

// The text of the first of these elements that there is.
std::string _oneOf(const NXML& entry, const std::string& root,
                   std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const NString text = morvel::TextOf(entry, root + '.' + name);
        if (!text.IsEmpty()) return morvel::Utf8(text);
    }
    return "";
}

// Atom has the address in an attribute, and several links; the first is the page.
std::string _link(const NXML& entry, const std::string& root) {
    NString address;
    for (const morvel::ChildElement& link : morvel::Children(entry, root, "link")) {
        if (link->GetRootAttribute("href", address)) return morvel::Utf8(address);
    }
    return _oneOf(entry, root, {"link"});
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Lists titles, dates and links of a feed (RSS 2.0 or Atom).");
    std::string source;
    std::uint32_t timeout = 30;
    std::size_t most = 20;
    app.add_option("source", source, "address (http:// or https://) or file")->required();
    app.add_option("--timeout", timeout, "seconds for the whole transfer")
        ->capture_default_str()
        ->check(CLI::Range(1, 86400));
    app.add_option("--most", most, "how many entries to list")->capture_default_str();
    app.footer(
        "Ends with 0, with 1 if the feed can't be got, with 2 if it is none, above 100 for a wrong "
        "command line.");
    if (const auto status = CommandLine(argc, argv).Parse(app)) return *status;

    std::string bytes;
    if (source.find("://") != source.npos) {
        Progress progress(0, IsTerminal());
        const morvel::Reply reply = morvel::Fetch(
            source, timeout, [&](std::uint64_t received) { progress.Update(received); });
        if (!reply.body.empty()) progress.Finish(reply.body.size());
        if (!reply) {
            std::cerr << source << " can't be read: " << morvel::StatusText(reply.status) << ".\n";
            return NotRead;
        }
        bytes = reply.body;
    } else {
        try {
            bytes = morvel::ReadFile(NPath(source, EncodingUTF8));
        } catch (const NException& e) {
            std::cerr << morvel::Describe(e) << ". Check the name and the rights.\n";
            return NotRead;
        }
    }
    NXML feed;
    if (const morvel::XmlFault fault = morvel::Load(feed, bytes)) {
        std::cerr << source << " is no feed: line " << fault.line << ", column " << fault.column
                  << ": " << fault.message << ".\n";
        return NoFeed;
    }
    const bool isAtom = feed.RootName() == "feed";
    if (!isAtom && feed.RootName() != "rss") {
        std::cerr << source << " is no feed, but a document of <" << feed.RootName() << ">.\n";
        return NoFeed;
    }
    const std::string parent = isAtom ? "feed" : "rss.channel", name = isAtom ? "entry" : "item";
    std::cout << morvel::TextOf(feed, parent + ".title") << '\n';
    for (const morvel::ChildElement& entry : morvel::Children(feed, parent, name)) {
        if (most-- == 0) break;
        const NXML& element = *entry.element;
        std::cout << "\n  " << _oneOf(element, name, {"title", "description"}) << "\n  "
                  << _readableDate(_oneOf(element, name, {"pubDate", "published", "updated"}))
                  << "\n  " << _link(element, name) << '\n';
    }
    return Done;
}
