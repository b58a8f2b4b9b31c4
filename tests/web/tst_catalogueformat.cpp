#include "web/catalogueformat.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestCatalogueFormat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheFieldUnderATitle_data();
    void readsTheFieldUnderATitle();
    void namesARecordByItsFirstField_data();
    void namesARecordByItsFirstField();
    void offersWhatIsNotIgnored_data();
    void offersWhatIsNotIgnored();
};

void TestCatalogueFormat::readsTheFieldUnderATitle_data()
{
    QTest::addColumn<QString>("header");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("value");

    const auto row = [](const char* what, const QString& header, const QString& separator,
                        const QString& record, const QString& title, const QString& value) {
        QTest::newRow(what) << header << separator << record << title << value;
    };
    const QString comma = u","_s;
    const QString null;
    row("the field at the title's place", u"A,B,C"_s, comma, u"1,2,3"_s, u"B"_s, u"2"_s);
    row("the last field", u"A,B,C"_s, comma, u"1,2,3"_s, u"C"_s, u"3"_s);
    row("trimmed and unquoted", u"A,B"_s, comma, u"1, \" 2\" "_s, u"B"_s, u" 2"_s);
    row("the first title is never looked at", u"A,B"_s, comma, u"1,2"_s, u"A"_s, null);
    row("an unknown title", u"A,B"_s, comma, u"1,2"_s, u"D"_s, null);
    row("a title in another case", u"A,B"_s, comma, u"1,2"_s, u"b"_s, null);
    row("a title is not trimmed", u"A, B"_s, comma, u"1,2"_s, u"B"_s, null);
    row("a title keeps its blank", u"A, B"_s, comma, u"1,2"_s, u" B"_s, u"2"_s);
    row("a title is not unquoted", u"A,\"B\""_s, comma, u"1,2"_s, u"\"B\""_s, u"2"_s);
    row("a record that ends before", u"A,B,C"_s, comma, u"1,2"_s, u"C"_s, null);
    row("an empty record", u"A,B"_s, comma, u""_s, u"B"_s, null);
    row("fields beyond the titles", u"A,B"_s, comma, u"1,2,3"_s, u"B"_s, u"2"_s);
    row("of two columns the later", u"A,B,B"_s, comma, u"1,2,3"_s, u"B"_s, u"3"_s);
    row("of two columns the one that the record has", u"A,B,B"_s, comma, u"1,2"_s, u"B"_s, u"2"_s);
    row("an empty title is one", u"A,,B"_s, comma, u"1,2,3"_s, u""_s, u"2"_s);
    row("a separator of several characters", u"A<>B"_s, u"<>"_s, u"1<>2"_s, u"B"_s, u"2"_s);
    row("an empty separator takes single characters", u"AB"_s, u""_s, u"12"_s, u"B"_s, u"2"_s);
}

void TestCatalogueFormat::readsTheFieldUnderATitle()
{
    QFETCH(QString, header);
    QFETCH(QString, separator);
    QFETCH(QString, record);
    QFETCH(QString, title);
    QFETCH(QString, value);
    const QString found = CatalogueFormat(header, separator).value(record, title);
    QCOMPARE(found, value);
    QCOMPARE(found.isNull(), value.isNull());
}

void TestCatalogueFormat::namesARecordByItsFirstField_data()
{
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("name");

    QTest::newRow("the first field") << u","_s << u"Synth,1.2,0"_s << u"Synth"_s;
    QTest::newRow("the only field") << u","_s << u"Synth"_s << u"Synth"_s;
    QTest::newRow("trimmed and unquoted") << u";"_s << u" \"Synth Pro\" ;1"_s << u"Synth Pro"_s;
    QTest::newRow("empty") << u","_s << u",1.2"_s << u""_s;
    QTest::newRow("of an empty record") << u","_s << u""_s << u""_s;
    QTest::newRow("with an empty separator: before the first character")
        << u""_s << u"Synth"_s << u""_s;
}

void TestCatalogueFormat::namesARecordByItsFirstField()
{
    QFETCH(QString, separator);
    QFETCH(QString, record);
    QFETCH(QString, name);
    QCOMPARE(CatalogueFormat(u"Name"_s, separator).name(record), name);
}

void TestCatalogueFormat::offersWhatIsNotIgnored_data()
{
    QTest::addColumn<QString>("header");
    QTest::addColumn<QString>("record");
    QTest::addColumn<bool>("isOffered");

    QTest::newRow("0") << u"Name,Ignored"_s << u"Synth,0"_s << true;
    QTest::newRow("0 in quotes and blanks") << u"Name,Ignored"_s << u"Synth, \"0\" "_s << true;
    QTest::newRow("1") << u"Name,Ignored"_s << u"Synth,1"_s << false;
    QTest::newRow("00") << u"Name,Ignored"_s << u"Synth,00"_s << false;
    QTest::newRow("empty") << u"Name,Ignored"_s << u"Synth,"_s << false;
    QTest::newRow("missing field") << u"Name,Ignored"_s << u"Synth"_s << false;
    QTest::newRow("missing column") << u"Name,Version"_s << u"Synth,0"_s << false;
    QTest::newRow("no header") << u""_s << u"Synth,0"_s << false;
}

void TestCatalogueFormat::offersWhatIsNotIgnored()
{
    QFETCH(QString, header);
    QFETCH(QString, record);
    QFETCH(bool, isOffered);
    QCOMPARE(CatalogueFormat(header, u","_s).isOffered(record), isOffered);
}

QTEST_GUILESS_MAIN(TestCatalogueFormat)
#include "tst_catalogueformat.moc"
