#include "system/scanparser.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QString describedProperties(const QHash<QString, QString>& properties)
{
    QStringList pairs;
    for (auto entry = properties.cbegin(); entry != properties.cend(); ++entry) {
        pairs.append(entry.key() + '='_L1 + entry.value());
    }
    pairs.sort();
    return pairs.join("; "_L1);
}

/// "name -> key=value; key=value" for each application, so that a failure shows the difference.
QStringList described(const PropertyMap& applications)
{
    QStringList lines;
    for (auto entry = applications.cbegin(); entry != applications.cend(); ++entry) {
        lines.append(entry.key() + " -> "_L1 + describedProperties(entry.value()));
    }
    lines.sort();
    return lines;
}

/// One application as `system_profiler` prints it.
QByteArray block(const QByteArray& name, const QByteArrayList& lines)
{
    QByteArray text = "    " + name + ":\n\n";
    for (const QByteArray& line : lines) {
        text += "      " + line + '\n';
    }
    return text + '\n';
}

void addColumns()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QStringList>("expected");
}

void row(const char* what, const QByteArray& output, const QStringList& expected)
{
    QTest::newRow(what) << output << expected;
}

const QString foo = u"Foo -> Location=/Applications/Foo.app"_s;

const char title[] = "Applications:\n\n";
const QByteArray fooBlock = block("Foo", {"Version: 1.0"});
const QStringList onlyFoo = {u"Foo -> Version=1.0"_s};

} // namespace

class TestScanParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nameOfAnApplication_data();
    void nameOfAnApplication();
    void linesAreBundlePaths_data();
    void linesAreBundlePaths();
    void nameIsTheLastComponentWithoutApp_data();
    void nameIsTheLastComponentWithoutApp();
    void bundlesInsideBundlesAreLeftOut_data();
    void bundlesInsideBundlesAreLeftOut();
    void oneBundleOfANameStays_data();
    void oneBundleOfANameStays();
    void manyBundlePathsAreAllFound();
    void reportIsATitleAndBlocks_data();
    void reportIsATitleAndBlocks();
    void blocksBeginWithANameLine_data();
    void blocksBeginWithANameLine();
    void blockLinesAreKeysAndValues_data();
    void blockLinesAreKeysAndValues();
    void keysAreCarriedOver_data();
    void keysAreCarriedOver();
    void wholeReport();
    void nothingIsCarriedOverFromOneReportToTheNext();
};

// Paths as `find` and `mdfind` print them

void TestScanParser::nameOfAnApplication_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");

    QTest::newRow("last component") << u"/Applications/Tools/Bar.app"_s << u"Bar"_s;
    QTest::newRow("every .app goes") << u"/Applications/My.appliance.app"_s << u"Myliance"_s;
    QTest::newRow("only in the last one") << u"/Applications/a.app b/Foo.app"_s << u"Foo"_s;
    QTest::newRow("inside another bundle")
        << u"/Applications/Foo.app/Contents/Library/Bar.app"_s << QString();
    QTest::newRow("no folder") << u"Foo.app"_s << u"Foo"_s;
    QTest::newRow("nothing") << QString() << QString();
}

void TestScanParser::nameOfAnApplication()
{
    QFETCH(QString, path);
    QFETCH(QString, name);
    QCOMPARE(applicationName(path), name);
}

