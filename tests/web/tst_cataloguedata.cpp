#include "web/webprofiler.h"

#include "app/debug.h"
#include "support/cataloguetext.h"
#include "support/privatehome.h"

#include <QTest>
#include <QUrl>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray& header = catalogueTitles;

/// A catalogue that has read @p file, without a server.
class Catalogue : public WebProfiler
{
public:
    explicit Catalogue(const QByteArray& file, const QString& separator = u","_s)
        : WebProfiler(u"https://server.example/"_s, u"apps.csv"_s, separator, u"soft/"_s)
    {
        updateData(file);
    }
};

QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

} // namespace

/// What becomes of a catalogue's text, and the questions asked of it.
class TestCatalogueData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void listsTheOfferedEntries_data();
    void listsTheOfferedEntries();
    void offersOnlyAnIgnoredOfZero_data();
    void offersOnlyAnIgnoredOfZero();
    void keepsTheValues_data();
    void keepsTheValues();
    void readsTheProgramsColumns();
    void aNameListedTwiceKeepsTheLaterRow();
    void anIgnoredRowDoesNotReplaceAnOfferedOne();
    void aSecondTextAddsToTheFirst();
    void aSecondTextReplacesWholeRows();
    void readsALongFileInOrder();
    void charactersSurviveTheReadBuffersEdges();
    void parsingLogsNothing();
    void clearingEmptiesTheDataAlone();

    void findsNames_data();
    void findsNames();
    void whatIsUnknownHasNoValue();
    void everyOfferedEntryCountsAsIgnored();
    void joinsAnInstallersUrlAsPlainText_data();
    void joinsAnInstallersUrlAsPlainText();
    void settersReplaceTheSettings();

private:
    std::optional<PrivateHome> m_home;
};

void TestCatalogueData::init()
{
    m_home.emplace();
    Debug::init();
}

void TestCatalogueData::cleanup()
{
    m_home.reset();
}

