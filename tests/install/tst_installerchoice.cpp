#include "install/installerchoice.h"
#include "support/testline.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString arm = u"arm64"_s;
const QString intel = u"x86_64"_s;

} // namespace

class TestInstallerChoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void scoresANameByItsProcessors_data();
    void scoresANameByItsProcessors();
    void whatIsNotArm64CountsAsTheOtherProcessor();
    void emptyNameIsNeutral();
    void leavesOutUninstallers_data();
    void leavesOutUninstallers();

    void listsWhatCanBeInstalled_data();
    void listsWhatCanBeInstalled();
    void namesEachCandidateWithPathAndScore();
    void listsAFolderLikeAFile();
    void listsItemsInsideABundle();
    void keepsTheContentsOfAnUninstaller();
    void listsNothingInsideHiddenFolders();
    void listsLinksButDoesNotFollowThem();
    void missingOrEmptyFolderHasNoCandidates();
    void folderThatIsAFileHasNoCandidates();

    void ordersTheBestFirst_data();
    void ordersTheBestFirst();
    void tellsWhatATieIsDecidedBy_data();
    void tellsWhatATieIsDecidedBy();
    void tellsWhatAScoreMeans();
    void orderOfCreationDoesNotMatter();
    void workFolderOfAnyNameIsOrderedAlike();
    void ordersThousandsOfItemsInTime();

private:
    /// Creates @p path below the work folder: a folder when it ends in "/", else a file.
    void create(const QString& path, TestLine at = {}) const;
    void create(const QStringList& paths, TestLine at = {}) const;
    /// The candidates' paths below the work folder, best first.
    [[nodiscard]] QStringList ranking(const QString& architecture) const;

    std::optional<QTemporaryDir> m_folder;
};

void TestInstallerChoice::init()
{
    m_folder.emplace();
}

void TestInstallerChoice::cleanup()
{
    m_folder.reset();
}

void TestInstallerChoice::create(const QString& path, TestLine at) const
{
    const QString full = m_folder->path() + u'/' + path;
    if (path.endsWith(u'/')) {
        VERIFY_AT(at, QDir().mkpath(full));
        return;
    }
    VERIFY_AT(at, QDir().mkpath(QFileInfo(full).path()));
    QFile file(full);
    VERIFY_AT(at, file.open(QIODevice::WriteOnly));
}

void TestInstallerChoice::create(const QStringList& paths, TestLine at) const
{
    for (const QString& path : paths) {
        create(path, at);
    }
}

QStringList TestInstallerChoice::ranking(const QString& architecture) const
{
    QStringList paths;
    for (const InstallerCandidate& candidate :
         installerCandidates(m_folder->path(), architecture)) {
        paths.append(candidate.path.mid(m_folder->path().size() + 1));
    }
    return paths;
}

void TestInstallerChoice::scoresANameByItsProcessors_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("onArm");
    QTest::addColumn<int>("onIntel");

    const auto row = [](const char* name, int onArm, int onIntel) {
        QTest::newRow(name) << QString::fromUtf8(name) << onArm << onIntel;
    };
    row("Tool.dmg", 0, 0);
    row("Tool-arm64.dmg", 2, -1);
    row("Tool-arm.dmg", 2, -1);
    row("Tool-ARM64.dmg", 2, -1);
    row("Tool-Arm.pkg", 2, -1);
    row("Tool-x86_64.dmg", -1, 2);
    row("Tool-x86.dmg", -1, 2);
    row("Tool-X86_64.dmg", -1, 2);
    row("Tool-x64.dmg", -1, 2);
    row("Tool-X64.dmg", -1, 2);
    row("Tool-amd64.dmg", -1, 2);
    row("Tool-AMD64.dmg", -1, 2);
    row("Tool-x86-x64-amd64.dmg", -1, 2); // once, however many match
    row("Tool-arm-arm64.dmg", 2, -1);
    row("Tool-universal-arm64-x86_64.pkg", 1, 1);
    row("Tool-arm64-x64-amd64.pkg", 1, 1);
    row("Tool-universal.pkg", 0, 0);
    row("Tool-Intel.pkg", 0, 0);
    row("Tool-aarch64.pkg", 0, 0);
    row("Tool-m1.pkg", 0, 0);
    row("Tool-i386.pkg", 0, 0);
    row("Tool-64.pkg", 0, 0);
    row("Charm.app", 2, -1); // a word inside another one counts too
    row("Alarme.dmg", 2, -1);
    row("arm", 2, -1);
    row("x64", -1, 2);
    row("a r m.dmg", 0, 0);
    row("Tool-x 64.dmg", 0, 0);
    row("Éditeur-arm64.dmg", 2, -1);
}

