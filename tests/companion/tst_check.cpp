#include "companion/catalogue/check.h"

#include "commandrun.h"
#include "support/packagemaker.h"
#include "companion/catalogue/namerules.h"
#include "companion/installer/installerreader.h"
#include "companion/report/rules.h"
#include "support/httpserver.h"
#include "support/privatehome.h"
#include "support/zipmaker.h"
#include "web/webprofiler.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray header = "Name,Version,Release date,Filename,Ignored\n";

/// A catalogue of @p lines under the usual header.
QByteArray catalogue(const QByteArrayList& lines)
{
    return header + lines.join('\n') + '\n';
}

/// An entry that nothing is wrong with.
QByteArray entry(const QByteArray& name, const QByteArray& version = "1.0",
                 const QByteArray& fileName = "tool.iso")
{
    return name + ',' + version + ",2026-09-21," + fileName + ",0";
}

/// "2 name-duplicate", by line.
QStringList briefly(const QList<Finding>& findings)
{
    QStringList brief;
    for (const Finding& finding : findings) {
        brief.append(QString::number(finding.line) + u' ' + finding.rule);
    }
    return brief;
}

QStringList found(const QByteArray& text, const QString& separator = u","_s)
{
    Report report(u"catalogue.csv"_s);
    checkCatalogue(text, separator, report);
    return briefly(report.takeFindings());
}

/// An Info.plist that tells @p version.
QByteArray plist(const QByteArray& version)
{
    return "<?xml version=\"1.0\"?><plist><dict><key>CFBundleShortVersionString</key><string>" +
           version + "</string></dict></plist>";
}

QByteArray bundleZip(const QByteArray& infoPlist, const QByteArray& name = "Tool.app")
{
    ZipMaker zip;
    ZipMaker::Item item;
    item.name = name + "/Contents/Info.plist";
    item.content = infoPlist;
    zip.add(item);
    zip.add({.name = name + "/Contents/MacOS/" + name.chopped(4), .mode = 0100755});
    return zip.bytes();
}

/// The findings that `check --json` wrote.
QJsonArray findingsIn(const CommandRun& run)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(run.out.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        qCritical() << "no JSON:" << run.out;
    }
    return document[u"findings"].toArray();
}

QByteArray diskImage()
{
    return QByteArray(1000, 'd') + "koly" + QByteArray(508, '\0');
}

/// What this process has read from files so far; -1 where that is not known.
qint64 bytesRead()
{
    QFile counts(u"/proc/self/io"_s);
    if (!counts.open(QIODevice::ReadOnly)) {
        return -1;
    }
    return counts.readLine().simplified().split(' ').value(1, "-1").toLongLong();
}

const QByteArray webPage = "\n<!DOCTYPE HTML><title>Please log in</title>";

} // namespace

class TestCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What the client logs is of no account.
    void initTestCase() { QLoggingCategory::setFilterRules(u"default.debug=false"_s); }
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void findsWhatIsWrongWithTheText_data();
    void findsWhatIsWrongWithTheText();
    void findsTheWrongSeparator_data();
    void findsTheWrongSeparator();
    void findsNamesThatMeetInAnyOrder();
    void comparesWithThePublishedCatalogue_data();
    void comparesWithThePublishedCatalogue();
    void countsTheEntriesThatVanished_data();
    void countsTheEntriesThatVanished();
    void namesSomeThatVanished();
    void findsFilesThatChangedSincePublication_data();
    void findsFilesThatChangedSincePublication();
    void keepsPublishedFilesFromBeingUnnamed();
    void warnsOfNamesThatBeginKnownOnes_data();
    void warnsOfNamesThatBeginKnownOnes();
    void looksAtTheFiles_data();
    void looksAtTheFiles();
    void looksAtTheArchives_data();
    void looksAtTheArchives();
    void looksIntoTheArchives_data();
    void looksIntoTheArchives();
    void tellsThatNothingCanBeUnpacked();
    void thoroughNeedsFiles();
    void comparesTheItemWithThePreviousRelease_data();
    void comparesTheItemWithThePreviousRelease();
    void looksAtThePackages_data();
    void looksAtThePackages();
    void tellsThatNoInstallerCanBeRead();
    void comparesTheIdentifierWithThePreviousRelease();
    void readsTheBeginningsOfItemsOnly();

    void readsWhatTheClientReads();
    void bomAndCarriageReturnsAreReadAsTheClientDoes();

    void tellsFindingsInLines();
    void tellsWhoseApplicationAPrefixTakes();
    void tellsFindingsAsJson();
    void controlCharactersAreWrittenOut();
    void endsByWhatWasFound_data();
    void endsByWhatWasFound();
    void tellsFindingsShortly();
    void leavesAcceptedFindingsOut_data();
    void leavesAcceptedFindingsOut();
    void listsTheRulesAsJson();
    void stopsAtAMillionFindings();
    void explainsEveryRule();
    void readsFromAWebServer();
    void unreadableInputIsTold_data();
    void unreadableInputIsTold();
    void tellsThatNothingWasFound();
    void leavesWhatItReadsAsItWas();
    void ownUpdateIsNoApplication();
    void findsFilesThatDifferInCase();
    void everyRuleIsCaughtByATest();

private:
    QString write(const QString& name, const QByteArray& content) const
    {
        return m_home->write(name, content);
    }
    /// What `check` tells with the options, "LINE rule" each, or "NAME rule" for a file.
    [[nodiscard]] QStringList check(const QByteArray& text, const QStringList& options = {});

    static void addRule(const char* what, const QByteArray& text, const QStringList& findings)
    {
        QTest::newRow(what) << text << findings;
    }
    void note(const QStringList& findings)
    {
        for (const QString& finding : findings) {
            m_caught.insert(finding.section(u' ', -1));
        }
    }

    std::optional<PrivateHome> m_home;
    QSet<QString> m_caught; ///< the rules that some test has caught
};

QStringList TestCheck::check(const QByteArray& text, const QStringList& options)
{
    const QString path = write(u"catalogue.csv"_s, text);
    const CommandRun result = run(runCheck, QStringList{u"check"_s, path, u"--json"_s} + options);
    QStringList brief;
    const QJsonArray findings = findingsIn(result);
    for (const auto& finding : findings) {
        const QString file = finding[u"file"].toString();
        const QString place =
            file == path ? QString::number(finding[u"line"].toInteger()) : file.section(u'/', -1);
        brief.append(place + u' ' + finding[u"rule"].toString());
    }
    return brief;
}