void TestCatalogueData::listsTheOfferedEntries_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QStringList>("names");

    const auto row = [](const char* what, const QByteArray& file, const QStringList& names,
                        const QString& separator = u","_s) {
        QTest::newRow(what) << file << separator << names;
    };
    row("in file order, not sorted", header + "Synth,1,d,f,0\nAmp,1,d,f,0\nMixer,1,d,f,0\n",
        {u"Synth"_s, u"Amp"_s, u"Mixer"_s});
    row("a name listed twice is there twice",
        header + "Synth,1,d,f,0\nAmp,1,d,f,0\nSynth,2,d,f,0\n", {u"Synth"_s, u"Amp"_s, u"Synth"_s});
    row("names differ by case", header + "Synth,1,d,f,0\nsynth,1,d,f,0\n",
        {u"Synth"_s, u"synth"_s});
    row("the name is trimmed and unquoted", header + " \"Synth\" ,1,d,f,0\n", {u"Synth"_s});
    row("a name keeps its inner blanks and quotes", header + "\" Synth \"Pro\"\",1,d,f,0\n",
        {u" Synth \"Pro\""_s});
    row("an empty name is a name", header + ",1,d,f,0\n", {u""_s});
    row("no comments", header + "#Synth,1,d,f,0\n", {u"#Synth"_s});
    row("accents", header + "Éditeur — été,1,d,f,0\n", {u"Éditeur — été"_s});

    row("an empty line is dropped", header + "Synth,1,d,f,0\n\n\nAmp,1,d,f,0\n\n",
        {u"Synth"_s, u"Amp"_s});
    row("an empty line before the header makes an empty header", "\n" + header + "Synth,1,d,f,0\n",
        {});
    row("a record without the column is dropped", header + "Synth,1,d,f\nAmp,1,d,f,0\n",
        {u"Amp"_s});
    row("a name alone is dropped", header + "Synth\n", {});
    row("fields beyond the header are ignored", header + "Synth,1,d,f,0,1,2,3\n", {u"Synth"_s});
    row("a flag beyond the header is no flag", "Name,Version\nSynth,1,0\n", {});
    row("a separator in quotes splits, so the flag moves on",
        header + "\"Synth, Pro\",1,d,f,0\nAmp,1,d,f,0\n", {u"Amp"_s});
    row("the last line needs no end", header + "Synth,1,d,f,0\nAmp,1,d,f,0",
        {u"Synth"_s, u"Amp"_s});

    row("no text", "", {});
    row("a line end alone", "\n", {});
    row("the header alone", header, {});
    row("the header alone, without its end", header.chopped(1), {});
    row("the first column's title is any text", " \"Ignored; \" ,Ignored\nSynth,0\n", {u"Synth"_s});
    row("the first column's title may be empty", ",Ignored\nSynth,0\n", {u"Synth"_s});
    row("a separator in a quoted title splits", "\"Name, first\",Ignored\nSynth,1,0\nAmp,0,1\n",
        {u"Synth"_s});
    row("the first column's title is not used", "Ignored,Version\n0,0\n", {});
    row("the first column's title is no second flag", "Ignored,Ignored\n1,0\n", {u"1"_s});
    row("the flag may stand anywhere", "Name,Ignored,Version\nSynth,0,1\nAmp,1,0\n", {u"Synth"_s});
    row("a header's case counts", "Name,IGNORED,ignored\nSynth,0,0\n", {});
    row("a header is not trimmed: before", "Name, Ignored\nSynth,0\n", {});
    row("a header is not trimmed: after", "Name,Ignored \nSynth,0\n", {});
    row("a header is not unquoted", "Name,\"Ignored\"\nSynth,0\n", {});
    row("of two flag columns the later one counts: offered", "Name,Ignored,Ignored\nSynth,1,0\n",
        {u"Synth"_s});
    row("of two flag columns the later one counts: ignored", "Name,Ignored,Ignored\nSynth,0,1\n",
        {});
    row("of two flag columns a short record has the first", "Name,Ignored,Ignored\nSynth,0\n",
        {u"Synth"_s});
    row("of two flag columns an empty later one counts", "Name,Ignored,Ignored\nSynth,0,\n", {});

    row("LF", "Name,Ignored\nSynth,0\nAmp,0\n", {u"Synth"_s, u"Amp"_s});
    row("CRLF", "Name,Ignored\r\nSynth,0\r\nAmp,0\r\n", {u"Synth"_s, u"Amp"_s});
    row("LF and CRLF mixed", "Name,Ignored\r\nSynth,0\nAmp,0\r\n", {u"Synth"_s, u"Amp"_s});
    row("CRLF: the last line needs no end", "Name,Ignored\r\nSynth,0", {u"Synth"_s});
    row("a lone CR ends no line: one long header", "Name,Ignored\rSynth,0\r", {});
    row("a lone CR ends no line: inside a record", "Name,Ignored\nSynth,0\rAmp,0\n", {});
    row("a lone CR after a record is white space", "Name,Ignored\nSynth,0\r\r\n", {u"Synth"_s});
    row("a lone CR in the header is not trimmed", "Name,Ignored\r\r\nSynth,0\n", {});
    row("a lone CR in a name", "Name,Ignored\nSyn\rth,0\n", {u"Syn\rth"_s});
    row("a NUL in a name", QByteArray("Name,Ignored\nSy\0nth,0\n", 22), {u"Sy\0nth"_s});
    row("a NUL in the flag is not trimmed", QByteArray("Name,Ignored\nSynth,0\0\n", 22), {});
    row("a byte order mark does not disturb", "\xEF\xBB\xBF" + header + "Synth,1,d,f,0\n",
        {u"Synth"_s});
    row("a byte order mark in a record stays", header + "\xEF\xBB\xBFSynth,1,d,f,0\n",
        {u"\ufeffSynth"_s});
    row("no UTF-8: replaced, the record stays", header + "Caf\xE9,1,d,f,0\n", {u"Caf\ufffd"_s});
    row("no UTF-8: a character cut by a line end", header + "Caf\xC3\nSynth,1,d,f,0\n",
        {u"Synth"_s});
    row("a web page", "<!DOCTYPE html>\n<html><body>Not, found, 0</body></html>\n", {});

    row("semicolons read with a comma", "Name;Version;Ignored\nSynth;1;0\n", {});
    row("semicolons", "Name;Version;Ignored\nSynth, Pro;1,0;0\nAmp;1;1\n", {u"Synth, Pro"_s},
        u";"_s);
    row("tabs", "Name\tVersion\tIgnored\nSynth\t\t0\nAmp\t0\t\n", {u"Synth"_s}, u"\t"_s);
    row("a separator of several characters", "Name||Ignored\nSynth|Pro||0\n", {u"Synth|Pro"_s},
        u"||"_s);
    row("a separator's case counts in the header", "NamexIgnored\nSynthX0\n", {}, u"X"_s);
    row("a separator's case counts in a record", "NameXIgnored\nSynthx0\n", {}, u"X"_s);
    row("an empty separator offers nothing", header + "Synth,1,d,f,0\n", {}, u""_s);
    row("an empty separator and no text", "", {}, u""_s);
}

