#include "support/cataloguetext.h"
#include "support/httpserver.h"
#include "support/localtrust.h"
#include "support/privatehome.h"
#include "support/testline.h"
#include "web/webprofiler.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QProcess>
#include <QSet>
#include <QSslKey>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <cstdio>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray& header = catalogueTitles;

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

QString nginxPath()
{
    const QString path = QStandardPaths::findExecutable(u"nginx"_s);
    return path.isEmpty() ? QStandardPaths::findExecutable(
                                u"nginx"_s, {u"/usr/sbin"_s, u"/usr/local/sbin"_s,
                                             u"/opt/homebrew/bin"_s, u"/usr/local/bin"_s})
                          : path;
}

/// The site's configuration, with this test's values in the lines marked as the publisher's.
class NginxSite
{
public:
    explicit NginxSite(const PrivateHome& home) : m_home(home) {}
    ~NginxSite()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(NginxSite)

    /// Starts nginx; false, with the reason warned of, when it does not come to listen.
    [[nodiscard]] bool start()
    {
        for (int attempt = 0; attempt < 3; ++attempt) { // somebody else can be given the port
            m_port = freePort();
            m_plainPort = freePort();
            writeConfiguration();
            m_process.setProcessChannelMode(QProcess::MergedChannels);
            m_process.start(nginxPath(), arguments());
            if (listens()) {
                return true;
            }
            qWarning("nginx: %s", m_process.readAll().constData());
            m_process.kill();
            m_process.waitForFinished();
        }
        return false;
    }

    [[nodiscard]] QStringList arguments() const
    {
        return {u"-e"_s,       u"stderr"_s, u"-p"_s,
                m_home.path(), u"-c"_s,     m_home.path() + "/nginx.conf"_L1};
    }
    [[nodiscard]] QString url(const QString& path = {}) const
    {
        return u"https://127.0.0.1:%1/"_s.arg(m_port) + path;
    }
    [[nodiscard]] QString plainUrl(const QString& path) const
    {
        return u"http://127.0.0.1:%1/"_s.arg(m_plainPort) + path;
    }
    [[nodiscard]] QByteArray configuration() const
    {
        return PrivateHome::read(m_home.path() + "/site.conf"_L1);
    }

private:
    void writeConfiguration() const
    {
        const QSslConfiguration tls = localTlsIdentity();
        m_home.write(u"fullchain.pem"_s, tls.localCertificate().toPem());
        m_home.write(u"key.pem"_s, tls.privateKey().toPem());
        QByteArray site = PrivateHome::read(QStringLiteral(NGINX_SITE));
        const QByteArray folder = m_home.path().toUtf8();
        const auto set = [&site](const QByteArray& from, const QByteArray& to) {
            if (!site.contains(from)) {
                qFatal("the site's configuration has no: %s", from.constData());
            }
            site.replace(from, to);
        };
        set("/etc/ssl/quillmere", folder);
        set("/srv/quillmere", folder + "/www");
        set("listen 443 ssl", "listen 127.0.0.1:" + QByteArray::number(m_port) + " ssl");
        set("listen 80", "listen 127.0.0.1:" + QByteArray::number(m_plainPort));
        m_home.write(u"site.conf"_s, site);
        m_home.write(u"nginx.conf"_s,
                     "daemon off; master_process off; pid nginx.pid;\n"
                     "events {}\n"
                     "http {\n"
                     "    access_log off; client_body_temp_path t; proxy_temp_path t;\n"
                     "    fastcgi_temp_path t; uwsgi_temp_path t; scgi_temp_path t;\n"
                     "    include " +
                         folder + "/site.conf;\n}\n");
    }

    [[nodiscard]] bool listens()
    {
        QTcpSocket socket;
        const QDeadlineTimer patience(10'000);
        while (!patience.hasExpired() && m_process.state() != QProcess::NotRunning) {
            socket.connectToHost(QHostAddress::LocalHost, m_port);
            if (socket.waitForConnected(100)) {
                return true;
            }
            m_process.waitForFinished(10);
        }
        return false;
    }

    const PrivateHome& m_home;
    QProcess m_process;
    quint16 m_port = 0;
    quint16 m_plainPort = 0;
};

struct Answer
{
    int status = 0;
    QHash<QByteArray, QByteArray> headers; ///< by their names in lower case
    QByteArray body;                       ///< as it was sent
    QSsl::SslProtocol protocol = QSsl::UnknownProtocol;
};

using Headers = QHash<QByteArray, QByteArray>;

Answer ask(const QString& url, const Headers& headers = {}, const QByteArray& verb = "GET")
{
    QNetworkRequest request{QUrl(url)};
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    // Else Qt would ask for a compressed body and unpack it unseen.
    request.setRawHeader("Accept-Encoding", "identity");
    for (auto field = headers.cbegin(); field != headers.cend(); ++field) {
        request.setRawHeader(field.key(), field.value());
    }
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(network.sendCustomRequest(request, verb));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();

    Answer answer;
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    for (const auto& [name, value] : reply->rawHeaderPairs()) {
        answer.headers.insert(name.toLower(), value);
    }
    answer.body = reply->readAll();
    answer.protocol = reply->sslConfiguration().sessionProtocol();
    return answer;
}

} // namespace