void TestCheck::findsWhatIsWrongWithTheText_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("findings");

    addRule("nothing", catalogue({entry("Atlas"), entry("Borealis", "10.4.1")}), {});
    addRule("CRLF",
            catalogue({entry("Atlas") + '\r', entry("Borealis") + '\r'})
                .replace("Ignored\n", "Ignored\r\n"),
            {});
    addRule("quoted fields", catalogue({"\"Atlas\", \"1.0\" ,,\"a b.iso\",\"0\""}), {});

    // Lines that are dropped
    addRule("empty catalogue", "", {u"0 no-entry"_s});
    addRule("header alone", header, {u"0 no-entry"_s});
    addRule("00 is not 0", catalogue({entry("A") + '0', entry("B")}), {u"2 dropped-ignored"_s});
    addRule("empty Ignored", catalogue({entry("A").chopped(1), entry("B")}),
            {u"2 dropped-ignored"_s});
    addRule("a word", catalogue({entry("A").chopped(1) + "no", entry("B")}),
            {u"2 dropped-ignored"_s});
    addRule("hidden on purpose", catalogue({entry("A").chopped(1) + '1', entry("B")}),
            {u"2 dropped-hidden"_s});
    addRule("too few fields", catalogue({"A,1.0", entry("B")}), {u"2 dropped-short"_s});
    addRule("empty line", catalogue({entry("A"), "", entry("B")}), {u"3 dropped-empty"_s});
    addRule("line of blanks", catalogue({entry("A"), " \t", entry("B")}), {u"3 dropped-empty"_s});
    addRule("separator inside quotes", catalogue({"\"Ink, Pen\",1.0,d,f.bin,0", entry("B")}),
            {u"2 field-split"_s});
    addRule("separator inside quotes, accepted all the same",
            "Name,Ignored,Version,Release date,Filename\n"
            "A,0,1.0,d,\"f, g.iso\"\n",
            {u"2 field-split"_s, u"2 file-ending"_s});
    addRule("separator inside quotes, behind what the client reads",
            header.trimmed() + ",Note\n" + entry("A") + ",\"x, y\"\n", {});
    addRule("quotes inside a field protect nothing and break nothing",
            catalogue({entry("A 3\" tool")}), {});

    // The header
    addRule("title with blanks",
            header.trimmed().replace(",Version", ", Version") + '\n' + entry("A"),
            {u"1 header-title"_s, u"2 version-empty"_s});
    addRule("quoted title", QByteArray(header).replace("Ignored", "\"Ignored\"") + entry("A"),
            {u"0 no-entry"_s, u"1 header-title"_s});
    addRule("title in other letters",
            QByteArray(header).replace("Release d", "Release D") + entry("A"),
            {u"1 header-title"_s});
    addRule("column is missing", "Name,Version,Filename,Ignored\nA,1.0,a.iso,0\n",
            {u"1 header-column"_s});
    addRule("no Ignored: one finding for all lines",
            "Name,Version,Release date,Filename\nA,1.0,d,a.iso\nB,1.0,d,a.iso\n",
            {u"0 no-entry"_s, u"1 header-column"_s});
    addRule("the first title is of no account", "\" Anything\"" + header.mid(4) + entry("A"), {});

    // Bytes and quotes
    addRule("a name in Latin-1", catalogue({entry("Caf\xe9"), entry("B")}), {u"2 encoding"_s});
    addRule("a file name in Latin-1", catalogue({entry("A", "1.0", "caf\xe9.iso")}),
            {u"2 encoding"_s});
    addRule("a date in Latin-1", catalogue({"A,1.0,ao\xfbt,tool.iso,0"}), {u"2 encoding"_s});
    addRule("a surrogate in UTF-8", catalogue({entry("\xed\xa0\x80 A")}), {u"2 encoding"_s});
    addRule("quotes doubled inside a quoted field", catalogue({entry("\"Ink \"\"6.04\"\"\"")}),
            {u"2 field-quotes"_s});
    addRule("quotes doubled without need", catalogue({entry("Ink \"\"6.04\"\"")}),
            {u"2 field-quotes"_s});
    addRule("a quote that does not close", catalogue({entry("\"Ink")}), {u"2 field-quotes"_s});
    addRule("a quote alone", catalogue({entry("A", "1.0", "\"")}),
            {u"2 field-quotes"_s, u"2 file-ending"_s});
    addRule("two quoted words", catalogue({entry("\"Ink\" and \"Pen\"")}), {u"2 field-quotes"_s});
    addRule("doubled quotes in the date", catalogue({"A,1.0,\"\"\"d\"\"\",tool.iso,0"}),
            {u"2 field-quotes"_s});
    addRule("an empty quoted date", catalogue({"A,1.0,\"\",tool.iso,0"}), {});
    addRule("inches", catalogue({entry("Screen 27\"")}), {});
    addRule("a column that nobody reads, in Latin-1",
            header.trimmed() + ",Caf\xe9\n" + entry("A") + ",Caf\xe9\n", {});
    addRule("a line that is dropped, in Latin-1", catalogue({"Caf\xe9,1,d,f.iso,1", entry("B")}),
            {u"2 dropped-hidden"_s});

    // Names
    addRule("no name", catalogue({entry("")}), {u"2 name-empty"_s});
    addRule("listed twice", catalogue({entry("A"), entry("B"), entry("A")}),
            {u"4 name-duplicate"_s});
    addRule("letter case tells names apart", catalogue({entry("A"), entry("a")}), {});
    addRule("begins another", catalogue({entry("Synth Pro"), entry("Synth")}),
            {u"3 name-prefix"_s});
    addRule("begins another's version", catalogue({entry("Synth"), entry("Synth 2")}),
            {u"2 name-prefix"_s});
    addRule("begins several: one finding", catalogue({entry("S"), entry("S 1"), entry("Sx")}),
            {u"2 name-prefix"_s});
    addRule("begins none", catalogue({entry("Synth"), entry("Syntax")}), {});
    addRule("begins both others", catalogue({entry("Synth"), entry("Syntax"), entry("Synt")}),
            {u"4 name-prefix"_s});
    addRule("two spellings", catalogue({entry("\u00c9t\u00e9"), entry("E\u0301te\u0301")}),
            {u"2 name-composed"_s, u"3 name-decomposed"_s, u"3 name-two-spellings"_s});
    addRule("accent listed twice is a duplicate", catalogue({entry("\u00c9"), entry("\u00c9")}),
            {u"2 name-composed"_s, u"3 name-composed"_s, u"3 name-duplicate"_s});
    addRule("other alphabets have no two spellings",
            catalogue({entry("\u03a9mega"), entry("\u4e2d")}), {});
    addRule("blanks inside quotes", catalogue({entry("\" A\""), entry("\"B \"")}),
            {u"2 name-blanks"_s, u"3 name-blanks"_s});
    addRule("blanks outside quotes", catalogue({entry(" A "), entry("\t\"B\" ")}), {});
    addRule("a zero byte", catalogue({entry(QByteArray("A\0B", 3))}), {u"2 name-unseen"_s});
    for (const char* unseen :
         {"\x1b", "\u200b", "\u202e", "\u00a0", "\u00ad", "\ufeff", "\u2028", "\u2009", "\t"}) {
        const QByteArray name = QByteArray("Ink") + unseen + "Pen";
        addRule(("in a name: " + name.toPercentEncoding()).constData(), catalogue({entry(name)}),
                {u"2 name-unseen"_s});
    }
    addRule("at an end: what the client does not trim, and what it does",
            catalogue({entry("A\u200b"), entry("B\u00a0")}), {u"2 name-unseen"_s});
    addRule("a joiner between letters that take one", catalogue({entry("\u0646\u200c\u0647")}), {});
    addRule("a joiner between those that take none", catalogue({entry("A\u200dB")}),
            {u"2 name-unseen"_s});
    addRule("a blank of another alphabet", catalogue({entry("\u4e2d\u3000\u4e2d")}), {});
    addRule("a bundle's ending", catalogue({entry("Ink.app"), entry("Pen.APP")}),
            {u"2 name-app"_s, u"3 name-app"_s});
    addRule("a slash", catalogue({entry("Ink/Pen")}), {u"2 name-slash"_s});
    addRule("the product's name by accident", catalogue({entry("My quillmere tool")}),
            {u"2 name-product"_s});
    addRule("the product itself", catalogue({entry("Quillmere")}), {});

    // Versions
    addRule("no version", catalogue({entry("A", "")}), {u"2 version-empty"_s});
    addRule("a letter first", catalogue({entry("A", "v1.2")}), {u"2 version-start"_s});
    addRule("a bracket first", catalogue({entry("A", "(1.2)")}), {u"2 version-start"_s});
    addRule("digits of another script first", catalogue({entry("A", "\u0661.2")}),
            {u"2 version-start"_s});
    addRule("too large", catalogue({entry("A", "1.2147483648")}), {u"2 version-number"_s});
    addRule("as large as can be", catalogue({entry("A", "1.2147483647")}), {});
    addRule("large with zeros before it", catalogue({entry("A", "1.00000000002")}), {});
    addRule("many zeros", catalogue({entry("A", "1.00000000000")}), {});
    addRule("a letter behind", catalogue({entry("A", "1.2b3")}), {u"2 version-text"_s});
    addRule("a part without digits", catalogue({entry("A", "1.beta")}), {u"2 version-text"_s});
    addRule("a bracket", catalogue({entry("A", "1.2 (34)")}), {u"2 version-text"_s});
    addRule("an empty part", catalogue({entry("A", "1..2")}), {u"2 version-text"_s});
    addRule("a number after the bracket", catalogue({entry("A", "1.2 (3.99999999999)")}),
            {u"2 version-text"_s});
    addRule("blanks that the client trims", catalogue({entry("A", "\" 1.2 \"")}), {});
    addRule("blanks before a bracket's own", catalogue({entry("A", "\" (1.2)\"")}),
            {u"2 version-start"_s});
    addRule("a blank inside", catalogue({entry("A", "1. 2")}), {u"2 version-text"_s});
    addRule("digits of two scripts in one part", catalogue({entry("A", "1\u0661.2")}),
            {u"2 version-number"_s, u"2 version-text"_s});
    addRule("a long date", catalogue({entry("A", "20260921.1530")}), {});

    // File names
    addRule("no file", catalogue({entry("A", "1.0", "")}), {u"2 file-none"_s});
    for (const char* name : {"a#b.iso", "a?b.iso", "a%20b.iso"}) {
        addRule(name, catalogue({entry("A", "1.0", name)}), {u"2 file-address"_s});
    }
    addRule("a zero byte in a file name", catalogue({entry("A", "1.0", QByteArray("a\0b.iso", 7))}),
            {u"2 file-unseen"_s});
    addRule("a direction mark in a file name", catalogue({entry("A", "1.0", "a\u202eb.iso")}),
            {u"2 file-unseen"_s});
    for (const char* name : {"mac/a.iso", "../a.iso", "..", ".", "/a.iso"}) {
        addRule(name, catalogue({entry("A", "1.0", name)}), {u"2 file-folder"_s});
    }
    addRule("a name of 256 bytes", catalogue({entry("A", "1.0", QByteArray(252, 'a') + ".iso")}),
            {u"2 file-long"_s});
    addRule("126 accents are 252 bytes",
            catalogue({entry("A", "1.0", QByteArray("\u00e9").repeated(126) + ".iso")}),
            {u"2 file-long"_s});
    addRule("a name of 255 bytes", catalogue({entry("A", "1.0", QByteArray(251, 'a') + ".iso")}),
            {});
    for (const char* name : {"a.dmg", "a.PKG", "a.zip", "a.tar.gz", "a.pdf", "a.mobileconfig"}) {
        addRule(name, catalogue({entry("A", "1.0", name)}), {});
    }
    for (const char* name :
         {"a.exe", "a.MSI", "a.rar", "a.deb", "a.app", "Synth", "Synth-2.5", "a.", ".dmg"}) {
        addRule(name, catalogue({entry("A", "1.0", name)}), {u"2 file-ending"_s});
    }
    for (const char* name : {"a.7z", "a.bin", "Synth 2.5 final"}) {
        addRule(name, catalogue({entry("A", "1.0", name)}), {u"2 file-ending-unknown"_s});
    }
    addRule("blanks, brackets and dots in a name", catalogue({entry("A", "1.0", "a b (2)..iso")}),
            {});
}

