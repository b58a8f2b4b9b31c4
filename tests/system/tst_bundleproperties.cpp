#include "system/sysprofiler.h"

#include "support/propertylist.h"
#include "support/samplemachine.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QTest>
#include <QThread>

#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString shortKey = u"CFBundleShortVersionString"_s;
const QString longKey = u"CFBundleLongVersionString"_s;

/// A key and the element behind it.
QByteArray entry(const QByteArray& key, const QByteArray& element)
{
    return "<key>" + key + "</key>" + element;
}

QByteArray text(const QByteArray& value)
{
    return "<string>" + value + "</string>";
}

QByteArray shortVersion(const QByteArray& value)
{
    return entry("CFBundleShortVersionString", text(value));
}

QByteArray longVersion(const QByteArray& value)
{
    return entry("CFBundleLongVersionString", text(value));
}

QString unreadable(const QString& name, const QString& plist)
{
    return u"[WARNING] SysProfiler - Cannot read version for '"_s + name + u"' — plist: "_s + plist;
}

QString tryingPlutil(const QString& plist)
{
    return u"[INFO] XML parsing failed for "_s + plist + u", trying plutil..."_s;
}

QStringList plutilArguments(const QString& key, const QString& plist)
{
    return {u"-extract"_s, key, u"raw"_s, plist};
}

} // namespace

class TestBundleProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup() { m_machine.reset(); }

    void xmlValueIsReadWithoutPlutil_data();
    void xmlValueIsReadWithoutPlutil();
    void keyMustBeEqual_data();
    void keyMustBeEqual();
    void lastValueOfTheKeyCountsHoweverDeep_data();
    void lastValueOfTheKeyCountsHoweverDeep();
    void unreadableXmlIsGivenToPlutil_data();
    void unreadableXmlIsGivenToPlutil();
    void valueReadBeforeTheXmlBreaksStays_data();
    void valueReadBeforeTheXmlBreaksStays();
    void fileThatCannotBeOpenedIsEmptyAtOnce_data();
    void fileThatCannotBeOpenedIsEmptyAtOnce();
    void namedPipeIsEmptyAtOnce();
    void linkToAPlistIsFollowed();
    void binaryPlistIsReadByPlutil();
    void plutilGetsKeyAndPathAsTheyStand_data();
    void plutilGetsKeyAndPathAsTheyStand();
    void plutilOutputIsTrimmedUtf8_data();
    void plutilOutputIsTrimmedUtf8();
    void failingPlutilYieldsAnEmptyText_data();
    void failingPlutilYieldsAnEmptyText();
    void failureIsKnownHoweverItsPathIsComposed_data();
    void failureIsKnownHoweverItsPathIsComposed();
    void missingPlutilYieldsAnEmptyText();

    void versionOfAnXmlPlist_data();
    void versionOfAnXmlPlist();
    void versionOfABinaryPlist();
    void longVersionOfABinaryPlist();
    void binaryPlistWithoutAVersionIsWarnedOf();
    void bothKeysOfABinaryPlistAreAskedFor();
    void onlyGetVersionShortens();
    void plistPathIsTheLocationWithContentsBehindIt();
    void missingPlistIsWarnedOfOnce();
    void bundleThatIsMissingIsWarnedOf();
    void emptyVersionIsWarnedOf();
    void unknownNameIsWarnedOfWithABarePath();
    void readableVersionLogsNothing();
    void bundleIsReadOncePerScan();
    void emptyVersionIsCachedToo();
    void everyNameHasItsOwnVersion();
    void warningComesAgainAfterTheNextScan();
    void warningComesAgainAfterClearing();
    void nothingIsReadDuringTheScan();
    void systemReportReadsNoBundle();
    void cacheIsNotUsedForTheSystemReport();
    void versionIsReadUnderTheLock();

private:
    [[nodiscard]] SampleMachine& machine() { return *m_machine; }
    /// The path of a file "Info.plist" with the content.
    [[nodiscard]] QString plist(const QByteArray& content);
    /// Installs "Foo" with an Info.plist and scans.
    void scanFooWith(SysProfiler& profiler, const QByteArray& infoPlist);
    [[nodiscard]] QString fooPlist() { return machine().location(u"Foo"_s) + infoPlist; }

    const QString infoPlist = u"/Contents/Info.plist"_s;
    std::optional<SampleMachine> m_machine;
};

void TestBundleProperties::initTestCase()
{
    // The log is read from its file.
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
}

void TestBundleProperties::init()
{
    m_machine.emplace();
    machine().answer(u"plutil"_s, "from plutil\n");
}