/// The configuration that docs/publishing.md recommends, in a real nginx.
class TestNginxSite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void configurationIsAccepted();
    void clientLoadsTheCatalogue();
    void clientsOfEitherProtocolAreServed_data();
    void clientsOfEitherProtocolAreServed();
    void clientDownloadsAnInstaller();
    void answersSayHowTheyMayBeKept_data();
    void answersSayHowTheyMayBeKept();
    void answersSayWhatTheyAre_data();
    void answersSayWhatTheyAre();
    void catalogueIsSentCompressed();
    void unchangedCatalogueIsNotSentAgain();
    void newCatalogueIsSeenAtOnce();
    void partsOfAnInstallerCanBeAskedFor_data();
    void partsOfAnInstallerCanBeAskedFor();
    void onlyReadingIsAllowed_data();
    void onlyReadingIsAllowed();
    void plainHttpLeadsToHttps();
    void clientNeverReadsHalfACatalogue();

private:
    /// Puts a file in place as a publisher does: beside it under a hidden name, then by rename.
    void publish(const QString& path, const QByteArray& content, TestLine at = {}) const;

    std::optional<PrivateHome> m_home;
    std::optional<LocalTrust> m_trust;
    std::optional<NginxSite> m_site;
    QByteArray m_installer;
};

void TestNginxSite::initTestCase()
{
    if (nginxPath().isEmpty()) {
        QSKIP("nginx is not installed");
    }
    if (!canServeTls()) {
        QSKIP("this Qt cannot speak TLS with a key of the test's");
    }
    QNetworkProxyFactory::setUseSystemConfiguration(false);
    for (int i = 0; i < 5000; ++i) {
        m_installer += char(i * 7 % 251);
    }
}

void TestNginxSite::init()
{
    m_home.emplace();
    m_trust.emplace();
    QByteArray catalogue = header;
    for (int i = 0; i < 100; ++i) {
        catalogue += "Application " + QByteArray::number(i) + ",1.0,2026-09-21,a.pkg,0\n";
    }
    m_home->write(u"www/config/01_MacOS.csv"_s, catalogue);
    m_home->write(u"www/config/small.csv"_s, header);
    m_home->write(u"www/config/.01_MacOS.csv.new"_s, header);
    m_home->write(u"www/config/.hidden/x.csv"_s, header);
    for (const QString& ending : {u"pkg"_s, u"mpkg"_s, u"dmg"_s, u"zip"_s, u"tar.gz"_s}) {
        m_home->write(u"www/data/software/macos/Synth 2.5."_s + ending, m_installer);
    }
    m_site.emplace(*m_home);
    QVERIFY(m_site->start());
}

void TestNginxSite::cleanup()
{
    m_site.reset();
    m_trust.reset();
    m_home.reset();
}

void TestNginxSite::publish(const QString& path, const QByteArray& content, TestLine at) const
{
    const QString target = m_home->path() + "/www/"_L1 + path;
    const QString hidden = m_home->write("www/"_L1 + path + ".new"_L1, content);
    COMPARE_AT(at, std::rename(qPrintable(hidden), qPrintable(target)), 0);
}

void TestNginxSite::configurationIsAccepted()
{
    QProcess nginx;
    nginx.setProcessChannelMode(QProcess::MergedChannels);
    nginx.start(nginxPath(), m_site->arguments() + QStringList{u"-t"_s});
    QVERIFY(nginx.waitForFinished());
    const QByteArray said = nginx.readAll();
    QVERIFY2(nginx.exitCode() == 0, said);
    QVERIFY2(!said.contains("[warn]"), said);
}

void TestNginxSite::clientLoadsTheCatalogue()
{
    WebProfiler client(m_site->url(), u"config/01_MacOS.csv"_s, u","_s, u"data/software/macos/"_s);
    client.update();
    QCOMPARE(client.lastError(), QString());
    QCOMPARE(client.getAppList().size(), 100);
    QCOMPARE(client.getVersion(u"Application 99"_s), u"1.0"_s);
}

void TestNginxSite::clientsOfEitherProtocolAreServed_data()
{
    QTest::addColumn<QSsl::SslProtocol>("protocol");
    QTest::newRow("TLS 1.2 alone, as a Mac's") << QSsl::TlsV1_2;
    QTest::newRow("TLS 1.3 alone") << QSsl::TlsV1_3;
}