void TestCheck::findsWhatIsWrongWithTheText()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, findings);
    QCOMPARE(found(text), findings);
    note(findings);
}

void TestCheck::findsTheWrongSeparator_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QStringList>("findings");

    const QByteArray text = catalogue({entry("A"), entry("B")});
    const QStringList wrong{u"0 no-entry"_s, u"1 separator"_s};
    QTest::newRow("comma for comma") << text << u","_s << QStringList();
    QTest::newRow("comma for semicolon") << text << u";"_s << wrong;
    QTest::newRow("semicolon for comma") << QByteArray(text).replace(',', ';') << u","_s << wrong;
    QTest::newRow("semicolon for semicolon")
        << QByteArray(text).replace(',', ';') << u";"_s << QStringList();
    QTest::newRow("tabulator for comma") << QByteArray(text).replace(',', '\t') << u","_s << wrong;
    QTest::newRow("tabulator for tabulator")
        << QByteArray(text).replace(',', '\t') << u"\t"_s << QStringList();
    QTest::newRow("two characters")
        << QByteArray(text).replace(",", "::") << u"::"_s << QStringList();
    QTest::newRow("no catalogue at all")
        << QByteArray("<html>\n") << u","_s
        << QStringList{u"0 no-entry"_s, u"1 header-column"_s, u"1 header-column"_s,
                       u"1 header-column"_s, u"1 header-column"_s};
}

void TestCheck::findsTheWrongSeparator()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, separator);
    QFETCH(QStringList, findings);
    QCOMPARE(found(text, separator), findings);
    note(findings);
}

void TestCheck::findsNamesThatMeetInAnyOrder()
{
    QRandomGenerator random(11);
    const QString letters = u"ab \u4e00"_s;
    for (int round = 0; round < 300; ++round) {
        // Long names, so that more than their beginnings must be compared, and a few short ones.
        const QString start = QString(int(random.bounded(12)), u'x');
        QList<CatalogueEntry> entries;
        for (int line = 2; line < 32; ++line) {
            QString name = random.bounded(10) ? start : QString();
            for (int length = 1 + int(random.bounded(12)); length > 0; --length) {
                name += letters[random.bounded(letters.size())];
            }
            entries.append({line, name.trimmed() + u'.', {}, {}});
            if (random.bounded(2)) {
                entries.last().name.chop(1 + qsizetype(random.bounded(name.trimmed().size() + 1)));
            }
        }
        QStringList expected;
        for (qsizetype i = 0; i < entries.size(); ++i) {
            const QString& name = entries[i].name;
            const auto isAlike = [&name](const CatalogueEntry& e) { return e.name == name; };
            const auto goesOn = [&name](const CatalogueEntry& e) {
                return e.name != name && e.name.startsWith(name);
            };
            if (name.isEmpty()) {
                continue;
            }
            if (std::any_of(entries.cbegin(), entries.cbegin() + i, isAlike)) {
                expected.append(QString::number(entries[i].line) + " name-duplicate"_L1);
            } else if (std::any_of(entries.cbegin(), entries.cend(), goesOn)) {
                expected.append(QString::number(entries[i].line) + " name-prefix"_L1);
            }
        }
        Report report(u"catalogue.csv"_s);
        checkNames(entries, report);
        QStringList told = briefly(report.takeFindings());
        told.removeIf([](const QString& finding) {
            return !finding.endsWith("-duplicate"_L1) && !finding.endsWith("-prefix"_L1);
        });
        QCOMPARE(told, expected);
    }
}

void TestCheck::comparesWithThePublishedCatalogue_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QStringList>("findings");

    const auto row = [](const char* what, const QByteArray& published, const QByteArray& version,
                        const QStringList& findings) {
        QTest::newRow(what) << catalogue({published, entry("C")}) << version << findings;
    };
    row("newer", entry("A", "1.0"), "1.1", {});
    row("unchanged", entry("A", "1.0"), "1.0", {});
    row("one part more is not newer", entry("A", "1.0"), "1.0.1", {u"2 version-same"_s});
    row("a letter is not newer", entry("A", "1.0"), "1.0b",
        {u"2 version-same"_s, u"2 version-text"_s});
    row("older", entry("A", "1.10"), "1.9", {u"2 version-older"_s});
    row("another application's version is of no account", entry("B"), "0.9", {});
    row("hidden until now", entry("A", "9").chopped(1) + "1\n" + entry("B"), "1.0", {});
    row("of a name listed twice the later counts", entry("A", "9") + '\n' + entry("A", "1.0"),
        "1.1", {});
    row("raised, and its file stayed", entry("A", "1.0", "new.iso"), "1.1", {u"2 file-reused"_s});
    row("raised in its text, and its file stayed", entry("A", "1.0", "new.iso"), "1.0.1",
        {u"2 file-reused"_s, u"2 version-same"_s});
    row("corrected downwards, and its file stayed", entry("A", "1.1", "new.iso"), "1.0",
        {u"2 version-older"_s});
    row("unchanged with its file", entry("A", "1.0", "new.iso"), "1.0", {});
}

void TestCheck::comparesWithThePublishedCatalogue()
{
    QFETCH(QByteArray, published);
    QFETCH(QByteArray, version);
    QFETCH(QStringList, findings);
    QStringList result = check(catalogue({entry("A", version, "new.iso"), entry("B"), entry("C")}),
                               {u"--published"_s, write(u"old.csv"_s, published)});
    result.sort();
    QCOMPARE(result, findings);
    note(findings);
}

void TestCheck::countsTheEntriesThatVanished_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("findings");

    const QByteArray all = catalogue({entry("A"), entry("B"), entry("C")});
    const QByteArray one = catalogue({entry("A")});
    const QStringList gone{u"0 entry-removed"_s};
    QTest::newRow("none") << all << QStringList() << QStringList();
    QTest::newRow("two") << one << QStringList() << gone;
    QTest::newRow("two, one may") << one << QStringList{u"--removes"_s, u"1"_s} << gone;
    QTest::newRow("two, two may") << one << QStringList{u"--removes"_s, u"2"_s} << QStringList();
    QTest::newRow("hidden on purpose")
        << catalogue({entry("A"), entry("B").chopped(1) + '1', entry("C").chopped(1) + '1'})
        << QStringList() << QStringList{u"3 dropped-hidden"_s, u"4 dropped-hidden"_s};
    QTest::newRow("renamed") << catalogue({entry("A"), entry("B"), entry("D")}) << QStringList()
                             << gone;
}

void TestCheck::countsTheEntriesThatVanished()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, options);
    QFETCH(QStringList, findings);
    const QString old = write(
        u"old.csv"_s, catalogue({entry("A"), entry("B"), entry("C"), entry("H").chopped(1) + '1'}));
    QCOMPARE(check(text, options + QStringList{u"--published"_s, old}), findings);
    note(findings);
}

