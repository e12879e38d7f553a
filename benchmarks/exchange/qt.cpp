// Release builds leave file and line out of messages otherwise.
#define QT_MESSAGELOGCONTEXT

#include <QCoreApplication>
#include <QDateTime>
#include <QDomDocument>
#include <QEventLoop>
#include <QFile>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>
#include <QUrlQuery>

#include <cstdlib>
#include <memory>

#include "Exchange.h"

namespace {

std::unique_ptr<QCoreApplication> _application;
std::unique_ptr<QNetworkAccessManager> _network;
std::unique_ptr<QFile> _log;

// Each line is in the file when the call returns.
void _write(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    _log->write(qFormatLogMessage(type, context, message).toUtf8() + '\n');
    _log->flush();
}

QByteArray _order() {
    QDomDocument document;
    QDomElement order = document.createElement("order");
    document.appendChild(order);
    order.setAttribute("currency", "€");
    const auto append = [&](const QString& name, const QString& value) {
        QDomElement element = document.createElement(name);
        element.appendChild(document.createTextNode(value));
        order.appendChild(element);
        return element;
    };
    append("customer", exchange::Customer);
    for (const exchange::Item& item : exchange::Items) {
        QDomElement element = append("item", item.name);
        element.setAttribute("quantity", item.quantity);
        element.setAttribute("price", QString::number(item.price, 'f', 2));
    }
    return document.toByteArray(-1);
}

bool _post(const QUrl& url, const QByteArray& body, QDomDocument* reply) {
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/xml");
    request.setTransferTimeout(30000);
    const std::unique_ptr<QNetworkReply> transfer(_network->post(request, body));
    QEventLoop loop;
    QObject::connect(transfer.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return transfer->error() == QNetworkReply::NoError && reply->setContent(transfer->readAll());
}

}  // namespace

void exchange::Start(const std::string& folder) {
    static int count = 1;
    static char name[] = "exchange_qt";
    static char* arguments[] = {name, nullptr};
    _application = std::make_unique<QCoreApplication>(count, arguments);
    _log = std::make_unique<QFile>(QString::fromStdString(folder + "/exchange.log"));
    if (!_log->open(QIODevice::WriteOnly | QIODevice::Append)) std::exit(1);
    qSetMessagePattern(
        "%{time yyyy/MM/dd - [ddd] - hh:mm:ss} - NOTICE [File: %{file} Line: %{line}]\t"
        "\"%{message}\"");
    qInstallMessageHandler(&_write);
    qInfo("the order desk opens");
}

bool exchange::Run(const std::string& url, const std::string& folder) {
    if (!_network) _network = std::make_unique<QNetworkAccessManager>();
    const QByteArray order = _order();
    QUrlQuery query;
    query.addQueryItem("customer", Customer);
    QUrl address(QString::fromStdString(url));
    address.setQuery(query);
    qInfo("sending %zu bytes to %s", static_cast<std::size_t>(order.size()),
          address.toEncoded().constData());
    QDomDocument reply;
    if (!_post(address, order, &reply)) return false;

    const QDomElement root = reply.documentElement();
    const auto value = [root](const char* name) { return root.firstChildElement(name).text(); };
    const QDateTime date = QDateTime::fromString(value("date"), Qt::ISODate);
    qInfo("order %s for %s, %s, %s, %s: %s by %s, %s, %.2f, %s", qUtf8Printable(value("number")),
          qUtf8Printable(value("customer")), qUtf8Printable(value("street")),
          qUtf8Printable(value("city")), qUtf8Printable(value("country")),
          qUtf8Printable(value("packages")), qUtf8Printable(value("carrier")),
          qUtf8Printable(value("tracking")), value("total").toDouble(),
          qUtf8Printable(QLocale::c().toString(date, u"dddd, d MMMM yyyy, HH:mm:ss")));

    QFile file(QString::fromStdString(folder + "/confirmation.xml"));
    if (!file.open(QIODevice::WriteOnly) || file.write(reply.toByteArray()) < 0) return false;
    file.close();
    qInfo("saved as %s", qUtf8Printable(file.fileName()));
    return true;
}

void exchange::Stop() {
    qInstallMessageHandler(nullptr);
    _network.reset();
    _log.reset();
    _application.reset();
}