void TestCatalogueData::listsTheOfferedEntries()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, separator);
    QFETCH(QStringList, names);
    const Catalogue catalogue(file, separator);
    QCOMPARE(catalogue.getAppList(), names);
    QCOMPARE(catalogue.size(), QSet<QString>(names.cbegin(), names.cend()).size());
}

void TestCatalogueData::offersOnlyAnIgnoredOfZero_data()
{
    QTest::addColumn<QByteArray>("flag");
    QTest::addColumn<bool>("isOffered");

    const auto row = [](const char* what, const QByteArray& flag, bool isOffered) {
        QTest::newRow(what) << flag << isOffered;
    };
    row("0", "0", true);
    row("0 with blanks around", "  0 ", true);
    row("0 with a tab before", "\t0", true);
    row("0 with no-break spaces around", "\u00a00\u00a0", true);
    row("0 in quotes", "\"0\"", true);
    row("0 in quotes with blanks around", "  \"0\" ", true);
    row("0 with blanks inside the quotes", "\" 0 \"", false);
    row("0 in two pairs of quotes", "\"\"0\"\"", false);
    row("0 with one quote", "\"0", false);
    row("1", "1", false);
    row("1 in quotes", "\"1\"", false);
    row("2", "2", false);
    row("00", "00", false);
    row("-0", "-0", false);
    row("+0", "+0", false);
    row("0.0", "0.0", false);
    row("0x0", "0x0", false);
    row("no", "no", false);
    row("false", "false", false);
    row("the letter O", "O", false);
    row("a wide zero", "０", false);
    row("empty", "", false);
    row("blanks", "   ", false);
    row("two quotes", "\"\"", false);
    row("a lone quote", "\"", false);
}

void TestCatalogueData::offersOnlyAnIgnoredOfZero()
{
    QFETCH(QByteArray, flag);
    QFETCH(bool, isOffered);
    const Catalogue catalogue(header + "Synth,1.2,d,f," + flag + '\n');
    QCOMPARE(catalogue.getAppList(), isOffered ? QStringList{u"Synth"_s} : QStringList{});
    QCOMPARE(catalogue.getVersion(u"Synth"_s), isOffered ? u"1.2"_s : QString());
    QCOMPARE(catalogue.getValue(u"Synth"_s, u"Ignored"_s), isOffered ? u"0"_s : QString());
    QCOMPARE(catalogue.size(), isOffered ? 1 : 0);
}