void TestNginxSite::clientsOfEitherProtocolAreServed()
{
    QFETCH(QSsl::SslProtocol, protocol);
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setProtocol(protocol);
    QSslConfiguration::setDefaultConfiguration(tls); // the fixture brings the former one back
    WebProfiler client(m_site->url(), u"config/01_MacOS.csv"_s, u","_s, {});
    client.update();
    QCOMPARE(client.lastError(), QString());
    QCOMPARE(client.getAppList().size(), 100);
    QCOMPARE(ask(m_site->url(u"config/small.csv"_s)).protocol, protocol);
}

void TestNginxSite::clientDownloadsAnInstaller()
{
    WebProfiler client(m_site->url(), {}, {}, {});
    QCOMPARE(client.downloadData(QUrl(m_site->url(u"data/software/macos/Synth 2.5.pkg"_s))),
             m_installer);
}

void TestNginxSite::answersSayHowTheyMayBeKept_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<Headers>("headers");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("caching");

    const auto row = [](const char* what, const QString& path, const Headers& headers, int status,
                        const QByteArray& caching) {
        QTest::newRow(what) << path << headers << status << caching;
    };
    const QString installer = u"data/software/macos/Synth 2.5.pkg"_s;
    const QByteArray forEver = "public, max-age=31536000, immutable";
    row("a catalogue", u"config/01_MacOS.csv"_s, {}, 200, "no-cache");
    row("a compressed catalogue", u"config/01_MacOS.csv"_s, {{"Accept-Encoding", "gzip"}}, 200,
        "no-cache");
    row("an installer", installer, {}, 200, forEver);
    row("a part of an installer", installer, {{"Range", "bytes=10-19"}}, 206, forEver);
    row("an installer not yet there", u"data/software/macos/Synth 2.6.pkg"_s, {}, 404, "no-store");
    row("a catalogue not yet there", u"config/02.csv"_s, {}, 404, "no-store");
    row("a file being uploaded", u"config/.01_MacOS.csv.new"_s, {}, 404, "no-store");
    row("a file in a hidden folder", u"config/.hidden/x.csv"_s, {}, 404, "no-store");
    row("a folder", u"data/software/"_s, {}, 403, "no-store");
}

void TestNginxSite::answersSayHowTheyMayBeKept()
{
    QFETCH(QString, path);
    QFETCH(Headers, headers);
    QFETCH(int, status);
    QFETCH(QByteArray, caching);
    const Answer answer = ask(m_site->url(path), headers);
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.headers["cache-control"], caching);
    QCOMPARE(answer.headers["x-content-type-options"], "nosniff");
    QCOMPARE(answer.headers["server"], "nginx");
}

void TestNginxSite::answersSayWhatTheyAre_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("type");
    const QString installer = u"data/software/macos/Synth 2.5."_s;
    QTest::newRow("catalogue") << u"config/01_MacOS.csv"_s << QByteArray("text/csv; charset=utf-8");
    QTest::newRow("package") << installer + u"pkg"_s << QByteArray("application/octet-stream");
    QTest::newRow("packages") << installer + u"mpkg"_s << QByteArray("application/octet-stream");
    QTest::newRow("disk image") << installer + u"dmg"_s
                                << QByteArray("application/x-apple-diskimage");
    QTest::newRow("archive") << installer + u"zip"_s << QByteArray("application/zip");
    QTest::newRow("anything else")
        << installer + u"tar.gz"_s << QByteArray("application/octet-stream");
}

void TestNginxSite::answersSayWhatTheyAre()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, type);
    const Answer answer = ask(m_site->url(path));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.headers["content-type"], type);
    QVERIFY(!answer.headers.contains("content-encoding"));
}

void TestNginxSite::catalogueIsSentCompressed()
{
    const Headers willing = {{"Accept-Encoding", "gzip"}};
    const Answer catalogue = ask(m_site->url(u"config/01_MacOS.csv"_s), willing);
    QCOMPARE(catalogue.headers["content-encoding"], "gzip");
    QCOMPARE(catalogue.headers["vary"], "Accept-Encoding");
    QVERIFY(catalogue.body.size() * 5 < ask(m_site->url(u"config/01_MacOS.csv"_s)).body.size());

    const Answer installer = ask(m_site->url(u"data/software/macos/Synth 2.5.zip"_s), willing);
    QVERIFY(!installer.headers.contains("content-encoding"));
    QCOMPARE(installer.headers["content-length"], "5000");
}

void TestNginxSite::unchangedCatalogueIsNotSentAgain()
{
    const QString url = m_site->url(u"config/01_MacOS.csv"_s);
    const Answer first = ask(url);
    QVERIFY(!first.headers["etag"].isEmpty());
    const Answer again = ask(url, {{"If-None-Match", first.headers["etag"]}});
    QCOMPARE(again.status, 304);
    QCOMPARE(again.headers["cache-control"], "no-cache");
    QCOMPARE(again.body, QByteArray());
}

