#include "app/buildinfo.h"
#include "config/configmanager.h"
#include "ui/aboutdialog.h"

#include "support/privatehome.h"

#include <QFile>
#include <QLabel>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// A build for an organisation of its own; test_deployment.py configures it with these values.
class TestDeployment : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theDefaultConfigurationNamesTheDeployersServer();
    void aFirstStartWritesTheDeployersServer();
    void theServersPlainHttpFormIsMigrated();
    void theProjectsOwnServerIsNotMigrated();
    void theAboutBoxNamesTheDeployer();
};

void TestDeployment::theDefaultConfigurationNamesTheDeployersServer()
{
    QFile file(u":/resources/default-config.xml"_s);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("<baseURL>https://apps.example.net/mac/</baseURL>"), text.constData());
    QVERIFY2(!text.contains("quillmere.example.org"), text.constData());
}

void TestDeployment::aFirstStartWritesTheDeployersServer()
{
    const PrivateHome home;
    const ConfigManager config(u"config.xml"_s, u":/resources/default-config.xml"_s);
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s), u"https://apps.example.net/mac/"_s);
    QVERIFY(PrivateHome::read(home.configPath()).contains("https://apps.example.net/mac/"));
}

void TestDeployment::theServersPlainHttpFormIsMigrated()
{
    const PrivateHome home;
    home.write(
        u"Library/Quillmere/config.xml"_s,
        "<root><webconfig><baseURL>http://apps.example.net/mac/</baseURL></webconfig></root>");
    const ConfigManager config(u"config.xml"_s, u":/resources/default-config.xml"_s);
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s), u"https://apps.example.net/mac/"_s);
    QVERIFY(PrivateHome::read(home.configPath())
                .contains("<baseURL>https://apps.example.net/mac/</baseURL>"));
}

void TestDeployment::theProjectsOwnServerIsNotMigrated()
{
    const PrivateHome home;
    const QByteArray text = "<root><webconfig><baseURL>http://catalogue.quillmere.example.org/"
                            "</baseURL></webconfig></root>";
    home.write(u"Library/Quillmere/config.xml"_s, text);
    const ConfigManager config(u"config.xml"_s, u":/resources/default-config.xml"_s);
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s),
             u"http://catalogue.quillmere.example.org/"_s);
    QCOMPARE(PrivateHome::read(home.configPath()), text);
}

void TestDeployment::theAboutBoxNamesTheDeployer()
{
    const aboutDialog box;
    const QString text = box.findChild<QLabel*>(u"aboutText"_s)->text();
    QVERIFY2(text.contains(u"<p>Author : Ada Example Ltd</p>"), qUtf8Printable(text));
    QVERIFY2(text.contains(u"<a href=\"mailto:it@example.net\">"), qUtf8Printable(text));
    QVERIFY2(text.contains(u"<a href=\"https://www.example.net/apps\">"), qUtf8Printable(text));
    QVERIFY2(!text.contains(u"example.org"), qUtf8Printable(text));
}

QTEST_MAIN(TestDeployment)
#include "tst_deployment.moc"