void TestInstallerChoice::scoresANameByItsProcessors()
{
    QFETCH(QString, name);
    QFETCH(int, onArm);
    QFETCH(int, onIntel);
    QCOMPARE(installerScore(name, arm), onArm);
    QCOMPARE(installerScore(name, intel), onIntel);
}

void TestInstallerChoice::whatIsNotArm64CountsAsTheOtherProcessor()
{
    for (const QString& architecture : {u"i386"_s, u"arm"_s, u"ARM64"_s, u"riscv64"_s, QString()}) {
        QCOMPARE(installerScore(u"Tool-x64.dmg"_s, architecture), 2);
        QCOMPARE(installerScore(u"Tool-arm64.dmg"_s, architecture), -1);
    }
}

void TestInstallerChoice::emptyNameIsNeutral()
{
    QCOMPARE(installerScore(QString(), arm), 0);
    QCOMPARE(installerScore(QString(), intel), 0);
    QVERIFY(!isExcludedInstaller(QString()));
}

void TestInstallerChoice::leavesOutUninstallers_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isExcluded");

    const auto row = [](const char* name, bool isExcluded) {
        QTest::newRow(name) << QString::fromUtf8(name) << isExcluded;
    };
    row("Uninstall.app", true);
    row("Uninstall App.pkg", true);
    row("UNINSTALL.app", true);
    row("uninstall.app", true);
    row("MyUninstaller.pkg", true);
    row("AppUninstall.dmg", true);
    row("Install.app", false);
    row("Un install.app", false);
    row("Désinstaller.app", false);
    row("Remove.app", false);
}

void TestInstallerChoice::leavesOutUninstallers()
{
    QFETCH(QString, name);
    QFETCH(bool, isExcluded);
    QCOMPARE(isExcludedInstaller(name), isExcluded);
    create(name);
    QCOMPARE(ranking(arm), isExcluded ? QStringList() : QStringList{name});
}

void TestInstallerChoice::listsWhatCanBeInstalled_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isListed");

    const auto row = [](const char* name, bool isListed) {
        QTest::newRow(name) << QString::fromUtf8(name) << isListed;
    };
    row("Tool.app", true);
    row("Tool.pkg", true);
    row("Tool.mpkg", true);
    row("Tool.dmg", true);
    row("Tool.APP", true);
    row("Installer.PKG", true);
    row("Tool.MPkg", true);
    row("Tool.Dmg", true);
    row("Tool 2.0.dmg", true);
    row("Éditeur de schémas.dmg", true);
    row("a#b?c%20d.pkg", true);
    row("[brackets].pkg", true);
    row("Tool.pkg.dmg", true);
    row("Tool.apps", false);
    row("Tool.pkg.zip", false);
    row("Tool.zip", false);
    row("Tool.exe", false);
    row("Toolapp", false);
    row("app", false);
    row("ReadMe.pdf", false);
    row(".Tool.app", false);  // hidden
    row("._Tool.app", false); // the Finder's shadow of a file
    row(".pkg", false);
    row("Tool.app ", false);
}

void TestInstallerChoice::listsWhatCanBeInstalled()
{
    QFETCH(QString, name);
    QFETCH(bool, isListed);
    create(name);
    QCOMPARE(ranking(arm), isListed ? QStringList{name} : QStringList());
    QCOMPARE(hasInstallerEnding(name) && !name.startsWith(u'.'), isListed);
}

void TestInstallerChoice::namesEachCandidateWithPathAndScore()
{
    create(u"deep/er/Tool-arm64.dmg"_s);
    const QList<InstallerCandidate> candidates = installerCandidates(m_folder->path(), arm);
    QCOMPARE(candidates.size(), 1);
    QCOMPARE(candidates[0].path, m_folder->path() + "/deep/er/Tool-arm64.dmg"_L1);
    QCOMPARE(candidates[0].name, u"Tool-arm64.dmg"_s);
    QCOMPARE(candidates[0].score, 2);
    // The folders above it do not count.
    QDir(m_folder->path()).rename(u"deep"_s, u"Uninstall-x86_64"_s);
    QCOMPARE(installerCandidates(m_folder->path(), arm).value(0).score, 2);
}

void TestInstallerChoice::listsAFolderLikeAFile()
{
    create({u"Tool.app/"_s, u"Setup.mpkg/Contents/x"_s});
    QCOMPARE(ranking(arm), (QStringList{u"Setup.mpkg"_s, u"Tool.app"_s}));
}

void TestInstallerChoice::listsItemsInsideABundle()
{
    create({u"Tool.app/Contents/Helpers/Helper.app/"_s, u"Tool.app/Contents/Extra.pkg"_s});
    QCOMPARE(ranking(arm), (QStringList{u"Tool.app"_s, u"Tool.app/Contents/Extra.pkg"_s,
                                        u"Tool.app/Contents/Helpers/Helper.app"_s}));
}