QString TestBundleProperties::plist(const QByteArray& content)
{
    return machine().home().write(u"Info.plist"_s, content);
}

void TestBundleProperties::scanFooWith(SysProfiler& profiler, const QByteArray& infoPlistContent)
{
    machine().list({machine().putBundle(u"Foo"_s, infoPlistContent)});
    profiler.update();
    machine().takeLog();
}

// One value of one property list

void TestBundleProperties::xmlValueIsReadWithoutPlutil_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("value");

    const auto row = [](const char* what, const QByteArray& content, const QString& value) {
        QTest::newRow(what) << content << value;
    };
    const QByteArray other = entry("Other", text("x"));

    row("key and text", xmlPlist(shortVersion("2.0.1")), u"2.0.1"_s);
    row("among other keys", xmlPlist(other + shortVersion("2.0.1") + other), u"2.0.1"_s);
    row("key is lacking", xmlPlist(other), {});
    row("empty dictionary", xmlPlist(""), {});
    row("without DOCTYPE and declaration",
        "<plist><dict>" + shortVersion("2.0.1") + "</dict></plist>", u"2.0.1"_s);
    row("DOCTYPE with an internal subset",
        "<!DOCTYPE plist [<!ENTITY v \"2.0.1\">]>\n<plist><dict>" + shortVersion("&v;") +
            "</dict></plist>",
        u"2.0.1"_s);
    row("other root element", "<dict>" + shortVersion("2.0.1") + "</dict>", u"2.0.1"_s);
    row("byte order mark", "\xEF\xBB\xBF" + xmlPlist(shortVersion("2.0.1")), u"2.0.1"_s);
    row("CRLF", xmlPlist("\n" + shortVersion("2.0.1")).replace("\n", "\r\n"), u"2.0.1"_s);
    row("one line", xmlPlist(shortVersion("2.0.1")).replace('\n', ' '), u"2.0.1"_s);
    row("comments and blanks between key and value",
        xmlPlist(entry("CFBundleShortVersionString", "\n <!-- note -->\n" + text("2.0.1"))),
        u"2.0.1"_s);
    row("comment inside the value", xmlPlist(shortVersion("2.0<!-- note -->.1")), u"2.0.1"_s);
    row("text with a note stays whole", xmlPlist(shortVersion("2.0.1 build 7")),
        u"2.0.1 build 7"_s);
    row("blanks around the value stay", xmlPlist(shortVersion("  2.0.1\n")), u"  2.0.1\n"_s);
    row("entities", xmlPlist(shortVersion("1 &lt;&amp;&gt; &#50;")), u"1 <&> 2"_s);
    row("CDATA", xmlPlist(shortVersion("<![CDATA[<2>]]>.0")), u"<2>.0"_s);
    row("accents", xmlPlist(shortVersion("2.0 bêta — α")), u"2.0 bêta — α"_s);
    row("Latin-1 as the declaration says",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><dict>" + shortVersion("b\xEAta") +
            "</dict>",
        u"bêta"_s);
    row("integer", xmlPlist(entry("CFBundleShortVersionString", "<integer>7</integer>")), u"7"_s);
    row("real", xmlPlist(entry("CFBundleShortVersionString", "<real>1.5</real>")), u"1.5"_s);
    row("element of any name", xmlPlist(entry("CFBundleShortVersionString", "<v>3</v>")), u"3"_s);
    row("truth value is empty", xmlPlist(entry("CFBundleShortVersionString", "<true/>")), {});
    row("empty text", xmlPlist(shortVersion("")), {});
    row("empty element", xmlPlist(entry("CFBundleShortVersionString", "<string/>")), {});
}

void TestBundleProperties::xmlValueIsReadWithoutPlutil()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, value);
    QCOMPARE(SysProfiler::findPlistValue(plist(content), shortKey), value);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::keyMustBeEqual_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("value");

    const auto row = [](const char* what, const QByteArray& content, const QString& value) {
        QTest::newRow(what) << xmlPlist(content) << value;
    };
    row("letter case of the key counts", entry("CFBundleShortVersionstring", text("x")), {});
    row("key must be equal, not begin so", entry("CFBundleShortVersionStringX", text("x")), {});
    row("blanks around the key count", entry(" CFBundleShortVersionString ", text("x")), {});
    row("key in CDATA and with entities",
        entry("<![CDATA[CFBundle]]>ShortVersionStrin&#103;", text("2.0")), u"2.0"_s);
    row("letter case of the key's element counts",
        "<KEY>CFBundleShortVersionString</KEY>" + text("x"), {});
    row("the wanted key as another key's value",
        entry("Other", text("CFBundleShortVersionString")) + text("x"), {});
    row("only the first element behind the key", shortVersion("1.0") + text("x"), u"1.0"_s);
    row("key at the end without a value",
        entry("Other", text("x")) + "<key>CFBundleShortVersionString</key>", {});
    row("key without a value takes the next key's",
        entry("CFBundleShortVersionString", "") + entry("Other", text("x")), u"x"_s);
}

