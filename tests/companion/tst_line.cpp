#include "companion/line/line.h"

#include "commandrun.h"
#include "support/privatehome.h"
#include "support/zipmaker.h"

#include <QFile>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray program = QByteArray::fromHex("cffaedfe0c000001");

QByteArray infoPlist(const QByteArray& version)
{
    return "<plist><dict><key>CFBundleShortVersionString</key><string>" + version +
           "</string></dict></plist>";
}

void addBundle(ZipMaker& zip, const QByteArray& name, const QByteArray& list)
{
    zip.add({.name = name + ".app/Contents/Info.plist", .content = list});
    zip.add({.name = name + ".app/Contents/MacOS/" + name, .content = program, .mode = 0100755});
}

QByteArray bundleZip(const QByteArray& name, const QByteArray& version)
{
    ZipMaker zip;
    addBundle(zip, name, infoPlist(version));
    return zip.bytes();
}

} // namespace

class TestLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void writesALine();
    void writesTheColumnsOfAnotherCatalogue();
    void givesTheReasonForNoLine_data();
    void givesTheReasonForNoLine();
    void updatesACatalogue_data();
    void updatesACatalogue();
    void writesOneLineForOneName();
    void refusesWhatItCannotRead_data();
    void refusesWhatItCannotRead();

private:
    QString write(const QString& name, const QByteArray& bytes) const;
    /// What is printed, and then the status.
    [[nodiscard]] CommandRun line(const QStringList& arguments) const;

    std::unique_ptr<PrivateHome> m_home;
};

void TestLine::init()
{
    m_home = std::make_unique<PrivateHome>();
}

QString TestLine::write(const QString& name, const QByteArray& bytes) const
{
    const QString path = m_home->path() + u'/' + name;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("a file cannot be written");
    }
    return path;
}

CommandRun TestLine::line(const QStringList& arguments) const
{
    CommandRun result = run(runLine, QStringList{u"line"_s} + arguments);
    result.err.remove(m_home->path() + u'/');
    return result;
}

void TestLine::writesALine()
{
    const CommandRun result = line({write(u"Synth-2.5.zip"_s, bundleZip("Synth", "2.5 (7)"))});
    QCOMPARE(result.out, u"Synth,2.5,2025-09-21,Synth-2.5.zip,0\n"_s);
    QCOMPARE(result.err,
             u"Synth-2.5.zip: the release date is that of the newest file in 'Synth'\n"_s);
    QCOMPARE(result.status, 0);
}

void TestLine::writesTheColumnsOfAnotherCatalogue()
{
    const QString like = write(u"like.csv"_s, "App;Ignored;Filename;For;Version;Release date\r\n");
    const QString file = write(u"a.zip"_s, bundleZip("Synth", "2.5"));
    const CommandRun result = line({file, u"--like"_s, like, u"--separator"_s, u";"_s});
    QCOMPARE(result.out, u"Synth;0;a.zip;;2.5;2025-09-21\n"_s);
    QCOMPARE(result.status, 0);
}

void TestLine::givesTheReasonForNoLine_data()
{
    QTest::addColumn<QByteArray>("zip");
    QTest::addColumn<QString>("reason");

    const auto row = [](const char* what, const QByteArray& zip, const QString& reason) {
        QTest::newRow(what) << zip << reason;
    };
    row("no version", bundleZip("Synth", ""),
        u"'Synth' has no version that the client would read"_s);
    ZipMaker broken;
    addBundle(broken, "Synth", "bplist00...");
    row("a version that is not known", broken.bytes(),
        u"the version of 'Synth' is unknown: its property list cannot be read: it is no whole "
        "binary property list"_s);
    row("nothing to open", zipOf({"ReadMe.txt"}),
        u"what it brings is unknown: nothing in it can be opened"_s);
    row("a package that is none", zipOf({"Synth.pkg"}),
        u"what it brings is unknown: it is no installer package"_s);
    ZipMaker two;
    addBundle(two, "One", infoPlist("1.0"));
    addBundle(two, "Two", infoPlist("1.0"));
    row("two of one rank", two.bytes(), u"'Two.app' fits as well as 'One.app' [archive-tie]"_s);
    ZipMaker both;
    addBundle(both, "Synth-arm64", infoPlist("1.0"));
    addBundle(both, "Synth-x86_64", infoPlist("1.0"));
    row("one for each processor", both.bytes(),
        u"each processor's client gets another application: 'Synth-arm64' and 'Synth-x86_64'"_s);
    row("a name that the separator splits", bundleZip("Synth, Pro", "1.0"),
        u"'Synth, Pro' cannot stand in a catalogue's field"_s);
    row("a version that check refuses", bundleZip("Synth", "v2"),
        u"'v2' does not start with a digit [version-start]"_s);
}

void TestLine::givesTheReasonForNoLine()
{
    QFETCH(QByteArray, zip);
    QFETCH(QString, reason);
    const CommandRun result = line({write(u"a.zip"_s, zip)});
    QCOMPARE(result.err, "a.zip: no line: "_L1 + reason + u'\n');
    QCOMPARE(result.out, QString());
    QCOMPARE(result.status, 1);
}

