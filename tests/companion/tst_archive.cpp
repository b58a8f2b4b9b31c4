#include "companion/archive/archive.h"

#include "commandrun.h"
#include "companion/archive/archiverules.h"
#include "install/installerchoice.h"
#include "install/unpacking.h"
#include "support/downloadbench.h"
#include "support/privatehome.h"
#include "support/zipmaker.h"
#include "system/system.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <filesystem>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What the program finds after its own unpacking, by processor, as paths; nothing when unzip
/// fails.
using Choice = std::optional<QHash<QString, QStringList>>;

Choice choiceByUnpacking(const QString& archive)
{
    const QTemporaryDir folder;
    QProcess unzip;
    startUnzip(unzip, {u"-o"_s, archive, u"-d"_s, folder.path()});
    if (!unzip.waitForFinished(60'000)) {
        qFatal("unzip does not end");
    }
    if (unzip.exitCode() != 0) {
        return std::nullopt;
    }
    QHash<QString, QStringList> choice;
    for (const QString& processor : processors()) {
        QStringList& paths = choice[processor];
        for (const InstallerCandidate& c : installerCandidates(folder.path(), processor)) {
            paths.append(QString::number(c.score) + u' ' + c.path.mid(folder.path().size() + 1));
        }
    }
    return choice;
}

Choice choiceByDirectory(const QString& path)
{
    const ArchiveContent archive(path);
    if (!archive.error().isEmpty() || !archive.failures().isEmpty()) {
        return std::nullopt;
    }
    QHash<QString, QStringList> choice;
    for (const QString& processor : processors()) {
        QStringList& paths = choice[processor];
        for (const InstallerCandidate& c : archive.candidates(processor)) {
            paths.append(QString::number(c.score) + u' ' + c.path);
        }
    }
    return choice;
}

QString described(const Choice& choice)
{
    return choice ? choice->value(u"arm64"_s).join(u", "_s) + " | "_L1 +
                        choice->value(u"x86_64"_s).join(u", "_s)
                  : u"unzip fails"_s;
}

/// Random archives whose names are likely to meet: few words, deep folders, odd items.
class RandomArchives
{
public:
    explicit RandomArchives(quint32 seed) : m_random(seed) {}

    QByteArray next(bool withOddities)
    {
        ZipMaker zip;
        m_links.clear();
        const bool isOdd = withOddities && m_random.bounded(3) == 0;
        for (int items = 1 + int(m_random.bounded(12)); items > 0; --items) {
            add(zip, isOdd && m_random.bounded(6) == 0);
        }
        return zip.bytes();
    }

private:
    template <typename T>
    T oneOf(const QList<T>& values)
    {
        return values[m_random.bounded(values.size())];
    }

    QByteArray step()
    {
        static const QByteArrayList stems = {
            "Tool",    "Tool-arm64", "Tool-x86_64", "Zed ARM",      "Uninstall",    "disk",
            ".hidden", "__MACOSX",   "Alpha x64",   "Both-arm-x64", "\u00c9t\u00e9"};
        static const QByteArrayList endings = {".app", ".pkg", ".dmg", ".mpkg", ".PKG",
                                               "",     "",     ".txt", ".apps"};
        return oneOf(stems) + oneOf(endings);
    }

    QByteArray path()
    {
        QByteArray whole = step();
        for (int depth = int(m_random.bounded(4)); depth > 0; --depth) {
            whole = step() + '/' + whole;
        }
        return whole;
    }

    void add(ZipMaker& zip, bool isOdd)
    {
        ZipMaker::Item item;
        item.name = path();
        if (m_random.bounded(5) == 0) {
            item.name += '/';
            item.content.clear();
            item.mode = 040755;
        } else if (m_random.bounded(8) == 0) {
            if (m_links.contains(item.name)) {
                return; // unzip itself is unsure of two links in one place
            }
            m_links.append(item.name);
            const QByteArrayList targets = {step(), "../" + step(), "nowhere", "./", path()};
            zip.addLink(item.name, oneOf(targets));
            return;
        }
        if (isOdd && !item.name.endsWith('/')) {
            makeOdd(item);
        }
        zip.add(item);
    }

    void makeOdd(ZipMaker::Item& item)
    {
        switch (m_random.bounded(10)) {
        case 0:
            item.name.prepend('/');
            break;
        case 1:
            item.name.prepend("../");
            break;
        case 2:
            item.name.prepend("./");
            break;
        case 3:
            item.name.replace('/', "//");
            break;
        case 4:
            item.name += ";1";
            break;
        case 5:
            item.name.prepend('\x01');
            break;
        case 6:
            item.isEncrypted = true;
            break;
        case 7:
            item.method = 14;
            break;
        case 8:
            item.system = ZipMaker::Dos;
            item.name.replace('/', '\\').replace("\u00c9t\u00e9", "Ete");
            break;
        default:
            item.name += "/" + QByteArray(260, 'n') + ".pkg";
        }
    }

    QRandomGenerator m_random;
    QByteArrayList m_links; ///< of the archive at hand
};

QJsonObject firstArchive(const QString& json)
{
    return QJsonDocument::fromJson(json.toUtf8())[u"archives"][0].toObject();
}

} // namespace

class TestArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void choosesAsTheProgramDoes_data();
    void choosesAsTheProgramDoes();
    void choosesAsTheProgramDoesInRandomArchives_data();
    void choosesAsTheProgramDoesInRandomArchives();
    void choosesAsTheProgramDoesInArchivesOfZip();
    void tellsWhatTheWindowOpens_data();
    void tellsWhatTheWindowOpens();

    void tellsChoiceAndReason_data();
    void tellsChoiceAndReason();
    void tellsWhatHarms_data();
    void tellsWhatHarms();
    void tellsWhatKeepsABundleFromStarting_data();
    void tellsWhatKeepsABundleFromStarting();
    void tellsTensOfThousandsOfTies();
    void tellsOfNoLinkToTheApplications();
    void tellsThatNothingCanBeUnpacked();
    void tellsAllAsJson();
    void holdsNoMoreThanItsLimits();
    void comparesWithThePreviousRelease();
    void tellsManyInTheirOrder();
    void endsWholeWhenInterrupted();
    void endsByWhatWasFound();
    void unreadableInputIsTold();
    void leavesTheArchiveAsItWas();
    void leavesNothingUnpacked_data();
    void leavesNothingUnpacked();

private:
    [[nodiscard]] QString write(const QByteArray& archive,
                                const QString& name = u"tool.zip"_s) const
    {
        return m_home->write(name, archive);
    }

    std::optional<PrivateHome> m_home;
};

void TestArchive::initTestCase()
{
    // unzip writes names as the locale has them; users have UTF-8.
    qputenv("LC_ALL", "C.UTF-8");
    // What the client logs is told by its file.
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
}

void TestArchive::choosesAsTheProgramDoes_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QByteArray>("archive");

    const auto row = [](const char* what, const QByteArray& archive) {
        QTest::newRow(what) << archive;
    };
    const auto item = [](const ZipMaker::Item& one) {
        ZipMaker zip;
        zip.add({.name = "Other.dmg"});
        zip.add(one);
        return zip.bytes();
    };
    const auto link = [](const QByteArray& name, const QByteArray& target) {
        ZipMaker zip;
        zip.add({.name = "d/Real.app/x"});
        zip.add({.name = "d/real.txt"});
        zip.addLink(name, target);
        return zip.bytes();
    };
    row("nothing to open", zipOf({"a", "b/"}));
    row("no item at all", ZipMaker().bytes());
    row("processors", zipOf({"T-arm64.pkg", "T-x64.pkg", "T.pkg", "T-arm-x86.pkg"}));
    row("depth", zipOf({"a/b/T.pkg", "c/Z.pkg"}));
    row("shadow folder", zipOf({"__MACOSX/T.app/a", "z/T.app/a"}));
    row("shadow folder deeper down", zipOf({"a/__MACOSX/T.app/a", "z/y/T.app/a"}));
    row("names", zipOf({"b.pkg", "B.pkg", "a.pkg"}));
    row("nested bundles", zipOf({"T.app/Contents/H.app/x", "T.app/x"}));
    row("excluded", zipOf({"UnInstall.pkg", "uninstall me.app/T.pkg"}));
    row("hidden", zipOf({".T.pkg", ".d/T.pkg", "d/.e/T.app/x", "a.pkg"}));
    row("file in a folder that is not listed", zipOf({"d/T.pkg"}));
    row("folder alone", zipOf({"T.app/"}));
    row("listed twice", zipOf({"T.pkg", "T.pkg"}));
    row("file, then folder", zipOf({"T.pkg", "T.pkg/a.pkg"}));
    row("folder, then file", zipOf({"T.pkg/a.pkg", "T.pkg"}));
    row("file, then the folder itself", zipOf({"T.pkg", "T.pkg/"}));
    row("absolute", zipOf({"/T.pkg"}));
    row("steps out", zipOf({"../T.pkg"}));
    row("steps out within", zipOf({"d/../T.pkg"}));
    row("steps that stay", zipOf({"./d/./T.pkg", "e//T.pkg"}));
    row("folder of steps", zipOf({"./", "T.pkg"}));
    row("root alone", zipOf({"/", "T.pkg"}));
    row("dots in names", zipOf({"..a/T..pkg", "T...pkg"}));
    row("blanks", zipOf({" T.pkg", "d /T.pkg ", "T .pkg"}));
    row("accents", zipOf({"\u00c9t\u00e9.pkg", "E\u0301te\u0301.app/x"}));
    row("control characters", zipOf({"T\x01\x02.pkg", "A\n.pkg"}));
    row("version of VMS", zipOf({"T.pkg;1", "U;2.pkg", "V.pkg;", "d;1/W.pkg", "X.pkg;1a"}));
    row("long name", zipOf({QByteArray(252, 'a') + ".pkg"}));
    row("name of 255 bytes", zipOf({QByteArray(251, 'a') + ".pkg"}));
    row("long folder", zipOf({QByteArray(256, 'a') + "/T.pkg"}));
    row("backslashes of DOS", item({.name = "d\\T.pkg", .system = ZipMaker::Dos}));
    row("backslashes of DOS beside slashes", item({.name = "d\\e/T.pkg", .system = ZipMaker::Dos}));
    row("backslashes of Unix", item({.name = "d\\T.pkg"}));
    row("encrypted", item({.name = "T.pkg", .isEncrypted = true}));
    row("unknown method", item({.name = "T.pkg", .method = 14}));
    row("pipe", item({.name = "T.pkg", .mode = 010644}));
    row("folder's mode without a slash", item({.name = "T.app", .content = {}, .mode = 040755}));
    row("folder with content", item({.name = "T.app/", .content = "abc"}));
    row("link to a file", link("T.pkg", "d/real.txt"));
    row("link to a bundle", link("T.app", "d/Real.app"));
    row("link to nothing", link("T.app", "none"));
    row("link in a folder", link("e/T.pkg", "../d/real.txt"));
    row("link to its own folder", link("e/T.app", "."));
    row("link to the top", link("T.app", "."));
    row("link to itself", link("T.app", "T.app"));
    row("empty link", link("T.pkg", ""));
    row("link over a file", link("d/real.txt", "../T.pkg"));
    ZipMaker selfExtracting("#!/bin/sh\n");
    selfExtracting.add({.name = "T.pkg"});
    row("behind a program, counted from there", selfExtracting.bytes());
    row("behind a program", "#!/bin/sh\n" + zipOf({"T.pkg"}));
    row("cut off", zipOf({"T.pkg"}).chopped(3));
    row("no archive", "<html>");
}

