#include "web/webprofiler.h"

#include "app/debug.h"
#include "support/cataloguetext.h"
#include "support/httpserver.h"
#include "support/localtrust.h"
#include "support/privatehome.h"
#include "webfixture.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

HttpReply status(int code)
{
    return {.body = "some words", .status = code};
}

HttpReply redirect(int code, const QString& location)
{
    return {.body = "elsewhere", .status = code, .headers = {"Location: " + location.toUtf8()}};
}

/// What @p server was asked for, in order and once each: Qt asks again by itself amid redirects and
/// when the connection ends together with a head that announces no length.
QStringList distinctRequests(const HttpServer& server)
{
    QStringList requests = server.requests();
    requests.removeDuplicates();
    return requests;
}

} // namespace

/// The transfer of the catalogue. What takes longer than a moment is in tst_webprofiler_slow.
class TestWebProfiler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // One transfer
    void returnsTheWholeBody_data();
    void returnsTheWholeBody();
    void failsWithTheReplysText_data();
    void failsWithTheReplysText();
    void aRefusedConnectionHasNoStatus();
    void anAddressWithoutASchemeIsAnError();
    void percentSignsSurviveInAnErrorsText();
    void anEmptyAnswerIsNoError_data();
    void anEmptyAnswerIsNoError();
    void aGoodTransferKeepsAnEarlierError();
    void aLaterErrorReplacesAnEarlierOne();
    void sendsOnlyQtsOwnHeaders();

    // Redirects
    void followsRedirects_data();
    void followsRedirects();
    void followsARedirectToAnotherServer();
    void aCircleOfRedirectsIsAnError();
    void anOpenServerMayLeadToASecureOne();
    void aSecureServerMayNotLeadToAnOpenOne();
    void aSecureServerMustBeTrusted();

    // An update
    void aGoodCatalogueTakesOneRequest();
    void asksForTheConcatenatedAddress_data();
    void asksForTheConcatenatedAddress();
    void aTextWithoutValidEntryIsNotAskedForAgain_data();
    void aTextWithoutValidEntryIsNotAskedForAgain();
    void everyUpdateStartsAfresh();
    void theNextUpdateUsesWhatTheSettersSet();
    void thereIsNoThirdAttempt();
    void aGoodSecondAttemptKeepsTheFirstOnesError();

    // Ending it early
    void endingTheWaitEndsTheUpdate_data();
    void endingTheWaitEndsTheUpdate();
    void endingThePauseEndsTheUpdate_data();
    void endingThePauseEndsTheUpdate();
    void aBodyCutByTheEndDoesNotCount_data();
    void aBodyCutByTheEndDoesNotCount();

private:
    void waysToEnd();
    void runUpdate(WebProfiler& catalogue);

    std::optional<PrivateHome> m_home;
    qint64 m_duration = 0; ///< of runUpdate()'s last update, in ms
};

void TestWebProfiler::init()
{
    m_home.emplace();
    Debug::init();
}

void TestWebProfiler::cleanup()
{
    m_home.reset();
}

void TestWebProfiler::returnsTheWholeBody_data()
{
    QTest::addColumn<HttpReply>("reply");

    const auto row = [](const char* what, const HttpReply& reply) { QTest::newRow(what) << reply; };
    row("text", {.body = goodCatalogue});
    row("every byte", {.body = QByteArray("\xEF\xBB\xBF a\0b\r\n\r\xFF\n", 12)});
    row("a million bytes", {.body = QByteArray(1'000'000, 'x')});
    row("without a length, to the end of the connection",
        {.body = goodCatalogue, .withLength = false});
    row("byte by byte", {.body = "abc", .manner = HttpReply::Trickle, .trickleInterval = 20});
    row("whatever a success is called", {.body = "created", .status = 201});
    row("whatever its kind", {.body = "<html>", .headers = {"Content-Type: text/html"}});
}

void TestWebProfiler::returnsTheWholeBody()
{
    QFETCH(HttpReply, reply);
    HttpServer server;
    server.reply(u"apps.csv"_s, reply);
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"apps.csv"_s))), reply.body);
    QCOMPARE(catalogue.lastError(), QString());
    QCOMPARE(m_home->logLines(), QStringList{u"[INFO] Init WebProfiler"_s});
    QCOMPARE(catalogue.size(), 0);
}