void TestScanParser::linesAreBundlePaths_data()
{
    addColumns();

    row("no output", "", {});
    row("one bundle", "/Applications/Foo.app\n", {foo});
    row("no final line feed", "/Applications/Foo.app", {foo});
    row("several bundles", "/Applications/Foo.app\n/Applications/Bar.app\n",
        {u"Bar -> Location=/Applications/Bar.app"_s, foo});
    row("CRLF", "/Applications/Foo.app\r\n/Applications/Bar.app\r\n",
        {u"Bar -> Location=/Applications/Bar.app"_s, foo});
    row("carriage return inside a line ends nothing", "/Applications/Fo\ro.app\n",
        {u"Fo\ro -> Location=/Applications/Fo\ro.app"_s});
    row("empty lines are skipped", "\n\n/Applications/Foo.app\n\n", {foo});
    row("only a line feed", "\n", {});
    row("only CRLF", "\r\n\r\n", {});

    row("sub-folder", "/Applications/Tools/Bar.app\n",
        {u"Bar -> Location=/Applications/Tools/Bar.app"_s});
    row("two sub-folders", "/Applications/Folder/Sub/Foo.app\n",
        {u"Foo -> Location=/Applications/Folder/Sub/Foo.app"_s});
    row("blank in the name", "/Applications/My Foo 2.app\n",
        {u"My Foo 2 -> Location=/Applications/My Foo 2.app"_s});
    row("accents in the name", "/Applications/Éditeur.app\n",
        {u"Éditeur -> Location=/Applications/Éditeur.app"_s});
    row("letter outside the basic plane", "/Applications/\U0001F600.app\n",
        {u"\U0001F600 -> Location=/Applications/\U0001F600.app"_s});
    row("composed and decomposed accents are two names",
        "/Applications/\u00E9.app\n/Applications/e\u0301.app\n",
        {u"e\u0301 -> Location=/Applications/e\u0301.app"_s,
         u"\u00E9 -> Location=/Applications/\u00E9.app"_s});
    row("dot in the name", "/Applications/Foo 2.1.app\n",
        {u"Foo 2.1 -> Location=/Applications/Foo 2.1.app"_s});
    row("letter case makes two names", "/Applications/foo.app\n/Applications/Foo.app\n",
        {foo, u"foo -> Location=/Applications/foo.app"_s});
    row("byte that is no UTF-8", "/Applications/Caf\xE9.app\n",
        {u"Caf\uFFFD -> Location=/Applications/Caf\uFFFD.app"_s});
    row("several bytes that are no UTF-8", "/Applications/\xFF\xFE.app\n/Applications/Foo.app\n",
        {foo, u"\uFFFD\uFFFD -> Location=/Applications/\uFFFD\uFFFD.app"_s});
    row("zero byte", QByteArray("/Applications/F\0o.app\n", 22),
        {u"F\0o -> Location=/Applications/F\0o.app"_s});
}

void TestScanParser::linesAreBundlePaths()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseBundlePaths(output)), expected);
}

void TestScanParser::nameIsTheLastComponentWithoutApp_data()
{
    addColumns();
    row("blanks around are not trimmed", "  /Applications/Foo.app  \n",
        {u"Foo   -> Location=  /Applications/Foo.app  "_s});
    row("only blanks is a name", "  \n", {u"   -> Location=  "_s});
    row("every .app is removed, not only the ending", "/Applications/My.appliance.app\n",
        {u"Myliance -> Location=/Applications/My.appliance.app"_s});
    row("a doubled ending is removed twice", "/Applications/Foo.app.app\n",
        {u"Foo -> Location=/Applications/Foo.app.app"_s});
    row("removal happens once, not again in what it joins", "/Applications/Foo.a.apppp\n",
        {u"Foo.app -> Location=/Applications/Foo.a.apppp"_s});
    row("letter case of .app counts", "/Applications/Foo.APP\n",
        {u"Foo.APP -> Location=/Applications/Foo.APP"_s});
    row("line without .app", "/Applications/Foo\n", {u"Foo -> Location=/Applications/Foo"_s});
    row("line without a slash", "Foo.app\n", {u"Foo -> Location=Foo.app"_s});
    row("nothing but .app", "/Applications/.app\n", {});
    row("nothing but two .app", "/Applications/.app.app\n", {});
    row("slash at the end leaves no name", "/Applications/Foo.app/\n", {});
    row("only a slash", "/\n", {});
    row("doubled slash", "/Applications//Foo.app\n", {u"Foo -> Location=/Applications//Foo.app"_s});
    row("colon in the name", "/Applications/Foo: Bar.app\n",
        {u"Foo: Bar -> Location=/Applications/Foo: Bar.app"_s});
}

void TestScanParser::nameIsTheLastComponentWithoutApp()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseBundlePaths(output)), expected);
}

void TestScanParser::bundlesInsideBundlesAreLeftOut_data()
{
    addColumns();
    row("bundle inside a bundle", "/Applications/Foo.app/Contents/Library/Bar.app\n", {});
    row("bundle right inside the contents", "/Applications/Foo.app/Contents/Bar.app\n", {});
    row("the outer bundle stays", "/Applications/Foo.app\n/Applications/Foo.app/Contents/Foo.app\n",
        {foo});
    row("contents of two bundles", "/Applications/A.app/Contents/B.app/Contents/C.app\n", {});
    row("bundle in a bundle without contents", "/Applications/Foo.app/Wrapper/Bar.app\n",
        {u"Bar -> Location=/Applications/Foo.app/Wrapper/Bar.app"_s});
    row("letter case of the contents counts", "/Applications/Foo.app/contents/Bar.app\n",
        {u"Bar -> Location=/Applications/Foo.app/contents/Bar.app"_s});
    row("folder that begins like the contents", "/Applications/Foo.app/Contents2/Bar.app\n",
        {u"Bar -> Location=/Applications/Foo.app/Contents2/Bar.app"_s});
    row("the contents themselves are no nested bundle", "/Applications/Foo.app/Contents\n",
        {u"Contents -> Location=/Applications/Foo.app/Contents"_s});
}

