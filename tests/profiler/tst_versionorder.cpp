#include "profiler/versionorder.h"

#include <QSet>
#include <QTest>

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Every kind of text that a bundle or a catalogue may give.
QStringList sampleVersions()
{
    return {u""_s,
            u" "_s,
            u"."_s,
            u"..."_s,
            u"0"_s,
            u"0.5"_s,
            u"1"_s,
            u"1."_s,
            u".1"_s,
            u"1.0"_s,
            u"1.2"_s,
            u"1.2.1"_s,
            u"1..2"_s,
            u"1.9"_s,
            u"1.10"_s,
            u"1. 10"_s,
            u"3b"_s,
            u"b3"_s,
            u"10rc1"_s,
            u"x2.0"_s,
            u"beta"_s,
            u"-1"_s,
            u"+1"_s,
            u"1-2.3"_s,
            u"007.1"_s,
            u"2147483647"_s,
            u"2147483648"_s,
            u"1.4294967297"_s,
            u"99999999999.2"_s,
            u"\t2.0 "_s,
            u"2.1.3 (build 45)"_s,
            u"(9.9)"_s,
            u"1 (a) 2 (b)"_s,
            u"1.0)2.5"_s,
            u"1\u0662.3"_s,
            u"\u0663"_s,
            u"\uFF12.0"_s,
            u"2024.12.31"_s,
            u"20241231"_s,
            u"1.2.3.4.5.6"_s};
}

} // namespace

class TestVersionOrder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comparesTexts_data();
    void comparesTexts();
    void nullTextCountsAsAnEmptyOne();
    void numberOfThousandsOfDigitsCountsAsZero();
    void everyTextEqualsItself();
    void swappingTheTextsTurnsTheOrder();
    void onlyThreeResultsOccur();
    void nothingBehindTheFirstBracketMatters();
    void surroundingWhiteSpaceDoesNotMatter();
    void furtherPartsDoNotMatter();
    void equalityIsNotTransitive();
    void textsOfEqualLengthAreOrderedByTheirNumbers();
};