void TestWebProfiler::failsWithTheReplysText_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("text"); // with "URL" for the address

    const auto row = [](const char* what, const HttpReply& reply, const QString& text) {
        QTest::newRow(what) << reply << text;
    };
    row("404", status(404), u"Error transferring URL - server replied: Status (HTTP 404)"_s);
    row("403", status(403), u"Error transferring URL - server replied: Status (HTTP 403)"_s);
    row("500", status(500), u"Error transferring URL - server replied: Status (HTTP 500)"_s);
    row("503", status(503), u"Error transferring URL - server replied: Status (HTTP 503)"_s);
    row("401 without a challenge", status(401), u"Host requires authentication (HTTP 401)"_s);
    row("401 with a challenge",
        {.body = "who?", .status = 401, .headers = {"WWW-Authenticate: Basic realm=\"apps\""}},
        u"Host requires authentication (HTTP 401)"_s);
    row("an error's good body does not count", {.body = goodCatalogue, .status = 404},
        u"Error transferring URL - server replied: Status (HTTP 404)"_s);
    row("a body cut short does not count",
        {.body = goodCatalogue, .manner = HttpReply::Cut, .announcedLength = 1'000},
        u"Connection closed (HTTP 200)"_s);
    row("a body cut before its first byte", {.manner = HttpReply::Cut, .announcedLength = 10},
        u"Connection closed (HTTP 200)"_s);
}

void TestWebProfiler::failsWithTheReplysText()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, text);
    HttpServer server;
    server.reply(u"apps.csv"_s, reply);
    const QString address = server.url(u"apps.csv"_s);
    text.replace("URL"_L1, address);

    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(address)), QByteArray());
    QCOMPARE(catalogue.lastError(), text);
    QCOMPARE(m_home->logLines(), QStringList({u"[INFO] Init WebProfiler"_s,
                                              u"[ERROR] WebProfiler - Network error: "_s + text}));
    QCOMPARE(server.requests(), QStringList{u"/apps.csv"_s});
}

void TestWebProfiler::aRefusedConnectionHasNoStatus()
{
    QTcpSocket occupant; // keeps the port, but nobody listens at it
    QVERIFY(occupant.bind(QHostAddress::LocalHost));
    Catalogue catalogue(u"http://127.0.0.1:%1/"_s.arg(occupant.localPort()));
    QCOMPARE(catalogue.downloadData(catalogue.getUrl()), QByteArray());
    QCOMPARE(catalogue.lastError(), u"Connection refused"_s);
    QCOMPARE(m_home->logLines(),
             QStringList({u"[INFO] Init WebProfiler"_s,
                          u"[ERROR] WebProfiler - Network error: Connection refused"_s}));
}

void TestWebProfiler::anAddressWithoutASchemeIsAnError()
{
    Catalogue catalogue(u""_s);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(catalogue.downloadData(QUrl(u"apps.csv"_s)), QByteArray());
    QVERIFY(timer.elapsed() < 1'500);
    QCOMPARE(catalogue.lastError(), u"Protocol \"\" is unknown"_s);
}

void TestWebProfiler::percentSignsSurviveInAnErrorsText()
{
    const HttpServer server; // answers 404
    const QString address = server.url(u"a%1Fb%20c%251%2F2.csv"_s);
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(address)), QByteArray());
    // Qt writes an address with its blanks decoded.
    QCOMPARE(catalogue.lastError(), u"Error transferring "_s +
                                        server.url(u"a%1Fb c%251%2F2.csv"_s) +
                                        u" - server replied: Status (HTTP 404)"_s);
    QCOMPARE(m_home->logLines().constLast(),
             u"[ERROR] WebProfiler - Network error: "_s + catalogue.lastError());
}

void TestWebProfiler::anEmptyAnswerIsNoError_data()
{
    QTest::addColumn<HttpReply>("reply");

    QTest::newRow("200 without a body") << HttpReply{};
    QTest::newRow("200 without a body or a length") << HttpReply{.withLength = false};
    QTest::newRow("204") << HttpReply{.status = 204, .withLength = false};
}

