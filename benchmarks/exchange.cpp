// A whole program: 2,000 exchanges with an nginx on loopback, as exchange/Exchange.h tells them, by
// each peer in a process of its own. Time is wall time of one exchange; processor time
// includes what the log's last lines take to their file; allocations are those of one exchange, C
// libraries' included; peak_bytes is the most that the process ever held.
#include <string>

#include "Programs.h"
#include "Subject.h"

namespace {

constexpr int Exchanges = 2000;

// Both locations answer the one order that all peers write, its customer escaped, with the same
// confirmation. The first ends each connection behind its reply, the second lets it stand.
const char Locations[] = R"(
    default_type application/xml;
    if ($arg_customer != "Zo%C3%AB%20%C3%85ngstr%C3%B6m") { return 400; }
    if ($content_length != 219) { return 400; }
    location = /orders { keepalive_timeout 0; return 200 $reply; }
    location = /orders/kept { return 200 $reply; }
    set $reply '<?xml version="1.0" encoding="utf-8"?>
<confirmation>
    <number>A-2041</number>
    <customer>Zoë Ångström</customer>
    <street>Storgata 4</street>
    <city>Ålesund</city>
    <country>Norge</country>
    <packages>3</packages>
    <carrier>Postbud</carrier>
    <tracking>JJD0014</tracking>
    <total currency="€">38.65</total>
    <date>2026-11-25T08:05:09+01:00</date>
</confirmation>
';)";

void _add(const std::string& name, const std::string& peer, const std::string& url) {
    benchmark::RegisterBenchmark(
        name.c_str(),
        [peer, url](benchmark::State& state) {
            for (auto _ : state) {
                const std::vector<double> found = bench::NumbersFrom(
                    "exchange_" + peer, {url, std::to_string(Exchanges), bench::FreshFolder()}, 4);
                state.SetIterationTime(found[0] * Exchanges / 1e9);
                state.counters["items"] = Exchanges;
                state.counters["processor_ns"] = found[1];
                state.counters["allocations"] = found[2];
                state.counters["peak_bytes"] = found[3];
            }
            state.SetLabel("exchange/" + peer + ".cpp");  // what the report counts the lines of
        })
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

void AddSubjects() {
    const std::string server = bench::NginxServer(Locations);
    const struct {
        const char* name;
        const char* address;
    } cases[] = {{"one exchange", "/orders"}, {"kept connection", "/orders/kept"}};
    for (const auto& row : cases) {
        const std::string name = row.name;
        _add(name + "/Morvel", "morvel", server + row.address);
        _add(name + "/libcurl and pugixml (raw)", "libcurl_pugixml", server + row.address);
        _add(name + "/POCO", "poco", server + row.address);
        _add(name + "/Qt 6", "qt", server + row.address);
    }
}