void TestVersionOrder::comparesTexts_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("order");

    const auto row = [](const char* what, const char* a, const char* b, int order) {
        QTest::newRow(what) << QString::fromUtf8(a) << QString::fromUtf8(b) << order;
    };
    row("numbers, not text", "1.10", "1.9", 1);
    row("numbers, not text, in the first part", "10", "9", 1);
    row("first part decides", "2.0", "1.9", 1);
    row("second part decides", "2.1", "2.0", 1);
    row("last part decides", "1.2.3.4.5.6", "1.2.3.4.5.7", -1);
    row("an earlier part outweighs all later ones", "10", "9.99.99", 1);
    row("same text", "1.2.3", "1.2.3", 0);
    row("dates", "2024.12.31", "2025.1.1", -1);
    row("one large number", "20241231", "20241230", 1);

    row("parts beyond the shorter text, one against two", "3", "3.9", 0);
    row("parts beyond the shorter text, two against three", "1.2", "1.2.1", 0);
    row("parts beyond the shorter text are zero", "2.0", "2.0.0", 0);
    row("parts beyond the shorter text are one", "2.0", "2.0.1", 0);
    row("parts beyond the shorter text are many", "7", "7.1.2.3.4.5.6.7.8", 0);
    row("the common part decides, not the length", "4", "3.9.9", 1);

    row("empty against empty", "", "", 0);
    row("empty counts as 0 against 0", "", "0", 0);
    row("empty counts as 0 against 1.0", "", "1.0", -1);
    row("empty looks at one part only", "", "0.5", 0);
    row("empty against a text without number", "", "beta", 0);

    row("a dot alone is two empty parts", ".", "0.0", 0);
    row("a dot alone against a later number", ".", "0.1", -1);
    row("only dots", "...", "0.0.0.0", 0);
    row("only dots against a number in the last part", "...", "0.0.0.1", -1);
    row("empty middle part is kept", "1..2", "1.0.2", 0);
    row("empty middle part does not close up", "1..2", "1.2", -1);
    row("part behind the empty one counts", "1..2", "1.0.1", 1);
    row("empty first part is kept", ".5", "0.5", 0);
    row("part behind the empty first one counts", ".5", "0.4", 1);
    row("empty first part is below 1", ".9", "1.0", -1);
    row("final dot adds an empty part", "1.", "1.0", 0);
    row("final dot's part counts as 0", "1.", "1.1", -1);
    row("final dot's part is ignored against one part", "1.", "1", 0);

    row("letters behind the number", "3b", "3", 0);
    row("letters and digits behind the number", "10rc1", "10", 0);
    row("number before the letters counts", "10rc1", "9", 1);
    row("letter in the last part", "1.2b", "1.2", 0);
    row("letter in the middle part", "1.2b.3", "1.2.3", 0);
    row("letter and digit in the last part", "1.2b4", "1.3", -1);
    row("digits behind a letter do not count", "1.2b4", "1.2b5", 0);
    row("letters are not ordered", "1.0a", "1.0z", 0);
    row("only letters", "beta", "0", 0);
    row("only letters are below 1", "beta", "1", -1);
    row("letter before the digit", "b3", "0", 0);
    row("letter before the digit is below the digit", "b3", "3", -1);
    row("letter before the first number", "x2.0", "1.0", -1);
    row("a leading v hides the first number alone", "v2.5", "0.4", 1);
    row("letter before a later number", "1.b3", "1.0", 0);
    row("accented letter behind the number", "3é", "3", 0);
    row("accented letter before the number", "é3", "0", 0);

    row("minus before the digit", "-1", "0", 0);
    row("minus before the digit is below 1", "-1", "1", -1);
    row("minus is no sign", "-1", "-2", 0);
    row("plus before the digit", "+1", "0", 0);
    row("plus before the digit is below 1", "+1", "1", -1);
    row("minus behind the number", "1-2", "1", 0);
    row("plus behind the number", "1+2", "1", 0);
    row("minus before a later number", "1.-2", "1.0", 0);
    row("plus before a later number", "1.+2", "1.1", -1);
    row("comma does not separate", "1,9", "1.5", 0);
    row("comma groups nothing", "1,000", "2", -1);
    row("underscore groups nothing", "1_000", "1", 0);
    row("no exponent", "1e3", "1", 0);
    row("no hexadecimal number", "0x10", "0", 0);
    row("hyphen does not separate", "1-2.3", "1.3", 0);

    row("leading zeros", "007", "7", 0);
    row("leading zeros are not octal", "010", "9", 1);
    row("leading zeros in a later part", "1.05", "1.5", 0);
    row("leading zeros in a later part, numbers compared", "1.05", "1.4", 1);
    row("leading zeros before the largest number", "0000000000002147483647", "2147483647", 0);
    row("only zeros", "000", "0", 0);

    row("largest number", "2147483647", "2147483646", 1);
    row("largest number against 0", "2147483647", "0", 1);
    row("one more than the largest number counts as 0", "2147483648", "0", 0);
    row("one more than the largest number is below 1", "2147483648", "1", -1);
    row("one more than the largest number is below the largest", "2147483648", "2147483647", -1);
    row("does not wrap to 1", "4294967297", "1", -1);
    row("does not wrap at 64 bits", "18446744073709551617", "1", -1);
    row("beyond 64 bits counts as 0", "18446744073709551617", "0", 0);
    row("eleven digits", "99999999999", "1.1", -1);
    row("eleven digits count as 0", "12345678901", "0.7", 0);
    row("two too large numbers are equal", "99999999999", "88888888888", 0);
    row("too large in a later part", "1.2147483648", "1.1", -1);
    row("too large in a later part counts as 0", "1.2147483648", "1.0", 0);
    row("part behind a too large number counts", "99999999999.2", "0.1", 1);
    row("too large with letters behind", "2147483648b", "0", 0);
    row("largest with letters behind", "2147483647b", "2147483646", 1);

    row("note in brackets", "2.1.3 (build 45)", "2.1.3", 0);
    row("number in brackets", "1.0 (123)", "1.0", 0);
    row("notes on both sides", "1.0 (1)", "1.0 (2)", 0);
    row("bracket without a blank", "1.2(3)", "1.2", 0);
    row("bracket behind a tab", "1.2\t(3)", "1.2", 0);
    row("bracket never closed", "1.0 (123", "1.0", 0);
    row("bracket closes the parts", "1.0(2.5", "1.0.6", 0);
    row("bracket first", "(9.9)", "1.0", -1);
    row("bracket first counts as empty", "(9.9)", "0.5", 0);
    row("bracket first, version behind", "(beta) 2.0", "1.0", -1);
    row("bracket behind a blank only", " (9.9)", "", 0);
    row("several brackets, the first one cuts", "1.0 (a).5 (b)", "1.0.6", 0);
    row("nested brackets", "1.0 ((3) 4)", "1.0", 0);
    row("text behind the closed bracket", "1 (2).3", "1.0", 0);
    row("bracket behind a dot leaves an empty part", "1.(5)", "1.1", -1);
    row("closing bracket alone does not cut", "1.0)2.5", "1.0.6", -1);
    row("closing bracket first is no digit", ")1", "0", 0);
    row("square bracket does not cut", "1.0[2].5", "1.0.6", -1);
    row("brace does not cut", "1.0{2}.5", "1.0.6", -1);
    row("fullwidth bracket does not cut", "1.0（2.5", "1.0.6", -1);

    row("blanks around", "  1.5  ", "1.5", 0);
    row("tab and line feed around", "\t1.5\r\n", "1.5", 0);
    row("no-break space around", "\u00A01.5\u00A0", "1.5", 0);
    row("blanks before the bracket", "1.5   (x)", "1.5", 0);
    row("only blanks", "   ", "0", 0);
    row("only tabs are below 1", "\t\t", "1", -1);
    row("blank before a part hides its number", "1. 2", "1.1", -1);
    row("tab before a part hides its number", "1.\t2", "1.0", 0);
    row("blank behind a part", "1 .2", "1.2", 0);
    row("blank ends the number", "1 0", "10", -1);
    row("word behind a blank", "1.2 beta", "1.2", 0);
    row("dot behind a blank still separates", "1 beta.5", "1.4", 1);
    row("zero width space is not trimmed", "\u200B1.0", "0.0", 0);

    row("Arabic-Indic digit counts as 0", "\u0663", "0", 0);
    row("Arabic-Indic digit is below 1", "\u0663.0", "1.0", -1);
    row("Arabic-Indic digit behind an ASCII one spoils it", "1\u0662", "1", -1);
    row("Arabic-Indic digit behind an ASCII one gives 0", "1\u0662", "0", 0);
    row("ASCII digit behind an Arabic-Indic one is spoilt", "\u06621", "1", -1);
    row("extended Arabic-Indic digit", "1\u06F2", "1", -1);
    row("Devanagari digit", "1\u0968", "1", -1);
    row("fullwidth digit counts as 0", "\uFF12", "0", 0);
    row("fullwidth digit is below 1", "\uFF12.0", "1.0", -1);
    row("fullwidth digit behind an ASCII one spoils it", "1\uFF12", "1", -1);
    row("foreign digit in a later part", "1.\u0662", "1.1", -1);
    row("foreign digit in a later part gives 0", "1.\u0662", "1.0", 0);
    row("part behind foreign digits counts", "\u0662.5", "0.4", 1);
    row("letter before a foreign digit saves the number", "1a\u0662", "1", 0);
    row("superscript is no digit", "1\u00B2", "1", 0);
    row("fraction is no digit", "1\u00BD", "1", 0);
    row("Roman numeral is no digit", "1\u2167", "1", 0);
    row("circled digit is no digit", "1\u2460", "1", 0);
}