void TestWebProfiler::anEmptyAnswerIsNoError()
{
    QFETCH(HttpReply, reply);
    HttpServer server;
    server.reply(u"apps.csv"_s, reply);
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"apps.csv"_s))), QByteArray());
    QCOMPARE(catalogue.lastError(), QString());
    QCOMPARE(m_home->logLines(), QStringList{u"[INFO] Init WebProfiler"_s});
    const bool isEndKnown = reply.withLength || reply.status == 204;
    QCOMPARE(isEndKnown ? server.requests() : distinctRequests(server),
             QStringList{u"/apps.csv"_s});
}

void TestWebProfiler::aGoodTransferKeepsAnEarlierError()
{
    HttpServer server;
    server.reply(u"good"_s, {.body = "words"});
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"bad"_s))), QByteArray());
    const QString error = catalogue.lastError();
    QVERIFY(!error.isEmpty());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"good"_s))), "words");
    QCOMPARE(catalogue.lastError(), error);
}

void TestWebProfiler::aLaterErrorReplacesAnEarlierOne()
{
    HttpServer server;
    server.reply(u"a"_s, status(404));
    server.reply(u"b"_s, status(401));
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"a"_s))), QByteArray());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"b"_s))), QByteArray());
    QCOMPARE(catalogue.lastError(), u"Host requires authentication (HTTP 401)"_s);
}

void TestWebProfiler::sendsOnlyQtsOwnHeaders()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    const QUrl address(server.url(u"apps.csv"_s));
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(address), goodCatalogue);

    QNetworkAccessManager plain;
    const QScopedPointer<QNetworkReply> reply(plain.get(QNetworkRequest(address)));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    QVERIFY(finished.wait());

    QCOMPARE(server.heads().size(), 2);
    QVERIFY(server.heads().constFirst().startsWith("GET /apps.csv HTTP/1.1\r\n"));
    QCOMPARE(server.heads().constFirst(), server.heads().constLast());
}

void TestWebProfiler::followsRedirects_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("location"); // with "URL/" for the server's own address

    const auto row = [](const char* what, int code, const QString& location) {
        QTest::newRow(what) << code << location;
    };
    row("relative", 302, u"new/list.csv"_s);
    row("an absolute path", 302, u"/config/new/list.csv"_s);
    row("the whole address", 302, u"URL/config/new/list.csv"_s);
    row("up a folder", 302, u"../config/new/list.csv"_s);
    row("301", 301, u"new/list.csv"_s);
    row("303", 303, u"new/list.csv"_s);
    row("307", 307, u"new/list.csv"_s);
    row("308", 308, u"new/list.csv"_s);
    row("twice", 302, u"step.csv"_s);
}

void TestWebProfiler::followsRedirects()
{
    QFETCH(int, code);
    QFETCH(QString, location);
    HttpServer server;
    location.replace("URL/"_L1, server.url());
    server.reply(u"config/apps.csv"_s, redirect(code, location));
    server.reply(u"config/step.csv"_s, redirect(301, u"new/list.csv"_s));
    server.reply(u"config/new/list.csv"_s, {.body = goodCatalogue});

    Catalogue catalogue(server.url(), u"config/apps.csv"_s);
    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(catalogue.lastError(), QString());
    QStringList requests{u"/config/apps.csv"_s, u"/config/new/list.csv"_s};
    if (location == "step.csv"_L1) {
        requests.insert(1, u"/config/step.csv"_s);
    }
    QCOMPARE(distinctRequests(server), requests);
    QCOMPARE(linesWithoutDuration(*m_home), linesOfAnUpdate(server.url(u"config/apps.csv"_s)));
}

void TestWebProfiler::followsARedirectToAnotherServer()
{
    HttpServer server;
    HttpServer other;
    server.reply(u"apps.csv"_s, redirect(302, other.url(u"list.csv"_s)));
    other.reply(u"list.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"apps.csv"_s))), goodCatalogue);
    QCOMPARE(catalogue.lastError(), QString());
}

void TestWebProfiler::aCircleOfRedirectsIsAnError()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, redirect(302, u"b.csv"_s));
    server.reply(u"b.csv"_s, redirect(302, u"apps.csv"_s));
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(server.url(u"apps.csv"_s))), QByteArray());
    QCOMPARE(catalogue.lastError(), u"Too many redirects (HTTP 302)"_s);
    QCOMPARE(m_home->logLines().constLast(),
             u"[ERROR] WebProfiler - Network error: Too many redirects (HTTP 302)"_s);
}

