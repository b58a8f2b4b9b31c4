#include "profiler/applicationmatch.h"

#include <QMap>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

using Versions = QMap<QString, QString>;

class TestApplicationMatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsVersionSuffixes_data();
    void tellsVersionSuffixes();
    void tellsVersionsOfOneProduct_data();
    void tellsVersionsOfOneProduct();
    void choosesAmongTheCandidates_data();
    void choosesAmongTheCandidates();
    void describesEachOfSeveralCandidates();
    void readsEachVersionOnceInOrder();
};

void TestApplicationMatch::tellsVersionSuffixes_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<bool>("isOne");

    QTest::newRow("nothing") << u""_s << true;
    QTest::newRow("a number") << u" 2"_s << true;
    QTest::newRow("a version") << u" 10.4.1"_s << true;
    QTest::newRow("a word") << u" Pro"_s << false;
    QTest::newRow("a number and a word") << u" 2 Pro"_s << false;
    QTest::newRow("digits of another script") << u" ٢"_s << false;
    QTest::newRow("a no-break blank") << u"\u00a02"_s << false;
}

void TestApplicationMatch::tellsVersionSuffixes()
{
    QFETCH(QString, suffix);
    QFETCH(bool, isOne);
    QCOMPARE(isVersionSuffix(suffix), isOne);
}

void TestApplicationMatch::tellsVersionsOfOneProduct_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("candidate");
    QTest::addColumn<bool>("isOne");

    QTest::newRow("the name itself") << u"Synth"_s << u"Synth"_s << true;
    QTest::newRow("a number behind it") << u"Synth"_s << u"Synth 2"_s << true;
    QTest::newRow("a word behind it") << u"Synth"_s << u"Synth Pro"_s << false;
    QTest::newRow("the name once more behind it") << u"Synth"_s << u"Synth Synth"_s << true;
    QTest::newRow("no name") << QString() << u"Synth"_s << false;
}

void TestApplicationMatch::tellsVersionsOfOneProduct()
{
    QFETCH(QString, name);
    QFETCH(QString, candidate);
    QFETCH(bool, isOne);
    QCOMPARE(isVersionOf(name, candidate), isOne);
}

void TestApplicationMatch::choosesAmongTheCandidates_data()
{
    QTest::addColumn<Versions>("installed");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("version");

    const auto row = [](const char* what, const Versions& installed, const QString& name,
                        const QString& version) {
        QTest::newRow(what) << installed << name << version;
    };
    row("no candidate", {}, QString(), QString());
    row("a single one, whatever its suffix", {{u"Synth Pro"_s, u"3"_s}}, u"Synth Pro"_s, u"3"_s);
    row("a single one without a version", {{u"Synth"_s, QString()}}, u"Synth"_s, QString());
    row("the newer one", {{u"Synth"_s, u"1.0"_s}, {u"Synth 2"_s, u"2.0"_s}}, u"Synth 2"_s,
        u"2.0"_s);
    row("the newer one comes first", {{u"Synth"_s, u"3.0"_s}, {u"Synth 2"_s, u"2.0"_s}}, u"Synth"_s,
        u"3.0"_s);
    row("of equal ones the later", {{u"Synth"_s, u"2.0"_s}, {u"Synth 2"_s, u"2.0"_s}}, u"Synth 2"_s,
        u"2.0"_s);
    row("another product takes no part", {{u"Synth"_s, u"1.0"_s}, {u"Synth Pro"_s, u"9.0"_s}},
        u"Synth"_s, u"1.0"_s);
    row("other products alone: the first one, as version 0",
        {{u"Synth Lite"_s, u"1.0"_s}, {u"Synth Pro"_s, u"9.0"_s}}, u"Synth Lite"_s, u"0"_s);
    row("no versions: the later one", {{u"Synth"_s, QString()}, {u"Synth 2"_s, QString()}},
        u"Synth 2"_s, QString());
    row("every occurrence of the name is removed",
        {{u"Synth"_s, u"1"_s}, {u"Synth 2 Synth"_s, u"2"_s}}, u"Synth 2 Synth"_s, u"2"_s);
}

void TestApplicationMatch::choosesAmongTheCandidates()
{
    QFETCH(Versions, installed);
    QFETCH(QString, name);
    QFETCH(QString, version);
    const ApplicationMatch match =
        matchApplication(u"Synth"_s, installed.keys(),
                         [&installed](const QString& candidate) { return installed[candidate]; });
    QCOMPARE(match.name, name);
    QCOMPARE(match.version, version);
}

void TestApplicationMatch::describesEachOfSeveralCandidates()
{
    const InstalledVersion installedVersion = [](const QString& name) {
        return name == "Synth"_L1 ? u"1.0"_s : QString();
    };
    QCOMPARE(
        matchApplication(u"Synth"_s, {u"Synth"_s, u"Synth Pro"_s}, installedVersion).descriptions,
        QStringList({u"'Synth' v1.0"_s, u"'Synth Pro' v"_s}));
    QCOMPARE(matchApplication(u"Synth"_s, {u"Synth"_s}, installedVersion).descriptions,
             QStringList());
}

void TestApplicationMatch::readsEachVersionOnceInOrder()
{
    const QStringList candidates = {u"Synth"_s, u"Synth 2"_s, u"Synth Pro"_s};
    QStringList asked;
    const ApplicationMatch match =
        matchApplication(u"Synth"_s, candidates, [&asked](const QString& candidate) {
            asked.append(candidate);
            return u"1"_s;
        });
    QCOMPARE(match.name, u"Synth 2"_s);
    QCOMPARE(asked, candidates);
}

QTEST_GUILESS_MAIN(TestApplicationMatch)
#include "tst_applicationmatch.moc"
