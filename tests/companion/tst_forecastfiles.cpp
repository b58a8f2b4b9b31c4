#include "companion/fleet/forecast.h"

#include "commandrun.h"
#include "fleetsample.h"
#include "randomcatalogues.h"
#include "support/packagemaker.h"
#include "support/propertylist.h"
#include "support/zipmaker.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray key(const QByteArray& name, const QByteArray& value)
{
    return value.isEmpty() ? QByteArray() : "<key>" + name + "</key><string>" + value + "</string>";
}

/// An archive with the application @p bundle.
QByteArray archive(const QByteArray& bundle, const QByteArray& version,
                   const QByteArray& identifier = {})
{
    ZipMaker zip;
    zip.add({.name = bundle + "/Contents/Info.plist",
             .content = xmlPlist(key("CFBundleShortVersionString", version) +
                                 key("CFBundleIdentifier", identifier))});
    return zip.bytes();
}

/// The files of an application in a package.
QList<PackedFile> packed(const QByteArray& name, const QByteArray& version)
{
    return bundleFiles(name, bundleList(version, "org.example.synth"), armProgram());
}

QByteArray package(const QByteArray& name, const QByteArray& version)
{
    return packageOf(packed(name, version));
}

/// An archive with a package for each processor.
QByteArray archiveOfPackages(const QByteArray& arm, const QByteArray& intel)
{
    ZipMaker zip;
    zip.add({.name = "Synth-arm64.pkg", .content = arm});
    zip.add({.name = "Synth-x86.pkg", .content = intel});
    return zip.bytes();
}

} // namespace

/// `forecast --files`: what follows once users have opened what the publisher's files bring.
class TestForecastFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { silenceClientLog(); }
    void init();

    void updateIsJudgedAgain_data();
    void updateIsJudgedAgain();
    void packageIsJudgedAgain_data();
    void packageIsJudgedAgain();
    void rowsThatNeverSettleAreCounted();
    void identifierThatIsNotTheArchivesIsTold();
    void severalIdentifiersAreTold();
    void trafficIsAtMostWhatTheFilesHave();
    void versionOfTheArchiveDecidesTheWayBack();
    void sumKnowsTheFiles();

private:
    [[nodiscard]] CommandRun forecast(const QStringList& options = {});
    /// What is told of the rows that users would update.
    [[nodiscard]] static QString remarks(const CommandRun& run);

    std::unique_ptr<FleetSample> m_fleet;
    QByteArrayList m_next;
    QByteArray m_ending = ".zip"; ///< of the installers' names
    QByteArray m_lines;
};

void TestForecastFiles::init()
{
    m_fleet = std::make_unique<FleetSample>();
    m_next = {"Synth,2.0"};
    m_ending = ".zip";
    m_lines = FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s});
}

CommandRun TestForecastFiles::forecast(const QStringList& options)
{
    return run(runForecast,
               QStringList{u"forecast"_s,
                           m_fleet->write(u"new.csv"_s,
                                          FleetSample::catalogue(m_next).replace(".zip", m_ending)),
                           u"--published"_s,
                           m_fleet->write(u"old.csv"_s, FleetSample::catalogue({"Synth,1.0"})),
                           u"--machines"_s, m_fleet->write(u"fleet.log"_s, m_lines), u"--files"_s,
                           m_fleet->path() + "/soft"_L1} +
                   options);
}

QString TestForecastFiles::remarks(const CommandRun& run)
{
    return run.out.section(u"\n\n"_s, 2).section(u"Going back"_s, 0, 0);
}

