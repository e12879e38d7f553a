#pragma once

#include <string>

/// One exchange with a server, as an application that sends orders has it all day. Each peer is a
/// program of its own, and has all that it takes in one source file, written as its users would
/// write it with care:
///
/// 1. The order is built as a document: a currency, the customer, an element for each item.
/// 2. The customer's name is escaped into the query of the address, and the document is posted.
/// 3. The reply is parsed and ten of its elements are read, one of them as a number, one as a date.
/// 4. The reply is saved to a file.
/// 5. Three lines with time, level, source file and line go into the log: what is sent, what came
///    back, where it was saved.
///
/// A connection that the server lets stand is used for the next exchange by those who can: libcurl
/// with one handle, POCO with one session, Qt with one manager. Morvel opens one for each request,
/// whatever the server says.
namespace exchange {

/// All texts are UTF-8.
struct Item {
    const char* name;
    int quantity;
    double price;
};
constexpr Item Items[] = {{"Café crème", 2, 3.20}, {"Smørrebrød", 1, 8.75}, {"ほうじ茶", 3, 4.50}};
constexpr const char Customer[] = "Zoë Ångström";

/// Opens a log, "<something>.log" in `folder` or in the application data folder, and writes a first
/// line to it.
void Start(const std::string& folder);

/// One exchange with the server at `url`; the reply goes to confirmation.xml in `folder`. False if
/// anything went wrong.
bool Run(const std::string& url, const std::string& folder);

/// Closes the log: all lines are in the file.
void Stop();

}  // namespace exchange