void TestVersionOrder::comparesTexts()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, order);
    QCOMPARE(compareVersions(a, b), order);
    QCOMPARE(compareVersions(b, a), -order);
}

void TestVersionOrder::nullTextCountsAsAnEmptyOne()
{
    QCOMPARE(compareVersions(QString(), QString()), 0);
    QCOMPARE(compareVersions(QString(), u""_s), 0);
    QCOMPARE(compareVersions(QString(), u"0.5"_s), 0);
    QCOMPARE(compareVersions(QString(), u"1"_s), -1);
    QCOMPARE(compareVersions(u"1"_s, QString()), 1);
}

void TestVersionOrder::numberOfThousandsOfDigitsCountsAsZero()
{
    const QString huge(5'000, u'9');
    QCOMPARE(compareVersions(huge, u"0"_s), 0);
    QCOMPARE(compareVersions(huge, u"1"_s), -1);
    QCOMPARE(compareVersions(QString(5'000, u'0') + u'2', u"1"_s), 1);
}

void TestVersionOrder::everyTextEqualsItself()
{
    for (const QString& text : sampleVersions()) {
        QVERIFY2(compareVersions(text, text) == 0, qUtf8Printable(text));
    }
}

void TestVersionOrder::swappingTheTextsTurnsTheOrder()
{
    for (const QString& a : sampleVersions()) {
        for (const QString& b : sampleVersions()) {
            QVERIFY2(compareVersions(a, b) == -compareVersions(b, a),
                     qUtf8Printable(a + " against "_L1 + b));
        }
    }
}

void TestVersionOrder::onlyThreeResultsOccur()
{
    QSet<int> seen;
    for (const QString& a : sampleVersions()) {
        for (const QString& b : sampleVersions()) {
            const int order = compareVersions(a, b);
            QVERIFY2(order >= -1 && order <= 1, qUtf8Printable(a + " against "_L1 + b));
            seen.insert(order);
        }
    }
    QCOMPARE(seen.size(), 3);
}

void TestVersionOrder::nothingBehindTheFirstBracketMatters()
{
    const QStringList notes = {u"("_s, u" ("_s, u"(9.9)"_s, u" (build 45) 7.8"_s, u"((."_s};
    for (const QString& a : sampleVersions()) {
        for (const QString& b : sampleVersions()) {
            for (const QString& note : notes) {
                QVERIFY2(compareVersions(a + note, b) == compareVersions(a, b),
                         qUtf8Printable(a + note + " against "_L1 + b));
            }
        }
    }
}

void TestVersionOrder::surroundingWhiteSpaceDoesNotMatter()
{
    for (const QString& a : sampleVersions()) {
        for (const QString& b : sampleVersions()) {
            QVERIFY2(compareVersions(" \t"_L1 + a + "\r\n "_L1, b) == compareVersions(a, b),
                     qUtf8Printable(a + " against "_L1 + b));
        }
    }
}

void TestVersionOrder::furtherPartsDoNotMatter()
{
    for (const QString& text : sampleVersions()) {
        const QString longer = text.section(u'(', 0, 0) + ".9"_L1;
        QVERIFY2(compareVersions(text, longer) == 0, qUtf8Printable(text));
    }
}

void TestVersionOrder::equalityIsNotTransitive()
{
    QCOMPARE(compareVersions(u"1.2.1"_s, u"1.2"_s), 0);
    QCOMPARE(compareVersions(u"1.2"_s, u"1.2.9"_s), 0);
    QCOMPARE(compareVersions(u"1.2.1"_s, u"1.2.9"_s), -1);
}

void TestVersionOrder::textsOfEqualLengthAreOrderedByTheirNumbers()
{
    const std::array<int, 5> numbers = {0, 1, 9, 10, 2'147'483'647};
    QList<QList<int>> versions;
    for (const int major : numbers) {
        for (const int minor : numbers) {
            versions.append({major, minor, 10 - minor % 10});
        }
    }
    const auto text = [](const QList<int>& version) {
        return u"%1.%2.%3"_s.arg(version[0]).arg(version[1]).arg(version[2]);
    };
    for (const QList<int>& a : std::as_const(versions)) {
        for (const QList<int>& b : std::as_const(versions)) {
            const int order = a == b ? 0 : a < b ? -1 : 1;
            QCOMPARE(compareVersions(text(a), text(b)), order);
        }
    }
}

QTEST_GUILESS_MAIN(TestVersionOrder)
#include "tst_versionorder.moc"
