#include "web/catalogueline.h"

#include <QStringList>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// All fields of @p line, one a line of this text.
QString fieldsOf(const QString& line, const QString& separator)
{
    QStringList fields;
    for (qsizetype place = 0; const auto field = catalogueField(line, separator, place); ++place) {
        fields.append(field->toString());
    }
    return fields.join(u'\n');
}

} // namespace

class TestCatalogueLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void splitsAtEverySeparator_data();
    void splitsAtEverySeparator();
    void trimsAField_data();
    void trimsAField();
    void unquotesAField_data();
    void unquotesAField();
};

void TestCatalogueLine::splitsAtEverySeparator_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QStringList>("fields");

    const auto row = [](const char* what, const QString& line, const QString& separator,
                        const QStringList& fields) {
        QTest::newRow(what) << line << separator << fields;
    };
    const QString comma = u","_s;
    row("an ordinary line", u"Synth,1.2,2026-09-21,Synth.pkg,0"_s, comma,
        {u"Synth"_s, u"1.2"_s, u"2026-09-21"_s, u"Synth.pkg"_s, u"0"_s});
    row("no separator: one field", u"Synth"_s, comma, {u"Synth"_s});
    row("an empty line: one empty field", u""_s, comma, {u""_s});
    row("no line at all: one empty field", QString(), comma, {u""_s});
    row("empty fields stay", u"Synth,,,0"_s, comma, {u"Synth"_s, u""_s, u""_s, u"0"_s});
    row("an empty first field stays", u",1,0"_s, comma, {u""_s, u"1"_s, u"0"_s});
    row("an empty last field stays", u"Synth,1,"_s, comma, {u"Synth"_s, u"1"_s, u""_s});
    row("nothing but separators", u",,"_s, comma, {u""_s, u""_s, u""_s});
    row("quotes do not protect a separator", u"\"Synth, Pro\",1"_s, comma,
        {u"\"Synth"_s, u"Pro\""_s, u"1"_s});
    row("a backslash does not protect a separator", u"Synth\\,1"_s, comma, {u"Synth\\"_s, u"1"_s});
    row("a NUL does not end a line", u"Sy\0nth,1"_s, comma, {u"Sy\0nth"_s, u"1"_s});
    row("a lone CR does not end a line", u"Syn\rth,1"_s, comma, {u"Syn\rth"_s, u"1"_s});
    row("another separator is text", u"Synth;1;0"_s, comma, {u"Synth;1;0"_s});
    row("a look-alike of the separator is text", u"Synth，1,0"_s, comma, {u"Synth，1"_s, u"0"_s});
    row("semicolon", u"Synth;1,2;0"_s, u";"_s, {u"Synth"_s, u"1,2"_s, u"0"_s});
    row("tab", u"Synth\t1.2\t0"_s, u"\t"_s, {u"Synth"_s, u"1.2"_s, u"0"_s});
    row("tab: empty fields stay", u"\tSynth\t\t"_s, u"\t"_s, {u""_s, u"Synth"_s, u""_s, u""_s});
    row("blank", u"Synth 1  0"_s, u" "_s, {u"Synth"_s, u"1"_s, u""_s, u"0"_s});
    row("a quote as separator", u"Synth\"1\"0"_s, u"\""_s, {u"Synth"_s, u"1"_s, u"0"_s});
    row("no pattern: a full stop", u"Synth.1.0"_s, u"."_s, {u"Synth"_s, u"1"_s, u"0"_s});
    row("no pattern: a bar", u"Synth|1|0"_s, u"|"_s, {u"Synth"_s, u"1"_s, u"0"_s});
    row("no pattern: brackets", u"Synth[,]1,0"_s, u"[,]"_s, {u"Synth"_s, u"1,0"_s});
    row("several characters", u"Synth<>1<>0"_s, u"<>"_s, {u"Synth"_s, u"1"_s, u"0"_s});
    row("several characters: not at each of them", u"Sy<nth>1<>0"_s, u"<>"_s,
        {u"Sy<nth>1"_s, u"0"_s});
    row("several characters: the first of overlapping ones", u"Synth|||1"_s, u"||"_s,
        {u"Synth"_s, u"|1"_s});
    row("a separator with a blank wants the blank", u"Synth, 1,0"_s, u", "_s,
        {u"Synth"_s, u"1,0"_s});
    row("a separator beyond ASCII", u"Synth§1§0"_s, u"§"_s, {u"Synth"_s, u"1"_s, u"0"_s});
    row("a letter as separator: case counts", u"Axbxc"_s, u"X"_s, {u"Axbxc"_s});
    row("a letter as separator", u"AXbxc"_s, u"X"_s, {u"A"_s, u"bxc"_s});
    row("an empty separator: every character, between two empty fields", u"ab,"_s, u""_s,
        {u""_s, u"a"_s, u"b"_s, u","_s, u""_s});
}

