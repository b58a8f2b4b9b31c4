// What packages are made of: pbzx, PackageInfo, Distribution, the heads of programs.

#include "companion/installer/machoheader.h"
#include "companion/installer/packagetext.h"
#include "companion/installer/pbzx.h"

#include <QTest>
#include <QtEndian>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// "Hello, xz\n" as `xz` packs it.
const QByteArray packedText = QByteArray::fromHex("fd377a585a000004e6d6b4460200210116000000742fe5a3"
                                                  "01000948656c6c6f2c20787a0a000000171a725f089f8889"
                                                  "0001220a151ae1671fb6f37d010000000004595a");

QByteArray number(quint64 value)
{
    QByteArray bytes(8, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray& packed, quint64 size)
{
    return number(size) + number(static_cast<quint64>(packed.size())) + packed;
}

/// What the reader yields of @p bytes behind their "pbzx", some bytes at a time; "failed" at the
/// end where it does.
QByteArray unpacked(const QByteArray& bytes, qint64 atOnce)
{
    qsizetype at = 0;
    PbzxReader reader([&](char* buffer, qint64 size) {
        const qint64 count = std::min({size, atOnce, static_cast<qint64>(bytes.size() - at)});
        std::copy_n(bytes.cbegin() + at, count, buffer);
        at += count;
        return count;
    });
    QByteArray text;
    QByteArray part(7, '\0');
    qint64 count = 0;
    while ((count = reader.read(part.data(), part.size())) > 0) {
        text += part.first(count);
    }
    return count < 0 ? text + "failed" : text;
}

} // namespace

class TestPackageParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksPbzx_data();
    void unpacksPbzx();
    void failsWherePbzxIsCut();
    void namesProcessors_data();
    void namesProcessors();
    void readsPackageInfo_data();
    void readsPackageInfo();
    void readsDistributions();
};

void TestPackageParts::unpacksPbzx_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");

    const auto row = [](const char* what, const QByteArray& bytes, const QByteArray& text) {
        QTest::newRow(what) << bytes << text;
    };
    const QByteArray head = number(0x1000000);
    row("no chunk", head, "");
    row("one packed chunk", head + chunk(packedText, 10), "Hello, xz\n");
    row("one stored chunk", head + chunk("as it is", 8), "as it is");
    row("both in turn",
        head + chunk(packedText, 10) + chunk("as it is\n", 9) + chunk(packedText, 10),
        "Hello, xz\nas it is\nHello, xz\n");
    row("more behind the packed text", head + chunk(packedText + "x", 10), "failed");
    row("an empty chunk", head + chunk("", 0), "failed");
    row("a chunk too large", head + number(1) + number(1ULL << 40) + "x", "failed");
    row("no head", "", "failed");
    QByteArray wrong = packedText;
    wrong[30] = '!';
    row("damaged", head + chunk(wrong, 10), "failed");
}

void TestPackageParts::unpacksPbzx()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);
    for (const qint64 atOnce : {1, 3, 1000}) {
        const QByteArray told = unpacked(bytes, atOnce);
        // How much comes before a failure is not promised.
        QCOMPARE(told.endsWith("failed") ? "failed" : told, text);
    }
}

void TestPackageParts::failsWherePbzxIsCut()
{
    const QByteArray bytes = number(0x1000000) + chunk(packedText, 10) + chunk("as it is", 8);
    const qsizetype between = 8 + 16 + packedText.size();
    for (qsizetype size = 0; size < bytes.size(); ++size) {
        const bool isWhole = size == 8 || size == between;
        QVERIFY2(unpacked(bytes.first(size), 4).endsWith("failed") != isWhole,
                 qPrintable(QString::number(size)));
    }
}

