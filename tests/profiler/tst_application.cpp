#include "profiler/application.h"

#include "profiler/profiler.h"
#include "support/cataloguetext.h"
#include "support/httpserver.h"
#include "support/samplemachine.h"

#include <QNetworkProxyFactory>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A machine, a catalogue server and the profiler that joins them.
class Setting
{
public:
    SampleMachine& machine() { return m_machine; }
    Profiler& profiler() { return m_profiler; }
    [[nodiscard]] QString url(const QString& path) const { return m_server.url(path); }

    void install(const QString& name, const QString& version)
    {
        m_machine.install(name, version);
        scan();
    }
    void uninstall(const QString& name)
    {
        m_machine.uninstall(name);
        scan();
    }
    void scan()
    {
        m_profiler.sysData_update();
        m_machine.takeLog();
    }
    /// Downloads a catalogue of these @p lines.
    void offer(const QStringList& lines)
    {
        QString text = QString::fromUtf8(catalogueTitles);
        for (const QString& line : lines) {
            text += line + u'\n';
        }
        m_server.forget();
        m_server.reply(u"apps.csv"_s, {.body = text.toUtf8()});
        m_profiler.webData_update();
        m_machine.takeLog();
    }

private:
    SampleMachine m_machine;
    HttpServer m_server;
    Profiler m_profiler{m_server.url(), u"apps.csv"_s, u","_s, u"soft/"_s};
};

struct Message
{
    QtMsgType type;
    QString text;
};

/// Keeps Qt's messages for as long as it lives, instead of printing them.
class MessageCatcher
{
public:
    MessageCatcher() : m_former(qInstallMessageHandler(keep)) { s_messages.clear(); }
    ~MessageCatcher() { qInstallMessageHandler(m_former); }
    Q_DISABLE_COPY_MOVE(MessageCatcher)

    [[nodiscard]] static QList<Message> messages() { return s_messages; }

private:
    static void keep(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
    {
        s_messages.append({type, text});
    }

    static inline QList<Message> s_messages;
    QtMessageHandler m_former;
};

} // namespace

class TestApplication : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void constructionMatchesTheName();
    void beforeScanAndCatalogueEverythingIsEmpty();
    void settingTheNameMatchesAgain();
    void settingAnUnknownNameForgetsTheMatch();
    void checkingANameChangesNothing();
    void updateFollowsTheNewScan();
    void withoutUpdateTheMatchStays();
    void everyMatchIsLogged();

    void systemQueriesUseTheMatchedName();
    void catalogueQueriesUseTheCatalogueName();
    void valuesFollowTheLatestScanAndDownload();
    void matchThatIsGoneIsInstalledNoMore();
    void newlyInstalledOneCountsAfterAnUpdate();
    void matchThatIsGoneCountsAsInstalledByALongerName();
    void notInstalledHasNoVersion();
    void notInstalledIsWarnedOfOncePerScan();
    void entryDroppedFromTheCatalogueHasNoValues();
    void copiesAreIndependent();

    void versionsMatch_data();
    void versionsMatch();

    void toStringDescribesTheEntry_data();
    void toStringDescribesTheEntry();
    void printSendsTheTextUnquotedToTheDebugOutput();
    void printWritesNothingToTheLog();
};

void TestApplication::initTestCase()
{
    // A proxy in the environment would be asked for the pages of 127.0.0.1.
    QNetworkProxyFactory::setUseSystemConfiguration(false);
}

void TestApplication::constructionMatchesTheName()
{
    Setting setting;
    setting.install(u"Synth 2"_s, u"2.0"_s);
    const Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(application.getName(), u"Synth"_s);
    QCOMPARE(application.getRealName(), u"Synth 2"_s);
}

void TestApplication::beforeScanAndCatalogueEverythingIsEmpty()
{
    Setting setting;
    setting.machine().takeLog();
    const Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(setting.machine().takeLog(), QStringList());
    QCOMPARE(application.getName(), u"Synth"_s);
    QCOMPARE(application.getRealName(), QString());
    QVERIFY(!application.isInstall());
    QCOMPARE(application.getSysVersion(), QString());
    QCOMPARE(application.getWebVersion(), QString());
    QCOMPARE(application.getReleaseDate(), QString());
    QCOMPARE(application.getFilename(), QString());
    QCOMPARE(application.getUrlToFile(), setting.url(u"soft/"_s));
    QCOMPARE(application.versionsMatch(), 0);
}