void TestCatalogueData::keepsTheValues_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("value");

    const auto row = [](const char* what, const QByteArray& file, const QString& column,
                        const QString& value) { QTest::newRow(what) << file << column << value; };
    const QString version = u"Version"_s;
    row("as it stands", "Name,Version,Ignored\nSynth,1.2,0\n", version, u"1.2"_s);
    row("trimmed, then unquoted", "Name,Version,Ignored\n \"Synth\" , \"1.2\" ,0\n", version,
        u"1.2"_s);
    row("unquoted, but not trimmed again", "Name,Version,Ignored\nSynth,\" 1.2 \",0\n", version,
        u" 1.2 "_s);
    row("a lone quote stays", "Name,Version,Ignored\nSynth,\",0\n", version, u"\""_s);
    row("two quotes: empty", "Name,Version,Ignored\nSynth,\"\",0\n", version, u""_s);
    row("empty", "Name,Version,Ignored\nSynth,,0\n", version, u""_s);
    row("the last field before CRLF", "Name,Ignored,Version\r\nSynth,0,1.2\r\n", version, u"1.2"_s);
    row("cut off by the end of a short record", "Name,Ignored,Version\nSynth,0\n", version, u""_s);
    row("a column that the program does not read", "Name,Ignored,Note\nSynth,0,n'importe quoi\n",
        u"Note"_s, u"n'importe quoi"_s);
    row("a column without a title", "Name,,Ignored\nSynth,1.2,0\n", u""_s, u"1.2"_s);
    row("the first column is no value", "Name,Version,Ignored\nSynth,1.2,0\n", u"Name"_s, u""_s);
    row("the first column is no value, whatever its title", "Version,Ignored\nSynth,0\n", version,
        u""_s);
    row("the first column's title again", "Version,Version,Ignored\nSynth,1.2,0\n", version,
        u"1.2"_s);
    row("a title's case counts", "Name,version,Ignored\nSynth,1.2,0\n", version, u""_s);
    row("a title with a blank is another", "Name, Version,Ignored\nSynth,1.2,0\n", version, u""_s);
    row("a title keeps its blanks", "Name, Version ,Ignored\nSynth,1.2,0\n", u" Version "_s,
        u"1.2"_s);
    row("a title keeps its quotes", "Name,\"Version\",Ignored\nSynth,1.2,0\n", u"\"Version\""_s,
        u"1.2"_s);
    row("a title in quotes is another", "Name,\"Version\",Ignored\nSynth,1.2,0\n", version, u""_s);
    row("a title keeps a tab and a no-break space", "Name,\tVersion\u00a0,Ignored\nSynth,1.2,0\n",
        u"\tVersion\u00a0"_s, u"1.2"_s);
    row("a title beyond ASCII", "Name,Éditeur,Ignored\nSynth,Société,0\n", u"Éditeur"_s,
        u"Société"_s);
    row("a title that is no UTF-8", "Name,Caf\xE9,Ignored\nSynth,1.2,0\n", u"Caf\ufffd"_s,
        u"1.2"_s);
    row("of two equal titles the later one counts", "Name,Version,Version,Ignored\nSynth,1,2,0\n",
        version, u"2"_s);
    row("of two equal titles the later one counts, even if empty",
        "Name,Version,Ignored,Version\nSynth,1,0,\n", version, u""_s);
    row("of two equal titles a short record has the first",
        "Name,Version,Ignored,Version\nSynth,1,0\n", version, u"1"_s);
    row("of three equal titles the last one counts",
        "Name,Version,Version,Ignored,Version\nSynth,1,2,0,3\n", version, u"3"_s);
    row("a title after two equal ones", "Name,Version,Version,Ignored,Filename\nSynth,1,2,0,f\n",
        u"Filename"_s, u"f"_s);
    row("a title after two equal ones, in a short record",
        "Name,Version,Version,Ignored,Filename\nSynth,1,2,0\n", u"Filename"_s, u""_s);
    row("fields beyond the header have no column", "Name,Version,Ignored\nSynth,1.2,0,x,y\n", u""_s,
        u""_s);
    row("a NUL stays", QByteArray("Name,Version,Ignored\nSynth,1\0002,0\n", 33), version,
        u"1\0002"_s);
    row("a lone CR inside stays", "Name,Version,Ignored\nSynth,1\r2,0\n", version, u"1\r2"_s);
    row("no UTF-8: replaced", "Name,Version,Ignored\nSynth,\xFF.\xE9,0\n", version,
        u"\ufffd.\ufffd"_s);
    row("beyond the basic plane", "Name,Version,Ignored\nSynth,𝄞,0\n", version, u"𝄞"_s);
}

