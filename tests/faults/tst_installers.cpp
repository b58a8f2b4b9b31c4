#include "faults/faultwindow.h"

#include "faults/oddreplies.h"
#include "support/archives.h"
#include "support/limits.h"
#include "support/localtrust.h"
#include "support/modalbox.h"
#include "support/testline.h"
#include "ui/waitdialog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QTableWidget>
#include <QTcpSocket>
#include <QTest>

#include <csignal>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString idleRow = u"Atlas | 1.0 | 2.0 ⤓ #ffdada"_s;
const QString closed = u"Connection closed"_s;

/// What lies below HOME when @p names are in the download folder.
QStringList diskWith(const QStringList& names)
{
    QStringList disk = FaultWindow::untouchedDisk();
    for (const QString& name : names) {
        disk.append("Downloads/"_L1 + name);
    }
    disk.sort();
    return disk;
}

} // namespace

/// What becomes of the window when an installer, its server, its archive or the disk is not as it
/// should be.
class TestInstallers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // The server
    void failedDownloadSavesNothing_data();
    void failedDownloadSavesNothing();
    void untrustedServerSavesNothing_data();
    void untrustedServerSavesNothing();
    void markupInAnErrorIsShownAsItStands();
    void oddAnswerIsSaved_data();
    void oddAnswerIsSaved();
    void cutChunksFailOrAreTakenAsWhole();
    void stalledDownloadCanBeCancelled_data();
    void stalledDownloadCanBeCancelled();
    void serverGoneBetweenTwoRows();

    // Names and folders
    void destinationThatCannotBeOpenedIsTold_data();
    void destinationThatCannotBeOpenedIsTold();
    void oddDestinationIsSavedTo_data();
    void oddDestinationIsSavedTo();
    void downloadFolderRemovedMidWay();

    // The disk
    void shortWriteGoesUnnoticed_data();
    void shortWriteGoesUnnoticed();
    void archiveThatDoesNotFitStays();
    void fullSmallFileSystem();

    // Archives
    void archiveThatCannotBeUnpackedStays_data();
    void archiveThatCannotBeUnpackedStays();
    void oddArchiveIsInstalled_data();
    void oddArchiveIsInstalled();
    void archiveWithoutAnInstallerIsRemoved_data();
    void archiveWithoutAnInstallerIsRemoved();
    void killedUnzipIsAFailure();
    void downloadFolderRemovedWhileUnzipRuns();
    void unzipThatCannotBeStartedLeavesTheWaitDialog();
    void twoArchivesAtOnceBothEnd();

    // The table
    void reloadInTheMiddleOfTenDownloads();
    void failedReloadInTheMiddleOfTenDownloads();
    void rowGoneWhileItDownloads_data();
    void rowGoneWhileItDownloads();
    void rowGoneWhileItsErrorIsShown();
    void windowDestroyedWhileAllRuns();
    void decliningTheRestartOpensNothing_data();
    void decliningTheRestartOpensNothing();

private:
    /// A window whose only row, "Atlas", installed in 1.0, downloads @p fileName in 2.0.
    void open(const QString& fileName, const HttpReply& reply);
    /// The same for a name of which an address makes something else; each installer is "body".
    void openAnyName(const QString& fileName);
    void openListing(const QString& fileName, TestLine at = {});
    /// Another one, whose server answers when the test says.
    void openHeld(const QList<FaultWindow::Entry>& entries, TestLine at = {});
    /// The window as it was at the start of the test.
    void startAfresh(FaultWindow::Source source);
    /// Presses "⤓" of the first row and waits until it is idle again, nothing is unpacked any more
    /// and no scan runs.
    void download();
    void waitUntilIdle(TestLine at = {});
    /// The address that @p fileName is asked for at, as the log spells it.
    [[nodiscard]] QString startLine(const QString& fileName) const;
    /// The log's lines of what was done since the last call, joined.
    [[nodiscard]] QString activity();
    [[nodiscard]] QString path(const QString& name) const;
    [[nodiscard]] QProcess* unzip() const;
    /// Downloads an archive of many files; unzip is stopped in the middle of it.
    void stopUnzip(TestLine at = {});

    mutable std::optional<FaultWindow> m_fault;
};

void TestInstallers::init()
{
    // As on the machines that the program is for; else unzip would rename what has accents.
    qputenv("LC_ALL", "C.UTF-8");
    startAfresh(FaultWindow::Prompt);
}

void TestInstallers::cleanup()
{
    m_fault.reset();
}

void TestInstallers::startAfresh(FaultWindow::Source source)
{
    m_fault.reset(); // before the next one takes HOME and PATH
    m_fault.emplace(source);
    m_fault->machine().install(u"Atlas"_s, u"1.0"_s);
}

void TestInstallers::open(const QString& fileName, const HttpReply& reply)
{
    m_fault->offer(QString::fromLatin1(QUrl(fileName).toEncoded()), reply);
    openListing(fileName);
}

void TestInstallers::openAnyName(const QString& fileName)
{
    connect(&m_fault->server(), &HttpServer::requested, this, [this](const QString& target) {
        if (target != "/catalogue.csv"_L1) {
            m_fault->server().reply(target.mid(1), {.body = "body"});
        }
    });
    openListing(fileName);
}

void TestInstallers::openListing(const QString& fileName, TestLine at)
{
    m_fault->list({{.name = u"Atlas"_s, .fileName = fileName}});
    m_fault->open(DownloadBench::Shown, at);
    VERIFY_AT(at, m_fault->scan());
    COMPARE_AT(at, m_fault->rows(), QStringList{idleRow});
    (void)m_fault->takeActivity();
}

void TestInstallers::openHeld(const QList<FaultWindow::Entry>& entries, TestLine at)
{
    startAfresh(FaultWindow::Held);
    m_fault->list(entries);
    m_fault->open(DownloadBench::Shown, at);
    VERIFY_AT(at, m_fault->scan());
    (void)m_fault->takeActivity();
}

void TestInstallers::download()
{
    m_fault->pressDownload(0);
    waitUntilIdle();
}

