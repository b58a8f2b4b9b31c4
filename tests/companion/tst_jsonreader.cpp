#include "companion/fleet/jsonreader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonValue read(JsonReader& reader);

QJsonValue readObject(JsonReader& reader)
{
    QJsonObject object;
    reader.enterObject();
    while (reader.nextMember()) {
        const QString key = QString::fromUtf8(reader.key());
        object.insert(key, read(reader));
    }
    return object;
}

QJsonValue readArray(JsonReader& reader)
{
    QJsonArray array;
    reader.enterArray();
    while (reader.nextElement()) {
        array.append(read(reader));
    }
    return array;
}

/// What comes next; numbers and constants as null.
QJsonValue read(JsonReader& reader)
{
    if (reader.isAtObject()) {
        return readObject(reader);
    }
    if (reader.isAtArray()) {
        return readArray(reader);
    }
    if (reader.isAtString()) {
        return reader.takeText();
    }
    reader.skip();
    return QJsonValue::Null;
}

QString text(const QJsonValue& value)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
}

} // namespace

class TestJsonReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsWhatIsThere_data();
    void readsWhatIsThere();
    void mistakesAreFailures_data();
    void mistakesAreFailures();
    void leavesTheInnermostContainer();
    void takesNumbers_data();
    void takesNumbers();
};

void TestJsonReader::readsWhatIsThere_data()
{
    QTest::addColumn<QByteArray>("json");

    QTest::newRow("empty containers") << QByteArray(R"([{},[], {"a":{}} ])");
    QTest::newRow("white space") << QByteArray(" [ \"a\"\t,\r\n\"b\" , { \"c\" : \"d\" } ] ");
    QTest::newRow("escapes") << QByteArray(
        R"(["\"\\\/\b\f\n\r\t","\u00e9\ud83d\ude00","\\","\\\""])");
    QTest::newRow("escaped key") << QByteArray(R"({"p\u0061th":"x","a\"b":"y"})");
    QTest::newRow("UTF-8") << QByteArray("[\"Étude\",\"日本\"]");
    QTest::newRow("brackets in texts") << QByteArray(R"([["]}"],{"[{":"}"}])");
    QTest::newRow("constants") << QByteArray(R"([null,null,{"a":null},null])");
    QTest::newRow("depth") << QByteArray(200, '[') + "\"x\"" + QByteArray(200, ']');
}

void TestJsonReader::readsWhatIsThere()
{
    QFETCH(QByteArray, json);
    JsonReader reader(json);
    const QJsonValue found = read(reader);
    QVERIFY(reader.isAtEnd());
    const QJsonDocument expected = QJsonDocument::fromJson(json);
    QCOMPARE(text(found), text(expected.isArray() ? QJsonValue(expected.array())
                                                  : QJsonValue(expected.object())));
    JsonReader skipping(json);
    skipping.skip();
    QVERIFY(skipping.isAtEnd());
}

void TestJsonReader::mistakesAreFailures_data()
{
    QTest::addColumn<QByteArray>("json");

    for (const char* json : {"",        "{",         "[",         "[1",   "[1,",  "{\"a\"",
                             "{\"a\":", "{\"a\":1",  "{\"a\":1,", "{\"a", "[\"a", "[\"a\\\"]",
                             "{a:1}",   "{\"a\" 1}", "[1 2]",     "[,1]", "[1,]", "{\"a\":1,}",
                             "[}",      "]",         "[1]]",      "[1] x"}) {
        QTest::newRow(json) << QByteArray(json);
    }
}

void TestJsonReader::mistakesAreFailures()
{
    QFETCH(QByteArray, json);
    JsonReader reader(json);
    read(reader);
    QVERIFY(!reader.isAtEnd());
}

void TestJsonReader::leavesTheInnermostContainer()
{
    const QByteArray json = R"([[{"a":[1,"]"]},2],{"b":1,"c":[3]},"x"])";
    JsonReader reader(json);
    reader.enterArray();
    QVERIFY(reader.nextElement());
    reader.enterArray();
    QVERIFY(reader.nextElement());
    reader.skip();
    reader.leave();
    QVERIFY(reader.nextElement());
    reader.enterObject();
    QVERIFY(reader.nextMember());
    reader.skip();
    reader.leave();
    QVERIFY(reader.nextElement());
    QCOMPARE(reader.takeText(), u"x"_s);
    QVERIFY(!reader.nextElement());
    QVERIFY(reader.isAtEnd());
}

void TestJsonReader::takesNumbers_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<qint64>("number");

    QTest::newRow("number") << QByteArray("1772359200") << qint64(1'772'359'200);
    QTest::newRow("text") << QByteArray("\"17\"") << qint64(17);
    QTest::newRow("negative") << QByteArray("-3") << qint64(-3);
    QTest::newRow("another text") << QByteArray("\"x\"") << qint64(0);
    QTest::newRow("object") << QByteArray("{\"a\":1}") << qint64(0);
}

void TestJsonReader::takesNumbers()
{
    QFETCH(QByteArray, json);
    QFETCH(qint64, number);
    JsonReader reader(json);
    QCOMPARE(reader.takeNumber(), number);
    QVERIFY(reader.isAtEnd());
}

QTEST_GUILESS_MAIN(TestJsonReader)
#include "tst_jsonreader.moc"