void TestApplication::settingTheNameMatchesAgain()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.install(u"Mixer 7"_s, u"7.0"_s);
    setting.offer({u"Synth,1.1,d,s.pkg,0"_s, u"Mixer,7.1,e,m.pkg,0"_s});
    Application application(u"Synth"_s, &setting.profiler());

    application.setName(u"Mixer"_s);
    QCOMPARE(application.getName(), u"Mixer"_s);
    QCOMPARE(application.getRealName(), u"Mixer 7"_s);
    QCOMPARE(application.getSysVersion(), u"7.0"_s);
    QCOMPARE(application.getWebVersion(), u"7.1"_s);
}

void TestApplication::settingAnUnknownNameForgetsTheMatch()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    Application application(u"Synth"_s, &setting.profiler());

    application.setName(u"Absent"_s);
    QCOMPARE(application.getName(), u"Absent"_s);
    QCOMPARE(application.getRealName(), QString());
    QVERIFY(!application.isInstall());
}

void TestApplication::checkingANameChangesNothing()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.install(u"Mixer 7"_s, u"7.0"_s);
    const Application application(u"Synth"_s, &setting.profiler());

    QCOMPARE(application.checkName(u"Mixer"_s), u"Mixer 7"_s);
    QCOMPARE(application.checkName(u"Absent"_s), QString());
    QCOMPARE(application.getName(), u"Synth"_s);
    QCOMPARE(application.getRealName(), u"Synth"_s);
    QCOMPARE(application.getSysVersion(), u"1.0"_s);
}

void TestApplication::updateFollowsTheNewScan()
{
    Setting setting;
    Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(application.getRealName(), QString());

    setting.install(u"Synth"_s, u"1.0"_s);
    application.update();
    QCOMPARE(application.getRealName(), u"Synth"_s);

    setting.install(u"Synth 2"_s, u"2.0"_s);
    application.update();
    QCOMPARE(application.getRealName(), u"Synth 2"_s);

    setting.uninstall(u"Synth"_s);
    setting.uninstall(u"Synth 2"_s);
    application.update();
    QCOMPARE(application.getRealName(), QString());
    QCOMPARE(application.getName(), u"Synth"_s);
}

void TestApplication::withoutUpdateTheMatchStays()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    const Application application(u"Synth"_s, &setting.profiler());
    setting.install(u"Synth 2"_s, u"2.0"_s);
    QCOMPARE(application.getRealName(), u"Synth"_s);
    QCOMPARE(application.getSysVersion(), u"1.0"_s);
    QCOMPARE(application.checkName(u"Synth"_s), u"Synth 2"_s);
    QCOMPARE(application.getRealName(), u"Synth"_s);
}

void TestApplication::everyMatchIsLogged()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    const QStringList found = {u"[INFO] Profiler - 'Synth' → matched 'Synth' v1.0"_s};
    const QStringList missing = {u"[WARNING] Profiler - 'Absent' → NOT FOUND in system"_s};

    Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(setting.machine().takeLog(), found);
    QCOMPARE(application.checkName(u"Absent"_s), QString());
    QCOMPARE(setting.machine().takeLog(), missing);
    application.update();
    QCOMPARE(setting.machine().takeLog(), found);
    application.setName(u"Absent"_s);
    QCOMPARE(setting.machine().takeLog(), missing);
    application.update();
    QCOMPARE(setting.machine().takeLog(), missing);
    QCOMPARE(application.getName(), u"Absent"_s);
    QCOMPARE(application.getRealName(), QString());
    QVERIFY(!application.isInstall());
    QCOMPARE(setting.machine().takeLog(), QStringList());
}

void TestApplication::systemQueriesUseTheMatchedName()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.install(u"Synth 2"_s, u"2.0"_s);
    const Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(application.getRealName(), u"Synth 2"_s);
    QCOMPARE(application.getSysVersion(), u"2.0"_s);
    QVERIFY(application.isInstall());
}