void TestArchive::choosesAsTheProgramDoes()
{
    QFETCH(QByteArray, archive);
    const QString path = write(archive);
    QCOMPARE(described(choiceByDirectory(path)), described(choiceByUnpacking(path)));
}

void TestArchive::choosesAsTheProgramDoesInRandomArchives_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 10; ++seed) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

void TestArchive::choosesAsTheProgramDoesInRandomArchives()
{
    QFETCH(quint32, seed);
    RandomArchives archives(seed);
    int failing = 0;
    int choosing = 0;
    for (int round = 0; round < 45; ++round) {
        const QString path = write(archives.next(true));
        const Choice expected = choiceByUnpacking(path);
        QVERIFY2(described(choiceByDirectory(path)) == described(expected),
                 qUtf8Printable(u"round %1\n%2\n%3"_s.arg(round).arg(
                     described(choiceByDirectory(path)), described(expected))));
        failing += expected ? 0 : 1;
        choosing += expected && expected->value(u"arm64"_s).size() > 1 ? 1 : 0;
    }
    // Else the comparison says little.
    QVERIFY(failing > 2 && choosing > 10);
}

void TestArchive::choosesAsTheProgramDoesInArchivesOfZip()
{
    QRandomGenerator random(3);
    const QStringList steps = {u"Tool.app"_s, u"Tool-arm64.pkg"_s, u"x64 Tool.dmg"_s, u"disk"_s,
                               u"__MACOSX"_s, u".hidden"_s,        u"Uninstall.app"_s};
    for (int round = 0; round < 50; ++round) {
        const QTemporaryDir folder;
        for (int items = 1 + int(random.bounded(6)); items > 0; --items) {
            QString path = folder.path() + "/in"_L1;
            for (int depth = int(random.bounded(4)); depth >= 0; --depth) {
                path += u'/' + steps[random.bounded(steps.size())];
            }
            if (QDir().mkpath(path) && random.bounded(2)) {
                QFile::link(steps[random.bounded(steps.size())],
                            path + u'/' + steps[random.bounded(steps.size())]);
            }
        }
        QProcess zip;
        zip.setWorkingDirectory(folder.path() + "/in"_L1);
        zip.start(u"zip"_s, {u"-q"_s, u"-r"_s, u"-y"_s, u"../out.zip"_s, u"."_s});
        QVERIFY(zip.waitForFinished() && zip.exitCode() == 0);
        const QString path = folder.filePath(u"out.zip"_s);
        QCOMPARE(described(choiceByDirectory(path)), described(choiceByUnpacking(path)));
    }
}

