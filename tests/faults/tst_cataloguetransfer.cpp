#include "faults/faultwindow.h"

#include "faults/oddreplies.h"
#include "support/localtrust.h"
#include "support/modalbox.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpSocket>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString otherScheme = u"Unknown protocol specified (HTTP 302)"_s;

/// What both attempts log when each fails with @p error; nothing but the retry without one.
QStringList twoAttempts(const QString& error)
{
    if (error.isEmpty()) {
        return {FaultWindow::retryLine()};
    }
    const QString line = "[ERROR] WebProfiler - Network error: "_L1 + error;
    return {line, FaultWindow::retryLine(), line};
}

/// What Qt says when it fetches from @p address in vain: its words differ between its releases.
QString wordsOfQt(const QString& address)
{
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(QUrl(address))));
    const bool hasFailed =
        QTest::qWaitFor([&reply] { return reply->isFinished(); }, 15'000) && reply->error();
    return hasFailed ? reply->errorString() : u"no failure"_s;
}

} // namespace

/// What becomes of the window when the catalogue does not come: each failure costs the two seconds
/// before the second attempt. What is wrong with one that comes is in tst_catalogueserver.
class TestCatalogueTransfer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void failedTransferKeepsTheTable_data();
    void failedTransferKeepsTheTable();
    void cutChunksFailOrAreTakenAsWhole();
    void refusedConnectionKeepsTheTable();
    void untrustedServerKeepsTheTable_data();
    void untrustedServerKeepsTheTable();
    void redirectToAFileReadsNothing();
    void markupInAnErrorIsShownAsItStands();
    void settingsThatLeadNowhereAreTold_data();
    void settingsThatLeadNowhereAreTold();

private:
    std::optional<FaultWindow> m_fault;
};

void TestCatalogueTransfer::init()
{
    m_fault.emplace();
    m_fault->openWorking();
}

void TestCatalogueTransfer::cleanup()
{
    m_fault.reset();
}