void TestCatalogueData::keepsTheValues()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, column);
    QFETCH(QString, value);
    const Catalogue catalogue(file);
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(catalogue.getValue(u"Synth"_s, column), value);
}

void TestCatalogueData::readsTheProgramsColumns()
{
    const Catalogue catalogue("Title,Filename,Ignored,Release date,Version\n"
                              "Synth,Synth_1.2.zip,0,21 septembre,1.2 (beta)\n");
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"1.2 (beta)"_s);
    QCOMPARE(catalogue.getReleaseDate(u"Synth"_s), u"21 septembre"_s);
    QCOMPARE(catalogue.getFilename(u"Synth"_s), u"Synth_1.2.zip"_s);
    QCOMPARE(catalogue.getUrlToFile(u"Synth"_s), u"https://server.example/soft/Synth_1.2.zip"_s);
    QCOMPARE(catalogue.getValue(u"Synth"_s, u"Ignored"_s), u"0"_s);
}

void TestCatalogueData::aNameListedTwiceKeepsTheLaterRow()
{
    const Catalogue catalogue(header + "Synth,1,first,f1,0\nSynth,2,second,,0\n");
    QCOMPARE(catalogue.getAppList(), QStringList({u"Synth"_s, u"Synth"_s}));
    QCOMPARE(catalogue.size(), 1);
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"2"_s);
    QCOMPARE(catalogue.getReleaseDate(u"Synth"_s), u"second"_s);
    QCOMPARE(catalogue.getFilename(u"Synth"_s), u""_s);
}

void TestCatalogueData::anIgnoredRowDoesNotReplaceAnOfferedOne()
{
    const Catalogue catalogue(header + "Synth,1,d,f,0\nSynth,2,d,f,1\n");
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"1"_s);
}

void TestCatalogueData::aSecondTextAddsToTheFirst()
{
    Catalogue catalogue("Name,Version,Ignored\nSynth,1,0\n");
    catalogue.updateData("Name,Ignored,Note,Version\nAmp,0,loud,2\n");
    QCOMPARE(catalogue.getAppList(), QStringList({u"Synth"_s, u"Amp"_s}));
    QCOMPARE(catalogue.size(), 2);
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"1"_s);
    QCOMPARE(catalogue.getValue(u"Synth"_s, u"Note"_s), QString());
    QCOMPARE(catalogue.getVersion(u"Amp"_s), u"2"_s);
    QCOMPARE(catalogue.getValue(u"Amp"_s, u"Note"_s), u"loud"_s);
}

void TestCatalogueData::aSecondTextReplacesWholeRows()
{
    Catalogue catalogue("Name,Version,Ignored,Note\nSynth,1,0,loud\n");
    catalogue.updateData("Name,Ignored,Version\nSynth,0,2\n");
    QCOMPARE(catalogue.getAppList(), QStringList({u"Synth"_s, u"Synth"_s}));
    QCOMPARE(catalogue.size(), 1);
    QCOMPARE(catalogue.getVersion(u"Synth"_s), u"2"_s);
    QCOMPARE(catalogue.getValue(u"Synth"_s, u"Note"_s), QString());
}

void TestCatalogueData::readsALongFileInOrder()
{
    constexpr int count = 10'000;
    QByteArray file = header;
    QStringList names;
    for (int i = 0; i < count; ++i) {
        const QByteArray number = QByteArray::number(i);
        file += "Séquenceur " + number + ",1." + number + ",date,file " + number + ".pkg,0\r\n";
        names.append(u"Séquenceur %1"_s.arg(i));
    }
    const Catalogue catalogue(file);
    QCOMPARE(catalogue.getAppList(), names);
    QCOMPARE(catalogue.size(), count);
    QCOMPARE(catalogue.getVersion(u"Séquenceur 0"_s), u"1.0"_s);
    QCOMPARE(catalogue.getFilename(u"Séquenceur 9999"_s), u"file 9999.pkg"_s);
}