void TestBundleProperties::keyMustBeEqual()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, value);
    QCOMPARE(SysProfiler::findPlistValue(plist(content), shortKey), value);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::lastValueOfTheKeyCountsHoweverDeep_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("value");

    const auto row = [](const char* what, const QByteArray& content, const QString& value) {
        QTest::newRow(what) << xmlPlist(content) << value;
    };
    row("later value of the key wins", shortVersion("1.0") + shortVersion("2.0"), u"2.0"_s);
    row("later value in a nested dictionary wins",
        shortVersion("1.0") + entry("Nested", "<dict>" + shortVersion("2.0") + "</dict>"),
        u"2.0"_s);
    row("later value behind a nested dictionary wins",
        entry("Nested", "<dict>" + shortVersion("2.0") + "</dict>") + shortVersion("1.0"),
        u"1.0"_s);
    row("only in a nested dictionary", entry("Nested", "<dict>" + shortVersion("2.0") + "</dict>"),
        u"2.0"_s);
    row("in a dictionary inside a list",
        entry("List", "<array><dict>" + shortVersion("2.0") + "</dict></array>"), u"2.0"_s);
    row("later empty value wins too", shortVersion("1.0") + shortVersion(""), {});
    row("other keys' dictionaries and lists do no harm",
        entry("A", "<dict>" + entry("B", "<array><true/></array>") + "</dict>") +
            shortVersion("1.0") + entry("C", "<dict/>"),
        u"1.0"_s);
}

void TestBundleProperties::lastValueOfTheKeyCountsHoweverDeep()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, value);
    QCOMPARE(SysProfiler::findPlistValue(plist(content), shortKey), value);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::unreadableXmlIsGivenToPlutil_data()
{
    QTest::addColumn<QByteArray>("content");

    const auto row = [](const char* what, const QByteArray& content) {
        QTest::newRow(what) << content;
    };
    const QByteArray key = "CFBundleShortVersionString";
    const QByteArray whole = xmlPlist(shortVersion("2.0.1"));

    row("empty file", "");
    row("blanks only", " \n\n");
    row("no XML", "CFBundleShortVersionString = 1.0;\n");
    row("binary", binaryPlist(key, "2.0.1"));
    row("zero bytes", QByteArray(64, '\0'));
    row("cut behind the declaration", whole.first(whole.indexOf("?>") + 2));
    row("cut inside the key", whole.first(whole.indexOf("ShortVersion")));
    row("cut behind the key", whole.first(whole.indexOf("</key>") + 6));
    row("cut inside the value's tag", whole.first(whole.indexOf("<string>") + 4));
    row("cut inside the value", whole.first(whole.indexOf(".1</string>")));
    row("cut before the value", whole.first(whole.indexOf("<string>") + 8));
    row("cut and the key is lacking", "<dict>" + entry("Other", text("x")));
    row("wrong end tag before the key", "<dict><a></b>" + shortVersion("2.0.1") + "</dict>");
    row("byte that is no UTF-8 before the key",
        "<dict>" + entry("Other", text("\xFF\xFE")) + shortVersion("2.0.1") + "</dict>");
    row("entity that nobody knows", "<dict>" + shortVersion("&unknown;") + "</dict>");
    row("value is a dictionary", xmlPlist(entry(key, "<dict>" + longVersion("1") + "</dict>")));
    row("value is a dictionary on lines of its own",
        xmlPlist(entry(key, "\n  <dict>\n    " + longVersion("1") + "\n  </dict>")));
    row("later value of the key is a dictionary",
        xmlPlist(shortVersion("1.0") + entry(key, "<dict>" + longVersion("1") + "</dict>")));
    row("value is a list", xmlPlist(entry(key, "<array>" + text("1") + "</array>")));
    row("value is a list on lines of its own",
        xmlPlist(entry(key, "\n  <array>\n    " + text("1") + "\n  </array>")));
    row("value holds text and an element", xmlPlist(shortVersion("2.0<b>1</b>")));
    row("key holds an element", xmlPlist("<key>CFBundle<b/>Name</key>" + shortVersion("2.0")));
    row("two root elements", "<dict>" + entry("Other", text("x")) + "</dict><dict/>");
}