void TestArchive::tellsWhatTheWindowOpens_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 100; seed < 112; ++seed) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

// The whole way, with the real window: what it hands to the desktop.
void TestArchive::tellsWhatTheWindowOpens()
{
    QFETCH(quint32, seed);
    m_home.reset(); // the bench has its own
    RandomArchives archives(seed);
    const QByteArray archive = archives.next(seed % 2 == 0);
    DownloadBench bench;
    bench.list({{.name = u"Atlas"_s, .fileName = u"tool.zip"_s}});
    bench.offer(u"tool.zip"_s, {.body = archive});
    bench.open(DownloadBench::Hidden);
    bench.pressDownload(0);
    QStringList lines;
    QVERIFY(comesToHold([&] {
        lines += bench.takeActivity();
        const QString all = lines.join(u'\n');
        return all.contains("Extract - Done"_L1) || all.contains("Extract - Failed"_L1);
    }));
    QVERIFY(bench.waitForScan());

    const QString path = bench.machine().home().write(u"same.zip"_s, archive);
    const CommandRun result = run(runArchive, {u"archive"_s, u"--json"_s, path});
    const QJsonObject report = firstArchive(result.out);
    const QString told = report[u"opens"][System::cpuArchitecture()].toString();
    QStringList expected;
    if (!told.isEmpty()) {
        expected.append(bench.downloads() + u'/' + told.section(u'/', -1));
    }
    QCOMPARE(bench.opened(), expected);
}

// What is told

void TestArchive::tellsChoiceAndReason_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QStringList>("lines");

    const auto row = [](const char* what, const QList<QByteArray>& names,
                        const QStringList& lines) { QTest::newRow(what) << zipOf(names) << lines; };
    const QString sound = u"  unzip: ends with 0, all went well"_s;
    row("one item", {"Tool.pkg"},
        {u"  arm64: opens 'Tool.pkg', which names no processor"_s, u"    [score 0] 'Tool.pkg'"_s,
         u"  x86_64: opens 'Tool.pkg', which names no processor"_s, u"    [score 0] 'Tool.pkg'"_s,
         sound});
    row("one item for each processor", {"T-arm64.pkg", "T-x86.pkg"},
        {u"  arm64: opens 'T-arm64.pkg', which names only this processor"_s,
         u"    [score 2] 'T-arm64.pkg'"_s, u"    [score -1] 'T-x86.pkg'"_s,
         u"  x86_64: opens 'T-x86.pkg', which names only this processor"_s,
         u"    [score 2] 'T-x86.pkg'"_s, u"    [score -1] 'T-arm64.pkg'"_s, sound});
    row("universal", {"T-arm64-x86_64.pkg"},
        {u"  arm64: opens 'T-arm64-x86_64.pkg', which names both processors"_s,
         u"    [score 1] 'T-arm64-x86_64.pkg'"_s,
         u"  x86_64: opens 'T-arm64-x86_64.pkg', which names both processors"_s,
         u"    [score 1] 'T-arm64-x86_64.pkg'"_s, sound});
    row("less deep", {"T.pkg/H.pkg/x"},
        {u"  arm64: opens 'T.pkg', which names no processor; it lies less deep than "
         "'T.pkg/H.pkg'"_s,
         u"    [score 0] 'T.pkg'"_s, u"    [score 0] 'T.pkg/H.pkg'"_s,
         u"  x86_64: opens 'T.pkg', which names no processor; it lies less deep than "
         "'T.pkg/H.pkg'"_s,
         u"    [score 0] 'T.pkg'"_s, u"    [score 0] 'T.pkg/H.pkg'"_s, sound});
    row("left out", {"T.pkg", "d/Uninstall.pkg"},
        {u"  arm64: opens 'T.pkg', which names no processor"_s, u"    [score 0] 'T.pkg'"_s,
         u"  x86_64: opens 'T.pkg', which names no processor"_s, u"    [score 0] 'T.pkg'"_s,
         u"  left out: 'd/Uninstall.pkg', as its name holds \"Uninstall\""_s, sound});
}

void TestArchive::tellsChoiceAndReason()
{
    QFETCH(QByteArray, archive);
    QFETCH(QStringList, lines);
    const QString path = write(archive);
    const CommandRun result = run(runArchive, {u"archive"_s, path});
    const QString brings = u"  brings on "_s;
    QVERIFY(result.out.contains(brings));
    QCOMPARE(result.out.section(brings, 0, 0), path + u'\n' + lines.join(u'\n') + u'\n');
    QCOMPARE(result.err, u"1 archive: nothing found\n"_s);
    QCOMPARE(result.status, 0);
}

