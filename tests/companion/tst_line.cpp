#include "companion/line/line.h"

#include "commandrun.h"
#include "support/packagemaker.h"
#include "support/privatehome.h"
#include "support/zipmaker.h"

#include <QFile>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray packageWith(const QByteArray& name, const QByteArray& version)
{
    return packageOf(bundleFiles(name, bundleList(version), armProgram()));
}

/// An archive of packages: for each its file's name, and the application in it.
QByteArray zipWith(const QList<std::pair<QByteArray, QByteArray>>& packages)
{
    ZipMaker zip;
    for (const auto& [file, name] : packages) {
        zip.add({.name = file, .content = packageWith(name, "1.0")});
    }
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
    void readsAPackageInAnArchive();
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
    const CommandRun result = line({write(u"Synth-2.5.pkg"_s, packageWith("Synth", "2.5 (7)"))});
    QCOMPARE(result.out, u"Synth,2.5,2026-03-01,Synth-2.5.pkg,0\n"_s);
    QCOMPARE(result.err,
             u"Synth-2.5.pkg: the release date is that of the newest file in 'Synth'\n"_s);
    QCOMPARE(result.status, 0);
}

void TestLine::writesTheColumnsOfAnotherCatalogue()
{
    const QString like = write(u"like.csv"_s, "App;Ignored;Filename;For;Version;Release date\r\n");
    const QString file = write(u"a.pkg"_s, packageWith("Synth", "2.5"));
    const CommandRun result = line({file, u"--like"_s, like, u"--separator"_s, u";"_s});
    QCOMPARE(result.out, u"Synth;0;a.pkg;;2.5;2026-03-01\n"_s);
    QCOMPARE(result.status, 0);
}

void TestLine::givesTheReasonForNoLine_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");

    const auto row = [](const char* what, const QString& fileName, const QByteArray& content,
                        const QString& reason) {
        QTest::newRow(what) << fileName << content << reason;
    };
    const auto package = [&row](const char* what, const QByteArray& content,
                                const QString& reason) { row(what, u"a.pkg"_s, content, reason); };
    const auto zip = [&row](const char* what, const QByteArray& content, const QString& reason) {
        row(what, u"a.zip"_s, content, reason);
    };
    package("no version", packageWith("Synth", ""),
            u"'Synth' has no version that the client would read"_s);
    package("a version that is not known",
            packageOf(bundleFiles("Synth", "bplist00...", armProgram())),
            u"the version of 'Synth' is unknown: its property list cannot be read: it is no whole "
            "binary property list"_s);
    package("nothing in /Applications", packageOf({{"./ReadMe.txt", "x"}}),
            u"it puts nothing into /Applications"_s);
    package("two applications",
            packageOf(bundleFiles("One", bundleList("1.0"), armProgram()) +
                      bundleFiles("Two", bundleList("1.0"), armProgram())),
            u"it brings more than one application: 'One', 'Two'"_s);
    package("no package", "<html>", u"what it brings is unknown: it is a web page"_s);
    package("a name that the separator splits", packageWith("Synth, Pro", "1.0"),
            u"'Synth, Pro' cannot stand in a catalogue's field"_s);
    package("a version that check refuses", packageWith("Synth", "v2"),
            u"'v2' does not start with a digit [version-start]"_s);
    QList<PackedFile> files = bundleFiles("Synth", bundleList("1.0"), armProgram());
    files.last().mode = 0100644;
    package("an application that cannot be started", packageOf(files),
            u"of '/Applications/Synth.app', its program 'Synth' must not be executed "
            "[bundle-start]"_s);
    row("a program for another processor than the name says", u"a-arm64.pkg"_s,
        packageOf(bundleFiles("Synth", bundleList("1.0"), intelProgram())),
        u"the name 'a-arm64.pkg' says arm64, '/Applications/Synth.app' is for x86_64 alone "
        "[bundle-processor]"_s);
    zip("nothing to open", zipOf({"ReadMe.txt"}),
        u"what it brings is unknown: nothing in it can be opened"_s);
    zip("a package that is none", zipOf({"Synth.pkg"}),
        u"what it brings is unknown: it is no installer package"_s);
    zip("two of one rank", zipWith({{"One.pkg", "Synth"}, {"Two.pkg", "Synth"}}),
        u"'Two.pkg' fits as well as 'One.pkg' [archive-tie]"_s);
    zip("one for each processor",
        zipWith({{"Synth-arm64.pkg", "Synth"}, {"Synth-x86_64.pkg", "Tuner"}}),
        u"each processor's client gets another application: 'Synth' 1.0 and 'Tuner' 1.0"_s);
}