void TestCatalogueLine::splitsAtEverySeparator()
{
    QFETCH(QString, line);
    QFETCH(QString, separator);
    QFETCH(QStringList, fields);
    QCOMPARE(fieldsOf(line, separator), fields.join(u'\n'));
}

void TestCatalogueLine::trimsAField_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("trimmed");

    const auto row = [](const char* what, const QString& field, const QString& trimmed) {
        QTest::newRow(what) << field << trimmed;
    };
    row("blanks before", u"   Synth"_s, u"Synth"_s);
    row("blanks after", u"Synth   "_s, u"Synth"_s);
    row("blanks inside stay", u" Synth  Pro "_s, u"Synth  Pro"_s);
    row("nothing but blanks", u"   "_s, u""_s);
    row("tabs", u"\tSynth\t\t"_s, u"Synth"_s);
    row("tabs inside stay", u"Synth\tPro"_s, u"Synth\tPro"_s);
    row("a CR at the end", u"Synth\r"_s, u"Synth"_s);
    row("form feed and vertical tab", u"\fSynth\v"_s, u"Synth"_s);
    row("no-break spaces", u"\u00a0Synth\u00a0"_s, u"Synth"_s);
    row("no-break spaces inside stay", u"Synth\u00a0Pro"_s, u"Synth\u00a0Pro"_s);
    row("narrow no-break and ideographic spaces", u"\u202fSynth\u3000"_s, u"Synth"_s);
    row("a zero-width space is no white space", u"\u200bSynth\u200b"_s, u"\u200bSynth\u200b"_s);
    row("a NUL is no white space", u"\0Synth\0"_s, u"\0Synth\0"_s);
    row("a byte order mark is no white space", u"\ufeffSynth"_s, u"\ufeffSynth"_s);
    row("accents and wide characters stay", u" Éditeur 𝄞 "_s, u"Éditeur 𝄞"_s);
}

void TestCatalogueLine::trimsAField()
{
    QFETCH(QString, field);
    QFETCH(QString, trimmed);
    const QString line = field + u',' + field + u',' + field;
    QCOMPARE(fieldsOf(line, u","_s), (QStringList{trimmed, trimmed, trimmed}.join(u'\n')));
}

void TestCatalogueLine::unquotesAField_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("unquoted");

    const auto row = [](const char* what, const QString& field, const QString& unquoted) {
        QTest::newRow(what) << field << unquoted;
    };
    row("quoted", u"\"Synth\""_s, u"Synth"_s);
    row("not quoted", u"Synth"_s, u"Synth"_s);
    row("quoted, blanks around", u"  \"Synth\"\t"_s, u"Synth"_s);
    row("quoted, no-break spaces around", u"\u00a0\"Synth\"\u00a0"_s, u"Synth"_s);
    row("blanks inside the quotes stay", u"\" Synth \""_s, u" Synth "_s);
    row("nothing but blanks inside the quotes", u"\"  \""_s, u"  "_s);
    row("two quotes: empty", u"\"\""_s, u""_s);
    row("a lone quote stays", u"\""_s, u"\""_s);
    row("a lone quote with blanks around", u" \" "_s, u"\""_s);
    row("three quotes: the inner one stays", u"\"\"\""_s, u"\""_s);
    row("doubled quotes: only one pair goes", u"\"\"Synth\"\""_s, u"\"Synth\""_s);
    row("doubled quotes inside stay doubled", u"\"Synth \"\"Pro\"\"\""_s, u"Synth \"\"Pro\"\""_s);
    row("inner quotes stay", u"\"Synth \"Pro\" 2\""_s, u"Synth \"Pro\" 2"_s);
    row("two quoted words: the outer quotes go", u"\"a\" \"b\""_s, u"a\" \"b"_s);
    row("a quote only before", u"\"Synth"_s, u"\"Synth"_s);
    row("a quote only after", u"Synth\""_s, u"Synth\""_s);
    row("quotes only inside", u"Sy\"n\"th"_s, u"Sy\"n\"th"_s);
    row("single quotes are text", u"'Synth'"_s, u"'Synth'"_s);
    row("typographic quotes are text", u"“Synth”"_s, u"“Synth”"_s);
    row("guillemets are text", u"« Synth »"_s, u"« Synth »"_s);
}

void TestCatalogueLine::unquotesAField()
{
    QFETCH(QString, field);
    QFETCH(QString, unquoted);
    const QString line = field + u',' + field + u',' + field;
    QCOMPARE(fieldsOf(line, u","_s), (QStringList{unquoted, unquoted, unquoted}.join(u'\n')));
}

QTEST_GUILESS_MAIN(TestCatalogueLine)
#include "tst_catalogueline.moc"