void TestForecastFiles::updateIsJudgedAgain_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("told");
    QTest::addColumn<int>("status");

    const QString unknown =
        u"unknown whether the update settles it, as the installer does not tell its version"_s;
    QTest::newRow("equal") << archive("Synth.app", "2.0") << QString() << 0;
    QTest::newRow("equal, as far as both tell") << archive("Synth.app", "2.0.1") << QString() << 0;
    QTest::newRow("still older")
        << archive("Synth.app", "1.9")
        << u"never up to date, older after each update (catalogue 2.0, installer's bundle 1.9)"_s
        << 1;
    QTest::newRow("newer")
        << archive("Synth.app", "2.1")
        << u"newer than the catalogue after the update (catalogue 2.0, installer's bundle 2.1)"_s
        << 1;
    QTest::newRow("under another name")
        << archive("Schist.app", "2.0")
        << u"stands for another application than the installer's 'Schist'"_s << 1;
    QTest::newRow("under a longer name") << archive("Synth 2.app", "2.0") << QString() << 0;
    QTest::newRow("no version") << archive("Synth.app", {}) << unknown << 0;
    QTest::newRow("no property list") << zipOf({"Synth.app/Contents/MacOS/Synth"}) << unknown << 0;
    QTest::newRow("a package") << zipOf({"Synth.pkg"}) << unknown << 0;
    QTest::newRow("no archive") << QByteArray("x") << unknown << 0;
    QTest::newRow("no file") << QByteArray() << unknown << 0;
}

void TestForecastFiles::updateIsJudgedAgain()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, told);
    QFETCH(int, status);
    if (!file.isEmpty()) {
        m_fleet->write(u"soft/Synth.zip"_s, file);
    }
    const CommandRun run = forecast();
    QCOMPARE(remarks(run),
             told.isEmpty() ? QString() : u"Synth: %1 on 1 of 1 machine\n"_s.arg(told));
    QCOMPARE(run.err, QString());
    QCOMPARE(run.status, status);
}

void TestForecastFiles::packageIsJudgedAgain_data()
{
    QTest::addColumn<QByteArray>("ending");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("told");
    QTest::addColumn<int>("status");

    const QString older =
        u"never up to date, older after each update (catalogue 2.0, installer's bundle 1.9)"_s;
    const QString unknown =
        u"unknown whether the update settles it, as the installer does not tell its version"_s;
    QTest::newRow("equal") << QByteArray(".pkg") << package("Synth", "2.0") << QString() << 0;
    QTest::newRow("still older") << QByteArray(".pkg") << package("Synth", "1.9") << older << 1;
    QTest::newRow("under another name")
        << QByteArray(".pkg") << package("Schist", "2.0")
        << u"stands for another application than the installer's 'Schist'"_s << 1;
    QTest::newRow("of several the one that the entry stands for")
        << QByteArray(".pkg") << packageOf(packed("Anvil", "2.0") + packed("Synth", "1.9")) << older
        << 1;
    QTest::newRow("cut") << QByteArray(".pkg") << package("Synth", "1.9").chopped(200) << unknown
                         << 0;
    QTest::newRow("in an archive, for each processor the same version")
        << QByteArray(".zip") << archiveOfPackages(package("Synth", "1.9"), package("Synth", "1.9"))
        << older << 1;
    QTest::newRow("in an archive, for each processor another version")
        << QByteArray(".zip") << archiveOfPackages(package("Synth", "1.9"), package("Synth", "1.8"))
        << unknown << 0;
}

void TestForecastFiles::packageIsJudgedAgain()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, told);
    QFETCH(int, status);
    QFETCH(QByteArray, ending);
    m_ending = ending;
    m_fleet->write(u"soft/Synth"_s + QLatin1StringView(ending), file);
    const CommandRun run = forecast();
    QCOMPARE(remarks(run),
             told.isEmpty() ? QString() : u"Synth: %1 on 1 of 1 machine\n"_s.arg(told));
    QCOMPARE(run.err, QString());
    QCOMPARE(run.status, status);
}