void TestApplication::catalogueQueriesUseTheCatalogueName()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.install(u"Synth 2"_s, u"2.0"_s);
    setting.offer({u"Synth 2,9.0,2020-01-01,wrong.pkg,0"_s,
                   u"Synth,2.1,1 août 2025,Synth d'été 2.1.dmg,0"_s});
    const Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(application.getRealName(), u"Synth 2"_s);
    QCOMPARE(application.getWebVersion(), u"2.1"_s);
    QCOMPARE(application.getReleaseDate(), u"1 août 2025"_s);
    QCOMPARE(application.getFilename(), u"Synth d'été 2.1.dmg"_s);
    QCOMPARE(application.getUrlToFile(), setting.url(u"soft/Synth d'été 2.1.dmg"_s));
}

void TestApplication::valuesFollowTheLatestScanAndDownload()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.offer({u"Synth,2.0,2026-01-01,Synth-2.pkg,0"_s});
    const Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(application.getSysVersion(), u"1.0"_s);
    QCOMPARE(application.versionsMatch(), -1);

    setting.install(u"Synth"_s, u"2.0"_s);
    QCOMPARE(application.getSysVersion(), u"2.0"_s);
    QCOMPARE(application.versionsMatch(), 0);

    setting.offer({u"Synth,3.0,2026-02-02,Synth-3.pkg,0"_s});
    QCOMPARE(application.getWebVersion(), u"3.0"_s);
    QCOMPARE(application.getReleaseDate(), u"2026-02-02"_s);
    QCOMPARE(application.getFilename(), u"Synth-3.pkg"_s);
    QCOMPARE(application.getUrlToFile(), setting.url(u"soft/Synth-3.pkg"_s));
    QCOMPARE(application.versionsMatch(), -1);
}

void TestApplication::matchThatIsGoneIsInstalledNoMore()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.install(u"Synth 2"_s, u"2.0"_s);
    const Application application(u"Synth"_s, &setting.profiler());
    QVERIFY(application.isInstall());
    setting.uninstall(u"Synth 2"_s);
    QVERIFY(!application.isInstall());
    QCOMPARE(application.getRealName(), u"Synth 2"_s);
}

void TestApplication::newlyInstalledOneCountsAfterAnUpdate()
{
    Setting setting;
    setting.scan();
    Application application(u"Synth"_s, &setting.profiler());
    setting.install(u"Synth"_s, u"1.0"_s);
    QVERIFY(!application.isInstall());
    application.update();
    QVERIFY(application.isInstall());
}

void TestApplication::matchThatIsGoneCountsAsInstalledByALongerName()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.install(u"Synth Pro"_s, u"5.0"_s);
    const Application application(u"Synth"_s, &setting.profiler());
    setting.uninstall(u"Synth"_s);
    QVERIFY(application.isInstall());
    QCOMPARE(application.getSysVersion(), QString());
}

void TestApplication::notInstalledHasNoVersion()
{
    Setting setting;
    setting.install(u"Mixer"_s, u"7.0"_s);
    setting.offer({u"Synth,1.0,d,s.pkg,0"_s});
    const Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(application.getRealName(), QString());
    QVERIFY(!application.isInstall());
    QCOMPARE(application.getSysVersion(), QString());
    QCOMPARE(application.getWebVersion(), u"1.0"_s);
    QCOMPARE(application.versionsMatch(), -1);
}

void TestApplication::notInstalledIsWarnedOfOncePerScan()
{
    Setting setting;
    const QString warning =
        u"[WARNING] SysProfiler - Cannot read version for '' — plist: /Contents/Info.plist"_s;
    for (int scan = 0; scan < 2; ++scan) {
        setting.scan();
        const Application synth(u"Synth"_s, &setting.profiler());
        const Application mixer(u"Mixer"_s, &setting.profiler());
        setting.machine().takeLog();
        QCOMPARE(synth.getSysVersion(), QString());
        QCOMPARE(mixer.getSysVersion(), QString());
        QCOMPARE(synth.versionsMatch(), 0);
        QCOMPARE(setting.machine().takeLog(), QStringList{warning});
        QVERIFY(!synth.isInstall());
        QCOMPARE(synth.checkName(u"Synth"_s), QString());
    }
}