void TestWebProfiler::anOpenServerMayLeadToASecureOne()
{
    if (!canServeTls()) {
        QSKIP("no TLS server on this machine");
    }
    const LocalTrust trust;
    HttpServer open;
    HttpServer secure(localTlsIdentity());
    open.reply(u"apps.csv"_s, redirect(302, secure.url(u"list.csv"_s)));
    secure.reply(u"list.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(open.url());
    QCOMPARE(catalogue.downloadData(QUrl(open.url(u"apps.csv"_s))), goodCatalogue);
    QCOMPARE(catalogue.lastError(), QString());
    QCOMPARE(distinctRequests(secure), QStringList{u"/list.csv"_s});
}

void TestWebProfiler::aSecureServerMayNotLeadToAnOpenOne()
{
    if (!canServeTls()) {
        QSKIP("no TLS server on this machine");
    }
    const LocalTrust trust;
    HttpServer open;
    HttpServer secure(localTlsIdentity());
    secure.reply(u"apps.csv"_s, redirect(302, open.url(u"list.csv"_s)));
    open.reply(u"list.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(secure.url());
    QCOMPARE(catalogue.downloadData(QUrl(secure.url(u"apps.csv"_s))), QByteArray());
    QCOMPARE(catalogue.lastError(), u"Insecure redirect (HTTP 302)"_s);
    QCOMPARE(m_home->logLines().constLast(),
             u"[ERROR] WebProfiler - Network error: Insecure redirect (HTTP 302)"_s);
    QCOMPARE(secure.requests(), QStringList{u"/apps.csv"_s});
    QCOMPARE(open.requests(), QStringList{});
}

void TestWebProfiler::aSecureServerMustBeTrusted()
{
    if (!canServeTls()) {
        QSKIP("no TLS server on this machine");
    }
    HttpServer secure(localTlsIdentity());
    secure.reply(u"apps.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(secure.url());
    QCOMPARE(catalogue.downloadData(QUrl(secure.url(u"apps.csv"_s))), QByteArray());
    QVERIFY2(catalogue.lastError().startsWith("SSL handshake failed: "_L1),
             qPrintable(catalogue.lastError()));
    QCOMPARE(secure.requests(), QStringList{});
}

void TestWebProfiler::aGoodCatalogueTakesOneRequest()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(server.url());
    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(catalogue.size(), 1);
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"1.2"_s);
    QCOMPARE(catalogue.lastError(), QString());
    QCOMPARE(server.requests(), QStringList{u"/apps.csv"_s});
    QCOMPARE(linesWithoutDuration(*m_home), linesOfAnUpdate(server.url(u"apps.csv"_s)));
}

void TestWebProfiler::asksForTheConcatenatedAddress_data()
{
    QTest::addColumn<QString>("base"); // below the server's own "http://127.0.0.1:PORT/"
    QTest::addColumn<QString>("csvPath");
    QTest::addColumn<QString>("target");

    const auto row = [](const char* what, const QString& base, const QString& csvPath,
                        const QString& target) {
        QTest::newRow(what) << base << csvPath << target;
    };
    row("two parts", u"org/"_s, u"config/apps.csv"_s, u"/org/config/apps.csv"_s);
    row("no separator is added", u"org"_s, u"apps.csv"_s, u"/orgapps.csv"_s);
    row("no separator is removed", u"org/"_s, u"/apps.csv"_s, u"/org//apps.csv"_s);
    row("an absolute path does not leave the base", u"org/"_s, u"/"_s, u"/org//"_s);
    row("no path", u"org/"_s, u""_s, u"/org/"_s);
    row("a question", u""_s, u"list?kind=csv&all=1"_s, u"/list?kind=csv&all=1"_s);
    row("a fragment is not sent", u""_s, u"apps.csv#first"_s, u"/apps.csv"_s);
    row("blanks are encoded", u"my org/"_s, u"my apps.csv"_s, u"/my%20org/my%20apps.csv"_s);
    row("accents are encoded", u""_s, u"été.csv"_s, u"/%C3%A9t%C3%A9.csv"_s);
    row("what is encoded stays so", u""_s, u"a%20b%1F%2F.csv"_s, u"/a%20b%1F%2F.csv"_s);
    row("a stray percent sign is encoded", u""_s, u"100%.csv"_s, u"/100%25.csv"_s);
    row("no places", u"%1/"_s, u"%2.csv"_s, u"/%251/%252.csv"_s);
}

void TestWebProfiler::asksForTheConcatenatedAddress()
{
    QFETCH(QString, base);
    QFETCH(QString, csvPath);
    QFETCH(QString, target);
    HttpServer server;
    server.reply(target.sliced(1), {.body = goodCatalogue});
    Catalogue catalogue(server.url(base), csvPath);
    catalogue.update();
    QCOMPARE(server.requests(), QStringList{target});
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(linesWithoutDuration(*m_home), linesOfAnUpdate(server.url() + base + csvPath));
}

void TestWebProfiler::aTextWithoutValidEntryIsNotAskedForAgain_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("error");

    const auto row = [](const char* what, const QByteArray& body, const char* error) {
        QTest::newRow(what) << body << QString::fromUtf8(error);
    };
    row("a header alone", catalogueTitles,
        "CSV reçu (43 octets) mais aucune entrée valide — format inattendu");
    row("one byte", "\n", "CSV reçu (1 octets) mais aucune entrée valide — format inattendu");
    row("nothing but ignored entries", "Name,Ignored\nSynth,1\n",
        "CSV reçu (21 octets) mais aucune entrée valide — format inattendu");
    row("another separator", "Name;Ignored\nSynth;0\n",
        "CSV reçu (21 octets) mais aucune entrée valide — format inattendu");
    row("bytes, not characters", "éé—\n",
        "CSV reçu (8 octets) mais aucune entrée valide — format inattendu");
    row("a large number is not grouped", QByteArray(1'234'567, 'x'),
        "CSV reçu (1234567 octets) mais aucune entrée valide — format inattendu");
}

