#include "system/nameprefix.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestNamePrefix : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheNamesThatStartWithAText_data();
    void findsTheNamesThatStartWithAText();
};

void TestNamePrefix::findsTheNamesThatStartWithAText_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QStringList>("found");

    const QStringList names = {u"Atlas"_s,     u"Synth"_s, u"Synth 2"_s,
                               u"Synth Pro"_s, u"synth"_s, u"Éditeur"_s};
    const auto row = [&names](const char* what, const QString& prefix, const QStringList& found) {
        QTest::newRow(what) << names << prefix << found;
    };
    row("in their order", u"Synth"_s, {u"Synth"_s, u"Synth 2"_s, u"Synth Pro"_s});
    row("the first name", u"At"_s, {u"Atlas"_s});
    row("the last name", u"É"_s, {u"Éditeur"_s});
    row("a whole name", u"Synth Pro"_s, {u"Synth Pro"_s});
    row("longer than any name", u"Synth Pro 2"_s, {});
    row("before all", u"A "_s, {});
    row("after all", u"ä"_s, {});
    row("between two", u"Synth 3"_s, {});
    row("case counts", u"synth"_s, {u"synth"_s});
    row("nothing: all of them", u""_s, names);
    row("a null text: all of them", QString(), names);
    const QStringList withNull = {QString(), u"Atlas"_s};
    QTest::newRow("nothing, with a null name among them") << withNull << u""_s << withNull;
    QTest::newRow("a null text, with a null name among them") << withNull << QString() << withNull;
    QTest::newRow("something, with a null name among them")
        << withNull << u"A"_s << QStringList{u"Atlas"_s};
    QTest::newRow("a null name alone") << QStringList{QString()} << u""_s << QStringList{QString()};
    QTest::newRow("among no names") << QStringList() << u"Synth"_s << QStringList();
    QTest::newRow("nothing among no names") << QStringList() << u""_s << QStringList();
}

void TestNamePrefix::findsTheNamesThatStartWithAText()
{
    QFETCH(QStringList, names);
    QFETCH(QString, prefix);
    QFETCH(QStringList, found);
    QCOMPARE(namesWithPrefix(names, prefix), found);
    QCOMPARE(hasNameWithPrefix(names, prefix), !found.isEmpty());
}

QTEST_GUILESS_MAIN(TestNamePrefix)
#include "tst_nameprefix.moc"