void TestBundleProperties::unreadableXmlIsGivenToPlutil()
{
    QFETCH(QByteArray, content);
    const QString path = plist(content);
    QCOMPARE(SysProfiler::findPlistValue(path, shortKey), u"from plutil"_s);
    QCOMPARE(machine().takeLog(), QStringList{tryingPlutil(path)});
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>{plutilArguments(shortKey, path)});
}

void TestBundleProperties::valueReadBeforeTheXmlBreaksStays_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("value");

    const QByteArray whole = xmlPlist(shortVersion("2.0.1"));
    QTest::newRow("cut behind the value")
        << whole.first(whole.indexOf("</string>") + 9) << u"2.0.1"_s;
    QTest::newRow("cut before the end") << whole.chopped(4) << u"2.0.1"_s;
    QTest::newRow("cut inside the value's end tag")
        << whole.first(whole.indexOf("ring>\n</dict>")) << u"2.0.1"_s;
    QTest::newRow("wrong end tag behind the value")
        << QByteArray("<dict>" + shortVersion("2.0.1") + "</plist>") << u"2.0.1"_s;
    QTest::newRow("rubbish behind the root") << QByteArray(whole + "<<<") << u"2.0.1"_s;
}

void TestBundleProperties::valueReadBeforeTheXmlBreaksStays()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, value);
    QCOMPARE(SysProfiler::findPlistValue(plist(content), shortKey), value);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::fileThatCannotBeOpenedIsEmptyAtOnce_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("missing file") << u"missing.plist"_s;
    QTest::newRow("missing folder") << u"missing/Info.plist"_s;
    QTest::newRow("a folder") << u"folder"_s;
    QTest::newRow("a file where a folder should be") << u"file/Info.plist"_s;
    QTest::newRow("link to nothing") << u"dangling"_s;
    QTest::newRow("link to a folder") << u"link-to-folder"_s;
    QTest::newRow("empty path") << QString();
}

void TestBundleProperties::fileThatCannotBeOpenedIsEmptyAtOnce()
{
    QFETCH(QString, path);
    const QDir home(machine().home().path());
    QVERIFY(home.mkdir(u"folder"_s));
    machine().home().write(u"file"_s, {});
    QVERIFY(QFile::link(home.filePath(u"nowhere"_s), home.filePath(u"dangling"_s)));
    QVERIFY(QFile::link(home.filePath(u"folder"_s), home.filePath(u"link-to-folder"_s)));

    const QString fullPath = path.isEmpty() ? path : home.filePath(path);
    QCOMPARE(SysProfiler::findPlistValue(fullPath, shortKey), QString());
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::namedPipeIsEmptyAtOnce()
{
    const QString path = machine().home().path() + "/pipe"_L1;
    const QByteArray nativePath = path.toLocal8Bit();
    QCOMPARE(::mkfifo(nativePath.constData(), 0600), 0);
    QString value = u"not asked"_s;
    const std::unique_ptr<QThread> asking(
        QThread::create([&value, &path] { value = SysProfiler::findPlistValue(path, shortKey); }));
    asking->start();
    const bool answered = asking->wait(10'000);
    if (!answered) {
        // A writer that comes and goes ends the wait.
        ::close(::open(nativePath.constData(), O_WRONLY | O_NONBLOCK));
        asking->wait();
    }
    QVERIFY2(answered, "waited for somebody to write into the pipe");
    QCOMPARE(value, QString());
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::linkToAPlistIsFollowed()
{
    const QString link = machine().home().path() + "/link.plist"_L1;
    QVERIFY(QFile::link(plist(xmlPlist(shortVersion("2.0.1"))), link));
    QCOMPARE(SysProfiler::findPlistValue(link, shortKey), u"2.0.1"_s);
}

void TestBundleProperties::binaryPlistIsReadByPlutil()
{
    machine().standIns().addPlutil();
    const QString path = plist(binaryPlist(shortKey.toLatin1(), "3.1.4 (15)"));
    QCOMPARE(SysProfiler::findPlistValue(path, shortKey), u"3.1.4 (15)"_s);
    QCOMPARE(SysProfiler::findPlistValue(path, longKey), QString());
    QCOMPARE(machine().takeLog(), QStringList({tryingPlutil(path), tryingPlutil(path)}));
}

void TestBundleProperties::plutilGetsKeyAndPathAsTheyStand_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("name");

    QTest::newRow("plain") << shortKey << u"Info.plist"_s;
    QTest::newRow("other key") << u"CFBundleName"_s << u"Info.plist"_s;
    QTest::newRow("blanks") << u"A key"_s << u"My Foo 2.app/Info.plist"_s;
    QTest::newRow("quotes and signs") << u"$HOME"_s << u"it's \"5\" & $1;*.plist"_s;
    QTest::newRow("accents") << u"Clé"_s << u"Éditeur.app/Info.plist"_s;
    QTest::newRow("place holders") << u"%1"_s << u"%2 %L1.plist"_s;
    QTest::newRow("empty key") << u""_s << u"Info.plist"_s;
}

void TestBundleProperties::plutilGetsKeyAndPathAsTheyStand()
{
    QFETCH(QString, key);
    QFETCH(QString, name);
    const QString path = machine().home().write(name, "no XML");
    QCOMPARE(SysProfiler::findPlistValue(path, key), u"from plutil"_s);
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>{plutilArguments(key, path)});
    QCOMPARE(machine().takeLog(), QStringList{tryingPlutil(path)});
}

void TestBundleProperties::plutilOutputIsTrimmedUtf8_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("value");

    QTest::newRow("final line feed") << QByteArray("2.0\n") << u"2.0"_s;
    QTest::newRow("no final line feed") << QByteArray("2.0") << u"2.0"_s;
    QTest::newRow("white space around") << QByteArray(" \t2.0 beta\r\n\n") << u"2.0 beta"_s;
    QTest::newRow("white space inside stays") << QByteArray("a  b\nc\n") << u"a  b\nc"_s;
    QTest::newRow("accents") << QByteArray("2.0 bêta\n") << u"2.0 bêta"_s;
    QTest::newRow("byte that is no UTF-8") << QByteArray("2.0 \xFF\n") << u"2.0 \uFFFD"_s;
    QTest::newRow("nothing") << QByteArray() << QString();
    QTest::newRow("only a line feed") << QByteArray("\n") << QString();
}

