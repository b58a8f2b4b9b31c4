// One window that loads, scans and downloads again and again, and what the process holds after it.

#include "app/debug.h"
#include "soak/holdings.h"
#include "support/cataloguetext.h"
#include "support/httpserver.h"
#include "support/privatehome.h"
#include "support/propertylist.h"
#include "support/settingsfile.h"
#include "support/standin.h"
#include "support/testline.h"
#include "support/windowclick.h"
#include "ui/mainwindow.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QUrl>

#include <algorithm>
#include <memory>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int patience = 30'000;
constexpr double allowedGrowth = 0.02;
constexpr int archiveRow = 0;

/// QUILLMERE_SOAK_ROUNDS, or the default.
int wantedRounds()
{
    bool isSet = false;
    const int rounds = qEnvironmentVariableIntValue("QUILLMERE_SOAK_ROUNDS", &isSet);
    return isSet ? std::max(rounds, 40) : 120;
}

/// The former handler, but without the log.
QtMessageHandler formerHandler = nullptr;

void dropLog(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type != QtDebugMsg) {
        formerHandler(type, context, text);
    }
}

/// What the process holds once the connections and threads that were just ending are gone.
Holdings settledHoldings()
{
    Holdings former = currentHoldings();
    for (;;) {
        QTest::qWait(200);
        const Holdings now = currentHoldings();
        if (now.files == former.files && now.threads == former.threads) {
            return now;
        }
        former = now;
    }
}

} // namespace

class TestSoak : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    /// Called in the desktop's place.
    void keepOpened(const QUrl& url) { m_opened = url.toLocalFile(); }

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void holdsNoMoreAfterManyRoundsThanAfterAFew();

private:
    void writeSettings();
    void makeArchive(TestLine at = {});
    void runRound(int round, TestLine at = {});
    void scan(TestLine at = {});
    void download(int row, TestLine at = {});

    std::optional<PrivateHome> m_home;
    std::optional<StandIns> m_standIns;
    std::optional<HttpServer> m_server;
    std::unique_ptr<MainWindow> m_window;
    QPushButton* m_loadButton = nullptr;
    QTableWidget* m_table = nullptr;
    QString m_opened;
};

void TestSoak::initTestCase()
{
    formerHandler = qInstallMessageHandler(dropLog);
    m_home.emplace();
    m_standIns.emplace();
    m_server.emplace();
    m_server->keepNoRecords();
    Debug::init();
    QDir(m_home->path()).mkpath(u"Downloads"_s);
    QDesktopServices::setUrlHandler(u"file"_s, this, "keepOpened");

    QByteArray catalogue = catalogueTitles;
    QByteArray paths;
    for (int i = 0; i < 30; ++i) {
        const QByteArray name = "Tool " + QByteArray::number(i);
        catalogue += catalogueLine(name, "2." + QByteArray::number(i), "2026-01-31",
                                   i == archiveRow ? "tool.zip" : "tool.dmg");
        const QString bundle =
            m_home->path() + "/Bundles/"_L1 + QString::fromUtf8(name) + ".app"_L1;
        m_home->write("Bundles/"_L1 + QString::fromUtf8(name) + ".app/Contents/Info.plist"_L1,
                      versionPlist("1." + QByteArray::number(i)));
        paths += bundle.toUtf8() + '\n';
    }
    m_standIns->addPrinting(u"find"_s, paths);
    m_server->reply(u"catalogue.csv"_s, {.body = catalogue});
    m_server->reply(u"soft/tool.dmg"_s, {.body = QByteArray(100'000, 'x')});
    makeArchive();
    writeSettings();

    m_window = std::make_unique<MainWindow>();
    m_window->show();
    m_loadButton = m_window->findChild<QPushButton*>(u"LoadButton"_s);
    m_table = m_window->findChild<QTableWidget*>(u"tableWidget"_s);
}

void TestSoak::cleanupTestCase()
{
    m_window.reset();
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

void TestSoak::writeSettings()
{
    m_home->write(u"Library/Quillmere/config.xml"_s, settingsXml({.baseUrl = m_server->url()}));
}

void TestSoak::makeArchive(TestLine at)
{
    m_home->write(u"Archive/Tool.pkg"_s, QByteArray(10'000, 'y'));
    const QString archive = m_home->path() + "/tool.zip"_L1;
    COMPARE_AT(
        at, QProcess::execute(u"zip"_s, {u"-qjr"_s, archive, m_home->path() + "/Archive"_L1}), 0);
    m_server->reply(u"soft/tool.zip"_s, {.body = PrivateHome::read(archive)});
}

void TestSoak::scan(TestLine at)
{
    m_window->action_loadSysData();
    TRY_VERIFY_AT(at, m_loadButton->isEnabled(), patience);
    COMPARE_AT(at, m_table->item(7, 1)->text(), u"1.7"_s);
}

void TestSoak::download(int row, TestLine at)
{
    const QString installer = row == archiveRow ? u"Tool.pkg"_s : u"tool.dmg"_s;
    const QString path = m_home->path() + "/Downloads/"_L1 + installer;
    m_opened.clear();
    m_table->scrollToItem(m_table->item(row, 0));
    windowClick(m_table->cellWidget(row, 2)->findChild<QPushButton*>(u"downloadBtn"_s), at);
    TRY_COMPARE_AT(at, m_opened, path, patience);
    TRY_VERIFY_AT(at, m_loadButton->isEnabled(), patience); // the scan that follows
    COMPARE_AT(at, QFileInfo(path).size(), row == archiveRow ? 10'000 : 100'000);
    VERIFY_AT(at, QFile::remove(path));
}

void TestSoak::runRound(int round, TestLine at)
{
    VERIFY_AT(at, m_window->action_loadWebData());
    COMPARE_AT(at, m_table->rowCount(), 30);
    scan(at);
    download(round % m_table->rowCount(), at);
}

void TestSoak::holdsNoMoreAfterManyRoundsThanAfterAFew()
{
    const int rounds = wantedRounds();
    const int warmUp = rounds / 2; // Qt's hash tables creep towards the largest size they ever need
    const int interval = std::max(rounds / 40, 1);
    QList<double> resident;
    QList<double> allocated;
    std::optional<Holdings> atFirst;
    for (int round = 1; round <= warmUp + rounds; ++round) {
        runRound(round);
        if (QTest::currentTestFailed()) {
            QFAIL(qPrintable(u"in round %1"_s.arg(round)));
        }
        if (round <= warmUp || round % interval != 0) {
            continue;
        }
        // The cells of the table before are gone only then.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!atFirst) {
            atFirst = settledHoldings();
            qInfo("round %d: %s", round, qPrintable(asText(*atFirst)));
        }
        QTRY_COMPARE(currentHoldings().files, atFirst->files);
        QTRY_COMPARE(currentHoldings().threads, atFirst->threads);
        const Holdings now = currentHoldings();
        resident.append(now.residentKiB);
        allocated.append(now.allocatedKiB);
    }
    qInfo("round %d: %s", warmUp + rounds, qPrintable(asText(currentHoldings())));
    qInfo("growth: resident %.2f %%, allocated %.2f %%", 100.0 * growth(resident),
          100.0 * growth(allocated));
    if (isMemoryMeasurable()) {
        QVERIFY(growth(resident) <= allowedGrowth);
        QVERIFY(growth(allocated) <= allowedGrowth);
    }
}

QTEST_MAIN(TestSoak)
#include "tst_soak.moc"
