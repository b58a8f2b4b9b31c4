#include "companion/report/texttable.h"

#include <QJsonDocument>
#include <QJsonObject>
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
    void columnsAreAlignedAsATerminalShowsThem_data();
    void columnsAreAlignedAsATerminalShowsThem();
    void jsonIsEscapedAsJsonIs();
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

void TestTextTable::columnsAreAlignedAsATerminalShowsThem_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("width");

    const auto row = [](const char* what, const QString& text, qsizetype width) {
        QTest::newRow(what) << text << width;
    };
    row("plain", u"Synth"_s, 5);
    row("an accent of its own", u"e\u0301t"_s, 2);
    row("wide letters", u"\u4e2d\u6587"_s, 4);
    row("letters of full and half width", u"\uff21\uff71"_s, 3);
    row("a picture", u"a\U0001f600b"_s, 4);
    row("a letter of several parts", u"\u1112\u1161\u11ab"_s, 2);
    row("a sign of one column", u"\u2192\u20ac"_s, 2);
}

void TestTextTable::columnsAreAlignedAsATerminalShowsThem()
{
    QFETCH(QString, text);
    QFETCH(qsizetype, width);
    QString written;
    QTextStream out(&written);
    writeTable({{text, u"|"_s}, {QString(10, u'x'), u"|"_s}}, out);
    QCOMPARE(written.section(u'\n', 0, 0), text + QString(10 - width + 2, u' ') + u'|');
}

void TestTextTable::jsonIsEscapedAsJsonIs()
{
    const QJsonObject object{
        {u"a\u202e"_s, u"\u001b\u007f\u200b \"\n \u4e2d\U0001f600\U000e0041"_s}};
    const QString json = printableJson(QJsonDocument(object).toJson(QJsonDocument::Compact));
    QCOMPARE(json, u"{\"a\\u202e\":\"\\u001b\\u007f\\u200b \\\"\\n "
                   "\u4e2d\U0001f600\\udb40\\udc41\"}"_s);
    QCOMPARE(QJsonDocument::fromJson(json.toUtf8()).object(), object);
}

QTEST_GUILESS_MAIN(TestTextTable)
#include "tst_texttable.moc"