void TestWebProfiler::aTextWithoutValidEntryIsNotAskedForAgain()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, error);
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = body});
    Catalogue catalogue(server.url());
    catalogue.update();
    QCOMPARE(catalogue.lastError(), error);
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QCOMPARE(catalogue.size(), 0);
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(linesWithoutDuration(*m_home), linesOfAnUpdate(server.url(u"apps.csv"_s)));
}

void TestWebProfiler::everyUpdateStartsAfresh()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = "Name,Ignored\nSynth,0\nAmp,0\n"});
    server.reply(u"apps.csv"_s, {.body = "Name,Ignored\n"});
    server.reply(u"apps.csv"_s, {.body = "Name,Ignored\nMixer,0\n"});
    Catalogue catalogue(server.url());

    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList({u"Synth"_s, u"Amp"_s}));

    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QCOMPARE(catalogue.size(), 0);
    QCOMPARE(catalogue.lastError(),
             u"CSV reçu (13 octets) mais aucune entrée valide — format inattendu"_s);

    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{u"Mixer"_s});
    QCOMPARE(catalogue.size(), 1);
    QCOMPARE(catalogue.lastError(), QString());
}

void TestWebProfiler::theNextUpdateUsesWhatTheSettersSet()
{
    HttpServer server;
    HttpServer other;
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    other.reply(u"x/list.csv"_s, {.body = "Name;Ignored\nAmp;0\n"});
    Catalogue catalogue(server.url());
    catalogue.update();

    catalogue.setUrl(other.url(u"x/"_s));
    catalogue.setCsvPath(u"list.csv"_s);
    catalogue.setCsvSeparator(u";"_s);
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});

    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{u"Amp"_s});
    QCOMPARE(server.requests(), QStringList{u"/apps.csv"_s});
    QCOMPARE(other.requests(), QStringList{u"/x/list.csv"_s});
}

void TestWebProfiler::thereIsNoThirdAttempt()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, status(500));
    server.reply(u"apps.csv"_s, status(404));
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    const QString address = server.url(u"apps.csv"_s);
    const QString error =
        u"Error transferring "_s + address + u" - server replied: Status (HTTP "_s;

    Catalogue catalogue(server.url());
    int ticks = 0; // the interface stays alive
    QTimer ticking;
    ticking.callOnTimeout(&server, [&ticks] { ++ticks; });
    ticking.start(20);
    catalogue.update();

    QCOMPARE(server.requests(), QStringList({u"/apps.csv"_s, u"/apps.csv"_s}));
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QCOMPARE(catalogue.size(), 0);
    QCOMPARE(catalogue.lastError(), error + u"404)"_s);
    QCOMPARE(
        linesWithoutDuration(*m_home),
        linesOfAnUpdate(address,
                        {u"[ERROR] WebProfiler - Network error: "_s + error + u"500)"_s, retryLine,
                         u"[ERROR] WebProfiler - Network error: "_s + error + u"404)"_s}));
    QVERIFY2(ticks > 20, qPrintable(QString::number(ticks)));
}