void TestScanParser::bundlesInsideBundlesAreLeftOut()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseBundlePaths(output)), expected);
}

void TestScanParser::oneBundleOfANameStays_data()
{
    addColumns();
    row("of two under /Applications/ the later stays",
        "/Applications/Foo.app\n/Applications/Old/Foo.app\n",
        {u"Foo -> Location=/Applications/Old/Foo.app"_s});
    row("of two under /Applications/ the later stays, other order",
        "/Applications/Old/Foo.app\n/Applications/Foo.app\n", {foo});
    row("of three under /Applications/ the last stays",
        "/Applications/1/Foo.app\n/Applications/2/Foo.app\n/Applications/3/Foo.app\n",
        {u"Foo -> Location=/Applications/3/Foo.app"_s});
    row("of two elsewhere the first stays", "/opt/1/Foo.app\n/opt/2/Foo.app\n",
        {u"Foo -> Location=/opt/1/Foo.app"_s});
    row("later under /Applications/ replaces elsewhere", "/opt/Foo.app\n/Applications/Foo.app\n",
        {foo});
    row("elsewhere does not replace /Applications/", "/Applications/Foo.app\n/opt/Foo.app\n",
        {foo});
    row("/Applications/ must be at the start",
        "/opt/Foo.app\n/Users/me/Applications/Foo.app\n/System/Applications/Foo.app\n",
        {u"Foo -> Location=/opt/Foo.app"_s});
    row("/Applications/ must be the whole folder's name",
        "/opt/Foo.app\n/Applications2/Foo.app\n/Applications.app/Foo.app\n",
        {u"Foo -> Location=/opt/Foo.app"_s});
    row("letter case of /Applications/ counts", "/opt/Foo.app\n/applications/Foo.app\n",
        {u"Foo -> Location=/opt/Foo.app"_s});
    row("blank before /Applications/ is not at the start", "/opt/Foo.app\n /Applications/Foo.app\n",
        {u"Foo -> Location=/opt/Foo.app"_s});
    row("names are compared after the removal of .app",
        "/opt/My.appliance.app\n/opt/Myliance.app\n/Applications/Myliance.app\n",
        {u"Myliance -> Location=/Applications/Myliance.app"_s});
    row("nested bundle does not replace the bundle of its name",
        "/Applications/Bar.app\n/Applications/Foo.app/Contents/Bar.app\n",
        {u"Bar -> Location=/Applications/Bar.app"_s});
}

void TestScanParser::oneBundleOfANameStays()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseBundlePaths(output)), expected);
}

void TestScanParser::manyBundlePathsAreAllFound()
{
    QByteArray output;
    QStringList expected;
    for (int i = 0; i < 2'000; ++i) {
        const QString path = u"/Applications/Folder %1/Foo %2.app"_s.arg(i % 7).arg(i);
        output += path.toUtf8() + '\n';
        expected.append(u"Foo %1 -> Location="_s.arg(i) + path);
    }
    expected.sort();
    QCOMPARE(described(parseBundlePaths(output)), expected);
}

// The report of `system_profiler`

void TestScanParser::reportIsATitleAndBlocks_data()
{
    addColumns();
    row("no output", "", {});
    row("only the title", title, {});
    row("title without line feed", "Applications:", {});
    row("one application", title + fooBlock, onlyFoo);
    row("several keys", title + block("Foo", {"Version: 1.0", "Kind: Universal"}),
        {u"Foo -> Kind=Universal; Version=1.0"_s});
    row("several applications", title + fooBlock + block("Bar", {"Version: 2.0"}),
        {u"Bar -> Version=2.0"_s, u"Foo -> Version=1.0"_s});
    row("the first line is the title whatever it says", "Foo:\n\n  Version: 1.0\n", {});
    row("title directly above the first name", "Applications:\n" + fooBlock, onlyFoo);
    row("empty first line is the title", "\n" + fooBlock, onlyFoo);
    row("CRLF", "Applications:\r\n\r\n    Foo:\r\n\r\n      Version: 1.0\r\n\r\n", onlyFoo);
    row("no empty line at the end", "Applications:\n\n    Foo:\n\n      Version: 1.0\n", onlyFoo);
    row("no final line feed", "Applications:\n\n    Foo:\n\n      Version: 1.0", onlyFoo);
    row("cut short behind a name",
        title + fooBlock + "    Bar:", {u"Bar -> Version=1.0"_s, u"Foo -> Version=1.0"_s});
    row("cut short behind the empty line under the first name", title + QByteArray("    Foo:\n\n"),
        {});
    row("indented by tabs", "Applications:\n\n\tFoo:\n\n\t\tVersion: 1.0\t\n", onlyFoo);
    row("not indented", "Applications:\n\nFoo:\n\nVersion: 1.0\n", onlyFoo);
    row("byte that is no UTF-8", title + block("Caf\xE9", {"Version: 1.0\xFF"}),
        {u"Caf\uFFFD -> Version=1.0\uFFFD"_s});
    row("accents", title + block("Éditeur", {"Signed by: Développeur → Racine"}),
        {u"Éditeur -> Signed by=Développeur → Racine"_s});
}

