#include "app/buildinfo.h"

#include <QDate>
#include <QLocale>
#include <QRegularExpression>
#include <QTest>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

class TestBuildInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesTheProductAndItsVersion();
    void showsTheAuthorsNameWithBlanksForUnderscores();
    void handsOverWhatTheBuildSet();
    void datesTheBuildAsTheCompilerWritesIt();
    void namesTheQtThatItWasBuiltAgainst();
    void theDefaultServerIsHttpsAndEndsInASlash();
};

void TestBuildInfo::namesTheProductAndItsVersion()
{
    QCOMPARE(BuildInfo::productName(), u"Quillmere"_s);
    QCOMPARE(BuildInfo::productVersion(), u"26.3.0"_s);
}

void TestBuildInfo::showsTheAuthorsNameWithBlanksForUnderscores()
{
    const QStringList words = QStringLiteral(EXPECTED_AUTHOR).split(u'_');
    QCOMPARE(BuildInfo::authorName(), words.join(u' '));
    QVERIFY(!BuildInfo::authorName().contains(u'_'));
}

void TestBuildInfo::handsOverWhatTheBuildSet()
{
    QCOMPARE(BuildInfo::authorMail(), QStringLiteral(EXPECTED_MAIL));
    QCOMPARE(BuildInfo::websiteUrl(), QStringLiteral(EXPECTED_WEBSITE));
    QCOMPARE(BuildInfo::defaultBaseUrl(), QStringLiteral(EXPECTED_BASE_URL));
}

void TestBuildInfo::datesTheBuildAsTheCompilerWritesIt()
{
    const QString date = BuildInfo::buildDate();
    static const QRegularExpression form(uR"(\A[A-Z][a-z]{2} [ 1-3][0-9] [0-9]{4}\z)"_s);
    QVERIFY2(form.match(date).hasMatch(), qUtf8Printable(date));
    const QDate day = QLocale::c().toDate(date.simplified(), u"MMM d yyyy"_s);
    QVERIFY2(day.isValid(), qUtf8Printable(date));
}

void TestBuildInfo::namesTheQtThatItWasBuiltAgainst()
{
    QCOMPARE(BuildInfo::qtVersion(), QStringLiteral(QT_VERSION_STR));
}

void TestBuildInfo::theDefaultServerIsHttpsAndEndsInASlash()
{
    const QUrl url(BuildInfo::defaultBaseUrl());
    QVERIFY(url.isValid());
    QCOMPARE(url.scheme(), u"https"_s);
    QVERIFY(BuildInfo::defaultBaseUrl().endsWith(u'/'));
}

QTEST_GUILESS_MAIN(TestBuildInfo)
#include "tst_buildinfo.moc"