void TestPackageParts::namesProcessors_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QString>("names");

    const auto row = [](const char* what, const char* hex, const QString& names) {
        QTest::newRow(what) << QByteArray::fromHex(hex) << names;
    };
    row("Intel", "cffaedfe07000001", u"x86_64"_s);
    row("Apple", "cffaedfe0c000001", u"arm64"_s);
    row("Intel of 32 bits", "cefaedfe07000000", u"i386"_s);
    row("PowerPC", "feedface00000012", u"ppc"_s);
    row("universal",
        "cafebabe00000002"
        "0100000c00000000000000000000000000000000"
        "0100000700000000000000000000000000000000",
        u"arm64 x86_64"_s);
    row("universal, named twice",
        "cafebabe00000002"
        "0100000c00000000000000000000000000000000"
        "0100000c00000002000000000000000000000000",
        u"arm64"_s);
    row("universal of 64 bits",
        "cafebabf00000001"
        "01000007000000000000000000000000000000000000000000000000"
        "00000000",
        u"x86_64"_s);
    row("universal, cut",
        "cafebabe00000002"
        "0100000c00000000",
        u"it is no program of a Mac"_s);
    row("universal of none", "cafebabe00000000", u"it is no program of a Mac"_s);
    row("a Java class",
        "cafebabe00000041"
        "00000000",
        u"it is no program of a Mac"_s);
    row("another processor", "cffaedfe63000000", u"it has a processor of the number 99"_s);
    row("a script", "23212f62696e2f7368", u"it is a script"_s);
    row("nothing", "", u"it is no program of a Mac"_s);
}

void TestPackageParts::namesProcessors()
{
    QFETCH(QByteArray, head);
    const Known<QStringList> processors = programProcessors(head);
    QTEST(processors.isKnown() ? processors.value.join(u' ') : processors.unknown, "names");
}

void TestPackageParts::readsPackageInfo_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("told");

    const auto row = [](const char* what, const QByteArray& xml, const QString& told) {
        QTest::newRow(what) << xml << told;
    };
    row("location", "<pkg-info install-location=\"/Applications\"/>", u"/Applications fixed "_s);
    row("no location", "<pkg-info/>", u"/ fixed "_s);
    row("a location without its slash", "<pkg-info install-location=\"tmp\"/>", u"/tmp fixed "_s);
    row("relocatable", "<pkg-info relocatable=\"true\"/>", u"/ relocatable "_s);
    row("a bundle that is relocated",
        "<pkg-info><relocate><bundle id=\"a\"/></relocate></pkg-info>", u"/ relocatable "_s);
    row("a bundle that is not", "<pkg-info><bundle id=\"a\"/><relocate/><bundle/></pkg-info>",
        u"/ fixed "_s);
    row("scripts", "<pkg-info><scripts><postinstall file=\"./p\"/></scripts></pkg-info>",
        u"/ fixed ./p"_s);
    row("cut", "<pkg-info>", u"it is no well-formed XML: Premature end of document."_s);
}

void TestPackageParts::readsPackageInfo()
{
    QFETCH(QByteArray, xml);
    const PackageInfo info = readPackageInfo(xml);
    QTEST(info.error.isEmpty()
              ? info.location + (info.isRelocatable ? u" relocatable "_s : u" fixed "_s) +
                    info.scripts.join(u' ')
              : info.error,
          "told");
}

void TestPackageParts::readsDistributions()
{
    const Distribution told = readDistribution(
        "<installer-gui-script>"
        "<options hostArchitectures='arm64, x86_64'/><script>x</script><volume-check>"
        "<allowed-os-versions><os-version min='11.0'/></allowed-os-versions></volume-check>"
        "<choice id='1'><pkg-ref id='a'/></choice>"
        "<choice id='2' start_selected='false' customLocation='/tmp'><pkg-ref id='b'/></choice>"
        "<choice id='3' selected='f()'><pkg-ref id='a'/></choice>"
        "<pkg-ref id='a'>#a%20b.pkg</pkg-ref><pkg-ref id='b'>#b.pkg</pkg-ref>"
        "<pkg-ref id='c'>#c.pkg</pkg-ref><pkg-ref id='d'>http://x.example.org/d.pkg</pkg-ref>"
        "</installer-gui-script>");
    QCOMPARE(told.error, QString());
    QStringList folders = told.packages.keys();
    folders.sort();
    QCOMPARE(folders.join(u'|'), u"a b.pkg|b.pkg"_s);
    QVERIFY(!told.packages.value(u"a b.pkg"_s).isOptional);
    QVERIFY(told.packages.value(u"b.pkg"_s).isOptional);
    QCOMPARE(told.packages.value(u"b.pkg"_s).customLocation, u"/tmp"_s);
    QCOMPARE(told.elsewhere.join(u'|'), u"http://x.example.org/d.pkg"_s);
    QCOMPARE(told.minimumSystem, u"11.0"_s);
    QCOMPARE(told.processors.join(u'|'), u"arm64|x86_64"_s);
    QVERIFY(told.hasScripts);
}

QTEST_GUILESS_MAIN(TestPackageParts)
#include "tst_packageparts.moc"