void TestScanParser::reportIsATitleAndBlocks()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseSystemProfilerReport(output)), expected);
}

void TestScanParser::blocksBeginWithANameLine_data()
{
    addColumns();
    row("no line that ends in a colon", "Applications:\n\nFoo\nVersion 1.0\nKind: x\n", {});
    row("lines between the blocks are skipped",
        title + QByteArray("note\n\n") + fooBlock + "note: x\n", onlyFoo);
    row("blanks behind the name's colon", "Applications:\n\n    Foo:   \n\n  Version: 1.0\n",
        onlyFoo);
    row("colon inside the name", title + block("Foo: The App", {"Version: 1.0"}),
        {u"Foo: The App -> Version=1.0"_s});
    row("only the final colon goes", title + block("Foo:", {"Version: 1.0"}),
        {u"Foo: -> Version=1.0"_s});
    row("blank before the name's colon stays", title + block("Foo ", {"Version: 1.0"}),
        {u"Foo  -> Version=1.0"_s});
    row(".app in the name stays", title + block("Foo.app", {"Version: 1.0"}),
        {u"Foo.app -> Version=1.0"_s});
    row("name of a colon alone is empty", title + block("", {"Version: 1.0"}),
        {u" -> Version=1.0"_s});

    row("the line under the name is always dropped",
        title + QByteArray("    Foo:\n      Kind: x\n      Version: 1.0\n\n"), onlyFoo);
    row("two empty lines under the name end the block",
        title + QByteArray("    Foo:\n\n\n      Version: 1.0\n\n") + block("Bar", {"Version: 2.0"}),
        {u"Bar -> Version=2.0"_s});
    row("line of blanks ends the block",
        title + QByteArray("    Foo:\n\n      Version: 1.0\n   \t \n      Kind: x\n"), onlyFoo);
    row("name line without an empty line before it belongs to the block",
        title + QByteArray("    Foo:\n\n      Version: 1.0\n    Bar:\n      Kind: x\n\n"),
        {u"Foo -> Kind=x; Version=1.0"_s});
    row("name line right under a name is dropped",
        title + QByteArray("    Foo:\n    Bar:\n      Version: 1.0\n\n"), onlyFoo);
}

void TestScanParser::blocksBeginWithANameLine()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseSystemProfilerReport(output)), expected);
}

void TestScanParser::blockLinesAreKeysAndValues_data()
{
    addColumns();
    row("line without colon and blank is skipped",
        title + block("Foo", {"nothing", "a:b", "Kind:", "Version: 1.0"}), onlyFoo);
    row("first colon and blank separate", title + block("Foo", {"Get Info String: a: b: c"}),
        {u"Foo -> Get Info String=a: b: c"_s});
    row("colon without blank belongs to the key", title + block("Foo", {"a:b: c"}),
        {u"Foo -> a:b=c"_s});
    row("further blanks belong to the value", title + block("Foo", {"Version:   1.0"}),
        {u"Foo -> Version=  1.0"_s});
    row("blanks at the line's end do not", title + block("Foo", {"Version: 1.0   "}), onlyFoo);
    row("value with a note", title + block("Foo", {"Version: 1.2.3 (456)"}),
        {u"Foo -> Version=1.2.3 (456)"_s});
    row("empty key", title + block("Foo", {": x"}), {u"Foo -> =x"_s});
    row("key without a value is no pair, since the line is trimmed",
        title + block("Foo", {"Kind: ", "Version: 1.0"}), onlyFoo);
    row("letter case of a key counts", title + block("Foo", {"Kind: x", "kind: y"}),
        {u"Foo -> Kind=x; kind=y"_s});
    row("later value of one key stays", title + block("Foo", {"Version: 1.0", "Version: 2.0"}),
        {u"Foo -> Version=2.0"_s});
    row("value that ends in a colon", title + block("Foo", {"Get Info String: see:"}),
        {u"Foo -> Get Info String=see:"_s});
}