void TestBundleProperties::plutilOutputIsTrimmedUtf8()
{
    QFETCH(QByteArray, output);
    QFETCH(QString, value);
    machine().answer(u"plutil"_s, output);
    QCOMPARE(SysProfiler::findPlistValue(plist("no XML"), shortKey), value);
}

void TestBundleProperties::failingPlutilYieldsAnEmptyText_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("said"); // %1 stands for the path
    QTest::addColumn<QString>("value");

    const auto row = [](const char* what, const QString& name, const QString& said,
                        const QString& value = {}) {
        QTest::newRow(what) << name << said << value;
    };
    const QString noValue = u"%1: Could not extract value, error: No value at that key path\n"_s;
    row("no such key", u"Info.plist"_s, noValue);
    row("without a final line feed", u"Info.plist"_s, noValue.chopped(1));
    row("damaged file", u"Info.plist"_s, u"%1: Property List error: Unexpected character b\n"_s);
    row("file that cannot be read", u"Info.plist"_s,
        u"%1: file does not exist or is not readable or is not a regular file "
        "(Error Domain=NSCocoaErrorDomain Code=260)\n"_s);
    row("blanks in the path", u"My Foo 2.app/Info.plist"_s, noValue);
    row("colons in the path", u"Foo: 2.app/Info.plist"_s, noValue);
    row("accents in the path", u"Éditeur.app/Info.plist"_s, noValue);
    row("place holders in the path", u"%2 %L1.plist"_s, noValue);
    row("other letters in the path", u"編集.app/Info.plist"_s, noValue);
    row("it says nothing", u"Info.plist"_s, {});
    // What does not begin with the path, a colon and a blank is the value.
    row("value that ends with the path", u"Info.plist"_s, u"2.0 %1: a\n"_s, u"2.0 %1: a"_s);
    row("value that is the path", u"Info.plist"_s, u"%1\n"_s, u"%1"_s);
    row("value that goes on without a blank", u"Info.plist"_s, u"%1:2.0\n"_s, u"%1:2.0"_s);
    row("value that goes on without a colon", u"Info.plist"_s, u"%1 2.0\n"_s, u"%1 2.0"_s);
    row("value with another path", u"Info.plist"_s, u"Info.plist: 2.0\n"_s, u"Info.plist: 2.0"_s);
}

