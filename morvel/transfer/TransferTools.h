#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <morvel/text/NString.h>
#include <morvel/transfer/NURL.h>

/// @file
/// Companions of NURL.
///
/// @failure Shows in the status of a Reply. Fetch throws what its functions throw; else nothing is
/// thrown but std::bad_alloc.
/// @threads Any thread may call these. A transfer blocks the thread that called it.
/// @encoding A URL goes out as its bytes; QueryUrl escapes values as UTF-8. A body is bytes as they
/// came, whatever charset the reply names: see morvel::Decode.
/// @cost Fetch opens a connection of its own for each call and holds the whole reply in memory,
/// twice at its end.
namespace morvel {

/// A status of Fetch's own: the URL has another scheme than http and https, or none.
constexpr std::int32_t StatusOtherScheme = -5;

/// A sentence for each status of NURL and of Fetch, such as "Couldn't connect to server": libcurl's
/// where the number is libcurl's. Constant text.
[[nodiscard]] MORVEL_API std::string_view StatusText(std::int32_t status);

/// `base` with these names and values as its query, each escaped as UTF-8, behind a query that it
/// has already and in front of a fragment.
///
///     QueryUrl("https://localhost/find", {{"name", "Zo\xC3\xAB"}, {"page", "2"}})
///     // https://localhost/find?name=Zo%C3%AB&page=2
[[nodiscard]] MORVEL_API std::string QueryUrl(
    std::string_view base, const std::vector<std::pair<NString, NString>>& query);

/// What came back.
struct [[nodiscard]] Reply {
    std::int32_t status = 0;  ///< 0 is success; see StatusText.
    std::string body;         ///< Up to a failure, what arrived before it.

    explicit operator bool() const { return status == 0; }  ///< Whether it is a success.
};

/// Bytes received so far.
using FetchProgress = std::function<void(std::uint64_t)>;

/// True ends the transfer, with status -2.
using FetchCancel = std::function<bool()>;

/// NURL::Request without a body (so redirects are followed, and **the server's certificate is not
/// verified**), of http and https alone: libcurl by itself also takes `file`, `ftp` and others that
/// a URL from outside can name. A redirect to one of those is still libcurl's to judge.
///
/// `seconds` is the limit for the whole transfer, 0 for none. Both functions are called on the
/// caller's thread at each piece of data, so neither while a server is silent; an exception from
/// one ends the transfer and comes out of Fetch.
///
///     const morvel::Reply reply = morvel::Fetch("http://localhost:8080/orders", 30);
///     if (!reply) std::cerr << morvel::StatusText(reply.status) << '\n';
MORVEL_API Reply Fetch(const std::string& url, std::uint32_t seconds,
                       const FetchProgress& progress = nullptr,
                       const FetchCancel& cancel = nullptr);

}  // namespace morvel