void TestInstallerChoice::keepsTheContentsOfAnUninstaller()
{
    create(u"Uninstall Tool.app/Contents/Tool.pkg"_s);
    QCOMPARE(ranking(arm), QStringList{u"Uninstall Tool.app/Contents/Tool.pkg"_s});
}

void TestInstallerChoice::listsNothingInsideHiddenFolders()
{
    create({u".hidden/Tool.app/"_s, u".quillmere_extract/Tool.dmg"_s, u"seen/Tool.pkg"_s});
    QCOMPARE(ranking(arm), QStringList{u"seen/Tool.pkg"_s});
}

void TestInstallerChoice::listsLinksButDoesNotFollowThem()
{
    const QTemporaryDir elsewhere;
    QVERIFY(QDir(elsewhere.path()).mkpath(u"Outside.app"_s));
    create(u"real/Inside.pkg"_s);
    const QString base = m_folder->path() + u'/';
    QVERIFY(QFile::link(elsewhere.path(), base + "folder"_L1));
    QVERIFY(QFile::link(base + "real/Inside.pkg"_L1, base + "Linked.pkg"_L1));
    QVERIFY(QFile::link(elsewhere.path(), base + "Linked.app"_L1));
    QVERIFY(QFile::link(base.chopped(1), base + "Loop.app"_L1));
    QVERIFY(QFile::link(base + "nowhere"_L1, base + "Broken.pkg"_L1));
    QCOMPARE(ranking(arm),
             (QStringList{u"Linked.app"_s, u"Linked.pkg"_s, u"Loop.app"_s, u"real/Inside.pkg"_s}));
}

void TestInstallerChoice::missingOrEmptyFolderHasNoCandidates()
{
    QVERIFY(installerCandidates(m_folder->path(), arm).isEmpty());
    QVERIFY(installerCandidates(m_folder->path() + "/missing"_L1, arm).isEmpty());
}

void TestInstallerChoice::folderThatIsAFileHasNoCandidates()
{
    create(u"Tool.app"_s);
    QVERIFY(installerCandidates(m_folder->path() + "/Tool.app"_L1, arm).isEmpty());
}

void TestInstallerChoice::ordersTheBestFirst_data()
{
    QTest::addColumn<QStringList>("ranked"); // on arm64

    const auto row = [](const char* what, const QStringList& ranked) {
        QTest::newRow(what) << ranked;
    };
    row("the score decides",
        {u"Tool-arm64.dmg"_s, u"Tool-arm-x64.dmg"_s, u"Tool.dmg"_s, u"Tool-x86_64.dmg"_s});
    row("the score outweighs the depth",
        {u"a/b/c/Tool-arm64.dmg"_s, u"Tool.dmg"_s, u"Tool-x64.dmg"_s});
    row("the score outweighs the Finder's folder", {u"__MACOSX/Tool-arm64.dmg"_s, u"Tool.dmg"_s});
    row("least deep first", {u"Z.app"_s, u"y/Y.app"_s, u"x/x/X.app"_s, u"a/a/a/A.app"_s});
    row("the depth outweighs the Finder's folder", {u"__MACOSX/Tool.app"_s, u"a/b/Tool.app"_s});
    row("a bundle before the one inside it", {u"Z.app/"_s, u"Z.app/Contents/A.app"_s});
    row("outside the Finder's folder first", {u"z/Tool.app"_s, u"__MACOSX/Tool.app"_s});
    row("a folder of nearly that name is none",
        {u"__MACOSX2/A.app"_s, u"__macosx/B.app"_s, u"__MACOSX/Tool.app"_s});
    row("that folder below another one is none",
        {u"a/__MACOSX/A.app"_s, u"a/b/B.app"_s, u"__MACOSX/a/A.app"_s});
    row("then by name", {u"A.app"_s, u"B.app"_s, u"C.dmg"_s, u"a.app"_s});
    row("by name without its ending first",
        {u"Caffeine.app"_s, u"Caffeine Helper.app"_s, u"Caffeine-2.dmg"_s});
    row("then by the ending", {u"Tool.app"_s, u"Tool.dmg"_s, u"Tool.pkg"_s});
    row("one ending alone is left out", {u"Tool.pkg"_s, u"Tool.dmg.pkg"_s, u"Tool1.app"_s});
    row("an ending in any letter case", {u"Tool.APP"_s, u"Tool Helper.app"_s});
    row("by name, not by the folder's", {u"z/A.app"_s, u"a/B.app"_s});
    row("same name, by the path", {u"a/Tool.app"_s, u"b/Tool.app"_s, u"c/Tool.app"_s});
    row("equal scores below 0 alike", {u"B-x64.app"_s, u"a/A-x64.app"_s});
}

