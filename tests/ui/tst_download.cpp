#include "support/downloadbench.h"

#include "support/localtrust.h"
#include "support/modalbox.h"
#include "support/testline.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <limits>
#include <memory>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

using Entry = DownloadBench::Entry;

const QString restartQuestion = u"Installing a new version of Quillmere requires restarting the "
                                "application.\n\nDo you want to continue?"_s;

QString startLine(DownloadBench& bench, const QString& name, const QString& file)
{
    return u"[INFO] Download - '%1' → %2"_s.arg(name, bench.held().url("soft/"_L1 + file));
}

} // namespace

/// Downloads from rows of the window, up to the saved file that is handed on.
class TestDownload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // Start
    void pressStartsTheDownload();
    void secondPressDoesNothing();
    void rowThatIsNoneDoesNothing();
    void asksForTheFileOfTheCatalogue_data();
    void asksForTheFileOfTheCatalogue();
    void severalRowsDownloadAtOnce();
    void sendsNoHeadersOfItsOwn();

    // Progress
    void showsThePercentage_data();
    void showsThePercentage();
    void barFollowsTheColumnWidths();
    void unfilledPartIsInTheBaseColor();
    void showsTheProgressOfTheTransfer();
    void unknownLengthStaysAtZero();
    void scanLeavesTheRunningRowAlone();

    // Finish
    void savesOpensAndScans();
    void savesEveryByte_data();
    void savesEveryByte();
    void overwritesAnExistingFile();
    void savesIntoTheFolderOfTheSetting_data();
    void savesIntoTheFolderOfTheSetting();
    void savesIntoARelativeFolder();
    void unwritableDestinationIsAFileError();
    void savesIntoAnExistingSubFolder();
    void networkErrorSavesNothing_data();
    void networkErrorSavesNothing();
    void refusedConnectionIsADownloadError();
    void followsARedirect();
    void refusesARedirectFromHttpsToHttp();
    void rowCanBeDownloadedAgain();
    void rowTakesItsVerdictsColorAgain();

    // Cancel
    void cancelRestoresTheRow();
    void cancelInTheMiddleLeavesNoFile();
    void cancelOfAnIdleRowDoesNothing();
    void cancelledRowCanBeStartedAgain();

    // Reload
    void downloadFollowsItsApplication();
    void finishedDownloadAfterAReloadIsItsApplications();
    void downloadWhoseNameIsGoneIsAborted();
    void nameListedTwiceKeepsBothDownloads();
    void nameListedOnceLessAbortsTheSurplus();
    void finishDuringALoadWaitsForItsEnd();
    void errorDuringALoadWaitsForItsEnd();
    void finishDuringAFailedLoadIsSavedAfterIt();
    void finishAfterAFailedLoadUsesWhatWasRemembered();
    void ownUpdateIsRememberedOverAFailedLoad();
    void rowAfterAFailedLoadShowsWhatTheLastTableShowed();
    void changedFileNameDoesNotTouchARunningDownload();
    void cancelDuringALoad();
    void cancelAfterAFailedLoad();
    void nothingStartsDuringALoad();
    void nothingStartsAfterAFailedLoad();

    // What is gone
    void cellWidgetMayBeGone();
    void labelAndButtonsMayBeGone();
    void itemsMayBeGone();
    void rowsMayBeGone();

    // Boxes
    void decliningTheRestartStartsNothing_data();
    void decliningTheRestartStartsNothing();
    void acceptingTheRestartStartsTheDownload();
    void rowGoneWhileTheRestartIsAskedStartsNothing();
    void otherNameInTheRowMeanwhileStartsNothing();
    void rowGoneWhileAnErrorIsShown_data();
    void rowGoneWhileAnErrorIsShown();
    void rowStartedAnewWhileItsErrorIsShown();

    // Window
    void versionIsPlainText();
    void closedWindowFinishesWhenItIsShownAgain();
    void destroyedWindowEndsItsDownloads();
    void destroyedWindowHasNoMoreFinishes();

private:
    /// A window over @p entries whose installers come from the held server.
    void open(const QList<Entry>& entries, TestLine at = {});
    /// Presses "⤓" and waits until the server is asked.
    void start(int row, const QString& fileName = u"tool.dmg"_s, TestLine at = {});
    /// The server answers and the download has been dealt with.
    void finish(const QString& fileName = u"tool.dmg"_s, const QByteArray& body = "body",
                TestLine at = {});
    /// Runs @p step once, when the catalogue is asked for the next time, before it is answered.
    template <typename Step>
    void duringLoad(const Step& step);

    std::optional<DownloadBench> m_bench;
};

void TestDownload::init()
{
    m_bench.emplace(DownloadBench::Held);
}

void TestDownload::cleanup()
{
    m_bench.reset();
}

void TestDownload::open(const QList<Entry>& entries, TestLine at)
{
    m_bench->list(entries);
    m_bench->open(DownloadBench::Shown, at);
}

void TestDownload::start(int row, const QString& fileName, TestLine at)
{
    const qsizetype before = m_bench->held().waiting("soft/"_L1 + fileName);
    m_bench->pressDownload(row, at);
    VERIFY_AT(at, comesToHold([&] {
                  return m_bench->held().waiting("soft/"_L1 + fileName) == before + 1;
              }));
}

void TestDownload::finish(const QString& fileName, const QByteArray& body, TestLine at)
{
    const qsizetype before = m_bench->opened().size();
    m_bench->held().answer("soft/"_L1 + fileName, body, 200, at);
    VERIFY_AT(at, comesToHold([&] { return m_bench->opened().size() == before + 1; }));
    VERIFY_AT(at, m_bench->waitForScan());
}

template <typename Step>
void TestDownload::duringLoad(const Step& step)
{
    auto* once = new QObject(&m_bench->server());
    connect(&m_bench->server(), &HttpServer::requested, once, [once, step] {
        delete once;
        step();
    });
}

void TestDownload::pressStartsTheDownload()
{
    open({{.name = u"Atlas"_s}});
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    start(0);
    QCOMPARE(m_bench->look(0), u"0% ✕ #d4d4d4"_s);
    COMPARE_LINES(m_bench->takeActivity(),
                  QStringList{startLine(*m_bench, u"Atlas"_s, u"tool.dmg"_s)});
    QVERIFY(m_bench->savedNames().isEmpty());
}

void TestDownload::secondPressDoesNothing()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->window().onDownloadProgress(0, 1, 2);
    m_bench->button(0, u"downloadBtn"_s)->click(); // out of a person's reach
    m_bench->window().startDownload(0);
    QCOMPARE(m_bench->look(0), u"50% ✕ bar 50"_s);
    QCOMPARE(m_bench->takeActivity().size(), 1);
    finish();
    QCOMPARE(m_bench->opened().size(), 1);
}

