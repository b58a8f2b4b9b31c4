#include "web/webprofiler.h"

#include "app/debug.h"
#include "support/httpserver.h"
#include "support/privatehome.h"
#include "webfixture.h"

#include <QElapsedTimer>
#include <QEventLoop>
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

/// Whether @p ms is @p expected, give or take the 5 % of a coarse timer; @p spare ms more are for
/// the requests in between on a busy machine.
bool takes(qint64 ms, qint64 expected, qint64 spare = 0)
{
    const bool isRight = ms * 100 >= expected * 95 && ms * 100 <= expected * 105 + spare * 100;
    if (!isRight) {
        qWarning("%lld ms instead of %lld", ms, expected);
    }
    return isRight;
}

/// When each of a server's requests came, in ms since this was made.
class Arrivals : public QObject
{
public:
    explicit Arrivals(HttpServer& server)
    {
        m_timer.start();
        connect(&server, &HttpServer::requested, this, [this] { m_times.append(now()); });
    }

    [[nodiscard]] qint64 now() const { return m_timer.elapsed(); }
    [[nodiscard]] qsizetype count() const { return m_times.size(); }
    /// From the first request to the second one.
    [[nodiscard]] qint64 gap() const { return m_times.value(1) - m_times.value(0); }

private:
    QElapsedTimer m_timer;
    QList<qint64> m_times;
};

/// A box that opens from inside the first request's wait and stays for @p ms.
class Box : public QObject
{
public:
    Box(HttpServer& server, int ms)
    {
        connect(&server, &HttpServer::requested, this, [this, ms] {
            QTimer::singleShot(0, this, [this, ms] {
                QEventLoop loop;
                QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
                loop.exec();
                m_wasClosed = true;
            });
        });
    }

    [[nodiscard]] bool wasClosed() const { return m_wasClosed; }

private:
    bool m_wasClosed = false;
};

} // namespace

/// The catalogue's transfer where it takes its time: each failed attempt costs 2 s, each silent
/// server 15 s.
class TestWebProfilerSlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // The pause of 2 s
    void retriesAfterTwoSeconds();
    void retriesOnce_data();
    void retriesOnce();
    void aFailedUpdateEmptiesTheCatalogue();
    void aCancelledUpdateDoesNotStopTheNextOne();

    // The bound of 15 s
    void aSilentServerTimesOutTwice();
    void aTimeOutStaysKnownWhenTheRetrySucceeds();
    void theBoundIsForTheWholeTransfer_data();
    void theBoundIsForTheWholeTransfer();
    void aBodyInTimeCountsWhateverOpensMeanwhile();
    void aBodyTooLateDoesNotCountWhateverOpensMeanwhile();

private:
    std::optional<PrivateHome> m_home;
};

void TestWebProfilerSlow::init()
{
    m_home.emplace();
    Debug::init();
}

void TestWebProfilerSlow::cleanup()
{
    m_home.reset();
}