void TestWebProfiler::aGoodSecondAttemptKeepsTheFirstOnesError()
{
    HttpServer server;
    server.reply(u"apps.csv"_s,
                 {.body = goodCatalogue, .manner = HttpReply::Cut, .announcedLength = 1'000});
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(server.url());
    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"1.2"_s);
    QCOMPARE(catalogue.lastError(), u"Connection closed (HTTP 200)"_s);
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(
        linesWithoutDuration(*m_home),
        linesOfAnUpdate(
            server.url(u"apps.csv"_s),
            {u"[ERROR] WebProfiler - Network error: Connection closed (HTTP 200)"_s, retryLine}));
}

void TestWebProfiler::waysToEnd()
{
    QTest::addColumn<bool>("isQuit");

    QTest::newRow("the update is cancelled") << false;
    QTest::newRow("the application quits") << true;
}

/// Inside the application's own loop, as in the program: quitting ends that one too.
void TestWebProfiler::runUpdate(WebProfiler& catalogue)
{
    QTimer::singleShot(0, this, [this, &catalogue] {
        QElapsedTimer timer;
        timer.start();
        catalogue.update();
        m_duration = timer.elapsed();
        QCoreApplication::exit();
    });
    QCoreApplication::exec();
}

void TestWebProfiler::endingTheWaitEndsTheUpdate_data()
{
    waysToEnd();
}

void TestWebProfiler::endingTheWaitEndsTheUpdate()
{
    QFETCH(bool, isQuit);
    HttpServer server;
    server.reply(u"apps.csv"_s, {.manner = HttpReply::Silent});
    Catalogue catalogue(server.url());
    connect(&server, &HttpServer::requested, this,
            [&catalogue, isQuit] { isQuit ? QCoreApplication::exit() : catalogue.cancel(); });
    runUpdate(catalogue);
    QVERIFY2(m_duration < 1'500, qPrintable(QString::number(m_duration)));
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QVERIFY(!m_home->logLines().contains(retryLine));
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(server.requests().size(), 1);
}

void TestWebProfiler::endingThePauseEndsTheUpdate_data()
{
    waysToEnd();
}

void TestWebProfiler::endingThePauseEndsTheUpdate()
{
    QFETCH(bool, isQuit);
    HttpServer server;
    server.reply(u"apps.csv"_s, status(404));
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(server.url());
    const LogWatch watch(*m_home, retryLine, [&catalogue, isQuit] {
        isQuit ? QCoreApplication::exit() : catalogue.cancel();
    });
    runUpdate(catalogue);
    QVERIFY(watch.hasActed());
    QVERIFY2(m_duration < 1'500, qPrintable(QString::number(m_duration)));
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(server.requests().size(), 1);
}

void TestWebProfiler::aBodyCutByTheEndDoesNotCount_data()
{
    waysToEnd();
}

void TestWebProfiler::aBodyCutByTheEndDoesNotCount()
{
    QFETCH(bool, isQuit);
    HttpServer server;
    server.reply(u"apps.csv"_s,
                 {.body = goodCatalogue, .manner = HttpReply::Stall, .announcedLength = 1'000});
    Catalogue catalogue(server.url());
    connect(&server, &HttpServer::requested, this, [this, &catalogue, isQuit] {
        // Time for the part of the body that is sent to arrive.
        QTimer::singleShot(200, this, [&catalogue, isQuit] {
            isQuit ? QCoreApplication::exit() : catalogue.cancel();
        });
    });
    runUpdate(catalogue);
    QVERIFY2(m_duration < 1'500, qPrintable(QString::number(m_duration)));
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(server.requests().size(), 1);
}

QTEST_GUILESS_MAIN(TestWebProfiler)
#include "tst_webprofiler.moc"