void TestLine::givesTheReasonForNoLine()
{
    QFETCH(QString, fileName);
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    const CommandRun result = line({write(fileName, content)});
    QCOMPARE(result.err, fileName + ": no line: "_L1 + reason + u'\n');
    QCOMPARE(result.out, QString());
    QCOMPARE(result.status, 1);
}

void TestLine::readsAPackageInAnArchive()
{
    const CommandRun result = line({write(u"a-1.0.zip"_s, zipWith({{"Synth-1.0.pkg", "Synth"}}))});
    QCOMPARE(result.out, u"Synth,1.0,2026-03-01,a-1.0.zip,0\n"_s);
    QCOMPARE(result.status, 0);
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
        title + "Other,1,2020-01-01,o.pkg,0\n \"Synth\" ,2.5,2026-03-01,a.pkg, 0\n\n"_L1);
    row("a line that is new", header + "Other,1,2020-01-01,o.pkg,0\n",
        title + "Other,1,2020-01-01,o.pkg,0\nSynth,2.5,2026-03-01,a.pkg,0\n"_L1);
    row("a last line without its end", header + "Other,1,,o.pkg,0",
        title + "Other,1,,o.pkg,0\nSynth,2.5,2026-03-01,a.pkg,0\n"_L1);
    row("the ends of Windows", "N,Version,Release date,Filename,Ignored\r\nx\r\n",
        u"N,Version,Release date,Filename,Ignored\r\nx\r\nSynth,2.5,2026-03-01,a.pkg,0\r\n"_s);
    row("a byte order mark, further columns",
        "\xef\xbb\xbfName,For,Version,Release date,Filename,Ignored,Note\nSynth,all,1,,b,0,kept\n",
        u"\uFEFFName,For,Version,Release date,Filename,Ignored,Note\n"
        "Synth,all,2.5,2026-03-01,a.pkg,0,kept\n"_s);
    row("an entry that stays hidden", header + "Synth,1,,b.zip,1\n",
        title + "Synth,2.5,2026-03-01,a.pkg,1\n"_L1);
}

void TestLine::updatesACatalogue()
{
    QFETCH(QByteArray, before);
    QFETCH(QString, after);
    const QString file = write(u"a.pkg"_s, packageWith("Synth", "2.5"));
    const CommandRun result = line({file, u"--update"_s, write(u"c.csv"_s, before)});
    QCOMPARE(result.out, after);
    QCOMPARE(result.status, 0);
}

void TestLine::writesOneLineForOneName()
{
    const QString header = u"Name,Version,Release date,Filename,Ignored\n"_s;
    const QString file = write(u"a.pkg"_s, packageWith("Synth 2", "2.5"));
    const QString again = write(u"b.pkg"_s, packageWith("Synth 2", "2.5"));
    const CommandRun twice = line({file, again});
    QCOMPARE(twice.out, u"Synth 2,2.5,2026-03-01,a.pkg,0\n"_s);
    QCOMPARE(twice.err.section(u'\n', 1),
             u"b.pkg: no line: another file here brings 'Synth 2' too\n"_s);
    QCOMPARE(twice.status, 1);

    const QString versioned = write(u"c.csv"_s, (header + "Synth,1.0,,c.zip,0\n"_L1).toUtf8());
    QCOMPARE(line({file, u"--update"_s, versioned}).out,
             header + "Synth,2.5,2026-03-01,a.pkg,0\n"_L1);
    const QString both = write(
        u"d.csv"_s, (header + "Synth,1,,c.zip,0\nSyn,1,,c.zip,0\nSynth,1,,c.zip,0\n"_L1).toUtf8());
    const CommandRun unclear = line({file, u"--update"_s, both});
    QCOMPARE(unclear.err, u"a.pkg: no line: more than one line stands for 'Synth 2'\n"_s);
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
    const QString file = write(u"a.pkg"_s, packageWith("Synth", "2.5"));
    const CommandRun result = line({file, u"--update"_s, write(u"c.csv"_s, catalogue)});
    QCOMPARE(result.err, u"quillmere-catalogue line: %1\n"_s.arg(error));
    QCOMPARE(result.out, QString());
    QCOMPARE(result.status, 2);
}

QTEST_GUILESS_MAIN(TestLine)
#include "tst_line.moc"