void TestInstallers::waitUntilIdle(TestLine at)
{
    VERIFY_AT(at, comesToHold([this] { return m_fault->look(0).contains(u'⤓') && !unzip(); }));
    VERIFY_AT(at, m_fault->waitForScan());
}

QString TestInstallers::startLine(const QString& fileName) const
{
    return u"[INFO] Download - 'Atlas' → "_s + m_fault->server().url("soft/"_L1 + fileName);
}

QString TestInstallers::activity()
{
    return m_fault->takeActivity().join(u'\n');
}

QString TestInstallers::path(const QString& name) const
{
    return m_fault->downloads() + u'/' + name;
}

QProcess* TestInstallers::unzip() const
{
    return m_fault->window().findChild<QProcess*>(QString(), Qt::FindDirectChildrenOnly);
}

void TestInstallers::failedDownloadSavesNothing_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("error"); // "URL" stands for the installer's address

    const auto row = [](const char* what, const HttpReply& reply, const QString& error) {
        QTest::newRow(what) << reply << error;
    };
    const QString replied = u"Error transferring URL - server replied: Status"_s;
    const QByteArray megabyte(1'000'000, 'x');
    row("cut in the body",
        {.body = "part of it", .manner = HttpReply::Cut, .announcedLength = 1'000}, closed);
    row("cut in a long body",
        {.body = megabyte, .manner = HttpReply::Cut, .announcedLength = 2'000'000}, closed);
    row("one byte short",
        {.body = megabyte, .manner = HttpReply::Cut, .announcedLength = 1'000'001}, closed);
    row("cut before the body", {.manner = HttpReply::Cut, .announcedLength = 1'000}, closed);
    row("closed without an answer", {.manner = HttpReply::Raw}, closed);
    row("no HTTP at all", {.body = "SSH-2.0-OpenSSH_9.2\r\n", .manner = HttpReply::Raw}, closed);
    row("401", {.body = "no", .status = 401}, u"Host requires authentication"_s);
    row("404", {.body = "no", .status = 404}, replied);
    row("500", {.body = "no", .status = 500}, replied);
    row("redirects in a circle", redirect("tool.dmg"), u"Too many redirects"_s);
    row("a redirect to nowhere", {.status = 302}, u"Unknown protocol specified"_s);
    row("a redirect to a file", redirect("file:///etc/hostname"), u"Unknown protocol specified"_s);
    row("gzip that is none", {.body = "plain", .headers = {"Content-Encoding: gzip"}},
        u"Decompression failed: "_s);
}

void TestInstallers::failedDownloadSavesNothing()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, error);
    open(u"tool.dmg"_s, reply);
    error.replace("URL"_L1, m_fault->server().url(u"soft/tool.dmg"_s));
    const QString lines = startLine(u"tool.dmg"_s) + "\n[ERROR] Download - Error: "_L1 + error;
    // Several times: how a connection's end comes is a matter of luck.
    for (int i = 0; i < 8; ++i) {
        const BoxAnswerer boxes(QMessageBox::Ok);
        download();
        QCOMPARE(boxes.titles(), QStringList{u"Download Error"_s});
        QCOMPARE(boxes.texts(), QStringList{error});
        QCOMPARE(activity(), lines);
        QCOMPARE(m_fault->rows(), QStringList{idleRow});
        QVERIFY(m_fault->opened().isEmpty());
        m_fault->expectUntouchedDisk();
    }
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::untrustedServerSavesNothing_data()
{
    QTest::addColumn<bool>("isTrusted");
    QTest::addColumn<QString>("error");
    QTest::newRow("bad certificate")
        << false << u"SSL handshake failed: The certificate is self-signed, and untrusted"_s;
    QTest::newRow("from https to http") << true << u"Insecure redirect"_s;
}

void TestInstallers::untrustedServerSavesNothing()
{
    QFETCH(bool, isTrusted);
    QFETCH(QString, error);
    if (!canServeTls()) {
        QSKIP("no TLS server on this machine");
    }
    const LocalTrust trust(isTrusted);
    HttpServer secure(localTlsIdentity());
    open(u"tool.dmg"_s, redirect(secure.url(u"tool.dmg"_s).toUtf8()));
    secure.reply(u"tool.dmg"_s, redirect(m_fault->server().url(u"plain.dmg"_s).toUtf8()));
    {
        const BoxAnswerer boxes(QMessageBox::Ok);
        download();
        QCOMPARE(boxes.texts(), QStringList{error});
    }
    QCOMPARE(activity(), startLine(u"tool.dmg"_s) + "\n[ERROR] Download - Error: "_L1 + error);
    QVERIFY(!m_fault->server().requests().contains(u"/plain.dmg"_s));
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::markupInAnErrorIsShownAsItStands()
{
    const QString markup = m_fault->pictureMarkup();
    open(u"tool.dmg"_s,
         {.body = "HTTP/1.1 404 " + markup.toUtf8() + "\r\n\r\n", .manner = HttpReply::Raw});
    BoxAnswerer boxes(QMessageBox::Ok);
    int height = FaultWindow::pictureHeight;
    boxes.inspect([&height](const QMessageBox& box) {
        height = box.height();
        QCOMPARE(box.icon(), QMessageBox::Warning);
        QCOMPARE(box.standardButtons(), QMessageBox::Ok);
    });
    download();
    QCOMPARE(boxes.texts(), QStringList{u"Error transferring %1 - server replied: %2"_s.arg(
                                m_fault->server().url(u"soft/tool.dmg"_s), markup)});
    QVERIFY(height < FaultWindow::pictureHeight);
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::oddAnswerIsSaved_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QByteArray>("saved");

    const auto row = [](const char* what, const HttpReply& reply, const QByteArray& saved) {
        QTest::newRow(what) << reply << saved;
    };
    row("no byte", {}, {});
    row("204", {.status = 204, .withLength = false}, {});
    row("a login page", {.body = "<html>Log in</html>"}, "<html>Log in</html>");
    row("a length too small", {.body = "the whole of it", .announcedLength = 9}, "the whole");
    row("no length", {.body = "the whole", .withLength = false}, "the whole");
    row("a length below zero",
        {.body = "HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nthe whole",
         .manner = HttpReply::Raw},
        "the whole");
    row("chunks", chunked(chunk("the") + chunk(" whole") + chunk({})), "the whole");
    row("a redirect", redirect("other.dmg"), "other");
}

void TestInstallers::oddAnswerIsSaved()
{
    QFETCH(HttpReply, reply);
    QFETCH(QByteArray, saved);
    m_fault->offer(u"other.dmg"_s, {.body = "other"});
    open(u"tool.dmg"_s, reply);
    const BoxAnswerer boxes(QMessageBox::Ok);
    download();
    QCOMPARE(boxes.count(), 0);
    QCOMPARE(activity(), startLine(u"tool.dmg"_s) + "\n[INFO] Download - Saved: "_L1 +
                             path(u"tool.dmg"_s) + "\n[INFO] Install - Launching: "_L1 +
                             path(u"tool.dmg"_s) + "\nscan"_L1);
    QCOMPARE(m_fault->saved(u"tool.dmg"_s), saved);
    QCOMPARE(m_fault->opened(), QStringList{path(u"tool.dmg"_s)});
    QCOMPARE(m_fault->disk(), diskWith({u"tool.dmg"_s}));
    QVERIFY(m_fault->windowStillWorks());
}

/// When the connection ends together with the last byte, Qt may take chunks that lack their end for
/// a whole body; which of the two happens is not the program's to say.
void TestInstallers::cutChunksFailOrAreTakenAsWhole()
{
    open(u"tool.dmg"_s, chunked(chunk("the whole").first(8)));
    const BoxAnswerer boxes(QMessageBox::Ok);
    download();
    if (boxes.count() == 0) {
        QCOMPARE(m_fault->saved(u"tool.dmg"_s), "the w");
        QCOMPARE(m_fault->opened(), QStringList{path(u"tool.dmg"_s)});
    } else {
        QCOMPARE(boxes.texts(), QStringList{closed});
        m_fault->expectUntouchedDisk();
    }
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::stalledDownloadCanBeCancelled_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("look");
    const QByteArray begun(10'000, 'x');
    const QString atStart = u"0% ✕ #ffdada"_s;
    QTest::newRow("before the head") << HttpReply{.manner = HttpReply::Silent} << atStart;
    // Qt keeps back what progress there is in the first tenth of a second.
    QTest::newRow("in the body") << HttpReply{.body = begun,
                                              .manner = HttpReply::Stall,
                                              .announcedLength = 20'000}
                                 << atStart;
    QTest::newRow("trickling") << HttpReply{.body = begun,
                                            .manner = HttpReply::Trickle,
                                            .announcedLength = 2'000'000,
                                            .trickleInterval = 20}
                               << u"0% ✕ bar 0"_s;
    QTest::newRow("trickling without a length") << HttpReply{.body = begun,
                                                             .manner = HttpReply::Trickle,
                                                             .withLength = false,
                                                             .trickleInterval = 20}
                                                << u"0% ✕ bar 0"_s;
}

void TestInstallers::stalledDownloadCanBeCancelled()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, look);
    open(u"tool.dmg"_s, reply);
    const qsizetype before = m_fault->server().requests().size();
    m_fault->pressDownload(0);
    QVERIFY(comesToHold([&] { return m_fault->server().requests().size() == before + 1; }));
    QVERIFY(m_fault->waitForLook(0, look));
    m_fault->pressCancel(0);
    QCOMPARE(m_fault->rows(), QStringList{idleRow});
    QTRY_COMPARE(m_fault->server().openConnections(), 0);
    QCOMPARE(activity(), startLine(u"tool.dmg"_s));
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::serverGoneBetweenTwoRows()
{
    m_fault->offer(u"a.dmg"_s, {.body = "a"});
    m_fault->offer(u"b.dmg"_s, {.body = "b"});
    m_fault->list({{.name = u"Atlas"_s, .fileName = u"a.dmg"_s},
                   {.name = u"Bench"_s, .fileName = u"b.dmg"_s}});
    m_fault->open();
    download();
    QCOMPARE(m_fault->opened(), QStringList{path(u"a.dmg"_s)});
    HttpServer& server = m_fault->server();
    const quint16 port = server.serverPort();
    server.close();
    const BoxAnswerer boxes(QMessageBox::Ok);
    m_fault->pressDownload(1);
    QVERIFY(comesToHold([&] { return boxes.count() == 1; }));
    QCOMPARE(boxes.texts(), QStringList{u"Connection refused"_s});
    QVERIFY(activity().endsWith("[ERROR] Download - Error: Connection refused"_L1));
    QVERIFY(m_fault->waitForLook(1, u"2.0 ⤓ #d4d4d4"_s));
    QCOMPARE(m_fault->disk(), diskWith({u"a.dmg"_s}));
    QVERIFY(server.listen(QHostAddress::LocalHost, port));
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::destinationThatCannotBeOpenedIsTold_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("path"); // "HOME" stands for the home folder's path

    const auto row = [](const char* what, const QString& folder, const QString& fileName,
                        const QString& path) { QTest::newRow(what) << folder << fileName << path; };
    const QString downloads = u"~/Downloads"_s;
    const QString file = u"tool.dmg"_s;
    const auto name = [&](const char* what, const QString& fileName) {
        row(what, downloads, fileName, "HOME/Downloads/"_L1 + fileName);
    };
    row("missing folder", u"~/missing"_s, file, u"HOME/missing/tool.dmg"_s);
    row("missing folder, a final slash", u"~/missing/"_s, file, u"HOME/missing//tool.dmg"_s);
    row("missing folder, an archive", u"~/missing"_s, u"tool.zip"_s, u"HOME/missing/tool.zip"_s);
    row("folder is a file", u"~/Bundles/file"_s, file, u"HOME/Bundles/file/tool.dmg"_s);
    row("folder is one blank", u" "_s, file, u" /tool.dmg"_s);
    row("folder cannot be written to", u"/proc"_s, file, u"/proc/tool.dmg"_s);
    row("destination is a folder", u"~"_s, u"Downloads"_s, u"HOME/Downloads"_s);
    name("empty name", QString());
    name("missing sub-folder", u"sub/tool.dmg"_s);
    name("name of 256 bytes", QString(252, u'n') + ".dmg"_L1);
    name("name of 256 bytes in 128 characters", QString(128, u'é'));
    name("name of 5,000 bytes", QString(5'000, u'n'));
    name("a step out", u"../tool.dmg"_s);
    name("a step out, an archive", u"../tool.zip"_s);
    name("steps out behind one in", u"sub/../../tool.dmg"_s);
    name("markup", u"<img src=\"/nowhere/x\">"_s);
}

void TestInstallers::destinationThatCannotBeOpenedIsTold()
{
    QFETCH(QString, folder);
    QFETCH(QString, fileName);
    QFETCH(QString, path);
    m_fault->machine().home().write(u"Bundles/file"_s, "a file");
    m_fault->setDownloadFolder(folder);
    openAnyName(fileName);
    BoxAnswerer boxes(QMessageBox::Ok);
    boxes.inspect([](const QMessageBox& box) { QCOMPARE(box.textFormat(), Qt::PlainText); });
    download();
    QCOMPARE(boxes.titles(), QStringList{u"File Error"_s});
    QCOMPARE(boxes.texts(), QStringList{"Cannot write to: "_L1 +
                                        path.replace("HOME"_L1, m_fault->machine().home().path())});
    QCOMPARE(m_fault->takeActivity().size(), 1); // the start
    QVERIFY(m_fault->opened().isEmpty());
    QCOMPARE(m_fault->rows(), QStringList{idleRow});
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->repairSettings());
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::oddDestinationIsSavedTo_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("path"); // below HOME

    const auto row = [](const char* what, const QString& folder, const QString& fileName,
                        const QString& path) { QTest::newRow(what) << folder << fileName << path; };
    const QString file = u"tool.dmg"_s;
    row("a final slash", u"~/Downloads/"_s, file, u"/Downloads//tool.dmg"_s);
    row("none: the system's", QString(), file, u"/Downloads/tool.dmg"_s);
    for (const char* name :
         {"My Tool 2.dmg", "My%20Tool.dmg", "C#.dmg", "Tool?.dmg", "100%.dmg", "Éditeur.dmg",
          "日本語.dmg", "-rf.dmg", "$(id).dmg", "it's \"it\".dmg", "a\\b.dmg", "sub/../Tool.dmg",
          ".hidden.dmg", "no ending", "~.dmg", "NUL.dmg"}) {
        const QString fileName = QString::fromUtf8(name);
        row(name, u"~/Downloads"_s, fileName, "/Downloads/"_L1 + fileName);
    }
    const QString longName = QString(251, u'n') + ".dmg"_L1;
    row("name of 255 bytes", u"~/Downloads"_s, longName, "/Downloads/"_L1 + longName);
}

void TestInstallers::oddDestinationIsSavedTo()
{
    QFETCH(QString, folder);
    QFETCH(QString, fileName);
    QFETCH(QString, path);
    const QString full = m_fault->machine().home().path() + path;
    const QString parent = QFileInfo(full).path();
    QVERIFY(QDir().mkpath(parent));
    m_fault->setDownloadFolder(folder);
    openAnyName(fileName);
    const BoxAnswerer boxes(QMessageBox::Ok);
    download();
    QCOMPARE(boxes.count(), 0);
    QCOMPARE(m_fault->takeActivity().mid(1),
             (QStringList{"[INFO] Download - Saved: "_L1 + full,
                          "[INFO] Install - Launching: "_L1 + full, u"scan"_s}));
    QCOMPARE(m_fault->opened(), QStringList{full});
    QCOMPARE(PrivateHome::read(full), "body");
    QVERIFY(QFile::remove(full));
    if (parent.endsWith("/sub/.."_L1)) {
        QVERIFY(QDir(m_fault->downloads()).rmdir(u"sub"_s));
    }
    m_fault->expectUntouchedDisk(); // and nothing else
    QVERIFY(m_fault->repairSettings());
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::downloadFolderRemovedMidWay()
{
    openHeld({{.name = u"Atlas"_s}});
    m_fault->pressDownload(0);
    QTRY_COMPARE(m_fault->held().waiting(u"soft/tool.dmg"_s), 1);
    m_fault->held().begin(u"soft/tool.dmg"_s, 10);
    m_fault->held().send(u"soft/tool.dmg"_s, "half ");
    QVERIFY(QDir(m_fault->downloads()).removeRecursively());
    const BoxAnswerer boxes(QMessageBox::Ok);
    m_fault->held().send(u"soft/tool.dmg"_s, "whole");
    m_fault->held().end(u"soft/tool.dmg"_s);
    waitUntilIdle();
    QCOMPARE(boxes.texts(), QStringList{"Cannot write to: "_L1 + path(u"tool.dmg"_s)});
    QCOMPARE(m_fault->takeActivity().size(), 1); // the start
    QVERIFY(!QFileInfo::exists(m_fault->downloads()));
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::shortWriteGoesUnnoticed_data()
{
    QTest::addColumn<bool>("isDevice");
    QTest::newRow("/dev/full") << true;
    QTest::newRow("files end at 1 MB") << false;
}

void TestInstallers::shortWriteGoesUnnoticed()
{
    QFETCH(bool, isDevice);
    const QByteArray body(3'000'000, 'x');
    open(u"tool.dmg"_s, {.body = body});
    if (isDevice) {
        if (!QFileInfo::exists(u"/dev/full"_s)) {
            QSKIP("no /dev/full on this machine");
        }
        QVERIFY(QFile::link(u"/dev/full"_s, path(u"tool.dmg"_s)));
    }
    const BoxAnswerer boxes(QMessageBox::Ok);
    {
        std::optional<SmallFiles> limit;
        if (!isDevice) {
            limit.emplace(1'000'000);
        }
        download();
    }
    QCOMPARE(boxes.count(), 0);
    QCOMPARE(
        m_fault->takeActivity(),
        (QStringList{startLine(u"tool.dmg"_s), "[INFO] Download - Saved: "_L1 + path(u"tool.dmg"_s),
                     "[INFO] Install - Launching: "_L1 + path(u"tool.dmg"_s), u"scan"_s}));
    QCOMPARE(m_fault->opened(), QStringList{path(u"tool.dmg"_s)});
    QVERIFY(isDevice || m_fault->saved(u"tool.dmg"_s) == body.first(1'000'000));
    QCOMPARE(m_fault->disk(), diskWith({u"tool.dmg"_s}));
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::archiveThatDoesNotFitStays()
{
    // Its content is larger than itself.
    const QByteArray archive =
        zippedBy("archive.writestr('Tool.pkg', b'x' * 3000000, zipfile.ZIP_DEFLATED)");
    open(u"tool.zip"_s, {.body = archive});
    const BoxAnswerer boxes(QMessageBox::Ok);
    {
        const SmallFiles limit(1'000'000);
        download();
    }
    QCOMPARE(boxes.count(), 0);
    const QString lines = activity();
    QVERIFY2(lines.contains("[ERROR] Extract - Failed (exit code 50)"_L1), qUtf8Printable(lines));
    QVERIFY(m_fault->opened().isEmpty());
    QVERIFY(m_fault->saved(u"tool.zip"_s) == archive);
    QVERIFY(!m_fault->isWaitDialogVisible());
    QVERIFY(m_fault->windowStillWorks());
}

/// Runs itself once more where the download folder is a file system of 1 MB.
void TestInstallers::fullSmallFileSystem()
{
    const QString smallDisk = qEnvironmentVariable("QUILLMERE_TEST_SMALL_DISK");
    if (smallDisk.isEmpty()) {
        const QTemporaryDir folder;
        const auto inside = [&folder](const QString& command) {
            QProcess process;
            process.setProcessChannelMode(QProcess::ForwardedChannels);
            process.start(u"unshare"_s,
                          {u"-r"_s, u"-m"_s, u"sh"_s, u"-c"_s,
                           u"mount -t tmpfs -o size=1m small \"$1\" && shift && exec \"$@\""_s,
                           u"sh"_s, folder.path(), command, u"fullSmallFileSystem"_s});
            return process.waitForFinished(60'000) ? process.exitCode() : -1;
        };
        if (inside(u"true"_s) != 0) {
            QSKIP("no file system of one's own can be mounted here");
        }
        qputenv("QUILLMERE_TEST_SMALL_DISK", folder.path().toLocal8Bit());
        const int exitCode = inside(QCoreApplication::applicationFilePath());
        qunsetenv("QUILLMERE_TEST_SMALL_DISK");
        QCOMPARE(exitCode, 0);
        return;
    }
    m_fault->setDownloadFolder(smallDisk);
    open(u"tool.dmg"_s, {.body = QByteArray(3'000'000, 'x')});
    const QString full = smallDisk + "/tool.dmg"_L1;
    const BoxAnswerer boxes(QMessageBox::Ok);
    download();
    // As much as there is room for is saved, and opened: a short write is not noticed.
    QCOMPARE(boxes.count(), 0);
    QCOMPARE(m_fault->opened(), QStringList{full});
    const qint64 size = QFileInfo(full).size();
    QVERIFY2(size > 0 && size <= 1'048'576, qPrintable(QString::number(size)));
    m_fault->expectUntouchedDisk();
    // Not even an archive's folder has room now.
    m_fault->offer(u"tool.dmg"_s, {.body = QByteArray(100, 'x')});
    download();
    QCOMPARE(QFileInfo(full).size(), 100);
    QVERIFY(m_fault->repairSettings());
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::archiveThatCannotBeUnpackedStays_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("reason"); // a part of it; empty when unzip gives none as an error
    QTest::addColumn<QStringList>("left");

    const auto row = [](const char* what, const QByteArray& archive, int exitCode,
                        const QString& reason, const QStringList& left = {}) {
        QTest::newRow(what) << archive << exitCode << reason << left;
    };
    const QString noEnd = u"End-of-central-directory signature not found"_s;
    const QByteArray whole = zipped({u"Tool.pkg"_s, u"ReadMe.pdf"_s});
    QByteArray damaged = whole;
    damaged.replace("of Tool.pkg", "OF tOOL.PKG");
    row("a login page", "<html>Please log in</html>", 9, noEnd);
    row("nothing at all", {}, 9, noEnd);
    row("cut", whole.first(whole.size() / 2), 9, noEnd);
    row("its last byte missing", whole.chopped(1), 9, noEnd);
    row("damaged contents", damaged, 2, u"bad CRC"_s, {u"Tool.pkg"_s, u"ReadMe.pdf"_s});
    row("without entries", "PK\5\6" + QByteArray(18, '\0'), 1, u"zipfile is empty"_s);
    row("encrypted", zipped({u"Tool.pkg"_s}, {u"-P"_s, u"secret"_s}), 5,
        u"unable to get password"_s);
    row("a link written through",
        zippedBy("link(archive, 'out', '/tmp')\narchive.writestr('out/Evil.pkg', 'evil')"), 2,
        u"out"_s, {u"out"_s});
    row("an absolute name", zippedBy("archive.writestr('/Evil.pkg', 'evil')"), 1,
        u"stripped absolute path spec"_s, {u"Evil.pkg"_s});
    row("a name with steps out", zippedBy("archive.writestr('../../Evil.pkg', 'evil')"), 1,
        QString(), {u"Evil.pkg"_s});
}

void TestInstallers::archiveThatCannotBeUnpackedStays()
{
    QFETCH(QByteArray, archive);
    QFETCH(int, exitCode);
    QFETCH(QString, reason);
    QFETCH(QStringList, left);
    open(u"tool.zip"_s, {.body = archive});
    const BoxAnswerer boxes(QMessageBox::Ok);
    download();
    const QStringList lines = m_fault->takeActivity();
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines[2], u"[INFO] Extract - Starting: tool.zip → "_s + path(u".quillmere_extract"_s));
    const QString start = u"[ERROR] Extract - Failed (exit code %1)"_s.arg(exitCode);
    QVERIFY2(reason.isEmpty() ? lines[3] == start : lines[3].startsWith(start + ": "_L1),
             qUtf8Printable(lines[3]));
    const QString log = QString::fromUtf8(PrivateHome::read(m_fault->machine().home().logPath()));
    QVERIFY2(log.sliced(log.lastIndexOf(start)).contains(reason), qUtf8Printable(log));
    QCOMPARE(boxes.count(), 0);
    QVERIFY(m_fault->opened().isEmpty());
    QVERIFY(!m_fault->isWaitDialogVisible());
    QStringList disk{u"tool.zip"_s, u".quillmere_extract/"_s};
    for (const QString& name : std::as_const(left)) {
        disk.append(".quillmere_extract/"_L1 + name);
    }
    QCOMPARE(m_fault->disk(), diskWith(disk));
    QCOMPARE(m_fault->saved(u"tool.zip"_s), archive);
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::oddArchiveIsInstalled_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QString>("before"); // lies in the download folder, and holds "old"
    QTest::addColumn<QString>("item");   // what is opened
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("contentPath"); // the item itself when empty

    const auto row = [](const char* what, const QByteArray& archive, const QString& item,
                        const QByteArray& content, const QString& before = {},
                        const QString& contentPath = {}) {
        QTest::newRow(what) << archive << before << item << content << contentPath;
    };
    const QByteArray tool = zipped({u"Tool.pkg"_s});
    row("one installer", tool, u"Tool.pkg"_s, "of Tool.pkg");
    row("several for any processor", zipped({u"b.pkg"_s, u"a.pkg"_s}), u"a.pkg"_s, "of a.pkg");
    row("upper-case endings", zipped({u"TOOL.PKG"_s}), u"TOOL.PKG"_s, "of TOOL.PKG");
    row("accents", zipped({u"Éditeur.dmg"_s}), u"Éditeur.dmg"_s, "of Éditeur.dmg");
    row("an application and the Finder's shadow of it",
        zipped({u"__MACOSX/Tool.app/x"_s, u"d/Tool.app/x"_s}), u"Tool.app"_s, "of d/Tool.app/x", {},
        u"Tool.app/x"_s);
    row("a link to the installer",
        zippedBy("link(archive, 'Tool.pkg', 'real.txt')\narchive.writestr('real.txt', 'real')"),
        u"Tool.pkg"_s, {});
    row("10,000 entries",
        zippedBy("for i in range(9999): archive.writestr(f'd{i % 7}/{i}.txt', '')\n"
                 "archive.writestr('Tool.pkg', 'tool')"),
        u"Tool.pkg"_s, "tool");
    row("a left-over of an earlier failure comes first", tool, u"A left.pkg"_s, "old",
        u".quillmere_extract/A left.pkg"_s);
    row("the item's name is taken by a file", tool, u"Tool.pkg"_s, "old", u"Tool.pkg"_s);
    row("the item's name is taken by a folder", tool, u"Tool.pkg"_s, "old", u"Tool.pkg/x"_s,
        u"Tool.pkg/x"_s);
}

void TestInstallers::oddArchiveIsInstalled()
{
    QFETCH(QByteArray, archive);
    QFETCH(QString, before);
    QFETCH(QString, item);
    QFETCH(QByteArray, content);
    QFETCH(QString, contentPath);
    if (!before.isEmpty()) {
        m_fault->machine().home().write("Downloads/"_L1 + before, "old");
    }
    open(u"Tool 1.ZIP"_s, {.body = archive});
    const BoxAnswerer boxes(QMessageBox::Ok);
    download();
    QCOMPARE(boxes.count(), 0);
    QCOMPARE(m_fault->opened(), QStringList{path(item)});
    QCOMPARE(m_fault->saved(contentPath.isEmpty() ? item : contentPath), content);
    const QStringList lines = m_fault->takeActivity();
    QCOMPARE(lines.value(3), u"[INFO] Extract - Done"_s);
    QCOMPARE(lines.mid(lines.size() - 3),
             (QStringList{"[INFO] Extract - Selected: "_L1 + item,
                          "[INFO] Install - Launching: "_L1 + path(item), u"scan"_s}));
    // Neither the archive nor the work folder is left.
    QCOMPARE(m_fault->savedNames(), QStringList{item});
    QVERIFY(m_fault->isConfigUntouched());
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::archiveWithoutAnInstallerIsRemoved_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::newRow("other files") << QStringList{u"ReadMe.pdf"_s, u"tool.exe"_s};
    QTest::newRow("an uninstaller alone") << QStringList{u"UNINSTALL Tool.app/x"_s};
    QTest::newRow("an archive within") << QStringList{u"inner.zip"_s};
    QTest::newRow("hidden items alone") << QStringList{u"._Tool.app"_s, u".x/Tool.pkg"_s};
}

void TestInstallers::archiveWithoutAnInstallerIsRemoved()
{
    QFETCH(QStringList, entries);
    open(u"tool.zip"_s, {.body = zipped(entries)});
    const BoxAnswerer boxes(QMessageBox::Ok);
    download();
    QCOMPARE(boxes.count(), 0);
    QCOMPARE(
        m_fault->takeActivity().mid(3),
        (QStringList{u"[INFO] Extract - Done"_s,
                     u"[WARNING] Extract - No installable file found in archive"_s, u"scan"_s}));
    QVERIFY(m_fault->opened().isEmpty());
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::stopUnzip(TestLine at)
{
    open(u"tool.zip"_s,
         {.body = zippedBy("archive.writestr('Tool.pkg', 'tool')\n"
                           "for i in range(20000): archive.writestr(f'files/{i}.txt', '')")});
    m_fault->pressDownload(0, at);
    VERIFY_AT(at, comesToHold([this] {
                  QProcess* process = unzip();
                  return process && process->state() == QProcess::Running &&
                         ::kill(pid_t(process->processId()), SIGSTOP) == 0;
              }));
    VERIFY2_AT(at, m_fault->takeActivity().constLast().startsWith("[INFO] Extract - Starting: "_L1),
               "unzip was faster than the test");
    VERIFY_AT(at, m_fault->isWaitDialogVisible());
    COMPARE_AT(at, m_fault->rows(), QStringList{idleRow});
}

void TestInstallers::killedUnzipIsAFailure()
{
    stopUnzip();
    unzip()->kill();
    waitUntilIdle();
    QCOMPARE(activity(), u"[ERROR] Extract - Failed (exit code 9)"_s);
    QVERIFY(m_fault->opened().isEmpty());
    QVERIFY(!m_fault->isWaitDialogVisible());
    QCOMPARE(m_fault->savedNames(), (QStringList{u".quillmere_extract"_s, u"tool.zip"_s}));
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::downloadFolderRemovedWhileUnzipRuns()
{
    stopUnzip();
    QVERIFY(QDir(m_fault->downloads()).removeRecursively());
    ::kill(pid_t(unzip()->processId()), SIGCONT);
    waitUntilIdle();
    const QString lines = activity();
    QVERIFY2(lines.startsWith("[ERROR] Extract - Failed (exit code "_L1), qUtf8Printable(lines));
    QVERIFY(m_fault->opened().isEmpty());
    QVERIFY(!m_fault->isWaitDialogVisible());
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::unzipThatCannotBeStartedLeavesTheWaitDialog()
{
    openHeld({{.name = u"Atlas"_s, .fileName = u"tool.zip"_s}});
    m_fault->pressDownload(0);
    QTRY_COMPARE(m_fault->held().waiting(u"soft/tool.zip"_s), 1);
    m_fault->held().begin(u"soft/tool.zip"_s, 3);
    m_fault->held().send(u"soft/tool.zip"_s, "zip");
    {
        // Enough to save the archive, but not for a process's three pipes.
        const FewFiles few(3);
        QTRY_VERIFY(QFileInfo(path(u".quillmere_extract"_s)).isDir());
        QTest::qWait(0);
    }
    const QString line = m_fault->takeActivity().constLast();
    QVERIFY2(line.startsWith("[ERROR] Extract - Cannot start unzip: "_L1), qUtf8Printable(line));
    QVERIFY(m_fault->opened().isEmpty());
    QCOMPARE(m_fault->disk(), diskWith({u"tool.zip"_s, u".quillmere_extract/"_s}));
    // Nothing closes the wait dialog but the user.
    QVERIFY(m_fault->isWaitDialogVisible());
    QTest::keyClick(m_fault->window().findChild<WaitDialog*>(), Qt::Key_Escape);
    QVERIFY(!m_fault->isWaitDialogVisible());
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::twoArchivesAtOnceBothEnd()
{
    m_fault->list({{.name = u"Atlas"_s, .fileName = u"a.zip"_s},
                   {.name = u"Bench"_s, .fileName = u"b.zip"_s}});
    m_fault->offer(u"a.zip"_s, {.body = zipped({u"A.pkg"_s})});
    m_fault->offer(u"b.zip"_s, {.body = zipped({u"B.pkg"_s})});
    m_fault->open();
    m_fault->pressDownload(0);
    m_fault->pressDownload(1);
    QStringList ends;
    QVERIFY(comesToHold([&] {
        const QStringList lines = m_fault->takeActivity();
        ends += lines.filter(u"Extract - Done"_s) + lines.filter(u"Extract - Failed"_s);
        return ends.size() == 2;
    }));
    waitUntilIdle();
    // They share the work folder: one may take the other's item, or lose its own.
    QVERIFY(!m_fault->opened().isEmpty());
    QVERIFY(!m_fault->isWaitDialogVisible());
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::reloadInTheMiddleOfTenDownloads()
{
    constexpr int connections = 6; // that Qt opens to one server; the other downloads wait
    QList<FaultWindow::Entry> entries;
    for (int i = 0; i < 10; ++i) {
        entries.append({.name = u"App %1"_s.arg(i), .fileName = u"%1.dmg"_s.arg(i)});
    }
    openHeld(entries);
    for (int i = 0; i < 10; ++i) {
        const QString file = u"soft/%1.dmg"_s.arg(i);
        m_fault->pressDownload(i);
        if (i >= connections) {
            QCOMPARE(m_fault->look(i), u"0% ✕ #d4d4d4"_s);
            continue;
        }
        QVERIFY(comesToHold([&] { return m_fault->held().waiting(file) == 1; }));
        m_fault->held().begin(file, 10);
        m_fault->held().send(file, "half ");
        m_fault->window().onDownloadProgress(i, 5, 10); // Qt would keep it back for a while
        QCOMPARE(m_fault->look(i), u"50% ✕ bar 50"_s);
    }
    (void)m_fault->takeActivity();
    // Every second one is left, upside down and in a new version.
    QList<FaultWindow::Entry> left;
    for (int i = 8; i >= 0; i -= 2) {
        left.append({.name = entries[i].name, .version = u"3.0"_s, .fileName = u"new.dmg"_s});
    }
    m_fault->list(left);
    m_fault->reload();
    QCOMPARE(m_fault->looks(), QStringList(2, u"0% ✕ bar 0"_s) + QStringList(3, u"50% ✕ bar 50"_s));
    QStringList aborted;
    for (int i = 1; i < 10; i += 2) {
        aborted.append(
            u"[INFO] Download - 'App %1' → aborted, no longer in the catalogue"_s.arg(i));
    }
    QCOMPARE(m_fault->takeActivity(), aborted);
    for (int i = 0; i < 10; i += 2) {
        const QString file = u"soft/%1.dmg"_s.arg(i);
        if (i >= connections) {
            QVERIFY(comesToHold([&] { return m_fault->held().waiting(file) == 1; }));
            m_fault->held().begin(file, 10);
            m_fault->held().send(file, "half ");
        }
        m_fault->held().send(file, "whole");
        m_fault->held().end(file);
        QVERIFY(m_fault->waitForLook(4 - i / 2, u"3.0 ⤓ #d4d4d4"_s));
        QCOMPARE(m_fault->saved(u"%1.dmg"_s.arg(i)), "half whole");
    }
    QVERIFY(m_fault->waitForScan());
    QTRY_VERIFY(m_fault->held().waitingPaths().isEmpty()); // the aborted ones are gone
    QCOMPARE(m_fault->disk(),
             diskWith({u"0.dmg"_s, u"2.dmg"_s, u"4.dmg"_s, u"6.dmg"_s, u"8.dmg"_s}));
    QCOMPARE(m_fault->opened().size(), 5);
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::failedReloadInTheMiddleOfTenDownloads()
{
    QList<FaultWindow::Entry> entries;
    for (int i = 0; i < 10; ++i) {
        entries.append({.name = u"App %1"_s.arg(i), .fileName = u"%1.dmg"_s.arg(i)});
    }
    openHeld(entries);
    for (int i = 0; i < 10; ++i) {
        m_fault->pressDownload(i);
    }
    QTRY_COMPARE(m_fault->held().waitingPaths().size(), 6); // Qt's connections to one host
    m_fault->listNothing();
    {
        const BoxAnswerer boxes(QMessageBox::Ok);
        m_fault->reload();
        QCOMPARE(boxes.count(), 1);
    }
    QCOMPARE(m_fault->looks(), QStringList(10, u"0% ✕ #d4d4d4"_s));
    for (int i = 0; i < 10; ++i) {
        const QString file = u"soft/%1.dmg"_s.arg(i);
        QVERIFY(comesToHold([&] { return m_fault->held().waiting(file) == 1; }));
        m_fault->held().answer(file, "body");
        QVERIFY(m_fault->waitForLook(i, u"2.0 ⤓ #d4d4d4"_s));
    }
    QVERIFY(m_fault->waitForScan());
    QCOMPARE(m_fault->opened().size(), 10);
    QCOMPARE(m_fault->savedNames().size(), 10);
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::rowGoneWhileItDownloads_data()
{
    QTest::addColumn<QString>("what");
    for (const char* what : {"rows", "cell", "label", "buttons", "items"}) {
        QTest::newRow(what) << QString::fromLatin1(what);
    }
}

void TestInstallers::rowGoneWhileItDownloads()
{
    QFETCH(QString, what);
    openHeld({{.name = u"Atlas"_s}});
    m_fault->pressDownload(0);
    QTRY_COMPARE(m_fault->held().waiting(u"soft/tool.dmg"_s), 1);
    if (what == "rows"_L1) {
        m_fault->window().table_clear();
    } else if (what == "cell"_L1) {
        m_fault->table()->removeCellWidget(0, 2);
    } else if (what == "label"_L1) {
        delete m_fault->label(0);
    } else if (what == "buttons"_L1) {
        delete m_fault->button(0, u"downloadBtn"_s);
        delete m_fault->button(0, u"cancelBtn"_s);
    } else {
        delete m_fault->table()->takeItem(0, 0);
        delete m_fault->table()->takeItem(0, 2);
    }
    m_fault->held().begin(u"soft/tool.dmg"_s, 4);
    m_fault->held().send(u"soft/tool.dmg"_s, "bo");
    QTest::qWait(150); // longer than the reply keeps its progress back
    m_fault->held().send(u"soft/tool.dmg"_s, "dy");
    m_fault->held().end(u"soft/tool.dmg"_s);
    QVERIFY(comesToHold([this] { return m_fault->opened().size() == 1; }));
    QVERIFY(m_fault->waitForScan());
    QCOMPARE(m_fault->saved(u"tool.dmg"_s), "body");
    QCOMPARE(m_fault->disk(), diskWith({u"tool.dmg"_s}));
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::rowGoneWhileItsErrorIsShown()
{
    open(u"tool.dmg"_s, {.body = "no", .status = 404});
    m_fault->list({{.name = u"Bench"_s}, {.name = u"Cedar"_s}});
    BoxAnswerer boxes(QMessageBox::Ok);
    boxes.inspect([this](const QMessageBox&) { m_fault->reload(); });
    m_fault->offer(u"tool.dmg"_s, {.body = "no", .status = 404});
    m_fault->pressDownload(0);
    QVERIFY(comesToHold([&] { return boxes.count() == 1; }));
    QVERIFY(comesToHold([this] { return m_fault->looks() == QStringList(2, u"2.0 ⤓ #d4d4d4"_s); }));
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::windowDestroyedWhileAllRuns()
{
    stopUnzip();
    const pid_t id = pid_t(unzip()->processId());
    m_fault->offer(u"tool.zip"_s,
                   {.body = "begun", .manner = HttpReply::Stall, .announcedLength = 1'000'000});
    m_fault->window().startDownload(0); // no press gets past the wait dialog
    QTRY_COMPARE(m_fault->server().openConnections(), 1);
    m_fault->window().action_loadSysData();
    m_fault->destroy();
    QCOMPARE(::kill(id, 0), -1); // neither running nor left for its parent to collect
    QTRY_COMPARE(m_fault->server().openConnections(), 0);
    QVERIFY(!activity().contains("Extract"_L1));
    QVERIFY(m_fault->opened().isEmpty());
    // The next window finds the archive and its work folder, and works.
    m_fault->open();
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallers::decliningTheRestartOpensNothing_data()
{
    QTest::addColumn<bool>("isFirst");
    QTest::newRow("before the download") << true;
    QTest::newRow("after the download") << false;
}

void TestInstallers::decliningTheRestartOpensNothing()
{
    QFETCH(bool, isFirst);
    m_fault->list({{.name = u"my quillmere"_s, .fileName = u"new.dmg"_s}});
    m_fault->offer(u"new.dmg"_s, {.body = "new"});
    m_fault->open();
    BoxAnswerer boxes(isFirst ? QMessageBox::Cancel : QMessageBox::Ok);
    m_fault->pressDownload(0);
    QCOMPARE(boxes.titles(), QStringList{u"Restart required"_s});
    if (!isFirst) {
        // The second box has no OK: it is closed.
        QVERIFY(comesToHold([&] { return boxes.unanswered() == 1; }));
        QCOMPARE(boxes.titles().constLast(), u"Restart?"_s);
    }
    waitUntilIdle();
    QVERIFY(m_fault->opened().isEmpty());
    QCOMPARE(m_fault->disk(), isFirst ? FaultWindow::untouchedDisk() : diskWith({u"new.dmg"_s}));
    QVERIFY(m_fault->windowStillWorks());
}

QTEST_MAIN(TestInstallers)
#include "tst_installers.moc"