void TestForecastFiles::rowsThatNeverSettleAreCounted()
{
    m_fleet->write(u"soft/Synth.zip"_s, archive("Synth.app", "1.9"));
    m_lines = FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s}) +
              FleetSample::snapshot(u"b"_s, {u"Synth 1.5"_s}) +
              FleetSample::snapshot(u"c"_s, {u"Synth 2.0"_s}) +
              FleetSample::snapshot(u"d"_s, {u"Schist 2.0"_s});
    const CommandRun run = forecast();
    QVERIFY2(run.out.contains(u"(catalogue 2.0, installer's bundle 1.9) on 2 of 4 machines\n"_s),
             qUtf8Printable(run.out));
}

void TestForecastFiles::identifierThatIsNotTheArchivesIsTold()
{
    const QString told = u"Synth: stands for an application with another identifier than the "
                         "installer's on 1 of 1 machine\n"_s;
    m_fleet->write(u"soft/Synth.zip"_s, archive("Synth.app", "2.0", "org.other.synth"));
    QVERIFY(forecast().out.contains(told));
    m_fleet->write(u"soft/Synth.zip"_s, archive("Synth.app", "2.0", "org.example.synth"));
    QVERIFY(!forecast().out.contains(u"identifier"_s));
    m_fleet->write(u"soft/Synth.zip"_s, archive("Synth.app", "2.0"));
    QVERIFY(!forecast().out.contains(u"identifier"_s));
}

void TestForecastFiles::severalIdentifiersAreTold()
{
    m_lines += FleetSample::snapshot(u"b"_s, {u"Synth 2.0"_s});
    m_lines += QByteArray(FleetSample::snapshot(u"c"_s, {u"Synth 2.0"_s}))
                   .replace("org.example", "org.other");
    const CommandRun run = forecast();
    QVERIFY2(run.out.contains(u"Synth: stands for several identifiers: org.example.synth (2), "
                              "org.other.synth (1)\n"_s),
             qUtf8Printable(run.out));
}

void TestForecastFiles::trafficIsAtMostWhatTheFilesHave()
{
    m_next = {"Synth,2.0", "Schist,3"};
    m_lines = FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s, u"Schist 2"_s}) +
              FleetSample::snapshot(u"b"_s, {u"Synth 1.5"_s});
    const QString place = m_fleet->write(u"soft/Synth.zip"_s, QByteArray(2'000, 'x'));
    QVERIFY2(forecast().out.contains(u"Traffic: at most 3 downloads, 4,000 bytes, but 1 of files "
                                     "that are missing\n"_s),
             qUtf8Printable(forecast().out));
    m_fleet->write(u"soft/Schist.zip"_s, "123");
    QVERIFY2(forecast().out.contains(u"Traffic: at most 3 downloads, 4,003 bytes\n"_s),
             qUtf8Printable(forecast().out));
    QVERIFY(QFileInfo(place).size() == 2'000);
}

void TestForecastFiles::versionOfTheArchiveDecidesTheWayBack()
{
    const QString told = u"Going back: once users have updated, publishing the old catalogue again "
                         "turns 1 row newer\n"_s;
    m_fleet->write(u"soft/Synth.zip"_s, archive("Synth.app", "2.0"));
    QVERIFY(forecast().out.contains(told));
    m_fleet->write(u"soft/Synth.zip"_s, archive("Synth.app", "1.0"));
    QVERIFY(!forecast().out.contains(u"Going back"_s));
}

void TestForecastFiles::sumKnowsTheFiles()
{
    m_fleet->write(u"soft/Synth.zip"_s, archive("Synth.app", "1.9", "org.other.synth"));
    const QString whole = forecast().out;
    const QString part = m_fleet->write(u"part.json"_s, forecast({u"--json"_s}).out.toUtf8());
    const CommandRun sum = run(runForecast, {u"forecast"_s, u"--sum"_s, part});
    QCOMPARE(sum.out, whole);
    QCOMPARE(sum.status, 1);
}

QTEST_GUILESS_MAIN(TestForecastFiles)
#include "tst_forecastfiles.moc"
