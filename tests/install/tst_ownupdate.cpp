#include "install/ownupdate.h"

#include <QTest>

class TestOwnUpdate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsThisProgramByItsName_data();
    void tellsThisProgramByItsName();
    void nullNameIsAnotherProgram();
};

void TestOwnUpdate::tellsThisProgramByItsName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isOwn");

    const auto row = [](const char* what, const char* name, bool isOwn) {
        QTest::newRow(what) << QString::fromUtf8(name) << isOwn;
    };
    row("the product's name", "Quillmere", true);
    row("lower case", "quillmere", true);
    row("upper case", "QUILLMERE", true);
    row("mixed case", "qUiLLmErE", true);
    row("at the start of a longer name", "Quillmere 26 Beta", true);
    row("at the end of a longer name", "New quillmere", true);
    row("in the middle of a word", "myquillmeretool", true);
    row("the name twice", "Quillmere Quillmere", true);
    row("an accent beside it", "éQuillmereé", true);
    row("another program", "Atlas", false);
    row("empty name", "", false);
    row("only the start of the name", "Quillmer", false);
    row("only the end of the name", "uillmere", false);
    row("a blank inside the name", "Quill mere", false);
    row("an accent inside the name", "Quillmére", false);
    row("reversed", "eremlliuQ", false);
}

void TestOwnUpdate::tellsThisProgramByItsName()
{
    QFETCH(QString, name);
    QFETCH(bool, isOwn);
    QCOMPARE(isOwnUpdate(name), isOwn);
}

void TestOwnUpdate::nullNameIsAnotherProgram()
{
    QVERIFY(!isOwnUpdate(QString()));
}

QTEST_GUILESS_MAIN(TestOwnUpdate)
#include "tst_ownupdate.moc"