void TestCheck::namesSomeThatVanished()
{
    const QString old = write(
        u"old.csv"_s, catalogue({entry("D"), entry("C"), entry("B"), entry("E"), entry("A")}));
    const QString path = write(u"catalogue.csv"_s, catalogue({entry("A")}));
    const QString out = run(runCheck, {u"check"_s, path, u"--published"_s, old}).out;
    const QString told =
        path + ":0: error: 4 published entries are gone: 'B', 'C', 'D' and 1 more. "_L1;
    QVERIFY2(out.startsWith(told), qUtf8Printable(out));
}

void TestCheck::findsFilesThatChangedSincePublication_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QStringList>("findings");

    QTest::newRow("older than the published catalogue") << -10 << QStringList();
    QTest::newRow("newer") << 10 << QStringList{u"2 file-changed"_s};
}

void TestCheck::findsFilesThatChangedSincePublication()
{
    QFETCH(int, seconds);
    QFETCH(QStringList, findings);
    const QString old = write(u"old.csv"_s, catalogue({entry("A"), entry("N", "1.0", "old.iso")}));
    for (const QString& name : {u"tool.iso"_s, u"new.iso"_s}) {
        QFile file(write("soft/"_L1 + name, "x"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QFileInfo(old).lastModified().addSecs(seconds),
                                 QFileDevice::FileModificationTime));
    }
    QCOMPARE(check(catalogue({entry("A"), entry("N", "1.1", "new.iso")}),
                   {u"--published"_s, old, u"--files"_s, m_home->path() + "/soft"_L1}),
             findings);
    note(findings);
}

void TestCheck::keepsPublishedFilesFromBeingUnnamed()
{
    write(u"soft/new.iso"_s, "x");
    write(u"soft/tool.iso"_s, "x");
    const QString old = write(u"old.csv"_s, catalogue({entry("A")}));
    const QString path = write(u"catalogue.csv"_s, catalogue({entry("A", "1.1", "new.iso")}));
    const QStringList arguments{u"check"_s, path, u"--strict"_s, u"--files"_s,
                                m_home->path() + "/soft"_L1};
    QCOMPARE(run(runCheck, arguments).status, 1);
    QCOMPARE(run(runCheck, arguments + QStringList{u"--published"_s, old}).out, QString());
}

void TestCheck::warnsOfNamesThatBeginKnownOnes_data()
{
    QTest::addColumn<QByteArray>("known");
    QTest::addColumn<QStringList>("findings");

    const QStringList warned{u"2 name-known"_s};
    QTest::newRow("another product") << QByteArray("Synth Pro\n") << warned;
    QTest::newRow("as a bundle's path") << QByteArray("/Applications/Synthesis.app\r\n") << warned;
    QTest::newRow("the product itself") << QByteArray("Synth\n\nSynth.app\n") << QStringList();
    QTest::newRow("a version of it") << QByteArray("Synth 2\nSynth 3.1\n") << QStringList();
    QTest::newRow("an entry of its own") << QByteArray("Synth Lite\n") << QStringList();
    QTest::newRow("other letters") << QByteArray("synthesis\nMy Synth Pro\n") << QStringList();
}

void TestCheck::warnsOfNamesThatBeginKnownOnes()
{
    QFETCH(QByteArray, known);
    QFETCH(QStringList, findings);
    QStringList result = check(catalogue({entry("Synth"), entry("Synth Lite")}),
                               {u"--known"_s, write(u"names.txt"_s, known)});
    QCOMPARE(result.takeFirst(), u"2 name-prefix"_s); // with or without them
    QCOMPARE(result, findings);
    note(findings);
}

void TestCheck::looksAtTheFiles_data()
{
    QTest::addColumn<QByteArray>("fileName");
    QTest::addColumn<QString>("existing");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("findings");

    const auto row = [](const char* what, const QByteArray& fileName, const QString& existing,
                        const QByteArray& content, const QStringList& findings) {
        QTest::newRow(what) << fileName << existing << content << findings;
    };
    row("there", "a.iso", u"a.iso"_s, "x", {});
    row("missing", "a.iso", u"b.iso"_s, "x", {u"b.iso file-unnamed"_s, u"2 file-missing"_s});
    row("a folder of that name", "a.iso", u"a.bin/inside"_s, "x", {u"2 file-missing"_s});
    row("other letter case", "Tool.iso", u"tool.iso"_s, "x", {u"2 file-case"_s});
    row("empty", "a.iso", u"a.iso"_s, "", {u"2 file-empty"_s});
    row("hidden files are nobody's", "a.iso", u".htaccess"_s, "x", {u"2 file-missing"_s});
    const QByteArray package = packageOf({{"./ReadMe.txt", "x"}});
    row("a package", "a.pkg", u"a.pkg"_s, package, {});
    row("an upper-case ending", "A.PKG", u"A.PKG"_s, package, {});
    row("no package", "a.mpkg", u"a.mpkg"_s, "PK\3\4", {u"2 file-type"_s});
    row("a disk image", "a.dmg", u"a.dmg"_s, diskImage(), {});
    row("no disk image", "a.dmg", u"a.dmg"_s, diskImage().chopped(1), {u"2 file-type"_s});
    row("a short disk image", "a.dmg", u"a.dmg"_s, "koly", {u"2 file-type"_s});
    row("no archive", "a.zip", u"a.zip"_s, "Rar!", {u"2 file-type"_s});
    row("a web page", "a.dmg", u"a.dmg"_s, webPage, {u"2 file-type"_s});
    row("a web page of any name", "a.iso", u"a.iso"_s, webPage, {u"2 file-type"_s});
    row("a web page that is one", "a.html", u"a.html"_s, webPage, {});
}

void TestCheck::looksAtTheFiles()
{
    QFETCH(QByteArray, fileName);
    QFETCH(QString, existing);
    QFETCH(QByteArray, content);
    QFETCH(QStringList, findings);
    write("soft/"_L1 + existing, content);
    QCOMPARE(check(catalogue({entry("A", "1.0", fileName)}),
                   {u"--files"_s, m_home->path() + "/soft"_L1}),
             findings);
    note(findings);
}

