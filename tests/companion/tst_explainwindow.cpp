#include "companion/log/troubles.h"
#include "support/downloadbench.h"
#include "support/modalbox.h"
#include "support/testline.h"

#include <QDir>
#include <QProcess>
#include <QPushButton>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

/// What `explain` says of the logs that a running client writes.
class TestExplainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void goodRunShowsNoTrouble();
    void catalogueWithoutAnEntry();
    void missingCatalogue();
    void serverThatIsDown();
    void matchesAndVersions();
    void missingInstaller();
    void damagedArchive();
    void archiveWithoutAnInstaller();
    void missingDownloadFolder();
    void nameThatLeadsOutOfTheDownloadFolder();
    void cancelledDownload();

private:
    /// Downloads row 0 until it is idle again and nothing is unpacked any more.
    void download(TestLine at = {});
    [[nodiscard]] QList<Trouble> found() const
    {
        return logTroubles(readClientLog(PrivateHome::read(m_bench->machine().home().logPath())));
    }
    /// "kind: problem" of each trouble, the newest first.
    [[nodiscard]] QStringList troubles() const;

    std::optional<DownloadBench> m_bench;
    std::optional<BoxAnswerer> m_boxes;
};

void TestExplainWindow::init()
{
    m_bench.emplace();
    m_boxes.emplace(QMessageBox::Ok);
}

void TestExplainWindow::cleanup()
{
    m_boxes.reset();
    m_bench.reset();
}

QStringList TestExplainWindow::troubles() const
{
    QStringList texts;
    for (const Trouble& trouble : found()) {
        texts.append(trouble.kind + ": "_L1 + trouble.problem);
    }
    return texts;
}

void TestExplainWindow::download(TestLine at)
{
    m_bench->pressDownload(0, at);
    VERIFY_AT(at,
              comesToHold([this] { return !m_bench->button(0, u"downloadBtn"_s)->isHidden(); }));
    VERIFY_AT(
        at, comesToHold([this] { return m_bench->window().findChildren<QProcess*>().isEmpty(); }));
    VERIFY_AT(at, m_bench->waitForScan());
}

void TestExplainWindow::goodRunShowsNoTrouble()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->list({{u"Synth"_s}, {u"Gneiss"_s}});
    m_bench->offer(u"tool.dmg"_s, {.body = "installer"});
    m_bench->open();
    QVERIFY(m_bench->scan());
    download();
    QCOMPARE(m_bench->savedNames(), QStringList{u"tool.dmg"_s});
    QCOMPARE(troubles(), QStringList());
}

void TestExplainWindow::catalogueWithoutAnEntry()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->listNothing();
    m_bench->create();
    QVERIFY(!m_bench->window().action_loadWebData());
    QVERIFY(m_bench->scan());
    QCOMPARE(troubles(),
             QStringList{u"catalogue-empty: The catalogue was fetched, but it holds no valid "
                         "entry."_s});
}

void TestExplainWindow::missingCatalogue()
{
    m_bench->create();
    QVERIFY(!m_bench->window().action_loadWebData());
    QVERIFY(m_bench->scan());
    const QString problem = u"catalogue-error: The catalogue could not be fetched: Error "
                            "transferring %1 - server replied: Status (HTTP 404)"_s;
    QCOMPARE(troubles().filter(u"catalogue"_s),
             QStringList{problem.arg(m_bench->catalogueAddress())});
}

void TestExplainWindow::serverThatIsDown()
{
    m_bench->server().close();
    m_bench->create();
    QVERIFY(!m_bench->window().action_loadWebData());
    QCOMPARE(troubles(), QStringList{u"catalogue-error: The catalogue could not be fetched: "
                                     "Connection refused"_s});
}

void TestExplainWindow::matchesAndVersions()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->machine().install(u"Synth 2"_s, u"2.0"_s);
    m_bench->machine().install(u"Gneiss Lite"_s, u"1.0"_s);
    m_bench->machine().install(u"Gneiss Pro"_s, u"1.0"_s);
    m_bench->machine().install(u"Schist Pro"_s, u"1.0"_s);
    m_bench->machine().install(u"Tuff"_s, QString());
    m_bench->list({{u"Synth"_s}, {u"Gneiss"_s}, {u"Schist"_s}, {u"Tuff"_s}});
    m_bench->open();
    QVERIFY(m_bench->scan());
    QVERIFY(m_bench->scan());
    const QString plist = m_bench->machine().location(u"Tuff"_s) + "/Contents/Info.plist"_L1;
    const QStringList expected = {
        u"version-unreadable: The version of 'Tuff' cannot be read from "_s + plist + u'.',
        u"match-other-name: The row 'Schist' shows the installed 'Schist Pro', the only one whose "
        "name begins so."_s,
        u"match-fallback: Several installed applications begin with 'Gneiss': 'Gneiss Lite' v1.0, "
        "'Gneiss Pro' v1.0. The row shows 'Gneiss Lite'."_s,
        u"match-ambiguous: Several installed applications begin with 'Synth': 'Synth' v1.0, "
        "'Synth 2' v2.0. The row shows 'Synth 2'."_s};
    QCOMPARE(troubles(), expected);
    for (const Trouble& trouble : found()) {
        QCOMPARE(trouble.count, 2);
    }
}