void TestLine::updatesACatalogue_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("after");

    const auto row = [](const char* what, const QByteArray& before, const QString& after) {
        QTest::newRow(what) << before << after;
    };
    const QByteArray header = "Name,Version,Release date,Filename,Ignored\n";
    const QString title = QString::fromUtf8(header);
    row("a line that is there",
        header + "Other,1,2020-01-01,o.pkg,0\n \"Synth\" ,2.4,2020-01-01,old.zip, 0\n\n",
        title + "Other,1,2020-01-01,o.pkg,0\n \"Synth\" ,2.5,2025-09-21,a.zip, 0\n\n"_L1);
    row("a line that is new", header + "Other,1,2020-01-01,o.pkg,0\n",
        title + "Other,1,2020-01-01,o.pkg,0\nSynth,2.5,2025-09-21,a.zip,0\n"_L1);
    row("a last line without its end", header + "Other,1,,o.pkg,0",
        title + "Other,1,,o.pkg,0\nSynth,2.5,2025-09-21,a.zip,0\n"_L1);
    row("the ends of Windows", "N,Version,Release date,Filename,Ignored\r\nx\r\n",
        u"N,Version,Release date,Filename,Ignored\r\nx\r\nSynth,2.5,2025-09-21,a.zip,0\r\n"_s);
    row("a byte order mark, further columns",
        "\xef\xbb\xbfName,For,Version,Release date,Filename,Ignored,Note\nSynth,all,1,,b,0,kept\n",
        u"\uFEFFName,For,Version,Release date,Filename,Ignored,Note\n"
        "Synth,all,2.5,2025-09-21,a.zip,0,kept\n"_s);
    row("an entry that stays hidden", header + "Synth,1,,b.zip,1\n",
        title + "Synth,2.5,2025-09-21,a.zip,1\n"_L1);
}

void TestLine::updatesACatalogue()
{
    QFETCH(QByteArray, before);
    QFETCH(QString, after);
    const QString file = write(u"a.zip"_s, bundleZip("Synth", "2.5"));
    const CommandRun result = line({file, u"--update"_s, write(u"c.csv"_s, before)});
    QCOMPARE(result.out, after);
    QCOMPARE(result.status, 0);
}

void TestLine::writesOneLineForOneName()
{
    const QString header = u"Name,Version,Release date,Filename,Ignored\n"_s;
    const QString file = write(u"a.zip"_s, bundleZip("Synth 2", "2.5"));
    const QString again = write(u"b.zip"_s, bundleZip("Synth 2", "2.5"));
    const CommandRun twice = line({file, again});
    QCOMPARE(twice.out, u"Synth 2,2.5,2025-09-21,a.zip,0\n"_s);
    QCOMPARE(twice.err.section(u'\n', 1),
             u"b.zip: no line: another file here brings 'Synth 2' too\n"_s);
    QCOMPARE(twice.status, 1);

    const QString versioned = write(u"c.csv"_s, (header + "Synth,1.0,,c.zip,0\n"_L1).toUtf8());
    QCOMPARE(line({file, u"--update"_s, versioned}).out,
             header + "Synth,2.5,2025-09-21,a.zip,0\n"_L1);
    const QString both = write(
        u"d.csv"_s, (header + "Synth,1,,c.zip,0\nSyn,1,,c.zip,0\nSynth,1,,c.zip,0\n"_L1).toUtf8());
    const CommandRun unclear = line({file, u"--update"_s, both});
    QCOMPARE(unclear.err, u"a.zip: no line: more than one line stands for 'Synth 2'\n"_s);
    QCOMPARE(unclear.status, 1);
}

void TestLine::refusesWhatItCannotRead_data()
{
    QTest::addColumn<QByteArray>("catalogue");
    QTest::addColumn<QString>("error");

    QTest::newRow("no UTF-8") << QByteArray("Name,Version,Release date,Filename,Ignored\n\xe9\n")
                              << u"the catalogue is no text in UTF-8"_s;
    QTest::newRow("a column too few")
        << QByteArray("Name,Version,Filename,Ignored\n") << u"no column is titled 'Release date'"_s;
    QTest::newRow("empty") << QByteArray() << u"no column is titled 'Version'"_s;
}

void TestLine::refusesWhatItCannotRead()
{
    QFETCH(QByteArray, catalogue);
    QFETCH(QString, error);
    const QString file = write(u"a.zip"_s, bundleZip("Synth", "2.5"));
    const CommandRun result = line({file, u"--update"_s, write(u"c.csv"_s, catalogue)});
    QCOMPARE(result.err, u"quillmere-catalogue line: %1\n"_s.arg(error));
    QCOMPARE(result.out, QString());
    QCOMPARE(result.status, 2);
}

QTEST_GUILESS_MAIN(TestLine)
#include "tst_line.moc"