void TestArchive::tellsWhatHarms_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QString>("choice");  // for arm64; empty: any
    QTest::addColumn<QString>("finding"); // what stands between the severity and the effect
    QTest::addColumn<QString>("rule");

    const auto row = [](const char* what, const QByteArray& archive, const QString& choice,
                        const QString& finding, const QString& rule) {
        QTest::newRow(what) << archive << choice << finding << rule;
    };
    const QString none = u"opens nothing, as unzip would fail"_s;
    const QString a = u"opens 'A.pkg', which names no processor"_s;
    QByteArray damaged = zipOf({"T.pkg"});
    damaged[30 + 5] = 'y';
    row("damaged data", damaged, none,
        u"error: unzip ends with 2: the archive's format is wrong somewhere. "_s,
        u"archive-fails"_s);
    row("bytes before the archive", "#!/bin/sh\n" + zipOf({"T.pkg"}), none, u"error: "_s,
        u"archive"_s);
    row("absolute name", zipOf({"/T.pkg"}), none, u"error: '/T.pkg' leads out of its folder. "_s,
        u"archive-name"_s);
    const auto named = [](const QByteArray& name, ZipMaker::System system) {
        ZipMaker zip;
        zip.add({.name = "A.pkg"});
        zip.add({.name = name, .system = system});
        return zip.bytes();
    };
    row("item torn out of another one", zipOf({"PyCharm.app/Contents/H.pkg"}),
        u"opens 'PyCharm.app', which names only this processor"_s,
        u"error: "
        "'PyCharm.app/Contents/H.pkg', which would be opened, lies inside 'PyCharm.app'. "_s,
        u"archive-inside"_s);
    row("names that differ in case", zipOf({"A.pkg", "d/Read.me", "d/read.ME"}), a,
        u"error: 'd/Read.me' and 'd/read.ME' differ in their letters' case alone. "_s,
        u"archive-case"_s);
    row("bundles that differ in case", zipOf({"A-arm.pkg", "d/T.app/a", "d/t.app/b"}),
        u"opens 'A-arm.pkg', which names only this processor"_s,
        u"error: 'd/T.app' and 'd/t.app' differ in their letters' case alone. "_s,
        u"archive-case"_s);
    row("letters of DOS in UTF-8", named("\u00c9t\u00e9.txt", ZipMaker::Dos), a,
        u"error: '\u00c9t\u00e9.txt' was not packed as on Unix. "_s, u"archive-letters"_s);
    row("letters of NTFS", named("\u00c9.txt", ZipMaker::Ntfs), a,
        u"error: '\u00c9.txt' was not packed as on Unix. "_s, u"archive-letters"_s);
    row("letters of DOS in its code page", named("\x90.txt", ZipMaker::Dos), a,
        u"error: '\u00c9.txt' is no UTF-8 text. "_s, u"archive-bytes"_s);
    row("letters in Latin-1", named("\xc9.txt", ZipMaker::Unix), a,
        u"error: '\u2554.txt' is no UTF-8 text. "_s, u"archive-bytes"_s);
    row("letters of Unix", named("\u00c9.txt", ZipMaker::Unix), a,
        u"warning: '\u00c9.txt' is not all ASCII. "_s, u"archive-accents"_s);
    row("letters of macOS", named("\u00c9.txt", ZipMaker::Darwin), a,
        u"warning: '\u00c9.txt' is not all ASCII. "_s, u"archive-accents"_s);
    row("what unzip makes of them", named("\x90.pkg", ZipMaker::Dos), a, u"error: "_s,
        u"archive-bytes"_s);
    row("tie", zipOf({"A.pkg", "B.pkg"}),
        u"opens 'A.pkg', which names no processor; by name it is before 'B.pkg'"_s,
        u"warning: 'B.pkg' fits as well as 'A.pkg'. "_s, u"archive-tie"_s);
    const QByteArray deep = QByteArray("folder/").repeated(130) + "x.txt";
    ZipMaker marked;
    marked.add({.name = "A.pkg"});
    marked.add({.name = "\xc9.txt", .isUtf8 = true});
    row("bytes that are marked as UTF-8", marked.bytes(), a,
        u"error: '\ufffd.txt' is no UTF-8 text. "_s, u"archive-bytes"_s);
    row("long path", zipOf({"A.pkg", deep}), a,
        u"error: '%1' has 915 bytes. "_s.arg(QString::fromUtf8(deep)), u"archive-long"_s);
    row("shadow folder", zipOf({"d/T.app/a", "__MACOSX/T.app/a"}),
        u"opens 'd/T.app', which names no processor; '__MACOSX/T.app' is a shadow folder's"_s,
        u"warning: '__MACOSX/T.app' fits as well as 'd/T.app'. "_s, u"archive-shadow"_s);
    row("nothing to open", zipOf({"a.txt"}), u"opens nothing"_s,
        u"error: nothing in it can be opened. "_s, u"archive-nothing"_s);
    ZipMaker out;
    out.add({.name = "T.pkg"});
    out.addLink("d/e", "../../f");
    row("link that leads out", out.bytes(), u"opens 'T.pkg', which names no processor"_s,
        u"error: the link 'd/e' leads out. "_s, u"archive-link"_s);
}