void TestCheck::looksAtTheArchives_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QStringList>("findings");

    const auto row = [](const char* what, const QByteArray& archive, const QStringList& findings) {
        QTest::newRow(what) << archive << findings;
    };
    row("one package", zipOf({"Tool.pkg", "ReadMe.txt"}), {});
    row("cut off", zipOf({"Tool.pkg"}).chopped(5), {u"2 archive-unreadable"_s});
    row("empty", ZipMaker().bytes(), {u"2 archive-fails"_s, u"2 archive-nothing"_s});
    ZipMaker bzip2;
    bzip2.add({.name = "Tool.pkg", .method = 12});
    row("method of few", bzip2.bytes(), {u"2 archive-method"_s});
    ZipMaker lzma;
    lzma.add({.name = "Tool.pkg", .method = 14});
    row("unknown method", lzma.bytes(), {u"2 archive-fails"_s, u"2 archive-nothing"_s});
    row("file where a folder must be", zipOf({"Tool.pkg", "Tool.pkg/a"}), {u"2 archive-fails"_s});
    row("absolute name", zipOf({"/Tool.pkg"}), {u"2 archive-name"_s});
    row("steps out", zipOf({"../Tool.pkg", "../../x"}), {u"2 archive-name"_s});
    ZipMaker dos;
    dos.add({.name = "in\\Tool.pkg", .system = ZipMaker::Dos});
    row("backslashes", dos.bytes(), {u"2 archive-name"_s});
    ZipMaker locked;
    locked.add({.name = "Tool.pkg", .isEncrypted = true});
    row("encrypted", locked.bytes(), {u"2 archive-encrypted"_s, u"2 archive-nothing"_s});
    ZipMaker linked;
    linked.add({.name = "Real.txt"});
    linked.addLink("Tool.pkg", "Real.txt");
    row("a link for the item", linked.bytes(), {u"2 archive-link"_s});
    ZipMaker out;
    out.add({.name = "Tool.pkg"});
    out.addLink("d/e", "../../f");
    row("a link that leads out", out.bytes(), {u"2 archive-link"_s});
    row("nothing to open", zipOf({"ReadMe.txt", "Uninstall.app/x", ".Tool.pkg"}),
        {u"2 archive-nothing"_s});
    row("the other processor's alone", zipOf({"Tool-arm64.pkg"}), {u"2 archive-processor"_s});
    row("one for each processor", zipOf({"Tool-arm64.pkg", "Tool-x86_64.pkg"}), {});
    row("bytes before the archive", "#!/bin/sh\n" + zipOf({"Tool.pkg"}), {u"2 file-type"_s});
    ZipMaker selfExtracting("#!/bin/sh\n");
    selfExtracting.add({.name = "Tool.pkg"});
    row("an archive that unpacks itself", selfExtracting.bytes(), {});
    row("two that fit equally well", zipOf({"One.pkg", "Two.pkg"}), {u"2 archive-tie"_s});
    ZipMaker nested;
    nested.add({.name = "Tool.app/Contents/Info.plist", .content = plist("1.0")});
    nested.add({.name = "Tool.app/Contents/MacOS/Tool", .mode = 0100755});
    nested.add({.name = "Tool.app/Contents/Helper.app/x"});
    QByteArray large = zipOf({"1.pkg", "2", "3", "4", "5", "6", "7", "8", "9"});
    for (qsizetype at = large.indexOf("PK\x01\x02"); at >= 0;
         at = large.indexOf("PK\x01\x02", at + 1)) {
        large.replace(at + 24, 4, "\xfe\xff\xff\xff"); // an item's size
    }
    row("more than is unpacked", large, {u"2 archive-large"_s, u"2 archive-fails"_s});
    const QString app = u"2 archive-application"_s;
    row("an application inside the application", nested.bytes(), {app});
    row("an item inside an application", zipOf({"PyCharm.app/Contents/H.pkg"}),
        {app, u"2 bundle-start"_s, u"2 archive-inside"_s, u"2 bundle-name"_s});
    row("names that differ in case", zipOf({"Tool.pkg", "ReadMe", "readme"}),
        {u"2 archive-case"_s});
    row("a name that is no UTF-8", zipOf({"Tool.pkg", "\xc9.txt"}), {u"2 archive-bytes"_s});
    row("a long path", zipOf({"Tool.pkg", QByteArray("folder/").repeated(130) + "x"}),
        {u"2 archive-long"_s});
    row("a name with accents", zipOf({"Tool.pkg", "\u00c9.txt"}), {u"2 archive-accents"_s});
    ZipMaker windows;
    windows.add({.name = "Tool.pkg"});
    windows.add({.name = "\u00c9.txt", .system = ZipMaker::Dos});
    row("a name with accents of Windows", windows.bytes(), {u"2 archive-letters"_s});
    ZipMaker copied;
    copied.add({.name = "Tool.app/Contents/Info.plist", .content = plist("1.0")});
    copied.add({.name = "Tool.app/Contents/MacOS/Tool", .mode = 0100755});
    copied.add({.name = "Tool.app/Contents/Frameworks/F.framework/Versions/Current/F"});
    row("copies instead of links", copied.bytes(), {app, u"2 bundle-links"_s});
    row("a shadow folder", zipOf({"in/Tool.pkg/a", "__MACOSX/Tool.pkg/._a"}),
        {u"2 archive-shadow"_s});
    row("the bundle's version", bundleZip(plist("1.0")), {app});
    row("the bundle's version, as the client compares", bundleZip(plist("1.0.7 (77)")), {app});
    row("an older bundle", bundleZip(plist("0.9")), {app, u"2 bundle-version"_s});
    row("a newer bundle", bundleZip(plist("1.1")), {app, u"2 bundle-version"_s});
    row("a bundle whose version begins with a word", bundleZip(plist("Release 1.0")),
        {app, u"2 bundle-word"_s});
    row("a bundle without a version", bundleZip("<plist><dict/></plist>"),
        {app, u"2 bundle-version"_s});
    row("a property list that cannot be read", bundleZip("bplist00..."), {app, u"2 bundle-list"_s});
}

void TestCheck::looksAtTheArchives()
{
    QFETCH(QByteArray, archive);
    QFETCH(QStringList, findings);
    write(u"soft/tool.zip"_s, archive);
    QCOMPARE(check(catalogue({entry("Tool", "1.0", "tool.zip")}),
                   {u"--files"_s, m_home->path() + "/soft"_L1}),
             findings);
    note(findings);
}

void TestCheck::looksIntoTheArchives_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QStringList>("findings");
    QTest::addColumn<QStringList>("thoroughly");

    const auto row = [](const char* what, const QByteArray& archive, const QStringList& findings,
                        const QStringList& thoroughly) {
        QTest::newRow(what) << archive << findings << thoroughly;
    };
    const QStringList found = {u"2 archive-fails"_s};
    const auto changed = [](QByteArray bytes, const char* head, qsizetype at, char byte) {
        bytes[bytes.indexOf(head) + at] = byte;
        return bytes;
    };
    const QByteArray sound = zipOf({"Tool.pkg", "ReadMe.txt"});
    ZipMaker zip;
    zip.add({.name = "Tool.pkg", .content = QByteArray(10'000, 'x')});
    const QByteArray large = zip.bytes();
    row("sound", sound, {}, {});
    row("wrong byte in a short item", changed(sound, "Tool.pkg", 8, 'y'), found, found);
    row("wrong byte in a long item", changed(large, "Tool.pkg", 8, 'y'), {}, found);
    row("no head where the directory says", changed(sound, "PK\x03\x04", 0, 'p'), {}, found);
    row("newer unzip needed", changed(sound, "PK\x01\x02", 6, 63), {}, found);
    row("two archives in one", sound + sound, {}, found);
    ZipMaker control;
    control.add({.name = "Tool.pkg"});
    control.add({.name = "a\x01.txt", .isUtf8 = true});
    row("a name that unzip takes", control.bytes(), {}, {});
}

void TestCheck::looksIntoTheArchives()
{
    QFETCH(QByteArray, archive);
    QFETCH(QStringList, findings);
    QFETCH(QStringList, thoroughly);
    write(u"soft/tool.zip"_s, archive);
    const QByteArray text = catalogue({entry("A", "1.0", "tool.zip")});
    const QString folder = m_home->path() + "/soft"_L1;
    const QStringList quickly = check(text, {u"--files"_s, folder});
    // Newer releases of libzip see some of the rest, too.
    QVERIFY2(quickly == findings || quickly == thoroughly, qUtf8Printable(quickly.join(u'\n')));
    QCOMPARE(check(text, {u"--files"_s, folder, u"--thorough"_s}), thoroughly);
}

void TestCheck::tellsThatNothingCanBeUnpacked()
{
    write(u"soft/tool.zip"_s, bundleZip(plist("1.0")));
    const QByteArray text = catalogue({entry("Tool", "1.0", "tool.zip")});
    const QString folder = m_home->path() + "/soft"_L1;
    const QByteArray former = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(write(u"file"_s, "no folder")));
    const QStringList some = check(text, {u"--files"_s, folder});
    const QStringList all = check(text, {u"--files"_s, folder, u"--thorough"_s});
    former.isEmpty() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", former);
    const QString untried = u"2 archive-untried"_s;
    const QString application = u"2 archive-application"_s;
    QCOMPARE(some, QStringList{application});
    QCOMPARE(all, (QStringList{untried, application}));
    note(all);
}

void TestCheck::thoroughNeedsFiles()
{
    const QString path = write(u"catalogue.csv"_s, catalogue({entry("A")}));
    QCOMPARE(run(runCheck, {u"check"_s, path, u"--thorough"_s}),
             refusal(u"check"_s, u"--thorough needs --files"_s));
}

void TestCheck::comparesTheItemWithThePreviousRelease_data()
{
    QTest::addColumn<QByteArray>("former");
    QTest::addColumn<QString>("formerFile");
    QTest::addColumn<QStringList>("findings");

    QTest::newRow("named alike") << zipOf({"Tool 2.pkg"}) << u"tool-1.zip"_s
                                 << QStringList{u"2 archive-same-item"_s};
    QTest::newRow("named for its version")
        << zipOf({"Tool 1.pkg"}) << u"tool-1.zip"_s << QStringList();
    QTest::newRow("the same archive")
        << QByteArray() << u"tool-2.zip"_s << QStringList{u"2 file-reused"_s};
}

void TestCheck::comparesTheItemWithThePreviousRelease()
{
    QFETCH(QByteArray, former);
    QFETCH(QString, formerFile);
    QFETCH(QStringList, findings);
    if (!former.isEmpty()) {
        write("soft/"_L1 + formerFile, former);
    }
    write(u"soft/tool-2.zip"_s, zipOf({"Tool 2.pkg"}));
    const QString old = write(u"old.csv"_s, catalogue({entry("A", "1.0", formerFile.toUtf8())}));
    const QStringList result =
        check(catalogue({entry("A", "2.0", "tool-2.zip")}),
              {u"--files"_s, m_home->path() + "/soft"_L1, u"--published"_s, old});
    QCOMPARE(result, findings);
    note(findings);
}

void TestCheck::looksAtThePackages_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QByteArray>("fileName");
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<QStringList>("findings");

    const auto file = [](const char* what, const QByteArray& fileName, const QByteArray& bytes,
                         const QStringList& findings) {
        QTest::newRow(what) << fileName << bytes << findings;
    };
    const auto row = [&file](const char* what, const QList<PackedFile>& files,
                             const QStringList& findings, const QByteArray& fileName = "tool.pkg") {
        file(what, fileName, packageOf(files), findings);
    };
    const auto tool = [](const QByteArray& list, const QByteArray& program = armProgram()) {
        return bundleFiles("Tool", list, program);
    };
    row("what the line says", tool(bundleList("1.0")), {});
    row("a bundle whose name goes on", bundleFiles("Tool 7", bundleList("1.0"), armProgram()), {});
    row("another application", bundleFiles("Other", bundleList("1.0"), armProgram()),
        {u"2 bundle-name"_s});
    row("nothing in /Applications", {{"./ReadMe.txt", "x"}}, {});
    row("an older one", tool(bundleList("0.9")), {u"2 bundle-version"_s});
    row("a newer one", tool(bundleList("1.1")), {u"2 bundle-version"_s});
    row("one that compares as equal", tool(bundleList("1.0.1")), {});
    row("no version", tool("<plist><dict/></plist>"), {u"2 bundle-version"_s});
    row("a version that begins with a word", tool(bundleList("Release 1.0")), {u"2 bundle-word"_s});
    row("a version that is no text",
        tool("<plist><dict><key>CFBundleShortVersionString</key><dict><key>a</key><true/></dict>"
             "</dict></plist>"),
        {u"2 bundle-unread"_s});
    row("a property list that nobody can read", tool("bplist00..."), {u"2 bundle-list"_s});
    row("a property list that breaks off", tool(bundleList("1.0").chopped(10)),
        {u"2 bundle-list"_s});
    row("a program for another processor than the name says",
        tool(bundleList("1.0"), intelProgram()), {u"2 bundle-processor"_s}, "tool-arm64.pkg");
    row("a program for the processor that the name says", tool(bundleList("1.0"), intelProgram()),
        {}, "tool-x86_64.pkg");
    QList<PackedFile> files = tool(bundleList("1.0"));
    files.last().mode = 0100644;
    row("a program that must not be executed", files, {u"2 bundle-start"_s});
    files.removeLast();
    row("no program", files, {u"2 bundle-start"_s});

    const QStringList damaged = {u"2 package-damaged"_s};
    const QByteArray sound = packageOf(bundleFiles("Tool", bundleList("1.0"), armProgram()));
    const auto changed = [&sound](qsizetype at, const QByteArray& bytes) {
        return QByteArray(sound).replace(at, bytes.size(), bytes);
    };
    constexpr qsizetype contents = 28; // where the table of contents begins
    file("sound", "tool.pkg", sound, {});
    file("cut in its head", "tool.pkg", sound.first(20), damaged);
    file("cut in its table of contents", "tool.pkg", sound.first(contents + 50), damaged);
    file("wrong bytes in its table of contents", "tool.pkg", changed(contents, "wrong"), damaged);
    file("cut in its payload", "tool.pkg", sound.chopped(300), damaged);
    file("wrong bytes in its payload", "tool.pkg",
         changed(sound.lastIndexOf("070707"), "wrong bytes"), damaged);
    file("a payload packed in an unknown way", "tool.pkg", changed(sound.indexOf("070707"), "AA01"),
         {});
    file("a disk image that cannot be read", "tool.dmg", diskImage(), {});
    ZipMaker zip;
    zip.add({.name = "Tool.pkg", .content = sound.chopped(300)});
    file("in an archive", "tool.zip", zip.bytes(), damaged);
}