void TestApplication::entryDroppedFromTheCatalogueHasNoValues()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.offer({u"Synth,2.0,2026-01-01,s.pkg,0"_s});
    const Application application(u"Synth"_s, &setting.profiler());
    setting.offer({u"Mixer,7.0,2026-01-01,m.pkg,0"_s});
    QCOMPARE(application.getWebVersion(), QString());
    QCOMPARE(application.getReleaseDate(), QString());
    QCOMPARE(application.getFilename(), QString());
    QCOMPARE(application.getUrlToFile(), setting.url(u"soft/"_s));
    QCOMPARE(application.versionsMatch(), 1);
}

void TestApplication::copiesAreIndependent()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.install(u"Mixer"_s, u"7.0"_s);
    const Application original(u"Synth"_s, &setting.profiler());
    Application copy = original;
    copy.setName(u"Mixer"_s);
    QCOMPARE(original.getName(), u"Synth"_s);
    QCOMPARE(original.getRealName(), u"Synth"_s);
    QCOMPARE(copy.getRealName(), u"Mixer"_s);
    QCOMPARE(copy.getSysVersion(), u"7.0"_s);
}

void TestApplication::versionsMatch_data()
{
    QTest::addColumn<bool>("isInstalled");
    QTest::addColumn<QString>("installed");
    QTest::addColumn<QString>("offered");
    QTest::addColumn<int>("order");

    QTest::newRow("newer installed") << true << u"2.1"_s << u"2.0"_s << 1;
    QTest::newRow("equal") << true << u"2.0"_s << u"2.0"_s << 0;
    QTest::newRow("update available") << true << u"2.0"_s << u"2.1"_s << -1;
    QTest::newRow("numbers, not text") << true << u"1.10"_s << u"1.9"_s << 1;
    QTest::newRow("offered version's further parts ignored") << true << u"2.0"_s << u"2.0.1"_s << 0;
    QTest::newRow("installed version's further parts ignored")
        << true << u"2.0.1"_s << u"2.0"_s << 0;
    QTest::newRow("first word of the installed version") << true << u"2.1 (9)"_s << u"2.1"_s << 0;
    QTest::newRow("note of the offered version ignored") << true << u"2.1"_s << u"2.1 (9)"_s << 0;
    QTest::newRow("installed without a version") << true << QString() << u"1.0"_s << -1;
    QTest::newRow("offered without a version") << true << u"1.0"_s << QString() << 1;
    QTest::newRow("neither has a version") << true << QString() << QString() << 0;
    QTest::newRow("not installed counts as 0") << false << QString() << u"1.0"_s << -1;
    QTest::newRow("not installed, first part 0") << false << QString() << u"0.9"_s << 0;
    QTest::newRow("not installed, nothing offered") << false << QString() << QString() << 0;
    QTest::newRow("not installed, no number offered") << false << QString() << u"beta"_s << 0;
}

void TestApplication::versionsMatch()
{
    QFETCH(bool, isInstalled);
    QFETCH(QString, installed);
    QFETCH(QString, offered);
    QFETCH(int, order);

    Setting setting;
    if (isInstalled) {
        setting.install(u"Synth"_s, installed);
    } else {
        setting.scan();
    }
    setting.offer({u"Synth,%1,d,s.pkg,0"_s.arg(offered)});
    const Application application(u"Synth"_s, &setting.profiler());
    QCOMPARE(application.isInstall(), isInstalled);
    QCOMPARE(application.getWebVersion(), offered);
    QCOMPARE(application.versionsMatch(), order);
}