void TestArchive::tellsWhatHarms()
{
    QFETCH(QByteArray, archive);
    QFETCH(QString, choice);
    QFETCH(QString, finding);
    QFETCH(QString, rule);
    const QString path = write(archive);
    const QString out = run(runArchive, {u"archive"_s, path}).out;
    QVERIFY2(out.contains("  arm64: "_L1 + choice + u'\n'), qUtf8Printable(out));
    QVERIFY2(out.contains(path + ":0: "_L1 + finding), qUtf8Printable(out));
    QVERIFY2(out.contains(" ["_L1 + rule), qUtf8Printable(out));
}

void TestArchive::tellsWhatKeepsABundleFromStarting_data()
{
    QTest::addColumn<QList<ZipMaker::Item>>("items"); // below "T.app/Contents/"
    QTest::addColumn<QString>("problem");

    const auto row = [](const char* what, const QList<ZipMaker::Item>& items,
                        const QString& problem = {}) { QTest::newRow(what) << items << problem; };
    const ZipMaker::Item list{
        .name = "Info.plist",
        .content = "<plist><dict><key>CFBundleName</key><string>T</string><key>CFBundleExecutable"
                   "</key><string>Run</string></dict></plist>"};
    const ZipMaker::Item binary{.name = "Info.plist", .content = "bplist00"};
    const ZipMaker::Item run{.name = "MacOS/Run", .mode = 0100755};
    const ZipMaker::Item link{.name = "MacOS/Run", .content = "../Resources/Real", .mode = 0120777};
    const ZipMaker::Item current{
        .name = "Frameworks/F.framework/Versions/Current", .content = "A", .mode = 0120777};
    row("sound", {list, run});
    row("sound with a framework",
        {list, run, {.name = "Frameworks/F.framework/Versions/A/F"}, current});
    row("sound with a link", {list, {.name = "Resources/Real", .mode = 0100755}, link});
    row("sound, and a property list that is not read", {binary, run});
    row("the bundle's own name", {{.name = "Info.plist", .content = "<plist><dict/></plist>"},
                                  {.name = "MacOS/T", .mode = 0100755}});
    row("no property list", {run}, u"'T.app' has no Info.plist"_s);
    row("no executable", {list, {.name = "MacOS/T", .mode = 0100755}},
        u"'T.app' lacks its executable 'Run'"_s);
    row("link to nothing", {list, link}, u"'T.app' lacks its executable 'Run'"_s);
    row("no execute bit", {list, {.name = "MacOS/Run"}},
        u"the executable 'Run' of 'T.app' lacks the execute bit"_s);
    row("packed on DOS", {list, {.name = "MacOS/Run", .mode = 0100755, .system = ZipMaker::Dos}},
        u"the executable 'Run' of 'T.app' lacks the execute bit"_s);
    row("no execute bit, and a property list that is not read", {binary, {.name = "MacOS/Run"}},
        u"'T.app' has no file that can be executed"_s);
    row("copies instead of links",
        {list,
         run,
         {.name = "Frameworks/F.framework/Versions/A/F"},
         {.name = "Frameworks/F.framework/Versions/Current/F"}},
        u"\"Versions/Current\" of 'T.app/Contents/Frameworks/F.framework' is no link"_s);
}

void TestArchive::tellsWhatKeepsABundleFromStarting()
{
    QFETCH(QList<ZipMaker::Item>, items);
    QFETCH(QString, problem);
    ZipMaker zip;
    for (ZipMaker::Item& item : items) {
        item.name.prepend("T.app/Contents/");
        zip.add(item);
    }
    QStringList problems;
    for (const Finding& finding : archiveFindings(ArchiveContent(write(zip.bytes())))) {
        if (finding.rule.startsWith("bundle-"_L1)) {
            problems.append(finding.problem);
        }
    }
    QCOMPARE(problems, problem.isEmpty() ? QStringList() : QStringList{problem});
}

void TestArchive::tellsTensOfThousandsOfTies()
{
    QList<QByteArray> names;
    for (int i = 0; i < 60'000; ++i) {
        names.append("T" + QByteArray::number(i) + ".pkg");
    }
    const QString path = write(zipOf(names));
    const ArchiveContent archive(path);
    const QList<Finding> findings = archiveFindings(archive);
    QCOMPARE(findings.size(), 1);
    QCOMPARE(findings[0].problem, u"'T1.pkg' fits as well as 'T0.pkg', and so with 59998 more"_s);
}