void TestCheck::looksAtThePackages()
{
    QFETCH(QByteArray, fileName);
    QFETCH(QByteArray, package);
    QFETCH(QStringList, findings);
    write("soft/"_L1 + QString::fromLatin1(fileName), package);
    const QByteArray text = catalogue({entry("Tool", "1.0", fileName)});
    const QString folder = m_home->path() + "/soft"_L1;
    QCOMPARE(check(text, {u"--files"_s, folder}), findings);
    QCOMPARE(check(text, {u"--files"_s, folder, u"--thorough"_s}), findings);
    note(findings);
}

void TestCheck::tellsThatNoInstallerCanBeRead()
{
    write(u"soft/tool.pkg"_s, packageOf(bundleFiles("Tool", bundleList("0.9"), armProgram())));
    InstallerReader::useProgram(m_home->path() + "/nowhere"_L1);
    const QStringList findings = check(catalogue({entry("Tool", "1.0", "tool.pkg")}),
                                       {u"--files"_s, m_home->path() + "/soft"_L1});
    InstallerReader::useProgram({});
    QCOMPARE(findings, QStringList{u"2 installer-untried"_s});
    note(findings);
}

void TestCheck::comparesTheIdentifierWithThePreviousRelease()
{
    const auto package = [](const QByteArray& version, const QByteArray& identifier) {
        return packageOf(bundleFiles("Tool", bundleList(version, identifier), armProgram()));
    };
    write(u"soft/tool-1.pkg"_s, package("1.0", "org.example.former"));
    const QString old = write(u"old.csv"_s, catalogue({entry("Tool", "1.0", "tool-1.pkg")}));
    const QStringList arguments = {u"--files"_s, m_home->path() + "/soft"_L1, u"--published"_s,
                                   old};
    write(u"soft/tool-2.pkg"_s, package("2.0", "org.example.former"));
    const QByteArray text = catalogue({entry("Tool", "2.0", "tool-2.pkg")});
    QCOMPARE(check(text, arguments), QStringList());
    write(u"soft/tool-2.pkg"_s, package("2.0", "org.example.other"));
    const QStringList findings = {u"2 bundle-identifier"_s};
    QCOMPARE(check(text, arguments), findings);
    note(findings);
}