void TestCatalogueData::charactersSurviveTheReadBuffersEdges()
{
    // Four bytes each, so that with these four beginnings any edge cuts one at every place.
    const QString name = u"𝄞"_s.repeated(20'000);
    for (qsizetype shift = 0; shift < 4; ++shift) {
        const QString shifted = QString(shift, u'x') + name;
        const Catalogue catalogue("Name,Ignored\n" + shifted.toUtf8() + ",0\r\n");
        QCOMPARE(catalogue.getAppList(), QStringList{shifted});
    }
}

void TestCatalogueData::parsingLogsNothing()
{
    const Catalogue catalogue(header + "Synth,1,d,f,0\n\nAmp\n\"\nMixer,1,d,f,1\n");
    QCOMPARE(catalogue.size(), 1);
    QCOMPARE(m_home->logLines(), QStringList{u"[INFO] Init WebProfiler"_s});
}

void TestCatalogueData::clearingEmptiesTheDataAlone()
{
    Catalogue catalogue(header + "Synth,1,d,f,0\n");
    catalogue.clear();
    QCOMPARE(catalogue.size(), 0);
    QCOMPARE(catalogue.getVersion(u"Synth"_s), QString());
    QCOMPARE(catalogue.find(u"Synth"_s), QStringList{});
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    QCOMPARE(m_home->logLines(),
             QStringList({u"[INFO] Init WebProfiler"_s, u"[INFO] WebProfiler - Clear Data"_s}));
}

void TestCatalogueData::findsNames_data()
{
    QTest::addColumn<QByteArray>("names");
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QStringList>("found");

    const auto row = [](const char* what, const QByteArray& names, const QString& wanted,
                        const QStringList& found) {
        QTest::newRow(what) << names << wanted << found;
    };
    row("an exact name wins alone", "Synth Pro\nSynth\nSynth Lite\n", u"Synth"_s, {u"Synth"_s});
    row("else every name that begins so", "Synth Pro\nAmp\nSynth Lite\nSynthesis\n", u"Synth"_s,
        {u"Synth Lite"_s, u"Synth Pro"_s, u"Synthesis"_s});
    row("only at the beginning", "My Synth\nSynth 2\n", u"Synth"_s, {u"Synth 2"_s});
    row("case counts", "synth pro\nSYNTH\n", u"Synth"_s, {});
    row("a longer text finds nothing", "Synth\n", u"Synth 2"_s, {});
    row("nothing is found among nothing", "", u"Synth"_s, {});
    row("an empty text begins every name", "Synth\nAmp\n", u""_s, {u"Amp"_s, u"Synth"_s});
    row("an empty name is an exact one too", "Synth\n\"\"\n", u""_s, {u""_s});
    row("a name listed twice is found once", "Synth 2\nSynth 2\n", u"Synth"_s, {u"Synth 2"_s});
    row("no pattern", "Synth\n", u"S.*"_s, {});
}

void TestCatalogueData::findsNames()
{
    QFETCH(QByteArray, names);
    QFETCH(QString, wanted);
    QFETCH(QStringList, found);
    const Catalogue catalogue("Name,Ignored\n" + names.replace("\n", ",0\n"));
    QCOMPARE(sorted(catalogue.find(wanted)), found);
}

void TestCatalogueData::whatIsUnknownHasNoValue()
{
    const Catalogue catalogue("Name,Ignored,Note\nSynth,0,loud\n");
    QCOMPARE(catalogue.getValue(u"Amp"_s, u"Note"_s), QString());
    QCOMPARE(catalogue.getValue(u"synth"_s, u"Note"_s), QString());
    QCOMPARE(catalogue.getValue(u"Synth"_s, u"note"_s), QString());
    QCOMPARE(catalogue.getVersion(u"Synth"_s), QString());
    QCOMPARE(catalogue.getReleaseDate(u"Synth"_s), QString());
    QCOMPARE(catalogue.getFilename(u"Synth"_s), QString());
    QCOMPARE(catalogue.size(), 1);
}

void TestCatalogueData::everyOfferedEntryCountsAsIgnored()
{
    const Catalogue catalogue(header + "Synth,1,d,f,0\nAmp,1,d,f,\" 0\"\nMixer,1,d,f, \"0\" \n"
                                       "Drum,1,d,f,1\n");
    QVERIFY(catalogue.isIgnored(u"Synth"_s));
    QVERIFY(catalogue.isIgnored(u"Mixer"_s));
    QVERIFY(!catalogue.isIgnored(u"Amp"_s));
    QVERIFY(!catalogue.isIgnored(u"Drum"_s));
    QVERIFY(!catalogue.isIgnored(u"Bass"_s));
}

void TestCatalogueData::joinsAnInstallersUrlAsPlainText_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("softPath");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("joined");

    const auto row = [](const char* what, const QString& url, const QString& softPath,
                        const QByteArray& file, const QString& joined) {
        QTest::newRow(what) << url << softPath << file << joined;
    };
    row("three parts", u"https://h/base/"_s, u"soft/mac/"_s, "Synth.pkg",
        u"https://h/base/soft/mac/Synth.pkg"_s);
    row("no separator is added", u"https://h"_s, u"soft"_s, "Synth.pkg",
        u"https://hsoftSynth.pkg"_s);
    row("no separator is removed", u"https://h/"_s, u"/soft/"_s, "/Synth.pkg",
        u"https://h//soft//Synth.pkg"_s);
    row("no soft path", u"https://h/"_s, u""_s, "Synth.pkg", u"https://h/Synth.pkg"_s);
    row("nothing is encoded or decoded", u"https://h/"_s, u"soft été/"_s, "Synth 1%20é%1F#?.pkg",
        u"https://h/soft été/Synth 1%20é%1F#?.pkg"_s);
    row("percent signs are no places", u"https://h/%1/"_s, u"%2/"_s, "%3 %1.pkg",
        u"https://h/%1/%2/%3 %1.pkg"_s);
    row("no file name", u"https://h/"_s, u"soft/"_s, "", u"https://h/soft/"_s);
}