void TestCatalogueTransfer::failedTransferKeepsTheTable_data()
{
    QTest::addColumn<HttpReply>("reply");
    // "URL" stands for the catalogue's address, "WORDS" for what Qt says when it fetches from
    // there.
    QTest::addColumn<QString>("error");
    QTest::addColumn<bool>("isLogged");

    const auto row = [](const char* what, const HttpReply& reply, const QString& error,
                        bool isLogged = true) {
        QTest::newRow(what) << reply << error << isLogged;
    };
    const QString closed = u"Connection closed"_s;
    const QString replied = u"Error transferring URL - server replied: Status"_s;
    const QByteArray bomb = gzipped(QByteArray(60'000'000, '0'));

    row("cut in the body",
        {.body = smallCatalogue, .manner = HttpReply::Cut, .announcedLength = 1'000},
        closed + " (HTTP 200)"_L1);
    row("cut before the body", {.manner = HttpReply::Cut, .announcedLength = 1'000},
        closed + " (HTTP 200)"_L1);
    row("closed without an answer", {.manner = HttpReply::Raw}, closed);
    row("cut in the head", {.body = "HTTP/1.1 200 OK\r\nContent-Le", .manner = HttpReply::Raw},
        closed);
    row("cut in a long body",
        {.body = smallCatalogue.repeated(20'000),
         .manner = HttpReply::Cut,
         .announcedLength = 9'000'000},
        closed + " (HTTP 200)"_L1);
    row("chunks without their end", trickled(chunk(smallCatalogue)), closed + " (HTTP 200)"_L1);
    row("cut in a chunk", trickled(chunk(smallCatalogue).first(30)), closed + " (HTTP 200)"_L1);
    HttpReply contradiction = chunked(chunk(smallCatalogue) + chunk({}));
    contradiction.withLength = true;
    contradiction.announcedLength = 9'000'000;
    row("whole chunks beside a longer length", contradiction, closed + " (HTTP 200)"_L1);
    row("204", {.status = 204, .withLength = false}, u"Réponse vide du serveur"_s, false);
    row("200 without a body", {}, u"Réponse vide du serveur"_s, false);
    row("200 without a body or a length", {.withLength = false}, u"Réponse vide du serveur"_s,
        false);
    row("chunks of nothing", chunked(chunk({})), u"Réponse vide du serveur"_s, false);
    row("401", {.body = smallCatalogue, .status = 401},
        u"Host requires authentication (HTTP 401)"_s);
    row("401 with a challenge",
        {.body = "who?", .status = 401, .headers = {"WWW-Authenticate: Basic realm=\"apps\""}},
        u"Host requires authentication (HTTP 401)"_s);
    row("404", {.body = smallCatalogue, .status = 404}, replied + " (HTTP 404)"_L1);
    row("500", {.body = smallCatalogue, .status = 500}, replied + " (HTTP 500)"_L1);
    row("a status that is none", {.body = smallCatalogue, .status = 999},
        replied + " (HTTP 999)"_L1);
    row("redirects in a circle", redirect("catalogue.csv"), u"Too many redirects (HTTP 302)"_s);
    row("a redirect to nowhere", {.status = 302}, otherScheme);
    row("a redirect to another scheme", redirect("ftp://127.0.0.1/catalogue.csv"), otherScheme);
    row("no HTTP at all", {.body = "SSH-2.0-OpenSSH_9.2\r\n", .manner = HttpReply::Raw}, closed);
    row("a gzip bomb", {.body = bomb, .headers = {"Content-Encoding: gzip"}},
        u"WORDS (HTTP 200)"_s);
    row("gzip that is none", {.body = smallCatalogue, .headers = {"Content-Encoding: gzip"}},
        u"WORDS (HTTP 200)"_s);
}

void TestCatalogueTransfer::failedTransferKeepsTheTable()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, error);
    QFETCH(bool, isLogged);
    m_fault->serveCatalogue(reply);
    error.replace("URL"_L1, m_fault->catalogueAddress());
    if (error.contains("WORDS"_L1)) {
        error.replace("WORDS"_L1, wordsOfQt(m_fault->catalogueAddress()));
    }
    m_fault->expectFailedLoad(error, twoAttempts(isLogged ? error : QString()));
    QVERIFY(m_fault->windowStillWorks());
}

/// When the connection ends together with the last byte, Qt may take chunks that lack their end for
/// a whole body; which of the two happens is not the program's to say.
void TestCatalogueTransfer::cutChunksFailOrAreTakenAsWhole()
{
    const QByteArray text = catalogueTitles + "Atlas,2.0,,tool.dmg,0\nBench,2.0,,tool.dmg,0\n";
    m_fault->serveCatalogue(chunked(chunk(text).first(text.size() - 8)));
    const BoxAnswerer boxes(QMessageBox::Ok);
    m_fault->reload();
    QStringList expected = FaultWindow::workingRows();
    if (boxes.count() == 0) {
        expected.removeLast();
    } else {
        QCOMPARE(boxes.texts(), QStringList{u"Ressources internet inaccessibles\n\n"
                                            "Connection closed (HTTP 200)"_s});
    }
    QCOMPARE(m_fault->rows(), expected);
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

void TestCatalogueTransfer::refusedConnectionKeepsTheTable()
{
    QTcpSocket occupant; // keeps the port, but nobody listens at it
    QVERIFY(occupant.bind(QHostAddress::LocalHost));
    const QString nowhere = u"http://127.0.0.1:%1/list.csv"_s.arg(occupant.localPort());
    m_fault->serveCatalogue(redirect(nowhere.toUtf8()));
    m_fault->expectFailedLoad(u"Connection refused (HTTP 302)"_s,
                              twoAttempts(u"Connection refused (HTTP 302)"_s));
    QVERIFY(m_fault->windowStillWorks());
}

void TestCatalogueTransfer::untrustedServerKeepsTheTable_data()
{
    QTest::addColumn<bool>("isTrusted");
    QTest::addColumn<QString>("error"); // "URL" stands for the secure address
    QTest::newRow("bad certificate")
        << false
        << u"SSL handshake failed: The certificate is self-signed, and untrusted (HTTP 302)"_s;
    QTest::newRow("from https to http") << true << u"Insecure redirect (HTTP 302)"_s;
}

void TestCatalogueTransfer::untrustedServerKeepsTheTable()
{
    QFETCH(bool, isTrusted);
    QFETCH(QString, error);
    if (!canServeTls()) {
        QSKIP("no TLS server on this machine");
    }
    const LocalTrust trust(isTrusted);
    HttpServer secure(localTlsIdentity());
    secure.reply(u"list.csv"_s, redirect(m_fault->server().url(u"plain.csv"_s).toUtf8()));
    m_fault->serveCatalogue(redirect(secure.url(u"list.csv"_s).toUtf8()));
    m_fault->server().reply(u"plain.csv"_s, {.body = smallCatalogue});
    m_fault->expectFailedLoad(error, twoAttempts(error));
    QVERIFY(m_fault->windowStillWorks());
    QVERIFY(!m_fault->server().requests().contains(u"/plain.csv"_s));
}

void TestCatalogueTransfer::redirectToAFileReadsNothing()
{
    const QString path = m_fault->machine().home().write(u"Bundles/secret.csv"_s, smallCatalogue);
    m_fault->serveCatalogue(redirect("file://" + path.toUtf8()));
    m_fault->expectFailedLoad(otherScheme, twoAttempts(otherScheme));
    QVERIFY(m_fault->windowStillWorks());
}

void TestCatalogueTransfer::markupInAnErrorIsShownAsItStands()
{
    const QString markup = m_fault->pictureMarkup();
    m_fault->serveCatalogue(
        {.body = "HTTP/1.1 404 " + markup.toUtf8() + "\r\n\r\n", .manner = HttpReply::Raw});
    int height = FaultWindow::pictureHeight;
    const QString error = u"Error transferring %1 - server replied: %2 (HTTP 404)"_s.arg(
        m_fault->catalogueAddress(), markup);
    m_fault->expectFailedLoad(error, twoAttempts(error),
                              [&height](const QMessageBox& box) { height = box.height(); });
    QVERIFY(height < FaultWindow::pictureHeight);
    QVERIFY(m_fault->windowStillWorks());
}

void TestCatalogueTransfer::settingsThatLeadNowhereAreTold_data()
{
    QTest::addColumn<QString>("baseUrl"); // "PORT" stands for the server's port
    QTest::addColumn<QString>("csvPath");
    QTest::addColumn<QString>("error");

    const auto row = [](const char* what, const QString& baseUrl, const QString& error,
                        const QString& csvPath = u"catalogue.csv"_s) {
        QTest::newRow(what) << baseUrl << csvPath << error;
    };
    const QString noScheme = u"Protocol \"\" is unknown"_s;
    row("empty base URL", QString(), noScheme);
    row("all empty", QString(), noScheme, QString());
    row("words", u"the usual server"_s, noScheme);
    row("no scheme", u"127.0.0.1:PORT/"_s, noScheme);
    row("a port too large", u"http://127.0.0.1:99999/"_s, u"Connection refused"_s);
    row("a broken host", u"http://[::1/"_s, u"Host  not found"_s);
    row("no host", u"http://"_s, u"Host  not found"_s, QString());
    row("another scheme", u"ftp://127.0.0.1/"_s, u"Protocol \"ftp\" is unknown"_s);
    row("a script", u"javascript:alert(1)//"_s, u"Protocol \"javascript\" is unknown"_s);
    row("a folder of this machine", u"file:///"_s, u"Cannot open file:///: Path is a directory"_s,
        QString());
    row("a file that is none", u"file:///nowhere/"_s,
        u"Error opening /nowhere/catalogue.csv: No such file or directory"_s);
    row("blanks in front", u"  http://127.0.0.1:PORT/"_s, noScheme);
    const QString longUrl = u"http://127.0.0.1:PORT/"_s + QString(30'000, u'x');
    row("30,000 characters", longUrl,
        u"Error transferring "_s + longUrl +
            u"catalogue.csv - server replied: Status (HTTP 404)"_s);
}

void TestCatalogueTransfer::settingsThatLeadNowhereAreTold()
{
    QFETCH(QString, baseUrl);
    QFETCH(QString, csvPath);
    QFETCH(QString, error);
    const QString port = QString::number(m_fault->server().serverPort());
    baseUrl.replace("PORT"_L1, port);
    error.replace("PORT"_L1, port);
    {
        const BoxAnswerer boxes(QMessageBox::Ok);
        QVERIFY(m_fault->changeSettings({{u"baseURL"_s, baseUrl}, {u"csvPath"_s, csvPath}}));
        QCOMPARE(boxes.texts(), QStringList{u"Ressources internet inaccessibles\n\n"_s + error});
    }
    QCOMPARE(m_fault->takeLines().filter(u"] WebProfiler - "_s),
             FaultWindow::loadLines(baseUrl + csvPath, twoAttempts(error)));
    QCOMPARE(m_fault->rows(), FaultWindow::workingRows());
    QCOMPARE(m_fault->disk(), FaultWindow::untouchedDisk());
    QVERIFY(m_fault->repairSettings());
    QVERIFY(m_fault->windowStillWorks());
}

QTEST_MAIN(TestCatalogueTransfer)
#include "tst_cataloguetransfer.moc"
