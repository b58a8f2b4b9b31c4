#include "companion/report/texttable.h"

#include <QTest>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

class TestTextTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unseenCharactersAreWrittenOut_data();
    void unseenCharactersAreWrittenOut();
    void columnsAreAsWideAsTheirLongestText();
};

void TestTextTable::unseenCharactersAreWrittenOut_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");

    const auto row = [](const char* what, const QString& text, const QString& shown) {
        QTest::newRow(what) << text << shown;
    };
    row("ordinary text", u"Été 2.0 \"x\" 'y' \\"_s, u"Été 2.0 \"x\" 'y' \\"_s);
    row("beyond the first plane", u"𝄞 😀"_s, u"𝄞 😀"_s);
    row("escape", u"\u001b[31m"_s, u"\\u001b[31m"_s);
    row("NUL", u"a\0b"_s, u"a\\u0000b"_s);
    row("line feed and tabulator", u"a\n\tb"_s, u"a\\u000a\\u0009b"_s);
    row("delete and C1", u"\u007f\u009b"_s, u"\\u007f\\u009b"_s);
    row("text from right to left", u"a\u202egpj.exe"_s, u"a\\u202egpj.exe"_s);
    row("isolates and marks", u"\u2066\u2069\u200f"_s, u"\\u2066\\u2069\\u200f"_s);
    row("no width", u"a\u200bb\ufeff"_s, u"a\\u200bb\\ufeff"_s);
    row("line and paragraph separator", u"\u2028\u2029"_s, u"\\u2028\\u2029"_s);
    row("a tag beyond the first plane", u"a\U000e0041"_s, u"a\\U000e0041"_s);
    row("halves of pairs", QString(QChar(0xd834)) + u'x' + QChar(0xdd1e), u"\\ud834x\\udd1e"_s);
}

void TestTextTable::unseenCharactersAreWrittenOut()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(printable(text), shown);
    QCOMPARE(quoted(text), u'\'' + shown + u'\'');
}

void TestTextTable::columnsAreAsWideAsTheirLongestText()
{
    QString written;
    QTextStream out(&written);
    writeTable({{u"Name"_s, u"V"_s, u"x"_s}, {u"A\n"_s, u"10.2"_s, QString()}}, out);
    QCOMPARE(written, u"Name     V     x\n"
                      "A\\u000a  10.2  \n"_s);
}

QTEST_GUILESS_MAIN(TestTextTable)
#include "tst_texttable.moc"
