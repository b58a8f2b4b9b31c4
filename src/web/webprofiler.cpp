#include "web/webprofiler.h"

#include "app/debug.h"
#include "web/catalogueformat.h"
#include "web/transfer.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkReply>
#include <QScopedPointer>
#include <QTextStream>
#include <QTimer>
#include <QUrl>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace {

using namespace std::chrono_literals;

constexpr auto longestTransfer = 15s;
constexpr auto pauseBetweenAttempts = 2s;

} // namespace

WebProfiler::WebProfiler(const QString& url, const QString& csvPath, const QString& csvSeparator,
                         const QString& softPath)
    : m_url(url)
    , m_csvPath(csvPath)
    , m_softPath(softPath)
    , m_csvSeparator(csvSeparator)
{
    Debug(Debug::Info) << "Init WebProfiler";
}

void WebProfiler::update()
{
    m_cancelled = false;
    clear();
    m_appList.clear();
    m_lastError.clear();
    Debug(Debug::Info) << "WebProfiler - data Updating...";
    Debug(Debug::Info) << "WebProfiler - Reading csv data from: " << m_url + m_csvPath;
    QElapsedTimer timer;
    timer.start();

    const QUrl url(m_url + m_csvPath);
    QByteArray body = downloadData(url);
    if (body.isEmpty() && !m_cancelled) {
        Debug(Debug::Warning) << "WebProfiler - First attempt failed, retrying once in 2s...";
        pauseBeforeRetry();
        if (!m_cancelled) {
            body = downloadData(url);
        }
    }
    updateData(body);
    if (m_appList.isEmpty() && m_lastError.isEmpty()) {
        m_lastError =
            body.isEmpty()
                ? u"Réponse vide du serveur"_s
                : u"CSV reçu (%1 octets) mais aucune entrée valide — format inattendu"_s.arg(
                      body.size());
    }
    Debug(Debug::Info) << "WebProfiler - data updated (execution duration: "
                       << static_cast<double>(timer.elapsed()) / 1000.0 << "s)";
}

void WebProfiler::cancel()
{
    m_cancelled = true;
    if (m_waiting) {
        m_waiting->quit();
    }
}

void WebProfiler::wait(QEventLoop& loop)
{
    m_waiting = &loop;
    loop.exec();
    m_waiting = nullptr;
}

void WebProfiler::pauseBeforeRetry()
{
    QEventLoop loop;
    QTimer::singleShot(pauseBetweenAttempts, Qt::CoarseTimer, &loop, &QEventLoop::quit);
    wait(loop);
}

QByteArray WebProfiler::downloadData(const QUrl& url)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(m_network.get(request));

    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    // A flag, and not the timer's state: a box opened meanwhile can outlast both events.
    bool timedOut = false;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        timedOut = true;
        loop.quit();
    });
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, [&] {
        timer.stop();
        loop.quit();
    });
    timer.start(longestTransfer);
    wait(loop);

    if (timedOut) {
        m_lastError = u"Timeout réseau après 15s (%1)"_s.arg(url.toString());
        Debug(Debug::Error) << "WebProfiler - Network timeout for: " << url.toString();
        reply->abort();
        return {};
    }
    if (!reply->isFinished()) {
        // Neither event ended the loop: the user closed the window or the application is quitting.
        m_cancelled = true;
        reply->abort();
        return {};
    }
    if (std::optional<QString> error = transferError(*reply)) {
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status != 0) {
            *error += " (HTTP "_L1 + QString::number(status) + u')';
        }
        m_lastError = *error;
        Debug(Debug::Error) << "WebProfiler - Network error: " << *error;
        return {};
    }
    return reply->readAll();
}

void WebProfiler::updateData(const QByteArray& data)
{
    QTextStream lines(data, QIODevice::ReadOnly);
    const auto format = std::make_shared<const CatalogueFormat>(lines.readLine(), m_csvSeparator);
    QString line;
    while (lines.readLineInto(&line)) {
        if (format->isOffered(line)) {
            const QString name = format->name(line);
            m_data.insert(name, {format, line});
            m_appList.append(name);
        }
    }
}

void WebProfiler::clear()
{
    Debug(Debug::Info) << "WebProfiler - Clear Data";
    m_data.clear();
}

void WebProfiler::setUrl(const QString& url)
{
    m_url = url;
}

void WebProfiler::setCsvPath(const QString& csvPath)
{
    m_csvPath = csvPath;
}

void WebProfiler::setSoftPath(const QString& softPath)
{
    m_softPath = softPath;
}

void WebProfiler::setCsvSeparator(const QString& csvSeparator)
{
    m_csvSeparator = csvSeparator;
}

QUrl WebProfiler::getUrl() const
{
    return QUrl(m_url);
}

QStringList WebProfiler::find(const QString& name) const
{
    if (m_data.contains(name)) {
        return {name};
    }
    QStringList names;
    for (auto entry = m_data.cbegin(); entry != m_data.cend(); ++entry) {
        if (entry.key().startsWith(name)) {
            names.append(entry.key());
        }
    }
    return names;
}

QString WebProfiler::getValue(const QString& name, const QString& column) const
{
    const auto record = m_data.constFind(name);
    return record == m_data.cend() ? QString() : record->format->value(record->line, column);
}

QString WebProfiler::getVersion(const QString& name) const
{
    return getValue(name, u"Version"_s);
}

QString WebProfiler::getReleaseDate(const QString& name) const
{
    return getValue(name, u"Release date"_s);
}

QString WebProfiler::getFilename(const QString& name) const
{
    return getValue(name, u"Filename"_s);
}

bool WebProfiler::isIgnored(const QString& name) const
{
    bool isNumber = false;
    const int number = getValue(name, u"Ignored"_s).toInt(&isNumber);
    return isNumber && (number == 0 || number == 1);
}

QString WebProfiler::getUrlToFile(const QString& name) const
{
    return m_url + m_softPath + getValue(name, u"Filename"_s);
}