void TestApplication::toStringDescribesTheEntry_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("up to date") << u"Same"_s
                                << QByteArray("# Same\n"
                                              "- isInstall?   : true\n"
                                              "- realName     : Same\n"
                                              "- SysVersion   : 2.0\n"
                                              "- WebVersion   : 2.0.1\n"
                                              "- versionMatch : 0\n");
    QTest::newRow("newer installed") << u"Newer"_s
                                     << QByteArray("# Newer\n"
                                                   "- isInstall?   : true\n"
                                                   "- realName     : Newer 3\n"
                                                   "- SysVersion   : 3.1\n"
                                                   "- WebVersion   : 3.0\n"
                                                   "- versionMatch : 1\n");
    QTest::newRow("older installed") << u"Éditeur"_s
                                     << QByteArray("# \xC3\x89"
                                                   "diteur\n"
                                                   "- isInstall?   : true\n"
                                                   "- realName     : \xC3\x89"
                                                   "diteur\n"
                                                   "- SysVersion   : 1.0\n"
                                                   "- WebVersion   : 1.1 \xC3\xA9\n"
                                                   "- versionMatch : -1\n");
    QTest::newRow("not installed") << u"Absent"_s
                                   << QByteArray("# Absent\n"
                                                 "- isInstall?   : false\n"
                                                 "- realName     : \n"
                                                 "- SysVersion   : \n"
                                                 "- WebVersion   : 5.0\n"
                                                 "- versionMatch : -1\n");
    QTest::newRow("not in the catalogue") << u"New"_s
                                          << QByteArray("# New\n"
                                                        "- isInstall?   : true\n"
                                                        "- realName     : Newer 3\n"
                                                        "- SysVersion   : 3.1\n"
                                                        "- WebVersion   : \n"
                                                        "- versionMatch : 1\n");
    QTest::newRow("place markers") << u"%1 %2"_s
                                   << QByteArray("# %1 %2\n"
                                                 "- isInstall?   : false\n"
                                                 "- realName     : \n"
                                                 "- SysVersion   : \n"
                                                 "- WebVersion   : %3\n"
                                                 "- versionMatch : 0\n");
}

void TestApplication::toStringDescribesTheEntry()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, text);

    Setting setting;
    setting.install(u"Same"_s, u"2.0"_s);
    setting.install(u"Newer 3"_s, u"3.1"_s);
    setting.install(u"Éditeur"_s, u"1.0"_s);
    setting.offer({u"Same,2.0.1,d,s.pkg,0"_s, u"Newer,3.0,d,n.pkg,0"_s,
                   u"Éditeur,1.1 é,d,e.pkg,0"_s, u"Absent,5.0,d,a.pkg,0"_s,
                   u"%1 %2,%3,d,p.pkg,0"_s});
    const Application application(name, &setting.profiler());
    QCOMPARE(application.toString().toUtf8(), text);
}

void TestApplication::printSendsTheTextUnquotedToTheDebugOutput()
{
    Setting setting;
    setting.install(u"Say \"été\""_s, u"1.0"_s);
    setting.offer({u"Say \"été\",1.0,d,s.pkg,0"_s});
    const Application application(u"Say \"été\""_s, &setting.profiler());
    QCOMPARE(application.getSysVersion(), u"1.0"_s);

    QList<Message> messages;
    {
        const MessageCatcher catcher;
        application.print();
        messages = MessageCatcher::messages();
    }
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages[0].type, QtDebugMsg);
    QCOMPARE(messages[0].text, u"# Say \"été\"\n"
                               "- isInstall?   : true\n"
                               "- realName     : Say \"été\"\n"
                               "- SysVersion   : 1.0\n"
                               "- WebVersion   : 1.0\n"
                               "- versionMatch : 0\n"_s);
}

void TestApplication::printWritesNothingToTheLog()
{
    Setting setting;
    setting.install(u"Synth"_s, u"1.0"_s);
    setting.offer({u"Synth,1.0,d,s.pkg,0"_s});
    const Application application(u"Synth"_s, &setting.profiler());
    const QByteArray log = PrivateHome::read(setting.machine().home().logPath());
    const MessageCatcher catcher;
    application.print();
    QCOMPARE(MessageCatcher::messages().size(), 1);
    QVERIFY(!log.isEmpty());
    QCOMPARE(PrivateHome::read(setting.machine().home().logPath()), log);
}

QTEST_GUILESS_MAIN(TestApplication)
#include "tst_application.moc"