void TestDownload::rowThatIsNoneDoesNothing()
{
    open({{.name = u"Atlas"_s}});
    for (const int row : {-1, 1, std::numeric_limits<int>::max()}) {
        m_bench->window().startDownload(row);
        m_bench->window().onDownloadProgress(row, 1, 2);
        m_bench->window().onDownloadFinished(row);
        m_bench->window().cancelDownload(row);
    }
    m_bench->window().onDownloadFinished(0);
    COMPARE_LINES(m_bench->looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
    QVERIFY(m_bench->takeActivity().isEmpty());
}

void TestDownload::asksForTheFileOfTheCatalogue_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("logged");
    QTest::addColumn<QString>("asked");

    const auto row = [](const char* what, const char* fileName, const char* logged,
                        const char* asked) {
        QTest::newRow(what) << QString::fromUtf8(fileName) << QString::fromUtf8(logged)
                            << QString::fromUtf8(asked);
    };
    row("plain", "Tool.dmg", "Tool.dmg", "Tool.dmg");
    row("blanks", "My Tool 2.dmg", "My Tool 2.dmg", "My%20Tool%202.dmg");
    row("encoded blank", "My%20Tool.dmg", "My Tool.dmg", "My%20Tool.dmg");
    row("number sign starts a fragment", "C#Tool.dmg", "C#Tool.dmg", "C");
    row("question mark starts a query", "Tool?.dmg", "Tool?.dmg", "Tool?.dmg");
    row("percent sign alone", "100%.dmg", "100%25.dmg", "100%25.dmg");
    row("accents", "Éditeur.dmg", "Éditeur.dmg", "%C3%89diteur.dmg");
    row("no ending", "Tool", "Tool", "Tool");
    row("plus and ampersand", "a+b&c.dmg", "a+b&c.dmg", "a+b&c.dmg");
    row("brackets", "Tool (1) [2].dmg", "Tool (1) [2].dmg", "Tool%20(1)%20[2].dmg");
}

void TestDownload::asksForTheFileOfTheCatalogue()
{
    QFETCH(QString, fileName);
    QFETCH(QString, logged);
    QFETCH(QString, asked);
    open({{.name = u"Atlas"_s, .fileName = fileName}});
    start(0, asked);
    COMPARE_LINES(m_bench->takeActivity(), QStringList{startLine(*m_bench, u"Atlas"_s, logged)});
    finish(asked);
    // Saved and opened under the catalogue's own spelling.
    COMPARE_LINES(m_bench->savedNames(), QStringList{fileName});
    QCOMPARE(m_bench->openedUrls(),
             QList<QUrl>{QUrl::fromLocalFile(m_bench->downloads() + u'/' + fileName)});
    COMPARE_LINES(m_bench->opened(), QStringList{m_bench->downloads() + u'/' + fileName});
}

void TestDownload::severalRowsDownloadAtOnce()
{
    open({{.name = u"A"_s, .fileName = u"a.dmg"_s},
          {.name = u"B"_s, .fileName = u"b.dmg"_s},
          {.name = u"C"_s, .fileName = u"c.dmg"_s}});
    start(0, u"a.dmg"_s);
    start(2, u"c.dmg"_s);
    m_bench->window().onDownloadProgress(2, 3, 10);
    COMPARE_LINES(m_bench->looks(),
                  (QStringList{u"0% ✕ #d4d4d4"_s, u"2.0 ⤓ #d4d4d4"_s, u"30% ✕ bar 30"_s}));
    finish(u"c.dmg"_s, "third");
    QCOMPARE(m_bench->look(2), u"2.0 ⤓ #d4d4d4"_s);
    QVERIFY(m_bench->look(0).startsWith(u"0% ✕"_s));
    start(1, u"b.dmg"_s);
    finish(u"a.dmg"_s, "first");
    finish(u"b.dmg"_s, "second");
    QCOMPARE(m_bench->saved(u"a.dmg"_s), "first");
    QCOMPARE(m_bench->saved(u"b.dmg"_s), "second");
    QCOMPARE(m_bench->saved(u"c.dmg"_s), "third");
    COMPARE_LINES(m_bench->looks(), QStringList(3, u"2.0 ⤓ #d4d4d4"_s));
}

void TestDownload::sendsNoHeadersOfItsOwn()
{
    m_bench.emplace(DownloadBench::Prompt);
    m_bench->offer(u"tool.dmg"_s, {.body = "x"});
    open({{.name = u"Atlas"_s}});
    m_bench->pressDownload(0);
    QTRY_COMPARE(m_bench->opened().size(), 1);
    const QByteArray head = m_bench->server().heads().constLast();
    // What the network library sends with every request, whatever that is in the release at hand.
    QNetworkAccessManager network;
    const QUrl url(m_bench->server().url(QString::fromUtf8(head.split(' ').value(1).mid(1))));
    const std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(url)));
    QTRY_VERIFY(reply->isFinished());
    QCOMPARE(reply->readAll(), "x");
    QCOMPARE(head, m_bench->server().heads().constLast());
}

