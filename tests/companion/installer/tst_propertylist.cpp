#include "companion/installer/propertylist.h"

#include "binarylist.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray shortKey = "CFBundleShortVersionString";
const QByteArray longKey = "CFBundleLongVersionString";

QByteArray xml(const QByteArray& inside)
{
    return "<?xml version=\"1.0\"?>\n<plist version=\"1.0\"><dict>" + inside + "</dict></plist>\n";
}

QByteArray pair(const QByteArray& key, const QByteArray& value)
{
    return "<key>" + key + "</key>" + value;
}

/// All of a list's values, one a line, as "key: type text".
QString shown(const PropertyList& list)
{
    static const QStringList types = {u"text"_s, u"integer"_s, u"truth"_s, u"other"_s};
    QStringList lines;
    for (auto value = list.values.cbegin(); value != list.values.cend(); ++value) {
        lines.append(value.key() + ": "_L1 + types[value->type] + ' '_L1 + value->text);
    }
    lines.sort();
    return list.error.isEmpty() ? lines.join(u'\n') : "error: "_L1 + list.error;
}

} // namespace

class TestPropertyList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsValues_data();
    void readsValues();
    void readsTheClientsVersion_data();
    void readsTheClientsVersion();
    void endsWithDeepLists();
};

void TestPropertyList::readsValues_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("values");

    const auto row = [](const char* what, const QByteArray& bytes, const QString& values) {
        QTest::newRow(what) << bytes << values;
    };
    row("XML",
        xml(pair("a", "<string>x</string>") + pair("b", "<integer> 7 </integer>") +
            pair("c", "<true/>") + pair("d", "<dict><key>e</key><string/></dict>")),
        u"a: text x\nb: integer 7\nc: truth true\nd: other "_s);
    row("XML with a declared encoding",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><dict>" +
            pair("a", "<string>\xe9</string>") + "</dict></plist>",
        u"a: text é"_s);
    row("XML that is cut", xml(pair("a", "<string>x</string>")).chopped(20),
        u"error: it is no well-formed XML: Premature end of document."_s);
    row("XML of a list", "<plist><array/></plist>", u"error: it holds no dictionary"_s);
    row("binary",
        binaryList({{"a", binaryText("x")},
                    {"b", QByteArray("\x10\x07", 2)},
                    {"c", "\x09"},
                    {"d", "\x08"},
                    {"e", QByteArray("\x22\x3f\x80\0\0", 5)},
                    {"f", "\x40"}}),
        u"a: text x\nb: integer 7\nc: truth true\nd: truth false\ne: other \nf: other "_s);
    row("binary that is cut", binaryList({{"a", binaryText("x")}}).chopped(1),
        u"error: it is no whole binary property list"_s);
    row("old text", "{ a = x; \"b c\" = 'y z'; d = ( 1, 2, ); e = { f = g; }; h = <00 ff>; }",
        u"a: text x\nb c: text y z\nd: other \ne: other \nh: other "_s);
    row("old text without braces", "/* note */ a = 1.0; // more\nb;", u"a: text 1.0\nb: text b"_s);
    row("old text with escapes", R"({ a = "\"\\\n\U00e9\101"; b = "\351"; })",
        u"a: text \"\\\né"
        "A\nb: other "_s);
    row("old text that is wrong", "{ a = ; }",
        u"error: it is neither XML nor binary, and as old text it is wrong at character 7"_s);
    row("old text with more behind", "{ a = b; } c",
        u"error: it is neither XML nor binary, and as old text it is wrong at character 12"_s);
    row("no text", QByteArray("\xff\xfe\xfd", 3), u"error: it is no text"_s);
    row("nothing", {}, u"error: it is empty"_s);
}

void TestPropertyList::readsValues()
{
    QFETCH(QByteArray, bytes);
    QTEST(shown(readPropertyList(bytes)), "values");
}

void TestPropertyList::readsTheClientsVersion_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("unknown");

    const auto row = [](const char* what, const QByteArray& bytes, const QString& version,
                        const QString& unknown = {}) {
        QTest::newRow(what) << bytes << version << unknown;
    };
    const QByteArray text = "<string>2.5</string>";
    row("XML", xml(pair(shortKey, text)), u"2.5"_s);
    row("up to the first blank", xml(pair(shortKey, "<string>2.5 (7)</string>")), u"2.5"_s);
    row("the last one, however deep",
        xml(pair(shortKey, text) +
            pair("x", "<dict>" + pair(shortKey, "<string>9</string>") + "</dict>")),
        u"9"_s);
    row("the long one for want of another", xml(pair(longKey, text)), u"2.5"_s);
    row("a number of XML", xml(pair(shortKey, "<real>2.50</real>")), u"2.50"_s);
    row("none", xml(pair("a", text)), {});
    row("XML that breaks off behind the version", xml(pair(shortKey, text)).chopped(12), u"2.5"_s);
    row("XML that breaks off before it", xml(pair("a", text)).chopped(12), {},
        u"its property list cannot be read: it is no well-formed XML: Premature end of document."_s);
    row("a dictionary", xml(pair(shortKey, "<dict/>") + pair("a", "<dict><key>b</key></dict>")),
        {});
    row("a dictionary with something in it",
        xml(pair(shortKey, "<dict>" + pair("a", text) + "</dict>")), {},
        u"the value of CFBundleShortVersionString is no text"_s);
    row("binary", binaryList({{shortKey, binaryText("2.5 (7)")}}), u"2.5"_s);
    row("binary, at the top alone", binaryList({{"a", binaryText("2.5")}}), {});
    row("binary, the long one", binaryList({{longKey, binaryText("2.5")}}), u"2.5"_s);
    row("a binary number", binaryList({{shortKey, QByteArray("\x10\x07", 2)}}), u"7"_s);
    row("a binary real number", binaryList({{shortKey, QByteArray("\x22\x3f\x80\0\0", 5)}}), {},
        u"the value of CFBundleShortVersionString is no text"_s);
    row("old text", "{ CFBundleShortVersionString = 2.5; }", u"2.5"_s);
    row("old text in quotes", "{ CFBundleShortVersionString = \"2.5 beta\"; }", u"2.5"_s);
}

void TestPropertyList::readsTheClientsVersion()
{
    QFETCH(QByteArray, bytes);
    const KnownText version = clientVersion(bytes);
    QTEST(version.value, "version");
    QTEST(version.unknown, "unknown");
}

void TestPropertyList::endsWithDeepLists()
{
    const PropertyList list = readPropertyList("{ a = " + QByteArray(1'000'000, '('));
    QVERIFY2(list.error.startsWith("it is neither XML nor binary"_L1), qPrintable(list.error));
}

QTEST_GUILESS_MAIN(TestPropertyList)
#include "tst_propertylist.moc"