void TestWebProfilerSlow::retriesAfterTwoSeconds()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, status(404));
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    const Arrivals arrivals(server);
    Catalogue catalogue(server.url());
    catalogue.update();
    const qint64 end = arrivals.now();
    QCOMPARE(arrivals.count(), 2);
    QVERIFY(takes(arrivals.gap(), 2'000, 300));

    const QString line = m_home->logLines().constLast();
    const QString start = u"[INFO] WebProfiler - data updated (execution duration: "_s;
    QVERIFY2(line.startsWith(start) && line.endsWith("s)"_L1), qPrintable(line));
    const double seconds = line.sliced(start.size()).chopped(2).toDouble();
    QVERIFY2(seconds * 1'000 >= 1'900 && seconds * 1'000 <= static_cast<double>(end),
             qPrintable(line));
}

void TestWebProfilerSlow::retriesOnce_data()
{
    QTest::addColumn<HttpReply>("first");
    QTest::addColumn<HttpReply>("second");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QStringList>("errorLines"); // the first before the retry

    const QString refusal = u"Host requires authentication (HTTP 401)"_s;
    const QString line = u"[ERROR] WebProfiler - Network error: "_s + refusal;
    const QStringList synth{u"Synth"_s};
    const HttpReply empty;
    const HttpReply good{.body = goodCatalogue};
    const HttpReply headerOnly{.body = "Name,Version,Ignored\r\n"};

    QTest::newRow("empty twice") << empty << empty << QStringList{} << u"Réponse vide du serveur"_s
                                 << QStringList{QString(), QString()};
    QTest::newRow("204 twice") << HttpReply{.status = 204, .withLength = false}
                               << HttpReply{.status = 204, .withLength = false} << QStringList{}
                               << u"Réponse vide du serveur"_s << QStringList{QString(), QString()};
    QTest::newRow("empty, then good: no error")
        << empty << good << synth << QString() << QStringList{QString(), QString()};
    QTest::newRow("empty, then without valid entry")
        << empty << headerOnly << QStringList{}
        << u"CSV reçu (22 octets) mais aucune entrée valide — format inattendu"_s
        << QStringList{QString(), QString()};
    QTest::newRow("an error, then empty: the error stays")
        << status(401) << empty << QStringList{} << refusal << QStringList{line, QString()};
    QTest::newRow("an error, then without valid entry: the error stays")
        << status(401) << headerOnly << QStringList{} << refusal << QStringList{line, QString()};
    QTest::newRow("empty, then an error")
        << empty << status(401) << QStringList{} << refusal << QStringList{QString(), line};
}

void TestWebProfilerSlow::retriesOnce()
{
    QFETCH(HttpReply, first);
    QFETCH(HttpReply, second);
    QFETCH(QStringList, names);
    QFETCH(QString, error);
    QFETCH(QStringList, errorLines);
    HttpServer server;
    server.reply(u"apps.csv"_s, first);
    server.reply(u"apps.csv"_s, second);
    server.reply(u"apps.csv"_s, {.body = "Name,Ignored\nThird,0\n"});
    Catalogue catalogue(server.url());
    catalogue.update();
    QCOMPARE(catalogue.getAppList(), names);
    QCOMPARE(catalogue.lastError(), error);
    QCOMPARE(server.requests(), QStringList({u"/apps.csv"_s, u"/apps.csv"_s}));
    QStringList between{errorLines.constFirst(), retryLine, errorLines.constLast()};
    between.removeAll(QString());
    QCOMPARE(linesWithoutDuration(*m_home), linesOfAnUpdate(server.url(u"apps.csv"_s), between));
}

void TestWebProfilerSlow::aFailedUpdateEmptiesTheCatalogue()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    server.reply(u"apps.csv"_s, status(401));
    Catalogue catalogue(server.url());
    catalogue.update();
    QCOMPARE(catalogue.size(), 1);
    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QCOMPARE(catalogue.size(), 0);
    QCOMPARE(catalogue.lastError(), u"Host requires authentication (HTTP 401)"_s);
}

void TestWebProfilerSlow::aCancelledUpdateDoesNotStopTheNextOne()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, {.manner = HttpReply::Silent});
    server.reply(u"apps.csv"_s, status(401));
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    Catalogue catalogue(server.url());
    const auto cancelling =
        connect(&server, &HttpServer::requested, this, [&catalogue] { catalogue.cancel(); });
    catalogue.update();
    disconnect(cancelling);
    QCOMPARE(server.requests().size(), 1);

    catalogue.update();
    QCOMPARE(server.requests().size(), 3);
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
}