void TestCheck::readsTheBeginningsOfItemsOnly()
{
    if (bytesRead() < 0) {
        QSKIP("this system does not count what a process reads");
    }
    ZipMaker zip;
    zip.add({.name = "Tool.pkg", .content = QByteArray(20'000'000, 'x')});
    zip.add({.name = "ReadMe.txt", .content = QByteArray(20'000'000, 'y')});
    write(u"soft/tool.zip"_s, zip.bytes());
    const qint64 before = bytesRead();
    QCOMPARE(check(catalogue({entry("A", "1.0", "tool.zip")}),
                   {u"--files"_s, m_home->path() + "/soft"_L1}),
             QStringList());
    const qint64 read = bytesRead() - before;
    QVERIFY2(read < 500'000, qPrintable(QString::number(read)));
}

void TestCheck::ownUpdateIsNoApplication()
{
    write(u"soft/tool.zip"_s, bundleZip(plist("1.0"), "Quillmere.app"));
    const QStringList findings = {u"2 archive-own-application"_s};
    QCOMPARE(check(catalogue({entry("Quillmere", "1.0", "tool.zip")}),
                   {u"--files"_s, m_home->path() + "/soft"_L1}),
             findings);
    note(findings);
}

void TestCheck::findsFilesThatDifferInCase()
{
    write(u"soft/Tool.pkg"_s, packageOf({{"./ReadMe.txt", "x"}}));
    write(u"soft/tool.pkg"_s, packageOf({{"./ReadMe.txt", "x"}}));
    const QStringList findings = {u"tool.pkg file-twice"_s};
    QCOMPARE(check(catalogue({entry("A", "1.0", "tool.pkg"), entry("B", "1.0", "Tool.pkg")}),
                   {u"--files"_s, m_home->path() + "/soft"_L1}),
             findings);
    note(findings);
}

void TestCheck::everyRuleIsCaughtByATest()
{
    if (m_caught.isEmpty()) {
        QSKIP("the other tests were not run");
    }
    QSet<QString> rules;
    for (const Rule& rule : catalogueRules()) {
        rules.insert(rule.id);
    }
    QSet<QString> missing = rules - m_caught;
    QVERIFY2(missing.isEmpty(),
             qUtf8Printable(QStringList(missing.cbegin(), missing.cend()).join(u' ')));
    QCOMPARE(rules.size(), catalogueRules().size());
}

// The client's own reading

void TestCheck::readsWhatTheClientReads()
{
    QRandomGenerator random(7);
    const QByteArrayList words = {"A",  "B 2",  "\"C\"", " 0 ", "0",    "1",      "00",     "",
                                  "\"", "\"\"", "v1",    "\r",  "\xff", "\u00e9", "Ignored"};
    for (int round = 0; round < 500; ++round) {
        QByteArray text;
        for (int line = random.bounded(8); line > 0; --line) {
            for (int field = random.bounded(6); field > 0; --field) {
                text += words[random.bounded(int(words.size()))] + (random.bounded(9) ? "," : ";");
            }
            text += random.bounded(5) ? "0\n" : "\r\n";
        }
        text.prepend(random.bounded(4) ? header : QByteArray());
        WebProfiler client({}, {}, u","_s, {});
        client.updateData(text);
        Report report({});
        const CatalogueText read = readCatalogue(text, u","_s, report);
        QStringList names;
        QHash<QString, QString> versions;
        for (const CatalogueEntry& read_entry : read.entries) {
            names.append(read_entry.name);
            versions.insert(read_entry.name, read_entry.version + u'|' + read_entry.fileName);
        }
        QCOMPARE(names, client.getAppList());
        for (const QString& name : std::as_const(names)) {
            QCOMPARE(versions[name], client.getVersion(name) + u'|' + client.getFilename(name));
        }
    }
}

void TestCheck::bomAndCarriageReturnsAreReadAsTheClientDoes()
{
    QCOMPARE(found("\xef\xbb\xbf" + catalogue({entry("A")})), QStringList());
    QCOMPARE(found(catalogue({entry("A")}).replace('\n', '\r')),
             (QStringList{u"0 no-entry"_s, u"1 line-ends"_s}));
    note({u"1 line-ends"_s});
}

// The command

void TestCheck::tellsFindingsInLines()
{
    const QString path =
        write(u"catalogue.csv"_s, catalogue({entry("A"), entry("B", "v1"), entry("A")}));
    const CommandRun result = run(runCheck, {u"check"_s, path});
    QCOMPARE(result.status, 1);
    QCOMPARE(result.err, QString());
    QCOMPARE(result.out,
             path +
                 ":3: error: 'v1' does not start with a digit. The client takes its first part for "
                 "0, so that every installed version is newer. Write the number alone, without "
                 "\"v\" or a word before it. [version-start]\n"_L1 +
                 path +
                 ":4: error: 'A' is listed in line 2 already. The client shows two rows, both with "
                 "the later entry's version and file. Remove one of the two. "
                 "[name-duplicate]\n"_L1);
}

void TestCheck::tellsWhoseApplicationAPrefixTakes()
{
    const auto problem = [](const QByteArrayList& lines) {
        Report report(u"catalogue.csv"_s);
        checkCatalogue(catalogue(lines), u","_s, report);
        return report.takeFindings().value(0).problem;
    };
    QCOMPARE(problem({entry("Synth"), entry("Synth Pro")}),
             u"'Synth' begins 'Synth Pro', whose application it takes where it has none of its "
             "own"_s);
    QCOMPARE(problem({entry("Synth"), entry("Synth Pro"), entry("Synth 2")}),
             u"'Synth' begins 'Synth 2' and 1 more, whose application it takes unless its own is "
             "newer"_s);
}

void TestCheck::tellsFindingsAsJson()
{
    const QString path = write(u"catalogue.csv"_s, catalogue({entry("A", "v1")}));
    const CommandRun result = run(runCheck, {u"check"_s, u"--json"_s, path});
    const QJsonArray findings = findingsIn(result);
    QCOMPARE(findings.size(), 1);
    const QJsonObject expected{
        {u"file"_s, path},
        {u"line"_s, 2},
        {u"severity"_s, u"error"_s},
        {u"rule"_s, u"version-start"_s},
        {u"problem"_s, u"'v1' does not start with a digit"_s},
        {u"effect"_s,
         u"The client takes its first part for 0, so that every installed version is newer."_s},
        {u"remedy"_s, u"Write the number alone, without \"v\" or a word before it."_s}};
    QCOMPARE(findings[0].toObject(), expected);

    const QJsonObject summary{{u"entries"_s, 1}, {u"errors"_s, 1},   {u"warnings"_s, 0},
                              {u"notes"_s, 0},   {u"accepted"_s, 0}, {u"leftOut"_s, 0}};
    const QJsonDocument document = QJsonDocument::fromJson(result.out.toUtf8());
    QCOMPARE(document[u"summary"].toObject(), summary);
    QCOMPARE(document[u"version"].toInt(), 1);

    write(u"catalogue.csv"_s, catalogue({entry("A")}));
    const CommandRun clean = run(runCheck, {u"check"_s, u"--json"_s, path});
    QCOMPARE(findingsIn(clean), QJsonArray());
    QCOMPARE(clean.err, u"1 entry: nothing found\n"_s);
}

void TestCheck::controlCharactersAreWrittenOut()
{
    const QString path = write(u"catalogue.csv"_s, catalogue({entry("A", "\x1b[31m\x7f")}));
    const QString out = run(runCheck, {u"check"_s, path}).out;
    QVERIFY2(out.contains("'\\u001b[31m\\u007f'"_L1), qUtf8Printable(out));
    QVERIFY(!out.contains(u'\x1b'));
}

void TestCheck::endsByWhatWasFound_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("strictStatus");

    QTest::newRow("nothing") << catalogue({entry("A")}) << 0 << 0;
    QTest::newRow("a note") << catalogue({entry("\u00c9")}) << 0 << 0;
    QTest::newRow("a warning") << catalogue({entry("A", "1b")}) << 0 << 1;
    QTest::newRow("an error") << catalogue({entry("A", "b")}) << 1 << 1;
    QTest::newRow("an empty file") << QByteArray() << 1 << 1;
}

void TestCheck::endsByWhatWasFound()
{
    QFETCH(QByteArray, text);
    QFETCH(int, status);
    QFETCH(int, strictStatus);
    const QString path = write(u"catalogue.csv"_s, text);
    QCOMPARE(run(runCheck, {u"check"_s, path}).status, status);
    QCOMPARE(run(runCheck, {u"check"_s, u"--strict"_s, path}).status, strictStatus);
}

void TestCheck::tellsFindingsShortly()
{
    const QString path = write(u"catalogue.csv"_s, catalogue({entry("A", "v1")}));
    QCOMPARE(run(runCheck, {u"check"_s, u"--short"_s, path}).out,
             path + ":2: error: 'v1' does not start with a digit [version-start]\n"_L1);
}

void TestCheck::leavesAcceptedFindingsOut_data()
{
    QTest::addColumn<QByteArray>("accepted");
    QTest::addColumn<QStringList>("findings");

    const QStringList all{u"0 entry-removed"_s, u"2 version-start"_s, u"3 version-start"_s,
                          u"old.iso file-unnamed"_s};
    const auto without = [&all](qsizetype first, qsizetype count) {
        QStringList rest = all;
        rest.remove(first, count);
        return rest;
    };
    QTest::newRow("none") << QByteArray("# none yet\n\n") << all;
    QTest::newRow("an entry's") << QByteArray("version-start Ink  Pen\r\n") << without(1, 1);
    QTest::newRow("a file's") << QByteArray("file-unnamed old.iso") << without(3, 1);
    QTest::newRow("the catalogue's") << QByteArray("entry-removed\n") << without(0, 1);
    QTest::newRow("another entry's") << QByteArray("version-start Ink\n")
                                     << all + QStringList{u"accepted.txt accept-needless"_s};
    QTest::newRow("another rule") << QByteArray("version-text Ink  Pen\n")
                                  << all + QStringList{u"accepted.txt accept-needless"_s};
    QTest::newRow("a rule without its entry")
        << QByteArray("version-start\n") << all + QStringList{u"accepted.txt accept-needless"_s};
}

void TestCheck::leavesAcceptedFindingsOut()
{
    QFETCH(QByteArray, accepted);
    QFETCH(QStringList, findings);
    write(u"soft/tool.iso"_s, "x");
    write(u"soft/old.iso"_s, "x");
    const QString old = write(u"old.csv"_s, catalogue({entry("Gone", "1.0", "gone.iso")}));
    QFile(old).setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
    QStringList result = check(catalogue({entry("Ink  Pen", "v1"), entry("B", "v1")}),
                               {u"--published"_s, old, u"--files"_s, m_home->path() + "/soft"_L1,
                                u"--accept"_s, write(u"accepted.txt"_s, accepted)});
    QStringList expected = findings;
    result.sort();
    expected.sort();
    QCOMPARE(result.join(u'\n'), expected.join(u'\n'));
    note(findings);
}