void TestArchive::tellsOfNoLinkToTheApplications()
{
    ZipMaker zip;
    zip.add({.name = "T/T.pkg"});
    zip.addLink("T/Applications", "/Applications");
    QCOMPARE(run(runArchive, {u"archive"_s, u"--strict"_s, write(zip.bytes())}).status, 0);
    zip.addLink("T/Other", "/Applications/Other");
    QCOMPARE(run(runArchive, {u"archive"_s, u"--strict"_s, write(zip.bytes())}).status, 1);
}

void TestArchive::tellsThatNothingCanBeUnpacked()
{
    const QString path = write(zipOf({"A.pkg"}));
    const QByteArray former = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(write("no folder", u"file"_s)));
    const QString out = run(runArchive, {u"archive"_s, path}).out;
    former.isEmpty() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", former);
    QVERIFY2(out.contains("\n  unzip: not run, as no temporary folder can be made\n"_L1),
             qUtf8Printable(out));
    QVERIFY2(
        out.contains(":0: warning: it was not unpacked, as no temporary folder can be made. "_L1),
        qUtf8Printable(out));
}

void TestArchive::tellsAllAsJson()
{
    const QString path = write(zipOf({"A.pkg", "B-arm.pkg", "Uninstall.app/x"}));
    const CommandRun result = run(runArchive, {u"archive"_s, u"--json"_s, path});
    const QJsonObject report = firstArchive(result.out);
    QCOMPARE(report[u"file"], path);
    QCOMPARE(report[u"opens"],
             (QJsonObject{{u"arm64"_s, u"B-arm.pkg"_s}, {u"x86_64"_s, u"A.pkg"_s}}));
    QCOMPARE(report[u"candidates"][u"x86_64"],
             (QJsonArray{QJsonObject{{u"path"_s, u"A.pkg"_s}, {u"score"_s, 0}},
                         QJsonObject{{u"path"_s, u"B-arm.pkg"_s}, {u"score"_s, -1}}}));
    QCOMPARE(report[u"excluded"], QJsonArray{u"Uninstall.app"_s});
    QCOMPARE(report[u"unzip"], 0);
    QCOMPARE(report[u"findings"], QJsonArray());
    const QString tie = write(zipOf({"A.pkg", "B.pkg"}), u"tie.zip"_s);
    const QString bad = write(zipOf({"../A.pkg", "B.pkg"}), u"bad.zip"_s);
    const QJsonObject all =
        QJsonDocument::fromJson(
            run(runArchive, {u"archive"_s, u"--json"_s, path, tie, bad}).out.toUtf8())
            .object();
    QCOMPARE(all[u"version"], 1);
    QCOMPARE(all[u"archives"].toArray().size(), 3);
    QCOMPARE(
        all[u"summary"],
        (QJsonObject{{u"archives"_s, 3}, {u"errors"_s, 1}, {u"warnings"_s, 2}, {u"notes"_s, 0}}));
}