void TestBundleProperties::failingPlutilYieldsAnEmptyText()
{
    QFETCH(QString, name);
    QFETCH(QString, said);
    QFETCH(QString, value);
    const QString path = machine().home().write(name, "no XML");
    machine().answer(u"plutil"_s, said.replace(u"%1"_s, path).toUtf8());
    QCOMPARE(SysProfiler::findPlistValue(path, shortKey), value.replace(u"%1"_s, path));
    QCOMPARE(machine().takeLog(), QStringList{tryingPlutil(path)});
}

void TestBundleProperties::failureIsKnownHoweverItsPathIsComposed_data()
{
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("said");

    // Qt decomposes what it hands to a Mac's program; the scan keeps what the file system holds.
    QTest::newRow("precomposed, said decomposed")
        << int(QString::NormalizationForm_C) << int(QString::NormalizationForm_D);
    QTest::newRow("decomposed, said precomposed")
        << int(QString::NormalizationForm_D) << int(QString::NormalizationForm_C);
}

void TestBundleProperties::failureIsKnownHoweverItsPathIsComposed()
{
    QFETCH(int, asked);
    QFETCH(int, said);
    const QString name = u"Éphélidion.app/Info.plist"_s;
    const QString path = machine().home().write(
        name.normalized(static_cast<QString::NormalizationForm>(asked)), "no XML");
    const QString other = path.normalized(static_cast<QString::NormalizationForm>(said));
    QVERIFY(other != path);
    machine().answer(u"plutil"_s, (other + ": Could not extract value, error: x\n"_L1).toUtf8());
    QCOMPARE(SysProfiler::findPlistValue(path, shortKey), QString());
}

void TestBundleProperties::missingPlutilYieldsAnEmptyText()
{
    machine().withdrawCommands();
    const QString path = plist("no XML");
    QCOMPARE(SysProfiler::findPlistValue(path, shortKey), QString());
    QCOMPARE(machine().takeLog(), QStringList{tryingPlutil(path)});
}

// The version of an application

void TestBundleProperties::versionOfAnXmlPlist_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("whole");
    QTest::addColumn<QString>("version");

    const auto row = [](const char* what, const QByteArray& content, const QString& whole,
                        const QString& version) {
        QTest::newRow(what) << xmlPlist(content) << whole << version;
    };
    row("short version", shortVersion("2.0.1"), u"2.0.1"_s, u"2.0.1"_s);
    row("first word only", shortVersion("2.0.1 build 7"), u"2.0.1 build 7"_s, u"2.0.1"_s);
    row("note in brackets", shortVersion("1.2.3 (456)"), u"1.2.3 (456)"_s, u"1.2.3"_s);
    row("note without a blank", shortVersion("1.2.3(456)"), u"1.2.3(456)"_s, u"1.2.3(456)"_s);
    row("first word is no number", shortVersion("Version 2"), u"Version 2"_s, u"Version"_s);
    row("only a blank separates words", shortVersion("1.0\tbeta\n2"), u"1.0\tbeta\n2"_s,
        u"1.0\tbeta\n2"_s);
    row("no-break space does not", shortVersion("1.0\u00A0b"), u"1.0\u00A0b"_s, u"1.0\u00A0b"_s);
    row("blank at the start leaves nothing", shortVersion(" 1.0"), u" 1.0"_s, {});
    row("blank at the end", shortVersion("1.0 "), u"1.0 "_s, u"1.0"_s);
    row("short before long", longVersion("9.9") + shortVersion("1.0"), u"1.0"_s, u"1.0"_s);
    row("long when short is lacking", longVersion("3.0 final"), u"3.0 final"_s, u"3.0"_s);
    row("long when short is empty", shortVersion("") + longVersion("3.0"), u"3.0"_s, u"3.0"_s);
    row("blanks alone are not empty", shortVersion(" ") + longVersion("3.0"), u" "_s, {});
    row("neither", entry("CFBundleVersion", text("77")), {}, {});
}