void TestCheck::listsTheRulesAsJson()
{
    const CommandRun result = run(runCheck, {u"check"_s, u"--list-rules"_s, u"--json"_s});
    const QJsonDocument document = QJsonDocument::fromJson(result.out.toUtf8());
    QCOMPARE(document[u"version"].toInt(), 1);
    const QJsonArray rules = document[u"rules"].toArray();
    QCOMPARE(rules.size(), catalogueRules().size());
    const Rule& last = catalogueRules().constLast();
    const QJsonObject expected{{u"rule"_s, last.id},
                               {u"severity"_s, severityName(last.severity)},
                               {u"meaning"_s, last.meaning},
                               {u"effect"_s, last.effect},
                               {u"remedy"_s, last.remedy}};
    QCOMPARE(rules.last().toObject(), expected);
}

void TestCheck::stopsAtAMillionFindings()
{
    const QString path =
        write(u"catalogue.csv"_s, header + QByteArray(1'000'003, '\n') + "A,1,d,a.iso,0\n");
    const CommandRun result = run(runCheck, {u"check"_s, u"--short"_s, path});
    QCOMPARE(result.out.count(u'\n'), 1'000'000);
    QCOMPARE(result.err, u"3 more findings are left out\n"_s);
    QCOMPARE(result.status, 1);
}

void TestCheck::explainsEveryRule()
{
    const CommandRun result = run(runCheck, {u"check"_s, u"--list-rules"_s});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.err, QString());
    for (const Rule& rule : catalogueRules()) {
        const QString text = u"%1 (%2)\n    %3\n    %4\n    %5\n"_s.arg(
            rule.id, severityName(rule.severity), rule.meaning, rule.effect, rule.remedy);
        QVERIFY2(result.out.contains(text), qUtf8Printable(rule.id));
        for (const QString& sentence : {rule.meaning, rule.effect, rule.remedy}) {
            QVERIFY2(sentence.endsWith(u'.'), qUtf8Printable(rule.id));
        }
    }
}

void TestCheck::readsFromAWebServer()
{
    HttpServer server;
    server.reply(u"config/a.csv"_s, {.body = catalogue({entry("A"), entry("A")})});
    const QString address = server.url(u"config/a.csv"_s);
    const CommandRun result = run(runCheck, {u"check"_s, address});
    QCOMPARE(result.status, 1);
    QVERIFY2(result.out.startsWith(address + ":3: error: 'A' is listed"_L1),
             qUtf8Printable(result.out));
    QCOMPARE(server.requests(), QStringList{u"/config/a.csv"_s});

    const CommandRun missing = run(runCheck, {u"check"_s, server.url(u"b.csv"_s)});
    QCOMPARE(missing.status, 2);
    QCOMPARE(missing.out, QString());
    QVERIFY2(missing.err.startsWith("quillmere-catalogue check: cannot read "_L1 +
                                    server.url(u"b.csv"_s) + ": "_L1),
             qUtf8Printable(missing.err));
    QVERIFY2(missing.err.endsWith("(HTTP 404)\n"_L1), qUtf8Printable(missing.err));
}

void TestCheck::unreadableInputIsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");

    const auto row = [](const char* what, const QStringList& arguments, const QString& reason) {
        QTest::newRow(what) << arguments << reason;
    };
    const QString good = u"HOME/good.csv"_s;
    row("an empty path", {u""_s}, u"an argument is empty (try --help)"_s);
    row("published: an empty file", {good, u"--published"_s, u"HOME/empty.csv"_s},
        u"cannot compare with HOME/empty.csv: it is empty"_s);
    row("published: a login page", {good, u"--published"_s, u"HOME/login.csv"_s},
        u"cannot compare with HOME/login.csv: it is a web page"_s);
    row("published: another separator", {good, u"--published"_s, u"HOME/other.csv"_s},
        u"cannot compare with HOME/other.csv: the header has no ',', its titles stand between "
        "';'"_s);
    row("published: no entry", {good, u"--published"_s, u"HOME/hidden.csv"_s},
        u"cannot compare with HOME/hidden.csv: no line of it is a valid entry"_s);
    row("endless", {u"/dev/zero"_s}, u"cannot read /dev/zero: is larger than 64 MB"_s);
    row("a huge catalogue", {u"HOME/huge.csv"_s},
        u"cannot read HOME/huge.csv: is larger than 64 MB"_s);
    row("standard input twice", {u"-"_s, u"--published"_s, u"-"_s},
        u"standard input can be read once only (try --help)"_s);
    row("an unknown rule to accept", {good, u"--accept"_s, u"HOME/accept.txt"_s},
        u"HOME/accept.txt:2: no rule is named 'no-rule'"_s);
    row("no known name", {good, u"--known"_s, u"HOME/empty.csv"_s},
        u"HOME/empty.csv holds no name"_s);
    row("no file of known names", {good, u"--known"_s, u"HOME/none"_s},
        u"cannot read HOME/none: No such file or directory"_s);
    row("no number", {good, u"--removes"_s, u"many"_s},
        u"--removes wants a number, not 'many' (try --help)"_s);
    row("a negative number", {good, u"--removes=-1"_s},
        u"--removes wants a number, not '-1' (try --help)"_s);
    row("published: no version", {good, u"--published"_s, u"HOME/bare.csv"_s},
        u"cannot compare with HOME/bare.csv: no entry of it has a version"_s);
    row("wrong usage", {good, u"b.csv"_s}, u"unexpected argument 'b.csv' (try --help)"_s);
    row("no such file", {u"HOME/none.csv"_s},
        u"cannot read HOME/none.csv: No such file or directory"_s);
    row("a folder", {u"HOME"_s}, u"cannot read HOME: is a folder"_s);
    row("files that are no folder", {good, u"--files"_s, u"HOME/none"_s},
        u"HOME/none is no folder"_s);
    row("no published catalogue", {good, u"--published"_s, u"HOME/none"_s},
        u"cannot read HOME/none: No such file or directory"_s);
}

void TestCheck::unreadableInputIsTold()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    write(u"good.csv"_s, catalogue({entry("A")}));
    write(u"empty.csv"_s, {});
    write(u"login.csv"_s, webPage);
    write(u"accept.txt"_s, "# mine\nno-rule A\n");
    QVERIFY(QFile::resize(write(u"huge.csv"_s, {}), 65 << 20)); // takes no room on the disk
    write(u"other.csv"_s, catalogue({entry("A")}).replace(',', ';'));
    write(u"hidden.csv"_s, catalogue({entry("A").chopped(1) + '1'}));
    write(u"bare.csv"_s, "Name,Filename,Ignored\nA,a.iso,0\n");
    arguments.prepend(u"check"_s);
    QCOMPARE(run(runCheck, arguments.replaceInStrings(u"HOME"_s, m_home->path())),
             refusal(u"check"_s, reason.replace("HOME"_L1, m_home->path())));
}

void TestCheck::tellsThatNothingWasFound()
{
    QByteArrayList lines;
    for (int i = 0; i < 101; ++i) {
        const QByteArray number = QByteArray::number(i).rightJustified(3, '0');
        lines.append(entry("Tool" + number, "1.0", "tool" + number + ".iso"));
        write(u"soft/tool%1.iso"_s.arg(QString::fromLatin1(number)), "x");
    }
    const QString path = write(u"catalogue.csv"_s, catalogue(lines));
    const CommandRun result =
        run(runCheck, {u"check"_s, path, u"--files"_s, m_home->path() + "/soft"_L1});
    QCOMPARE(result.err, u"101 entries, 101 files: nothing found\n"_s);
    QCOMPARE(result.out, QString());
    QCOMPARE(result.status, 0);
}

void TestCheck::leavesWhatItReadsAsItWas()
{
    const QByteArray text = catalogue({entry("A", "1.0", "tool.zip")});
    const QByteArray archive = bundleZip(plist("0.9"));
    const QString file = write(u"soft/tool.zip"_s, archive);
    const QString path = write(u"soft/catalogue.csv"_s, text);
    const QString folder = m_home->path() + "/soft"_L1;
    const QStringList arguments{u"check"_s, path, u"--files"_s, folder, u"--published"_s, path};
    QCOMPARE(run(runCheck, arguments).status, 1);
    QCOMPARE(PrivateHome::read(path), text);
    QCOMPARE(PrivateHome::read(file), archive);
    QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             (QStringList{u"catalogue.csv"_s, u"tool.zip"_s}));
    // The user's own log and settings are not touched.
    QVERIFY(!QFileInfo::exists(m_home->userFolder()));
}

QTEST_GUILESS_MAIN(TestCheck)
#include "tst_check.moc"