void TestExplainWindow::missingInstaller()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->list({{.name = u"Synth"_s, .fileName = u"my tool.dmg"_s}});
    m_bench->open();
    download();
    QCOMPARE(m_boxes->titles(), QStringList{u"Download Error"_s});
    const QStringList downloads = troubles().filter(u"download"_s);
    QCOMPARE(downloads, QStringList{u"download-failed: The download of 'Synth' failed: "_s +
                                    m_boxes->texts().constFirst()});
}

void TestExplainWindow::damagedArchive()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->list({{.name = u"Synth"_s, .fileName = u"tool.zip"_s}});
    m_bench->offer(u"tool.zip"_s, {.body = "no archive"});
    m_bench->open();
    QVERIFY(m_bench->scan());
    download();
    QCOMPARE(
        troubles(),
        QStringList{u"extraction-failed: 'tool.zip' was not unpacked: unzip ended with code 9, "
                    "that is, the file is no ZIP archive, or it is missing."_s});
}

void TestExplainWindow::archiveWithoutAnInstaller()
{
    const QString folder = m_bench->machine().home().path();
    m_bench->machine().home().write(u"pack/Uninstall Synth.app/x"_s, "x");
    QProcess zip;
    zip.setWorkingDirectory(folder + "/pack"_L1);
    zip.start(u"zip"_s, {u"-qr"_s, u"../tool.zip"_s, u"."_s});
    QVERIFY(zip.waitForFinished());
    QCOMPARE(zip.exitCode(), 0);

    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->list({{.name = u"Synth"_s, .fileName = u"tool.zip"_s}});
    m_bench->offer(u"tool.zip"_s, {.body = PrivateHome::read(folder + "/tool.zip"_L1)});
    m_bench->open();
    QVERIFY(m_bench->scan());
    download();
    QCOMPARE(troubles(), QStringList{u"extraction-empty: 'tool.zip' was unpacked, but nothing in "
                                     "it can be opened."_s});
}

void TestExplainWindow::missingDownloadFolder()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->list({{u"Synth"_s}});
    m_bench->offer(u"tool.dmg"_s, {.body = "installer"});
    m_bench->setDownloadFolder(u"/nowhere/at all"_s);
    m_bench->open();
    QVERIFY(m_bench->scan());
    download();
    QCOMPARE(m_boxes->texts(), QStringList{u"Cannot write to: /nowhere/at all/tool.dmg"_s});
    QCOMPARE(troubles(),
             QStringList{u"download-unsaved: The download of 'Synth' began, but no file was "
                         "saved."_s});
    const QString remedy = found().constFirst().remedy;
    QVERIFY2(remedy.contains("/nowhere/at all exists"_L1), qPrintable(remedy));
}

void TestExplainWindow::nameThatLeadsOutOfTheDownloadFolder()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->list({{.name = u"Synth"_s, .fileName = u"../tool.dmg"_s}});
    m_bench->offer(u"../tool.dmg"_s, {.body = "installer"});
    m_bench->server().reply(u"tool.dmg"_s, {.body = "installer"});
    m_bench->open();
    QVERIFY(m_bench->scan());
    download();
    QCOMPARE(m_boxes->titles(), QStringList{u"File Error"_s});
    QCOMPARE(troubles(),
             QStringList{u"destination-refused: The file of 'Synth' was not saved: its name leads "
                         "out of the download folder (%1)."_s.arg(m_bench->softAddress() +
                                                                  "../tool.dmg"_L1)});
}

void TestExplainWindow::cancelledDownload()
{
    m_bench->machine().install(u"Synth"_s, u"1.0"_s);
    m_bench->list({{u"Synth"_s}});
    m_bench->offer(u"tool.dmg"_s, {.manner = HttpReply::Silent});
    m_bench->open();
    QVERIFY(m_bench->scan());
    m_bench->pressDownload(0);
    m_bench->pressCancel(0);
    QCOMPARE(troubles(),
             QStringList{u"download-unsaved: The download of 'Synth' began, but no file was "
                         "saved."_s});
}

QTEST_MAIN(TestExplainWindow)
#include "tst_explainwindow.moc"