void TestBundleProperties::versionOfAnXmlPlist()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, whole);
    QFETCH(QString, version);
    SysProfiler profiler;
    scanFooWith(profiler, content);
    QCOMPARE(profiler.findPlistVersion(u"Foo"_s), whole);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(profiler.getVersion(u"Foo"_s), version);
    QCOMPARE(machine().takeLog(),
             version.isEmpty() ? QStringList{unreadable(u"Foo"_s, fooPlist())} : QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::versionOfABinaryPlist()
{
    machine().standIns().addPlutil();
    SysProfiler profiler;
    scanFooWith(profiler, binaryPlist(shortKey.toLatin1(), "3.1.4 (15)"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"3.1.4"_s);
    QCOMPARE(machine().takeLog(), QStringList{tryingPlutil(fooPlist())});
}

void TestBundleProperties::longVersionOfABinaryPlist()
{
    machine().standIns().addPlutil();
    SysProfiler profiler;
    scanFooWith(profiler, binaryPlist(longKey.toLatin1(), "4.0 final"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"4.0"_s);
    QCOMPARE(machine().takeLog(),
             QStringList({tryingPlutil(fooPlist()), tryingPlutil(fooPlist())}));
}

void TestBundleProperties::binaryPlistWithoutAVersionIsWarnedOf()
{
    machine().standIns().addPlutil();
    SysProfiler profiler;
    scanFooWith(profiler, binaryPlist("CFBundleVersion", "77"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    QCOMPARE(machine().takeLog(), QStringList({tryingPlutil(fooPlist()), tryingPlutil(fooPlist()),
                                               unreadable(u"Foo"_s, fooPlist())}));
}

void TestBundleProperties::bothKeysOfABinaryPlistAreAskedFor()
{
    machine().answer(u"plutil"_s,
                     fooPlist().toUtf8() + ": Could not extract value, error: No value\n");
    SysProfiler profiler;
    scanFooWith(profiler, binaryPlist("CFBundleVersion", "77"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    QCOMPARE(machine().calls(u"plutil"_s),
             QList<QStringList>(
                 {plutilArguments(shortKey, fooPlist()), plutilArguments(longKey, fooPlist())}));
    QCOMPARE(machine().takeLog(), QStringList({tryingPlutil(fooPlist()), tryingPlutil(fooPlist()),
                                               unreadable(u"Foo"_s, fooPlist())}));
}

void TestBundleProperties::onlyGetVersionShortens()
{
    machine().answer(u"plutil"_s, "  1.2.3 (456) \n");
    SysProfiler profiler;
    scanFooWith(profiler, binaryPlist(shortKey.toLatin1(), "1.2.3 (456)"));
    QCOMPARE(profiler.findPlistVersion(u"Foo"_s), u"1.2.3 (456)"_s);
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.2.3"_s);
}

void TestBundleProperties::plistPathIsTheLocationWithContentsBehindIt()
{
    const QString location = machine().putBundle(u"It's 100 %1"_s, versionPlist("1.0"));
    machine().list({location, location + "/Wrapper/Bar.app"_L1});
    SysProfiler profiler;
    profiler.update();
    machine().takeLog();
    QCOMPARE(profiler.getVersion(u"It's 100 %1"_s), u"1.0"_s);
    QCOMPARE(profiler.getVersion(u"Bar"_s), QString());
    QCOMPARE(machine().takeLog(),
             QStringList{unreadable(u"Bar"_s, location + "/Wrapper/Bar.app"_L1 + infoPlist)});
}

void TestBundleProperties::missingPlistIsWarnedOfOnce()
{
    const QString bundle = machine().location(u"Foo"_s);
    QVERIFY(QDir().mkpath(bundle + "/Contents"_L1));
    machine().list({bundle});
    SysProfiler profiler;
    profiler.update();
    machine().takeLog();
    for (int time = 0; time < 3; ++time) {
        QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    }
    QCOMPARE(machine().takeLog(), QStringList{unreadable(u"Foo"_s, bundle + infoPlist)});
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
    QCOMPARE(profiler.size(), 1);
}

void TestBundleProperties::bundleThatIsMissingIsWarnedOf()
{
    machine().list({machine().location(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    machine().takeLog();
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    QCOMPARE(machine().takeLog(), QStringList{unreadable(u"Foo"_s, fooPlist())});
}

void TestBundleProperties::emptyVersionIsWarnedOf()
{
    SysProfiler profiler;
    scanFooWith(profiler, versionPlist(""));
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    QCOMPARE(machine().takeLog(), QStringList{unreadable(u"Foo"_s, fooPlist())});
}

void TestBundleProperties::unknownNameIsWarnedOfWithABarePath()
{
    SysProfiler profiler;
    scanFooWith(profiler, versionPlist("1.0"));
    QCOMPARE(profiler.findPlistVersion(u"Fo"_s), QString());
    QCOMPARE(profiler.size(), 1);
    for (int time = 0; time < 3; ++time) {
        QCOMPARE(profiler.getVersion(u"Fo"_s), QString());
    }
    QCOMPARE(machine().takeLog(), QStringList{unreadable(u"Fo"_s, infoPlist)});
    QCOMPARE(profiler.size(), 2);
    QCOMPARE(profiler.find(u""_s), QStringList({u"Fo"_s, u"Foo"_s}));
    QVERIFY(profiler.getLocation(u"Fo"_s).isEmpty());
}

void TestBundleProperties::readableVersionLogsNothing()
{
    SysProfiler profiler;
    scanFooWith(profiler, versionPlist("1.0"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(profiler.size(), 1);
}

void TestBundleProperties::bundleIsReadOncePerScan()
{
    SysProfiler profiler;
    scanFooWith(profiler, versionPlist("1.0"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    machine().putBundle(u"Foo"_s, versionPlist("2.0"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    QCOMPARE(profiler.findPlistVersion(u"Foo"_s), u"2.0"_s);
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    profiler.update();
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"2.0"_s);
}

void TestBundleProperties::emptyVersionIsCachedToo()
{
    machine().list({machine().location(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    machine().putBundle(u"Foo"_s, versionPlist("1.0"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    profiler.update();
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
}

void TestBundleProperties::everyNameHasItsOwnVersion()
{
    machine().list({machine().putBundle(u"Foo"_s, versionPlist("1.0")),
                    machine().putBundle(u"Foo Pro"_s, versionPlist("2.0")),
                    machine().putBundle(u"foo 2"_s, versionPlist("3.0"))});
    SysProfiler profiler;
    profiler.update();
    for (int time = 0; time < 2; ++time) {
        QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
        QCOMPARE(profiler.getVersion(u"foo 2"_s), u"3.0"_s);
        QCOMPARE(profiler.getVersion(u"Foo Pro"_s), u"2.0"_s);
    }
}

void TestBundleProperties::warningComesAgainAfterTheNextScan()
{
    machine().list({machine().location(u"Foo"_s)});
    SysProfiler profiler;
    for (int scan = 0; scan < 2; ++scan) {
        profiler.update();
        machine().takeLog();
        QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
        QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
        QCOMPARE(machine().takeLog(), QStringList{unreadable(u"Foo"_s, fooPlist())});
    }
}

void TestBundleProperties::warningComesAgainAfterClearing()
{
    SysProfiler profiler;
    scanFooWith(profiler, versionPlist("1.0"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    profiler.clear();
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    profiler.clear();
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    QCOMPARE(machine().takeLog(),
             QStringList({unreadable(u"Foo"_s, infoPlist), unreadable(u"Foo"_s, infoPlist)}));
}

void TestBundleProperties::nothingIsReadDuringTheScan()
{
    machine().list({machine().putBundle(u"Foo"_s, "no XML"), machine().location(u"Bar"_s)});
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
    QCOMPARE(machine().takeLog(u"WARNING"_s), QStringList());
    QCOMPARE(machine().takeLog(u"plutil"_s), QStringList());
}

void TestBundleProperties::systemReportReadsNoBundle()
{
    const QString location = machine().putBundle(u"Foo"_s, "no XML");
    machine().answer(u"system_profiler"_s, "Applications:\n\n    Foo:\n\n      Version: 1.0 x\n"
                                           "      Location: " +
                                               location.toUtf8() + "\n\n");
    SysProfiler profiler(SysProfiler::SYSTEM_PROFILER);
    profiler.update();
    machine().takeLog();
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0 x"_s);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(machine().calls(u"plutil"_s), QList<QStringList>());
}

void TestBundleProperties::cacheIsNotUsedForTheSystemReport()
{
    SysProfiler profiler;
    scanFooWith(profiler, versionPlist("1.0"));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    profiler.changeEngine(SysProfiler::SYSTEM_PROFILER);
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    profiler.changeEngine(SysProfiler::FIND);
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    QCOMPARE(machine().takeLog(), QStringList());
}

void TestBundleProperties::versionIsReadUnderTheLock()
{
    SysProfiler profiler;
    scanFooWith(profiler, "no XML");
    const HeldCommand plutil(machine(), u"plutil"_s);
    const std::unique_ptr<QThread> reading(
        QThread::create([&profiler] { (void)profiler.getVersion(u"Foo"_s); }));
    reading->start();
    QTRY_COMPARE(machine().calls(u"plutil"_s).size(), 1);
    const std::unique_ptr<QThread> asking(QThread::create([&profiler] { (void)profiler.size(); }));
    asking->start();
    const bool answeredMeanwhile = asking->wait(100);
    plutil.release();
    reading->wait();
    asking->wait();
    QVERIFY(!answeredMeanwhile);
}

QTEST_GUILESS_MAIN(TestBundleProperties)
#include "tst_bundleproperties.moc"