void TestScanParser::blockLinesAreKeysAndValues()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseSystemProfilerReport(output)), expected);
}

void TestScanParser::keysAreCarriedOver_data()
{
    addColumns();
    row("key that a block lacks is carried over",
        title + block("Foo", {"Version: 1.0", "Get Info String: info"}) +
            block("Bar", {"Version: 2.0"}),
        {u"Bar -> Get Info String=info; Version=2.0"_s,
         u"Foo -> Get Info String=info; Version=1.0"_s});
    row("key is carried over several blocks",
        title + block("A", {"Kind: x"}) + block("B", {"Version: 1"}) + block("C", {"Version: 2"}),
        {u"A -> Kind=x"_s, u"B -> Kind=x; Version=1"_s, u"C -> Kind=x; Version=2"_s});
    row("nothing is carried backwards", title + fooBlock + block("Bar", {"Kind: x"}),
        {u"Bar -> Kind=x; Version=1.0"_s, u"Foo -> Version=1.0"_s});
    row("block without any key shows what is carried over",
        title + fooBlock + block("Bar", {}) + block("Baz", {"Version: 3.0"}),
        {u"Bar -> Version=1.0"_s, u"Baz -> Version=3.0"_s, u"Foo -> Version=1.0"_s});
    row("first block without any key is no application",
        title + block("Foo", {}) + block("Bar", {"Version: 2.0"}), {u"Bar -> Version=2.0"_s});
    row("later block of one name replaces the earlier",
        title + block("Foo", {"Version: 1.0"}) + block("Foo", {"Version: 2.0"}),
        {u"Foo -> Version=2.0"_s});
    row("later block of one name has the carried over keys too",
        title + block("Foo", {"Version: 1.0", "Kind: x"}) + block("Foo", {"Version: 2.0"}),
        {u"Foo -> Kind=x; Version=2.0"_s});
}

void TestScanParser::keysAreCarriedOver()
{
    QFETCH(QByteArray, output);
    QFETCH(QStringList, expected);
    QCOMPARE(described(parseSystemProfilerReport(output)), expected);
}

void TestScanParser::wholeReport()
{
    const QByteArray output = R"(Applications:

    Synth:

      Version: 2.1
      Obtained from: Identified Developer
      Last Modified: 3/14/26, 09:26
      Kind: Universal
      Signed by: Developer ID Application: Example (AB12CD34EF), Example Authority
      Location: /Applications/Synth.app
      Get Info String: Synth 2.1, © 2026 Example

    Mixer:

      Version: 1.2.3 (456)
      Obtained from: App Store
      Last Modified: 1/2/26, 12:00
      Kind: Intel
      Location: /Applications/Audio/Mixer.app

)";
    const QHash<QString, QString> synth = {
        {u"Version"_s, u"2.1"_s},
        {u"Obtained from"_s, u"Identified Developer"_s},
        {u"Last Modified"_s, u"3/14/26, 09:26"_s},
        {u"Kind"_s, u"Universal"_s},
        {u"Signed by"_s, u"Developer ID Application: Example (AB12CD34EF), Example Authority"_s},
        {u"Location"_s, u"/Applications/Synth.app"_s},
        {u"Get Info String"_s, u"Synth 2.1, © 2026 Example"_s}};
    QHash<QString, QString> mixer = synth;
    mixer.insert({{u"Version"_s, u"1.2.3 (456)"_s},
                  {u"Obtained from"_s, u"App Store"_s},
                  {u"Last Modified"_s, u"1/2/26, 12:00"_s},
                  {u"Kind"_s, u"Intel"_s},
                  {u"Location"_s, u"/Applications/Audio/Mixer.app"_s}});
    QCOMPARE(parseSystemProfilerReport(output),
             PropertyMap({{u"Synth"_s, synth}, {u"Mixer"_s, mixer}}));
}

void TestScanParser::nothingIsCarriedOverFromOneReportToTheNext()
{
    const QByteArray first = title + block("Foo", {"Kind: x"});
    const QByteArray second = title + block("Bar", {"Version: 2.0"});
    QCOMPARE(described(parseSystemProfilerReport(first)), QStringList{u"Foo -> Kind=x"_s});
    QCOMPARE(described(parseSystemProfilerReport(second)), QStringList{u"Bar -> Version=2.0"_s});
}

QTEST_APPLESS_MAIN(TestScanParser)
#include "tst_scanparser.moc"