void TestCatalogueData::joinsAnInstallersUrlAsPlainText()
{
    QFETCH(QString, url);
    QFETCH(QString, softPath);
    QFETCH(QByteArray, file);
    QFETCH(QString, joined);
    WebProfiler catalogue(url, u"apps.csv"_s, u","_s, softPath);
    catalogue.updateData("Name,Filename,Ignored\nSynth," + file + ",0\n");
    QCOMPARE(catalogue.getUrlToFile(u"Synth"_s), joined);
    QCOMPARE(catalogue.getUrlToFile(u"Unknown"_s), url + softPath);
}

void TestCatalogueData::settersReplaceTheSettings()
{
    Catalogue catalogue("Name,Filename,Ignored\nSynth,f.pkg,0\n");
    QCOMPARE(catalogue.getUrl(), QUrl(u"https://server.example/"_s));

    catalogue.setUrl(u"http://other.example:81/a/"_s);
    QCOMPARE(catalogue.getUrl(), QUrl(u"http://other.example:81/a/"_s));
    QCOMPARE(catalogue.getUrlToFile(u"Synth"_s), u"http://other.example:81/a/soft/f.pkg"_s);

    catalogue.setSoftPath(u"installers/"_s);
    QCOMPARE(catalogue.getUrlToFile(u"Synth"_s), u"http://other.example:81/a/installers/f.pkg"_s);

    catalogue.setCsvSeparator(u";"_s);
    QCOMPARE(catalogue.getAppList(), QStringList{u"Synth"_s});
    catalogue.updateData("Name;Ignored\nAmp;0\n");
    QCOMPARE(catalogue.getAppList(), QStringList({u"Synth"_s, u"Amp"_s}));
}

QTEST_GUILESS_MAIN(TestCatalogueData)
#include "tst_cataloguedata.moc"