void TestDownload::showsThePercentage_data()
{
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<QString>("look");

    const auto row = [](const char* what, qint64 received, qint64 total, const char* look) {
        QTest::newRow(what) << received << total << QString::fromUtf8(look);
    };
    row("nothing yet", 0, 100, "0% ✕ bar 0");
    row("one percent", 1, 100, "1% ✕ bar 1");
    row("truncated", 429, 1'000, "42% ✕ bar 42");
    row("at the end of column 0", 37, 100, "37% ✕ bar 37");
    row("behind the end of column 0", 38, 100, "38% ✕ bar 38");
    row("in the middle column", 50, 100, "50% ✕ bar 50");
    row("in the last column", 90, 100, "90% ✕ bar 90");
    row("nearly all", 9'999, 10'000, "99% ✕ bar 99");
    row("all", 100, 100, "100% ✕ bar 100");
    row("more than all", 150, 100, "150% ✕ bar 100");
    row("a failed connection's only signal", 0, 0, "0% ✕ bar 0");
    row("unknown length", 5'000, -1, "0% ✕ bar 0");
    row("negative length", 5'000, -7, "0% ✕ bar 0");
    row("more bytes than 32 bits count", 6'000'000'000, 8'000'000'000, "75% ✕ bar 75");
}

void TestDownload::showsThePercentage()
{
    QFETCH(qint64, received);
    QFETCH(qint64, total);
    QFETCH(QString, look);
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->window().onDownloadProgress(0, received, total);
    QCOMPARE(m_bench->look(0), look);
}

void TestDownload::barFollowsTheColumnWidths()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->table()->setColumnWidth(0, 100);
    m_bench->table()->setColumnWidth(1, 300);
    m_bench->table()->setColumnWidth(2, 100);
    m_bench->window().onDownloadProgress(0, 1, 2);

    const QColor done(127, 214, 127);
    const QColor base(0xd4, 0xd4, 0xd4);
    const QList<QGradientStops> expected = {{{0.0, done}, {1.0, done}},
                                            {{0.0, done}, {0.5, done}, {0.501, base}, {1.0, base}},
                                            {{0.0, base}, {1.0, base}}};
    for (int column = 0; column < 3; ++column) {
        const auto* gradient =
            static_cast<const QLinearGradient*>(m_bench->item(0, column)->background().gradient());
        QVERIFY(gradient);
        QCOMPARE(gradient->type(), QGradient::LinearGradient);
        QCOMPARE(gradient->start(), QPointF(0, 0));
        QCOMPARE(gradient->finalStop(), QPointF(m_bench->table()->columnWidth(column), 0));
        for (qsizetype i = 0; i < expected[column].size(); ++i) {
            QCOMPARE(gradient->stops().at(i).second, expected[column][i].second);
            QVERIFY(qAbs(gradient->stops().at(i).first - expected[column][i].first) < 1e-9);
        }
    }
}

void TestDownload::unfilledPartIsInTheBaseColor()
{
    m_bench->machine().install(u"Atlas"_s, u"1.0"_s);
    open({{.name = u"Atlas"_s}});
    QVERIFY(m_bench->scan());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #ffdada"_s);
    start(0);
    QCOMPARE(m_bench->look(0), u"0% ✕ #ffdada"_s);
    m_bench->window().onDownloadProgress(0, 0, 10);
    QCOMPARE(m_bench->item(0, 0)->background().gradient()->stops().constFirst().second,
             QColor(0xd4, 0xd4, 0xd4));
    m_bench->pressCancel(0);
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #ffdada"_s);
}

void TestDownload::showsTheProgressOfTheTransfer()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->held().begin(u"soft/tool.dmg"_s, 1'000'000);
    // Signals come about ten times a second, so the bytes come bit by bit.
    QTimer sender;
    int sent = 0;
    sender.callOnTimeout([this, &sent] {
        if (sent++ < 42) {
            m_bench->held().send(u"soft/tool.dmg"_s, QByteArray(10'000, 'x'));
        }
    });
    sender.start(5);
    QStringList percentages;
    QVERIFY(QTest::qWaitFor([&] {
        const QString shown = m_bench->label(0)->text();
        if (!percentages.contains(shown)) {
            percentages.append(shown);
        }
        return percentages.size() >= 3;
    }));
    for (qsizetype i = 1; i < percentages.size(); ++i) {
        const int percentage = percentages[i].chopped(1).toInt();
        QVERIFY(percentage > percentages[i - 1].chopped(1).toInt());
        QVERIFY(percentage <= 42);
    }
    QVERIFY(m_bench->look(0).endsWith(u"% ✕ bar "_s + percentages.constLast().chopped(1)));
    sender.stop(); // the press lets events through, and nobody waits behind it
    m_bench->pressCancel(0);
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
}

void TestDownload::unknownLengthStaysAtZero()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->held().begin(u"soft/tool.dmg"_s, -1);
    m_bench->held().send(u"soft/tool.dmg"_s, QByteArray(100'000, 'x'));
    m_bench->window().onDownloadProgress(0, 50'000, -1);
    QCOMPARE(m_bench->look(0), u"0% ✕ bar 0"_s);
    QTest::qWait(150); // longer than the reply keeps its signals back
    QCOMPARE(m_bench->look(0), u"0% ✕ bar 0"_s);
    m_bench->held().end(u"soft/tool.dmg"_s);
    QTRY_COMPARE(m_bench->opened().size(), 1);
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), QByteArray(100'000, 'x'));
    QVERIFY(m_bench->waitForScan());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
}

void TestDownload::scanLeavesTheRunningRowAlone()
{
    m_bench->machine().install(u"Atlas"_s, u"1.0"_s);
    m_bench->machine().install(u"Bench"_s, u"2.0"_s);
    open({{.name = u"Atlas"_s}, {.name = u"Bench"_s}});
    start(0);
    m_bench->window().onDownloadProgress(0, 1, 2);
    QVERIFY(m_bench->scan());
    COMPARE_LINES(m_bench->looks(), (QStringList{u"50% ✕ bar 50"_s, u"2.0 ⤓ #daffda"_s}));
    QCOMPARE(m_bench->item(0, 1)->text(), u"1.0"_s);
    m_bench->pressCancel(0);
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #ffdada"_s);
}

void TestDownload::savesOpensAndScans()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->machine().install(u"Atlas"_s, u"2.0"_s);
    finish();
    const QString path = m_bench->downloads() + "/tool.dmg"_L1;
    COMPARE_LINES(m_bench->takeActivity(),
                  (QStringList{startLine(*m_bench, u"Atlas"_s, u"tool.dmg"_s),
                               "[INFO] Download - Saved: "_L1 + path,
                               "[INFO] Install - Launching: "_L1 + path, u"scan"_s}));
    COMPARE_LINES(m_bench->opened(), QStringList{path});
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), "body");
    // The scan has found the new version.
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #daffda"_s);
    QCOMPARE(m_bench->item(0, 1)->text(), u"2.0"_s);
    QVERIFY(!m_bench->isWaitDialogVisible());
}

void TestDownload::savesEveryByte_data()
{
    QTest::addColumn<QByteArray>("body");

    QByteArray all;
    for (int i = 0; i < 256; ++i) {
        all.append(char(i));
    }
    QTest::newRow("no byte") << QByteArray();
    QTest::newRow("one byte") << QByteArray("x");
    QTest::newRow("every byte") << all;
    QTest::newRow("exactly a piece") << all.repeated(4'096);
    QTest::newRow("a byte more than a piece") << all.repeated(4'096) + 'x';
    QTest::newRow("many pieces") << all.repeated(20'000) + "end";
}

void TestDownload::savesEveryByte()
{
    QFETCH(QByteArray, body);
    open({{.name = u"Atlas"_s}});
    start(0);
    finish(u"tool.dmg"_s, body);
    QVERIFY(QFile::exists(m_bench->downloads() + "/tool.dmg"_L1));
    QVERIFY(m_bench->saved(u"tool.dmg"_s) == body);
}

void TestDownload::overwritesAnExistingFile()
{
    m_bench->machine().home().write(u"Downloads/tool.dmg"_s, "a longer text than the new one");
    open({{.name = u"Atlas"_s}});
    start(0);
    finish(u"tool.dmg"_s, "new");
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), "new");
}

void TestDownload::savesIntoTheFolderOfTheSetting_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<QString>("path"); // "HOME" stands for the home folder's path

    const auto row = [](const char* what, const char* setting, const char* path) {
        QTest::newRow(what) << QString::fromUtf8(setting) << QString::fromUtf8(path);
    };
    row("in the home folder", "~/Downloads", "HOME/Downloads/tool.dmg");
    row("absolute", "HOME/Mes fichiers #1", "HOME/Mes fichiers #1/tool.dmg");
    row("with markup characters", "~/a & b", "HOME/a & b/tool.dmg");
}

void TestDownload::savesIntoTheFolderOfTheSetting()
{
    QFETCH(QString, setting);
    QFETCH(QString, path);
    const QString home = m_bench->machine().home().path();
    path.replace("HOME"_L1, home);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    m_bench->setDownloadFolder(setting.replace("HOME"_L1, home));
    open({{.name = u"Atlas"_s}});
    start(0);
    finish();
    QCOMPARE(PrivateHome::read(path), "body");
    QCOMPARE(m_bench->takeActivity().value(1), "[INFO] Download - Saved: "_L1 + path);
    COMPARE_LINES(m_bench->opened(), QStringList{path});
}

void TestDownload::savesIntoARelativeFolder()
{
    const QString former = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_bench->machine().home().path()));
    m_bench->setDownloadFolder(u"Downloads"_s);
    open({{.name = u"Atlas"_s}});
    start(0);
    finish();
    QDir::setCurrent(former);
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), "body");
    QCOMPARE(m_bench->takeActivity().value(1), u"[INFO] Download - Saved: Downloads/tool.dmg"_s);
}