void TestArchive::holdsNoMoreThanItsLimits()
{
    ZipMaker zip; // each item is in 1,900 folders, each of which has a path
    for (int i = 0; i < 60; ++i) {
        zip.add({.name = QByteArray::number(i) + QByteArray("/d").repeated(1'900) + "/T.pkg"});
    }
    const ArchiveContent archive(write(zip.bytes()));
    QCOMPARE(archive.error(),
             u"it has more than 1000000 items, or 100000000 characters of paths"_s);
    QVERIFY(archive.nodes().isEmpty());
    QCOMPARE(archiveFindings(archive).constFirst().rule, u"archive-unreadable"_s);
}

void TestArchive::comparesWithThePreviousRelease()
{
    const QString old = write(zipOf({"T-arm64.pkg", "T 1-x64.pkg"}), u"old.zip"_s);
    const QString path = write(zipOf({"T-arm64.pkg", "T 2-x64.pkg"}));
    const CommandRun result = run(runArchive, {u"archive"_s, u"--previous"_s, old, path});
    QCOMPARE(result.status, 1);
    QVERIFY2(result.out.contains("'T-arm64.pkg' is the previous release's item too"_L1),
             qUtf8Printable(result.out));
    QVERIFY(!result.out.contains("'T 2-x64.pkg' is"_L1));
}

void TestArchive::tellsManyInTheirOrder()
{
    QStringList files;
    QString expected;
    for (int i = 0; i < 40; ++i) {
        const QList<QByteArray> names = {"T" + QByteArray::number(i) + ".pkg"};
        files.append(write(zipOf(names), u"%1.zip"_s.arg(i)));
        expected += run(runArchive, {u"archive"_s, files.constLast()}).out;
    }
    QCOMPARE(run(runArchive, QStringList{u"archive"_s} + files).out, expected);
}

void TestArchive::endsWholeWhenInterrupted()
{
    const QString first = write(zipOf({"A.pkg"}), u"first.zip"_s);
    QFile large(m_home->path() + "/large.pkg"_L1);
    QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(600'000'000));
    QProcess zip;
    zip.setWorkingDirectory(m_home->path());
    zip.start(u"zip"_s, {u"-q"_s, u"-1"_s, u"second.zip"_s, u"large.pkg"_s});
    QVERIFY(zip.waitForFinished() && zip.exitCode() == 0);
    const QString second = m_home->path() + "/second.zip"_L1;
    const QString folder = m_home->path() + "/temporary"_L1;
    QVERIFY(QDir().mkpath(folder));
    QProcess companion;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TMPDIR"_s, folder);
    companion.setProcessEnvironment(environment);
    // Often, so that it is not done before it is interrupted.
    companion.start(QStringLiteral(QUILLMERE_CATALOGUE),
                    QStringList{u"archive"_s, first} + QStringList(40, second));
    QString out;
    QVERIFY(comesToHold([&] {
        companion.waitForReadyRead(10);
        out += QString::fromUtf8(companion.readAllStandardOutput());
        return out.contains("opens 'A.pkg'"_L1) && !QDir(folder).isEmpty();
    }));
    companion.terminate();
    QVERIFY(companion.waitForFinished());
    QCOMPARE(companion.exitCode(), 128 + 15);
    QVERIFY(QDir(folder).isEmpty());
    QCOMPARE(QProcess::execute(u"pgrep"_s, {u"-f"_s, second}), 1); // none is left
}

void TestArchive::endsByWhatWasFound()
{
    const QString good = write(zipOf({"A.pkg"}), u"good.zip"_s);
    const QString tie = write(zipOf({"A.pkg", "B.pkg"}), u"tie.zip"_s);
    const QString bad = write(zipOf({"../A.pkg"}), u"bad.zip"_s);
    QCOMPARE(run(runArchive, {u"archive"_s, good, tie}).status, 0);
    QCOMPARE(run(runArchive, {u"archive"_s, u"--strict"_s, good, tie}).status, 1);
    QCOMPARE(run(runArchive, {u"archive"_s, bad, good}).status, 1);
    // Who finds nothing says what was looked at, beside the output.
    QCOMPARE(run(runArchive, {u"archive"_s, good, tie}).err, QString());
    QCOMPARE(run(runArchive, {u"archive"_s, good}).err, u"1 archive: nothing found\n"_s);
    QCOMPARE(run(runArchive, {u"archive"_s, good, good}).err, u"2 archives: nothing found\n"_s);
}

void TestArchive::unreadableInputIsTold()
{
    const QString none = m_home->path() + "/none.zip"_L1;
    QCOMPARE(run(runArchive, {u"archive"_s, write(zipOf({"A.pkg"})), none}),
             refusal(u"archive"_s, u"cannot read "_s + none));
    QCOMPARE(run(runArchive, {u"archive"_s}),
             refusal(u"archive"_s, u"an argument is missing (try --help)"_s));
}

void TestArchive::leavesTheArchiveAsItWas()
{
    const QByteArray bytes = zipOf({"A.pkg", "../B.pkg"});
    const QString path = write(bytes);
    QCOMPARE(run(runArchive, {u"archive"_s, path}).status, 1);
    QCOMPARE(PrivateHome::read(path), bytes);
    QCOMPARE(QDir(m_home->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{u"tool.zip"_s});
}

void TestArchive::leavesNothingUnpacked_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::newRow("plain names") << zipOf({"A.pkg", "d/e/B.pkg"});
    ZipMaker noText;
    noText.add({.name = "A.pkg"});
    noText.add({.name = "\xc9.txt"});
    QTest::newRow("names that are no text") << noText.bytes();
    ZipMaker closed;
    closed.add({.name = "d/", .mode = 0040555});
    closed.add({.name = "d/A.pkg"});
    closed.addLink("d/to-the-root", "/");
    QTest::newRow("a folder that nobody may write to") << closed.bytes();
}

void TestArchive::leavesNothingUnpacked()
{
    QFETCH(QByteArray, archive);
    const QByteArray former = qgetenv("TMPDIR");
    const QString folder = m_home->path() + "/temporary"_L1;
    QVERIFY(QDir().mkpath(folder));
    qputenv("TMPDIR", QFile::encodeName(folder));
    const int status = run(runArchive, {u"archive"_s, write(archive)}).status;
    former.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", former);
    QVERIFY(status != 2); // it was read
    QVERIFY(std::filesystem::is_empty(QFile::encodeName(folder).toStdString()));
}

QTEST_MAIN(TestArchive)
#include "tst_archive.moc"
