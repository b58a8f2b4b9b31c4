#include "support/testline.h"

using namespace Qt::Literals::StringLiterals;

namespace {

TestLine inner(TestLine at = {})
{
    return at;
}

/// A helper that calls another one.
TestLine outer(TestLine at = {})
{
    return inner(at);
}

} // namespace

class TestTestLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void helperKnowsItsCaller();
    void firstDifferentLineIsTold_data();
    void firstDifferentLineIsTold();
};

void TestTestLine::helperKnowsItsCaller()
{
    const TestLine direct = inner();
    QCOMPARE(direct.line, __LINE__ - 1);
    QCOMPARE(direct.file, __FILE__);
    const TestLine overAnother = outer();
    QCOMPARE(overAnother.line, __LINE__ - 1);
}

void TestTestLine::firstDifferentLineIsTold_data()
{
    QTest::addColumn<QStringList>("found");
    QTest::addColumn<QString>("difference");
    const auto row = [](const char* what, const QStringList& found, const QString& difference) {
        QTest::newRow(what) << found << difference;
    };
    row("equal", {u"a"_s, u"b"_s}, QString());
    row("another line", {u"a"_s, u"c"_s}, u"line 2 of 2 is: c\n   expected, of 2: b"_s);
    row("the first is missing", {u"b"_s}, u"line 1 of 1 is: b\n   expected, of 2: a"_s);
    row("the last is missing", {u"a"_s}, u"line 2 of 1 is: nothing\n   expected, of 2: b"_s);
    row("one too many", {u"a"_s, u"b"_s, u"%1"_s},
        u"line 3 of 3 is: %1\n   expected, of 2: nothing"_s);
    row("none", {}, u"line 1 of 0 is: nothing\n   expected, of 2: a"_s);
}

void TestTestLine::firstDifferentLineIsTold()
{
    QFETCH(QStringList, found);
    QFETCH(QString, difference);
    QCOMPARE(lineDifference(found, {u"a"_s, u"b"_s}), difference);
}

QTEST_GUILESS_MAIN(TestTestLine)
#include "tst_testline.moc"