void TestDownload::unwritableDestinationIsAFileError()
{
    const QString home = m_bench->machine().home().path();
    const QStringList before = QDir(home).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    m_bench->setDownloadFolder(u"~/missing"_s);
    open({{.name = u"Atlas"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    answers.inspect([&](const QMessageBox& box) {
        buttons = box.standardButtons();
        icon = box.icon();
    });
    start(0);
    m_bench->held().answer(u"soft/tool.dmg"_s, "body");
    QTRY_COMPARE(answers.count(), 1);
    QCOMPARE(answers.titles(), QStringList{u"File Error"_s});
    QCOMPARE(answers.texts(), QStringList{"Cannot write to: "_L1 + home + "/missing/tool.dmg"_L1});
    QCOMPARE(buttons, QMessageBox::Ok);
    QCOMPARE(icon, QMessageBox::Warning);
    QVERIFY(m_bench->waitForLook(0, u"2.0 ⤓ #d4d4d4"_s));
    // Only the start is logged; nothing is written, opened or scanned.
    QCOMPARE(m_bench->takeActivity().size(), 1);
    QVERIFY(m_bench->opened().isEmpty());
    QVERIFY(m_bench->savedNames().isEmpty());
    QCOMPARE(QDir(home).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), before);
}

void TestDownload::savesIntoAnExistingSubFolder()
{
    QVERIFY(QDir(m_bench->downloads()).mkpath(u"sub"_s));
    open({{.name = u"Atlas"_s, .fileName = u"sub/tool.dmg"_s}});
    start(0, u"sub/tool.dmg"_s);
    finish(u"sub/tool.dmg"_s);
    QCOMPARE(m_bench->saved(u"sub/tool.dmg"_s), "body");
}

void TestDownload::networkErrorSavesNothing_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("isCut");
    QTest::addColumn<QString>("error"); // "URL" stands for the file's address

    QTest::newRow("not found") << 404 << false
                               << u"Error transferring URL - server replied: Status"_s;
    QTest::newRow("server error") << 500 << false
                                  << u"Error transferring URL - server replied: Status"_s;
    QTest::newRow("cut short") << 200 << true << u"Connection closed"_s;
}

void TestDownload::networkErrorSavesNothing()
{
    QFETCH(int, status);
    QFETCH(bool, isCut);
    QFETCH(QString, error);
    m_bench.emplace(DownloadBench::Prompt);
    m_bench->offer(u"tool.dmg"_s, {.body = "part of it",
                                   .status = status,
                                   .manner = isCut ? HttpReply::Cut : HttpReply::Whole,
                                   .announcedLength = isCut ? 1'000 : -1});
    open({{.name = u"Atlas"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    answers.inspect([&](const QMessageBox& box) {
        icon = box.icon();
        buttons = box.standardButtons();
    });
    m_bench->pressDownload(0);
    QTRY_COMPARE(answers.count(), 1);
    error.replace("URL"_L1, m_bench->server().url(u"soft/tool.dmg"_s));
    QCOMPARE(answers.titles(), QStringList{u"Download Error"_s});
    QCOMPARE(answers.texts(), QStringList{error});
    QCOMPARE(icon, QMessageBox::Warning);
    QCOMPARE(buttons, QMessageBox::Ok);
    QVERIFY(m_bench->waitForLook(0, u"2.0 ⤓ #d4d4d4"_s));
    QCOMPARE(m_bench->takeActivity().mid(1), QStringList{"[ERROR] Download - Error: "_L1 + error});
    QVERIFY(m_bench->savedNames().isEmpty());
    QVERIFY(m_bench->opened().isEmpty());
}

void TestDownload::refusedConnectionIsADownloadError()
{
    open({{.name = u"Atlas"_s}});
    m_bench->held().close();
    BoxAnswerer answers(QMessageBox::Ok);
    m_bench->pressDownload(0);
    QTRY_COMPARE(answers.count(), 1);
    QCOMPARE(answers.titles(), QStringList{u"Download Error"_s});
    QCOMPARE(answers.texts(), QStringList{u"Connection refused"_s});
    QVERIFY(m_bench->waitForLook(0, u"2.0 ⤓ #d4d4d4"_s));
    QCOMPARE(m_bench->takeActivity().mid(1),
             QStringList{u"[ERROR] Download - Error: Connection refused"_s});
}

void TestDownload::followsARedirect()
{
    m_bench.emplace(DownloadBench::Prompt);
    m_bench->offer(u"tool.dmg"_s, {.status = 302, .headers = {"Location: elsewhere/real.dmg"}});
    m_bench->offer(u"elsewhere/real.dmg"_s, {.body = "real"});
    open({{.name = u"Atlas"_s}});
    m_bench->pressDownload(0);
    QTRY_COMPARE(m_bench->opened(), QStringList{m_bench->downloads() + "/tool.dmg"_L1});
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), "real");
}

void TestDownload::refusesARedirectFromHttpsToHttp()
{
    if (!canServeTls()) {
        QSKIP("no TLS server on this machine");
    }
    HttpServer secure(localTlsIdentity());
    const LocalTrust trust;
    secure.reply(u"soft/first.dmg"_s,
                 {.status = 302,
                  .headers = {"Location: " + m_bench->server().url(u"plain.dmg"_s).toUtf8()}});
    secure.reply(u"soft/second.dmg"_s, {.status = 302, .headers = {"Location: third.dmg"}});
    secure.reply(u"soft/third.dmg"_s, {.body = "safe"});
    m_bench->setSoftAddress(secure.url(u"soft/"_s));
    open({{.name = u"Atlas"_s, .fileName = u"first.dmg"_s},
          {.name = u"Bench"_s, .fileName = u"second.dmg"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    m_bench->pressDownload(0);
    QTRY_COMPARE(answers.count(), 1);
    QCOMPARE(answers.titles(), QStringList{u"Download Error"_s});
    QCOMPARE(answers.texts(), QStringList{u"Insecure redirect"_s});
    QVERIFY(!m_bench->server().requests().contains(u"/plain.dmg"_s));
    QVERIFY(m_bench->savedNames().isEmpty());
    // From https to https it is followed.
    m_bench->pressDownload(1);
    QTRY_COMPARE(m_bench->saved(u"second.dmg"_s), "safe");
}

void TestDownload::rowCanBeDownloadedAgain()
{
    open({{.name = u"Atlas"_s}});
    for (const char* body : {"first", "second", "third"}) {
        start(0);
        finish(u"tool.dmg"_s, body);
        QCOMPARE(m_bench->saved(u"tool.dmg"_s), body);
        QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    }
    QCOMPARE(m_bench->opened().size(), 3);
}

void TestDownload::rowTakesItsVerdictsColorAgain()
{
    m_bench->machine().install(u"Older"_s, u"1.0"_s);
    m_bench->machine().install(u"Same"_s, u"2.0"_s);
    m_bench->machine().install(u"Newer"_s, u"3.0"_s);
    open({{.name = u"Older"_s}, {.name = u"Same"_s}, {.name = u"Newer"_s}, {.name = u"None"_s}});
    QVERIFY(m_bench->scan());
    const QStringList before = m_bench->looks();
    QCOMPARE(before, (QStringList{u"2.0 ⤓ #ffdada"_s, u"2.0 ⤓ #daffda"_s, u"2.0 ⤓ #dadaff"_s,
                                  u"2.0 ⤓ #d4d4d4"_s}));
    for (int row = 0; row < 4; ++row) {
        start(row);
        m_bench->window().onDownloadProgress(row, 1, 3);
        QCOMPARE(m_bench->look(row), u"33% ✕ bar 33"_s);
        m_bench->pressCancel(row);
        QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
    }
    COMPARE_LINES(m_bench->looks(), before);
}

void TestDownload::cancelRestoresTheRow()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    (void)m_bench->takeActivity();
    m_bench->pressCancel(0);
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    // The connection ends; no box, no line, no file.
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
    QVERIFY(m_bench->takeActivity().isEmpty());
    QVERIFY(m_bench->savedNames().isEmpty());
    QVERIFY(!QApplication::activeModalWidget());
}

void TestDownload::cancelInTheMiddleLeavesNoFile()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->held().begin(u"soft/tool.dmg"_s, 1'000);
    m_bench->held().send(u"soft/tool.dmg"_s, QByteArray(900, 'x'));
    m_bench->window().onDownloadProgress(0, 900, 1'000);
    QCOMPARE(m_bench->look(0), u"90% ✕ bar 90"_s);
    m_bench->pressCancel(0);
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
    QVERIFY(m_bench->savedNames().isEmpty());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
}

void TestDownload::cancelOfAnIdleRowDoesNothing()
{
    open({{.name = u"Atlas"_s}});
    m_bench->item(0, 0)->setBackground(Qt::red);
    m_bench->label(0)->setText(u"as it was"_s);
    m_bench->window().cancelDownload(0);
    QCOMPARE(m_bench->label(0)->text(), u"as it was"_s);
    QCOMPARE(m_bench->item(0, 0)->background().color(), QColor(Qt::red));
}

void TestDownload::cancelledRowCanBeStartedAgain()
{
    open({{.name = u"Atlas"_s}});
    start(0);
    m_bench->pressCancel(0);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
    start(0);
    QCOMPARE(m_bench->look(0), u"0% ✕ #d4d4d4"_s);
    finish();
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), "body");
}

void TestDownload::downloadFollowsItsApplication()
{
    open({{.name = u"A"_s, .fileName = u"a.dmg"_s}, {.name = u"B"_s, .fileName = u"b.dmg"_s}});
    start(0, u"a.dmg"_s);
    start(1, u"b.dmg"_s);
    m_bench->window().onDownloadProgress(0, 1, 4);
    m_bench->window().onDownloadProgress(1, 3, 4);
    m_bench->list({{.name = u"New"_s},
                   {.name = u"B"_s, .fileName = u"b.dmg"_s},
                   {.name = u"Other"_s},
                   {.name = u"A"_s, .fileName = u"a.dmg"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    COMPARE_LINES(m_bench->looks(), (QStringList{u"2.0 ⤓ #d4d4d4"_s, u"75% ✕ bar 75"_s,
                                                 u"2.0 ⤓ #d4d4d4"_s, u"25% ✕ bar 25"_s}));
    // The buttons of the new rows are the downloads' own.
    m_bench->pressCancel(3);
    QCOMPARE(m_bench->look(3), u"2.0 ⤓ #d4d4d4"_s);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/a.dmg"_s), 0);
    QCOMPARE(m_bench->held().waiting(u"soft/b.dmg"_s), 1);
}

void TestDownload::finishedDownloadAfterAReloadIsItsApplications()
{
    open({{.name = u"A"_s, .fileName = u"a.dmg"_s}, {.name = u"B"_s, .fileName = u"b.dmg"_s}});
    start(0, u"a.dmg"_s);
    m_bench->list({{.name = u"B"_s, .version = u"7"_s, .fileName = u"b.dmg"_s},
                   {.name = u"A"_s, .version = u"8"_s, .fileName = u"a.dmg"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    COMPARE_LINES(m_bench->looks(), (QStringList{u"7 ⤓ #d4d4d4"_s, u"0% ✕ bar 0"_s}));
    finish(u"a.dmg"_s);
    COMPARE_LINES(m_bench->opened(), QStringList{m_bench->downloads() + "/a.dmg"_L1});
    COMPARE_LINES(m_bench->looks(), (QStringList{u"7 ⤓ #d4d4d4"_s, u"8 ⤓ #d4d4d4"_s}));
}

void TestDownload::downloadWhoseNameIsGoneIsAborted()
{
    open({{.name = u"A"_s, .fileName = u"a.dmg"_s}, {.name = u"B"_s, .fileName = u"b.dmg"_s}});
    start(0, u"a.dmg"_s);
    start(1, u"b.dmg"_s);
    (void)m_bench->takeActivity();
    m_bench->list(
        {{.name = u"a"_s, .fileName = u"a.dmg"_s}, {.name = u"B"_s, .fileName = u"b.dmg"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(m_bench->window().action_loadWebData());
    COMPARE_LINES(m_bench->takeActivity(),
                  QStringList{u"[INFO] Download - 'A' → aborted, no longer in the catalogue"_s});
    COMPARE_LINES(m_bench->looks(), (QStringList{u"2.0 ⤓ #d4d4d4"_s, u"0% ✕ bar 0"_s}));
    QTRY_COMPARE(m_bench->held().waiting(u"soft/a.dmg"_s), 0);
    QCOMPARE(m_bench->held().waiting(u"soft/b.dmg"_s), 1);
    QVERIFY(m_bench->savedNames().isEmpty());
    QCOMPARE(answers.count(), 0);
    // The row that bears a name now is nobody's.
    start(0, u"a.dmg"_s);
    finish(u"a.dmg"_s);
}

void TestDownload::nameListedTwiceKeepsBothDownloads()
{
    open({{.name = u"A"_s}, {.name = u"A"_s}});
    start(0);
    start(1);
    m_bench->window().onDownloadProgress(0, 1, 4);
    m_bench->window().onDownloadProgress(1, 3, 4);
    m_bench->list({{.name = u"B"_s}, {.name = u"A"_s}, {.name = u"C"_s}, {.name = u"A"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    COMPARE_LINES(m_bench->looks(), (QStringList{u"2.0 ⤓ #d4d4d4"_s, u"25% ✕ bar 25"_s,
                                                 u"2.0 ⤓ #d4d4d4"_s, u"75% ✕ bar 75"_s}));
}

void TestDownload::nameListedOnceLessAbortsTheSurplus()
{
    open({{.name = u"A"_s}, {.name = u"A"_s}});
    start(0);
    start(1);
    m_bench->window().onDownloadProgress(0, 1, 4);
    m_bench->window().onDownloadProgress(1, 3, 4);
    (void)m_bench->takeActivity();
    m_bench->list({{.name = u"B"_s}, {.name = u"A"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    COMPARE_LINES(m_bench->looks(), (QStringList{u"2.0 ⤓ #d4d4d4"_s, u"25% ✕ bar 25"_s}));
    COMPARE_LINES(m_bench->takeActivity(),
                  QStringList{u"[INFO] Download - 'A' → aborted, no longer in the catalogue"_s});
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 1);
}

void TestDownload::finishDuringALoadWaitsForItsEnd()
{
    open({{.name = u"A"_s, .fileName = u"a.dmg"_s}, {.name = u"B"_s, .fileName = u"b.dmg"_s}});
    start(0, u"a.dmg"_s);
    (void)m_bench->takeActivity();
    m_bench->list(
        {{.name = u"B"_s, .fileName = u"b.dmg"_s}, {.name = u"A"_s, .fileName = u"a.dmg"_s}});
    duringLoad([this] {
        m_bench->held().answer(u"soft/a.dmg"_s, "body");
        QVERIFY(m_bench->waitForLook(0, u"100% ✕ bar 100"_s));
        QTest::qWait(0);
        QVERIFY(m_bench->savedNames().isEmpty());
    });
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(m_bench->window().action_loadWebData());
    QTRY_COMPARE(m_bench->opened(), QStringList{m_bench->downloads() + "/a.dmg"_L1});
    QVERIFY(m_bench->waitForScan());
    QCOMPARE(m_bench->saved(u"a.dmg"_s), "body");
    QCOMPARE(m_bench->takeActivity().size(), 3);
    COMPARE_LINES(m_bench->looks(), QStringList(2, u"2.0 ⤓ #d4d4d4"_s));
    QCOMPARE(answers.count(), 0);
}

void TestDownload::errorDuringALoadWaitsForItsEnd()
{
    open({{.name = u"A"_s}});
    start(0);
    BoxAnswerer answers(QMessageBox::Ok);
    duringLoad([this, &answers] {
        m_bench->held().begin(u"soft/tool.dmg"_s, 100);
        m_bench->held().send(u"soft/tool.dmg"_s, "body");
        m_bench->held().end(u"soft/tool.dmg"_s);
        // Its progress is shown last, before its end.
        QVERIFY(m_bench->waitForLook(0, u"4% ✕ bar 4"_s));
        QTest::qWait(0);
        QCOMPARE(answers.count(), 0);
    });
    QVERIFY(m_bench->window().action_loadWebData());
    QTRY_COMPARE(answers.texts(), QStringList{u"Connection closed"_s});
    QVERIFY(m_bench->waitForLook(0, u"2.0 ⤓ #d4d4d4"_s));
    QVERIFY(m_bench->savedNames().isEmpty());
    start(0);
}

void TestDownload::finishDuringAFailedLoadIsSavedAfterIt()
{
    open({{.name = u"A"_s}});
    start(0);
    m_bench->listNothing();
    duringLoad([this] {
        m_bench->held().answer(u"soft/tool.dmg"_s, "body");
        QVERIFY(m_bench->waitForLook(0, u"100% ✕ bar 100"_s));
        QTest::qWait(0);
        QVERIFY(m_bench->savedNames().isEmpty());
    });
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!m_bench->window().action_loadWebData());
    QCOMPARE(answers.titles(), QStringList{u"File Error"_s});
    QVERIFY(answers.texts().constFirst().startsWith("Ressources internet inaccessibles"_L1));
    QTRY_COMPARE(m_bench->opened(), QStringList{m_bench->downloads() + "/tool.dmg"_L1});
    QVERIFY(m_bench->waitForScan());
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), "body");
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
}

void TestDownload::finishAfterAFailedLoadUsesWhatWasRemembered()
{
    m_bench->machine().install(u"Atlas"_s, u"1.0"_s);
    open({{.name = u"Atlas"_s}});
    QVERIFY(m_bench->scan());
    start(0);
    m_bench->window().onDownloadProgress(0, 1, 2);
    m_bench->listNothing();
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!m_bench->window().action_loadWebData());
    QCOMPARE(m_bench->look(0), u"50% ✕ bar 50"_s);
    finish();
    QCOMPARE(m_bench->saved(u"tool.dmg"_s), "body");
    COMPARE_LINES(m_bench->opened(), QStringList{m_bench->downloads() + "/tool.dmg"_L1});
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #ffdada"_s);
    QCOMPARE(answers.count(), 1);
    // The next catalogue finds the row idle.
    m_bench->list({{.name = u"Atlas"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #ffdada"_s);
    start(0);
}

void TestDownload::ownUpdateIsRememberedOverAFailedLoad()
{
    open({{.name = u"Quillmere"_s}});
    {
        const BoxAnswerer answers(QMessageBox::Ok);
        start(0);
        m_bench->listNothing();
        QVERIFY(!m_bench->window().action_loadWebData());
    }
    const BoxAnswerer answers(QMessageBox::No);
    m_bench->held().answer(u"soft/tool.dmg"_s, "body");
    QTRY_COMPARE(answers.titles(), QStringList{u"Restart?"_s});
    QVERIFY(m_bench->waitForScan());
    QVERIFY(m_bench->opened().isEmpty());
    COMPARE_LINES(m_bench->savedNames(), QStringList{u"tool.dmg"_s});
}

void TestDownload::rowAfterAFailedLoadShowsWhatTheLastTableShowed()
{
    m_bench->machine().install(u"Atlas"_s, u"1.0"_s);
    open({{.name = u"Atlas"_s, .version = u"2.0"_s}});
    start(0); // grey and 2.0: not scanned yet
    QVERIFY(m_bench->scan());
    m_bench->list({{.name = u"Bench"_s}, {.name = u"Atlas"_s, .version = u"3.0"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    m_bench->listNothing();
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!m_bench->window().action_loadWebData());
    m_bench->pressCancel(1);
    COMPARE_LINES(m_bench->looks(), (QStringList{u"2.0 ⤓ #d4d4d4"_s, u"3.0 ⤓ #ffdada"_s}));
}

void TestDownload::changedFileNameDoesNotTouchARunningDownload()
{
    open({{.name = u"A"_s, .fileName = u"old.zip.dmg"_s}});
    start(0, u"old.zip.dmg"_s);
    m_bench->list({{.name = u"A"_s, .version = u"3.0"_s, .fileName = u"new.zip"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    finish(u"old.zip.dmg"_s);
    COMPARE_LINES(m_bench->savedNames(), QStringList{u"old.zip.dmg"_s});
    QCOMPARE(m_bench->look(0), u"3.0 ⤓ #d4d4d4"_s);
}

void TestDownload::cancelDuringALoad()
{
    open({{.name = u"A"_s}});
    start(0);
    m_bench->window().onDownloadProgress(0, 1, 2);
    duringLoad([this] {
        m_bench->pressCancel(0);
        QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    });
    QVERIFY(m_bench->window().action_loadWebData());
    COMPARE_LINES(m_bench->looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
}

void TestDownload::cancelAfterAFailedLoad()
{
    open({{.name = u"A"_s, .version = u"7.5"_s}});
    start(0);
    m_bench->window().onDownloadProgress(0, 1, 2);
    m_bench->listNothing();
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!m_bench->window().action_loadWebData());
    m_bench->pressCancel(0);
    QCOMPARE(m_bench->look(0), u"7.5 ⤓ #d4d4d4"_s);
}

void TestDownload::nothingStartsDuringALoad()
{
    open({{.name = u"A"_s}});
    duringLoad([this] { m_bench->pressDownload(0); });
    QVERIFY(m_bench->window().action_loadWebData());
    COMPARE_LINES(m_bench->looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
    QVERIFY(m_bench->takeActivity().isEmpty());
    start(0);
}

void TestDownload::nothingStartsAfterAFailedLoad()
{
    open({{.name = u"A"_s}});
    m_bench->listNothing();
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!m_bench->window().action_loadWebData());
    m_bench->pressDownload(0);
    COMPARE_LINES(m_bench->looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
    QVERIFY(m_bench->takeActivity().isEmpty());
    m_bench->list({{.name = u"A"_s}});
    QVERIFY(m_bench->window().action_loadWebData());
    start(0);
}

void TestDownload::cellWidgetMayBeGone()
{
    open({{.name = u"A"_s}});
    start(0);
    m_bench->table()->removeCellWidget(0, 2);
    m_bench->window().onDownloadProgress(0, 1, 2);
    m_bench->window().cancelDownload(0);
    QCOMPARE(m_bench->item(0, 0)->background().color(), QColor(0xd4, 0xd4, 0xd4));
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
    // One that never was there does not keep the row from downloading.
    m_bench->window().startDownload(0);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 1);
    finish();
}

void TestDownload::labelAndButtonsMayBeGone()
{
    open({{.name = u"A"_s}});
    start(0);
    delete m_bench->label(0);
    delete m_bench->button(0, u"downloadBtn"_s);
    delete m_bench->button(0, u"cancelBtn"_s);
    m_bench->window().onDownloadProgress(0, 1, 2);
    m_bench->window().cancelDownload(0);
    QCOMPARE(m_bench->item(0, 0)->background().color(), QColor(0xd4, 0xd4, 0xd4));
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
    m_bench->window().startDownload(0);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 1);
    finish();
}

void TestDownload::itemsMayBeGone()
{
    open({{.name = u"A"_s}});
    for (int column = 0; column < 3; ++column) {
        // Column 1 stays: the window keeps its item to write the installed version into.
        if (column != 1) {
            delete m_bench->table()->takeItem(0, column);
        }
    }
    start(0);
    m_bench->window().onDownloadProgress(0, 1, 2);
    QCOMPARE(m_bench->label(0)->text(), u"50%"_s);
    finish();
    QCOMPARE(m_bench->label(0)->text(), u"2.0"_s);
}

void TestDownload::rowsMayBeGone()
{
    open({{.name = u"A"_s, .fileName = u"a.dmg"_s}, {.name = u"B"_s, .fileName = u"b.dmg"_s}});
    start(0, u"a.dmg"_s);
    start(1, u"b.dmg"_s);
    m_bench->window().table_clear();
    m_bench->window().onDownloadProgress(0, 1, 2);
    m_bench->window().onDownloadProgress(1, 1, 2);
    m_bench->window().cancelDownload(1);
    finish(u"a.dmg"_s);
    COMPARE_LINES(m_bench->savedNames(), QStringList{u"a.dmg"_s});
    QCOMPARE(m_bench->table()->rowCount(), 0);
}

void TestDownload::decliningTheRestartStartsNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("answer");

    QTest::newRow("Cancel") << u"Quillmere"_s << int(QMessageBox::Cancel);
    // A button that the box lacks: it is closed instead.
    QTest::newRow("closed") << u"Quillmere"_s << int(QMessageBox::Abort);
    QTest::newRow("lower case in a longer name")
        << u"my quillmere tool"_s << int(QMessageBox::Cancel);
}

void TestDownload::decliningTheRestartStartsNothing()
{
    QFETCH(QString, name);
    QFETCH(int, answer);
    open({{.name = name}});
    BoxAnswerer answers(static_cast<QMessageBox::StandardButton>(answer));
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    answers.inspect([&](const QMessageBox& box) {
        buttons = box.standardButtons();
        icon = box.icon();
    });
    m_bench->pressDownload(0);
    QCOMPARE(answers.titles(), QStringList{u"Restart required"_s});
    QCOMPARE(answers.texts(), QStringList{restartQuestion});
    QCOMPARE(buttons, QMessageBox::Ok | QMessageBox::Cancel);
    QCOMPARE(icon, QMessageBox::Warning);
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    QVERIFY(m_bench->takeActivity().isEmpty());
    QTest::qWait(0);
    QCOMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 0);
}

void TestDownload::acceptingTheRestartStartsTheDownload()
{
    open({{.name = u"Quillmere"_s}, {.name = u"Quill"_s, .fileName = u"other.dmg"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    start(0);
    QCOMPARE(answers.count(), 1);
    QCOMPARE(m_bench->look(0), u"0% ✕ #d4d4d4"_s);
    // Asked once, and nobody else is.
    m_bench->window().startDownload(0);
    start(1, u"other.dmg"_s);
    QCOMPARE(answers.count(), 1);
}

void TestDownload::rowGoneWhileTheRestartIsAskedStartsNothing()
{
    open({{.name = u"Atlas"_s}, {.name = u"Quillmere"_s}});
    m_bench->list({{.name = u"Atlas"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect(
        [this](const QMessageBox&) { QVERIFY(m_bench->window().action_loadWebData()); });
    m_bench->pressDownload(1);
    QCOMPARE(answers.count(), 1);
    COMPARE_LINES(m_bench->looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
    QVERIFY(m_bench->takeActivity().isEmpty());
}

void TestDownload::otherNameInTheRowMeanwhileStartsNothing()
{
    open({{.name = u"Quillmere"_s}});
    m_bench->list({{.name = u"Atlas"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect(
        [this](const QMessageBox&) { QVERIFY(m_bench->window().action_loadWebData()); });
    m_bench->pressDownload(0);
    COMPARE_LINES(m_bench->looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
    QVERIFY(m_bench->takeActivity().isEmpty());
}

void TestDownload::rowGoneWhileAnErrorIsShown_data()
{
    QTest::addColumn<bool>("isFileError");
    QTest::newRow("download error") << false;
    QTest::newRow("file error") << true;
}

void TestDownload::rowGoneWhileAnErrorIsShown()
{
    QFETCH(bool, isFileError);
    if (isFileError) {
        m_bench->setDownloadFolder(u"~/missing"_s);
    }
    open({{.name = u"A"_s}, {.name = u"B"_s}});
    start(1);
    m_bench->list({{.name = u"C"_s}});
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect(
        [this](const QMessageBox&) { QVERIFY(m_bench->window().action_loadWebData()); });
    m_bench->held().answer(u"soft/tool.dmg"_s, "body", isFileError ? 200 : 404);
    QTRY_COMPARE(answers.titles(),
                 QStringList{isFileError ? u"File Error"_s : u"Download Error"_s});
    QTRY_COMPARE(m_bench->looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
    // Nobody was aborted: the download had ended before.
    QVERIFY(!m_bench->takeActivity().join(u'\n').contains("aborted"_L1));
}

void TestDownload::rowStartedAnewWhileItsErrorIsShown()
{
    open({{.name = u"A"_s}});
    start(0);
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect([this](const QMessageBox&) {
        m_bench->window().startDownload(0);
        m_bench->window().onDownloadProgress(0, 1, 2);
    });
    m_bench->held().answer(u"soft/tool.dmg"_s, "no", 404);
    QTRY_COMPARE(answers.count(), 1);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.dmg"_s), 1);
    QCOMPARE(m_bench->look(0), u"50% ✕ bar 50"_s);
    finish();
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
}

void TestDownload::versionIsPlainText()
{
    open({{.name = u"A"_s, .version = u"<b>2</b> &amp;"_s}});
    QCOMPARE(m_bench->label(0)->text(), u"<b>2</b> &amp;"_s);
    QCOMPARE(m_bench->label(0)->textFormat(), Qt::PlainText);
    start(0);
    m_bench->pressCancel(0);
    QCOMPARE(m_bench->label(0)->text(), u"<b>2</b> &amp;"_s);
    QCOMPARE(m_bench->label(0)->textFormat(), Qt::PlainText);
}

void TestDownload::closedWindowFinishesWhenItIsShownAgain()
{
    open({{.name = u"A"_s}});
    start(0);
    m_bench->window().close();
    m_bench->held().answer(u"soft/tool.dmg"_s, "body");
    QVERIFY(m_bench->waitForLook(0, u"100% ✕ bar 100"_s));
    QTest::qWait(0);
    QVERIFY(m_bench->savedNames().isEmpty());
    m_bench->window().show();
    QTRY_COMPARE(m_bench->opened().size(), 1);
    QVERIFY(m_bench->waitForScan());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
}

void TestDownload::destroyedWindowEndsItsDownloads()
{
    open({{.name = u"A"_s, .fileName = u"a.dmg"_s}, {.name = u"B"_s, .fileName = u"b.dmg"_s}});
    start(0, u"a.dmg"_s);
    start(1, u"b.dmg"_s);
    m_bench->held().begin(u"soft/b.dmg"_s, 100);
    m_bench->held().send(u"soft/b.dmg"_s, "half");
    (void)m_bench->takeActivity();
    m_bench->destroy();
    QTRY_COMPARE(m_bench->held().waiting(u"soft/a.dmg"_s), 0);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/b.dmg"_s), 0);
    QVERIFY(m_bench->takeActivity().isEmpty());
    QVERIFY(m_bench->savedNames().isEmpty());
}

void TestDownload::destroyedWindowHasNoMoreFinishes()
{
    open({{.name = u"A"_s}});
    start(0);
    m_bench->window().close();
    m_bench->held().answer(u"soft/tool.dmg"_s, "body");
    QVERIFY(m_bench->waitForLook(0, u"100% ✕ bar 100"_s));
    m_bench->window().show(); // its end is on its way by the event loop
    m_bench->destroy();
    QTest::qWait(0);
    QVERIFY(m_bench->savedNames().isEmpty());
    QVERIFY(m_bench->opened().isEmpty());
}

QTEST_MAIN(TestDownload)
#include "tst_download.moc"
