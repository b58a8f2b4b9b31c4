#include "install/downloadtarget.h"

#include "support/privatehome.h"

#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

class TestDownloadTarget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void namesTheFolderOfTheSetting_data();
    void namesTheFolderOfTheSetting();
    void emptySettingIsTheSystemsDownloadFolder();
    void usersOwnDownloadFolderCounts();
    void tellsWhetherAFileStaysInTheFolder_data();
    void tellsWhetherAFileStaysInTheFolder();
    void tellsArchivesByTheirEnding_data();
    void tellsArchivesByTheirEnding();

private:
    std::optional<PrivateHome> m_home;
};

void TestDownloadTarget::init()
{
    m_home.emplace();
}

void TestDownloadTarget::cleanup()
{
    m_home.reset();
}

void TestDownloadTarget::namesTheFolderOfTheSetting_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<QString>("folder"); // "HOME" stands for the home folder's path

    const auto row = [](const char* what, const char* setting, const char* folder) {
        QTest::newRow(what) << QString::fromUtf8(setting) << QString::fromUtf8(folder);
    };
    row("in the home folder", "~/Downloads", "HOME/Downloads");
    row("final slash stays", "~/Downloads/", "HOME/Downloads/");
    row("absolute", "/tmp/a folder", "/tmp/a folder");
    row("relative", "files", "files");
    row("blanks are no empty text", " ", " ");
    row("steps stay as they are", "/a/../x", "/a/../x");
}

void TestDownloadTarget::namesTheFolderOfTheSetting()
{
    QFETCH(QString, setting);
    QFETCH(QString, folder);
    QCOMPARE(downloadFolderPath(setting), folder.replace("HOME"_L1, m_home->path()));
}

void TestDownloadTarget::emptySettingIsTheSystemsDownloadFolder()
{
    QCOMPARE(downloadFolderPath(QString()), m_home->path() + "/Downloads"_L1);
    QCOMPARE(downloadFolderPath(u""_s), m_home->path() + "/Downloads"_L1);
}

void TestDownloadTarget::usersOwnDownloadFolderCounts()
{
#ifdef Q_OS_LINUX
    m_home->write(u".config/user-dirs.dirs"_s, "XDG_DOWNLOAD_DIR=\"$HOME/Mes fichiers\"\n");
    QCOMPARE(downloadFolderPath(QString()), m_home->path() + "/Mes fichiers"_L1);
#else
    QSKIP("The download folder is another setting here");
#endif
}

void TestDownloadTarget::tellsWhetherAFileStaysInTheFolder_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("stays");

    const auto row = [](const char* what, const char* fileName, bool stays) {
        QTest::newRow(what) << QString::fromUtf8(fileName) << stays;
    };
    row("a plain name", "Tool.dmg", true);
    row("a name in a sub-folder", "sub/Tool.dmg", true);
    row("a name in a deep sub-folder", "a/b/c/Tool.dmg", true);
    row("an empty name", "", true);
    row("a leading slash", "/Tool.dmg", true);
    row("slashes alone", "///", true);
    row("doubled slashes", "a//b", true);
    row("this folder", ".", true);
    row("this folder before the name", "./Tool.dmg", true);
    row("a step back inside", "sub/../Tool.dmg", true);
    row("steps back to the folder itself", "a/b/../..", true);
    row("two dots at the start of a name", "..Tool.dmg", true);
    row("two dots at the end of a name", "Tool..", true);
    row("two dots inside a name", "Tool..dmg", true);
    row("three dots", ".../Tool.dmg", true);
    row("dots and a blank", ".. /Tool.dmg", true);
    row("encoded step is a name", "%2e%2e/Tool.dmg", true);
    row("backslash is part of a name", "..\\Tool.dmg", true);
    row("a step out", "../Tool.dmg", false);
    row("two dots alone", "..", false);
    row("a step out with a final slash", "../", false);
    row("a step out behind a slash", "/../Tool.dmg", false);
    row("a step out behind this folder", "./../Tool.dmg", false);
    row("a step out behind doubled slashes", "//..//Tool.dmg", false);
    row("more steps back than in", "sub/../../Tool.dmg", false);
    row("this folder is no step in", "./././../Tool.dmg", false);
    row("out and in again", "../Downloads/Tool.dmg", false);
    row("far out", "../../../../etc/passwd", false);
    row("out at the end", "a/../..", false);
}

void TestDownloadTarget::tellsWhetherAFileStaysInTheFolder()
{
    QFETCH(QString, fileName);
    QFETCH(bool, stays);
    QCOMPARE(staysInFolder(fileName), stays);
}

void TestDownloadTarget::tellsArchivesByTheirEnding_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("isOne");

    const auto row = [](const char* fileName, bool isOne) {
        QTest::newRow(fileName) << QString::fromUtf8(fileName) << isOne;
    };
    row("Tool.zip", true);
    row("Tool.ZIP", true);
    row("Tool.Zip", true);
    row("sub/Tool.zip", true);
    row("Tool 2.0.zip", true);
    row("Éditeur.zip", true);
    row(".zip", true);
    row("Tool.dmg.zip", true);
    row("Tool.zip.dmg", false);
    row("Tool.zip ", false);
    row("Tool.zipx", false);
    row("Toolzip", false);
    row("zip", false);
    row("Tool.zip/", false);
    row("Tool.zip?x", false);
    row("Tool.dmg", false);
}

void TestDownloadTarget::tellsArchivesByTheirEnding()
{
    QFETCH(QString, fileName);
    QFETCH(bool, isOne);
    QCOMPARE(isArchive(fileName), isOne);
    QVERIFY(!isArchive(QString()));
}

QTEST_GUILESS_MAIN(TestDownloadTarget)
#include "tst_downloadtarget.moc"