void TestWebProfilerSlow::aSilentServerTimesOutTwice()
{
    HttpServer server;
    server.reply(u"a%1F%20%252.csv"_s, {.manner = HttpReply::Silent});
    const Arrivals arrivals(server);
    Catalogue catalogue(server.url(), u"a%1F%20%252.csv"_s);
    catalogue.update();
    QVERIFY(takes(arrivals.now(), 15'000 + 2'000 + 15'000, 300));
    QVERIFY(takes(arrivals.gap(), 15'000 + 2'000, 300));
    QCOMPARE(arrivals.count(), 2);

    // Qt writes an address with its blanks decoded.
    const QString address = server.url(u"a%1F %252.csv"_s);
    const QString line = u"[ERROR] WebProfiler - Network timeout for: "_s + address;
    QCOMPARE(catalogue.lastError(), u"Timeout réseau après 15s ("_s + address + u')');
    QCOMPARE(catalogue.getAppList(), QStringList{});
    QCOMPARE(linesWithoutDuration(*m_home),
             linesOfAnUpdate(server.url(u"a%1F%20%252.csv"_s), {line, retryLine, line}));
    QTRY_COMPARE(server.openConnections(), 0); // both were aborted
    QCOMPARE(server.requests().size(), 2);
}

void TestWebProfilerSlow::aTimeOutStaysKnownWhenTheRetrySucceeds()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, {.manner = HttpReply::Silent});
    server.reply(u"apps.csv"_s, {.body = goodCatalogue});
    const QString address = server.url(u"apps.csv"_s);
    Catalogue catalogue(server.url());
    catalogue.update();
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"1.2"_s);
    QCOMPARE(catalogue.lastError(), u"Timeout réseau après 15s ("_s + address + u')');
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(linesWithoutDuration(*m_home),
             linesOfAnUpdate(
                 address, {u"[ERROR] WebProfiler - Network timeout for: "_s + address, retryLine}));
}

void TestWebProfilerSlow::theBoundIsForTheWholeTransfer_data()
{
    QTest::addColumn<HttpReply>("reply");

    QTest::newRow("the server trickles")
        << HttpReply{.body = QByteArray(1'000, 'x'), .manner = HttpReply::Trickle};
    QTest::newRow("the server stops in the middle")
        << HttpReply{.body = goodCatalogue, .manner = HttpReply::Stall, .announcedLength = 1'000};
}

void TestWebProfilerSlow::theBoundIsForTheWholeTransfer()
{
    QFETCH(HttpReply, reply);
    HttpServer server;
    server.reply(u"apps.csv"_s, reply);
    const QString address = server.url(u"apps.csv"_s);
    Catalogue catalogue(server.url());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(catalogue.downloadData(QUrl(address)), QByteArray());
    QVERIFY(takes(timer.elapsed(), 15'000));
    QCOMPARE(catalogue.lastError(), u"Timeout réseau après 15s ("_s + address + u')');
    QTRY_COMPARE(server.openConnections(), 0);
}

void TestWebProfilerSlow::aBodyInTimeCountsWhateverOpensMeanwhile()
{
    HttpServer server;
    server.reply(u"apps.csv"_s,
                 {.body = goodCatalogue, .manner = HttpReply::Trickle, .trickleInterval = 2});
    const Box box(server, 16'000); // outlasts the bound
    Catalogue catalogue(server.url());
    catalogue.update();
    QVERIFY(box.wasClosed());
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(catalogue.lastError(), QString());
    QCOMPARE(server.requests().size(), 1);
}

void TestWebProfilerSlow::aBodyTooLateDoesNotCountWhateverOpensMeanwhile()
{
    HttpServer server;
    // Its only byte comes after the bound, but before the box is closed.
    server.reply(u"apps.csv"_s,
                 {.body = "x", .manner = HttpReply::Trickle, .trickleInterval = 16'000});
    const Box box(server, 17'500);
    const QString address = server.url(u"apps.csv"_s);
    Catalogue catalogue(server.url());
    QCOMPARE(catalogue.downloadData(QUrl(address)), QByteArray());
    QVERIFY(box.wasClosed());
    QCOMPARE(catalogue.lastError(), u"Timeout réseau après 15s ("_s + address + u')');
}

QTEST_GUILESS_MAIN(TestWebProfilerSlow)
#include "tst_webprofiler_slow.moc"