void TestInstallerChoice::ordersTheBestFirst()
{
    QFETCH(QStringList, ranked);
    create(ranked);
    QCOMPARE(ranking(arm), ranked.join(u'\n').replace("/\n"_L1, "\n"_L1).split(u'\n'));
}

void TestInstallerChoice::tellsWhatATieIsDecidedBy_data()
{
    QTest::addColumn<QString>("better");
    QTest::addColumn<QString>("worse");
    QTest::addColumn<QString>("reason");

    const auto row = [](const char* what, const QString& better, const QString& worse,
                        const QString& reason) {
        QTest::newRow(what) << better << worse << reason;
    };
    const QString depth = u"it lies less deep than %1"_s;
    const QString shadow = u"%1 is a shadow folder's"_s;
    const QString name = u"by name it is before %1"_s;
    row("depth", u"Z.app"_s, u"a/A.app"_s, depth);
    row("depth before the Finder's folder", u"__MACOSX/Z.app"_s, u"a/b/A.app"_s, depth);
    row("the Finder's folder", u"z/Z.app"_s, u"__MACOSX/A.app"_s, shadow);
    row("its name deeper down is nothing", u"a/__MACOSX/A.app"_s, u"a/b/B.app"_s, name);
    row("both in the Finder's folder", u"__MACOSX/A.app"_s, u"__MACOSX/B.app"_s, name);
    row("name", u"z/A.app"_s, u"a/B.app"_s, name);
    row("same name", u"a/A.app"_s, u"b/A.app"_s, name);
}

void TestInstallerChoice::tellsWhatATieIsDecidedBy()
{
    QFETCH(QString, better);
    QFETCH(QString, worse);
    QFETCH(QString, reason);
    QList<InstallerCandidate> candidates;
    for (const QString& path : {worse, better}) {
        candidates.append({"/archive/"_L1 + path, path.section(u'/', -1), 0});
    }
    sortInstallers(candidates, u"/archive"_s);
    QCOMPARE(candidates[0].path, "/archive/"_L1 + better);
    QCOMPARE(tieReason(better, worse), reason);
}

void TestInstallerChoice::tellsWhatAScoreMeans()
{
    QCOMPARE(scoreMeaning(2), u"names only this processor"_s);
    QCOMPARE(scoreMeaning(1), u"names both processors"_s);
    QCOMPARE(scoreMeaning(0), u"names no processor"_s);
    QCOMPARE(scoreMeaning(-1), u"names only the other processor"_s);
}

void TestInstallerChoice::orderOfCreationDoesNotMatter()
{
    const QStringList ranked = {u"a.pkg"_s,   u"b.pkg"_s,   u"c.pkg"_s,         u"d/a.pkg"_s,
                                u"e/a.pkg"_s, u"d/b.pkg"_s, u"__MACOSX/a.pkg"_s};
    QStringList reversed = ranked;
    std::reverse(reversed.begin(), reversed.end());
    create(reversed);
    QCOMPARE(ranking(intel), ranked);
}

void TestInstallerChoice::workFolderOfAnyNameIsOrderedAlike()
{
    const QString base = m_folder->path() + "/__MACOSX/a b/.quillmere_extract"_L1;
    create({u"__MACOSX/a b/.quillmere_extract/z/Tool.app"_s,
            u"__MACOSX/a b/.quillmere_extract/__MACOSX/Tool.app"_s});
    for (const QString& folder : {base, base + u'/', base + "/../.quillmere_extract"_L1}) {
        const QList<InstallerCandidate> candidates = installerCandidates(folder, arm);
        QCOMPARE(candidates.size(), 2);
        QVERIFY2(candidates[0].path.endsWith("/z/Tool.app"_L1), qUtf8Printable(candidates[0].path));
    }
}

void TestInstallerChoice::ordersThousandsOfItemsInTime()
{
    for (int i = 0; i < 2'000; ++i) {
        create(u"d%1/Tool %2.pkg"_s.arg(i % 100).arg(1'999 - i, 5, 10, QChar(u'0')));
    }
    create(u"x/y/Best-arm64.dmg"_s);
    QElapsedTimer timer;
    timer.start();
    const QStringList ranked = ranking(arm);
    QVERIFY2(timer.elapsed() < 5'000, qUtf8Printable(QString::number(timer.elapsed()) + " ms"_L1));
    QCOMPARE(ranked.size(), 2'001);
    QCOMPARE(ranked[0], u"x/y/Best-arm64.dmg"_s);
    QCOMPARE(ranked[1], u"d99/Tool 00000.pkg"_s);
    QCOMPARE(ranked[2'000], u"d0/Tool 01999.pkg"_s);
}

QTEST_GUILESS_MAIN(TestInstallerChoice)
#include "tst_installerchoice.moc"