void TestNginxSite::newCatalogueIsSeenAtOnce()
{
    const QString url = m_site->url(u"config/01_MacOS.csv"_s);
    const QByteArray mark = ask(url).headers["etag"];
    publish(u"config/01_MacOS.csv"_s, header + "Synth,2.5,2026-09-21,Synth.pkg,0\n");
    const Answer answer = ask(url, {{"If-None-Match", mark}});
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, header + "Synth,2.5,2026-09-21,Synth.pkg,0\n");
}

void TestNginxSite::partsOfAnInstallerCanBeAskedFor_data()
{
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<QByteArray>("contentRange");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("size");
    QTest::newRow("the middle") << QByteArray("bytes=100-199") << QByteArray("bytes 100-199/5000")
                                << 100 << 100;
    QTest::newRow("the rest, as a resumed download")
        << QByteArray("bytes=4000-") << QByteArray("bytes 4000-4999/5000") << 4000 << 1000;
    QTest::newRow("the end") << QByteArray("bytes=-10") << QByteArray("bytes 4990-4999/5000")
                             << 4990 << 10;
}

void TestNginxSite::partsOfAnInstallerCanBeAskedFor()
{
    QFETCH(QByteArray, range);
    QFETCH(QByteArray, contentRange);
    QFETCH(int, from);
    QFETCH(int, size);
    const QString url = m_site->url(u"data/software/macos/Synth 2.5.dmg"_s);
    QCOMPARE(ask(url).headers["accept-ranges"], "bytes");
    const Answer part = ask(url, {{"Range", range}});
    QCOMPARE(part.status, 206);
    QCOMPARE(part.headers["content-range"], contentRange);
    QCOMPARE(part.body, m_installer.sliced(from, size));
}

void TestNginxSite::onlyReadingIsAllowed_data()
{
    QTest::addColumn<QByteArray>("verb");
    for (const char* verb : {"PUT", "DELETE", "POST"}) {
        QTest::newRow(verb) << QByteArray(verb);
    }
}

void TestNginxSite::onlyReadingIsAllowed()
{
    QFETCH(QByteArray, verb);
    const Answer answer = ask(m_site->url(u"config/small.csv"_s), {}, verb);
    QCOMPARE(answer.status, 403);
    QCOMPARE(answer.headers["cache-control"], "no-store");
    QCOMPARE(ask(m_site->url(u"config/small.csv"_s)).body, header);
}

void TestNginxSite::plainHttpLeadsToHttps()
{
    const Answer answer = ask(m_site->plainUrl(u"config/01_MacOS.csv?a=b"_s));
    QCOMPARE(answer.status, 301);
    QCOMPARE(answer.headers["location"], "https://127.0.0.1/config/01_MacOS.csv?a=b");
}

void TestNginxSite::clientNeverReadsHalfACatalogue()
{
    // Catalogues that say in each line which one they are, long enough for many writes.
    const auto catalogue = [](int edition) {
        QByteArray text = header;
        for (int i = 0; i < 5000; ++i) {
            text += "Application " + QByteArray::number(i) + ',' + QByteArray::number(edition) +
                    ",,a.pkg,0\n";
        }
        return text;
    };
    publish(u"config/01_MacOS.csv"_s, catalogue(0));
    for (int edition = 1; edition <= 9; ++edition) {
        m_home->write(u"editions/%1.csv"_s.arg(edition), catalogue(edition));
    }
    QProcess publisher;
    publisher.start(u"/bin/sh"_s, {u"-c"_s,
                                   u"while :; do for i in 1 2 3 4 5 6 7 8 9; do "
                                   "cp \"$1/editions/$i.csv\" \"$1/www/config/.new\"; "
                                   "mv \"$1/www/config/.new\" \"$1/www/config/01_MacOS.csv\"; "
                                   "done; done"_s,
                                   u"sh"_s, m_home->path()});
    QVERIFY(publisher.waitForStarted());

    WebProfiler client(m_site->url(), u"config/01_MacOS.csv"_s, u","_s, {});
    QSet<QString> editions;
    QElapsedTimer patience;
    patience.start();
    for (int load = 0; load < 30 || (editions.size() < 3 && patience.elapsed() < 20'000); ++load) {
        client.update();
        QCOMPARE(client.lastError(), QString());
        const QStringList names = client.getAppList();
        QCOMPARE(names.size(), 5000);
        QSet<QString> found;
        for (const QString& name : names) {
            found.insert(client.getVersion(name));
        }
        QCOMPARE(found.size(), 1);
        editions += found;
    }
    publisher.kill();
    publisher.waitForFinished();
    QVERIFY(editions.size() >= 3);
}

QTEST_GUILESS_MAIN(TestNginxSite)
#include "tst_nginxsite.moc"
