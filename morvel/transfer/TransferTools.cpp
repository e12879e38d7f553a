#include <morvel/transfer/TransferTools.h>

#include <algorithm>

#include <curl/curl.h>

#include <morvel/text/TextTools.h>

namespace {

struct Callbacks {
    const morvel::FetchProgress& progress;
    const morvel::FetchCancel& cancel;
};

std::string _escaped(const NString& text) {
    NString utf8 = morvel::FromUtf8(morvel::Utf8(text));
    utf8.UrlEncode();
    return utf8.Data();
}

bool _hasScheme(const std::string& url, std::string_view scheme) {
    const NString head(url.substr(0, scheme.size()), EncodingUTF8);
    return head.CompareNoCase(std::string(scheme), EncodingUTF8) == 0;
}

}  // namespace

std::string_view morvel::StatusText(std::int32_t status) {
    switch (status) {
        case 0:
            return "Success";
        case 100:
            return "The transfer library could not be started";
        case -2:
            return "The transfer was cancelled";
        case -3:
            return "No file was named for the reply";
        case -4:
            return "The file for the reply could not be opened";
        case StatusOtherScheme:
            return "The URL's scheme is neither http nor https";
        default:
            if (status < 0 || status >= CURL_LAST) return "Unknown status";
            return curl_easy_strerror(static_cast<CURLcode>(status));
    }
}

std::string morvel::QueryUrl(std::string_view base,
                             const std::vector<std::pair<NString, NString>>& query) {
    const std::size_t fragment = std::min(base.find('#'), base.size());
    std::string url(base.substr(0, fragment));
    const std::size_t mark = url.find('?');
    char separator = mark == url.npos ? '?' : '&';
    if (mark != url.npos && mark + 1 == url.size()) {
        separator = '\0';  // the mark is there, with nothing behind it
    }
    for (const auto& [name, value] : query) {
        if (separator != '\0') url += separator;
        url += _escaped(name) + '=' + _escaped(value);
        separator = '&';
    }
    url += base.substr(fragment);
    return url;
}

morvel::Reply morvel::Fetch(const std::string& url, std::uint32_t seconds,
                            const FetchProgress& progress, const FetchCancel& cancel) {
    Reply reply;
    if (!_hasScheme(url, "http://") && !_hasScheme(url, "https://")) {
        reply.status = StatusOtherScheme;
        return reply;
    }
    Callbacks callbacks{progress, cancel};
    const auto report = [](std::uint64_t done, std::uint64_t, void* context) {
        static_cast<Callbacks*>(context)->progress(done);
    };
    const auto ask = [](void* context) { return static_cast<Callbacks*>(context)->cancel(); };
    NURL transfer;
    reply.status = transfer.Request(
        url, nullptr, 0, seconds, cancel ? NURL::CancelCallback(ask) : nullptr, &callbacks,
        progress ? NURL::ProgressCallback(report) : nullptr, &callbacks, 0);
    reply.body.assign(transfer.Data() == nullptr ? "" : transfer.Data(), transfer.Size());
    return reply;
}
