// Values in property lists, in two ways. Any bytes: a second reading, over the list of the reader's
// tokens, must yield the same value, and `plutil` must be asked exactly when the text is no whole
// XML and yielded no value; its answer is then the value, without the blanks around it, and a
// failure that it tells of is none. And dictionaries made from the input, with nested ones,
// comments and entities: the value is the last one of its key, however deep, and `plutil` is not
// asked.

#include "commands.h"
#include "fuzzing.h"

#include "support/propertylist.h"
#include "system/sysprofiler.h"

#include <QFile>
#include <QXmlStreamReader>

#include <array>
#include <optional>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString wantedKey = u"CFBundleShortVersionString"_s;

struct Token
{
    QXmlStreamReader::TokenType type;
    QString name;
    QString text;
};

/// The tokens of a file, less comments and processing instructions.
struct Document
{
    std::vector<Token> tokens;
    bool isWhole = false;
};

Document readDocument(const QString& path)
{
    QFile file(path);
    require("the file can be read", file.open(QIODevice::ReadOnly | QIODevice::Text));
    QXmlStreamReader xml(&file);
    Document document;
    while (!xml.atEnd()) {
        const auto type = xml.readNext();
        if (type != QXmlStreamReader::Comment && type != QXmlStreamReader::ProcessingInstruction) {
            document.tokens.push_back({type, xml.name().toString(), xml.text().toString()});
        }
    }
    document.isWhole = !xml.hasError();
    return document;
}

/// The text from the token at @p at, which becomes that of the first one that is no text.
QString textFrom(const Document& document, std::size_t& at)
{
    QString text;
    while (document.tokens[at].type == QXmlStreamReader::Characters ||
           document.tokens[at].type == QXmlStreamReader::EntityReference) {
        text += document.tokens[at++].text;
    }
    return text;
}

/// The value by the rules; nothing where `plutil` is to be asked.
std::optional<QString> valueIn(const Document& document)
{
    QString value;
    bool isValueNext = false;
    bool isWhole = document.isWhole;
    for (std::size_t at = 0; at < document.tokens.size(); ++at) {
        const Token& token = document.tokens[at];
        if (token.type != QXmlStreamReader::StartElement) {
            continue;
        }
        const bool isKey = token.name == "key"_L1;
        if (!isKey && !isValueNext) {
            continue;
        }
        const QString text = textFrom(document, ++at);
        const auto next = document.tokens[at].type;
        const bool isBroken =
            next == QXmlStreamReader::StartElement || next == QXmlStreamReader::DTD;
        if (isKey) {
            isValueNext = isValueNext || text == wantedKey;
        } else {
            value = isBroken ? QString() : text;
            isValueNext = false;
        }
        if (isBroken) { // text alone may stand there, and reading ends
            isWhole = false;
            break;
        }
    }
    return isWhole || !value.isEmpty() ? std::optional(value) : std::nullopt;
}

void tryBytes(const QString& path, const QByteArray& bytes)
{
    writeFile(path, bytes);
    const std::optional<QString> expected = valueIn(readDocument(path));
    Commands::print(" \tfrom plutil \xc3\xa9\n");
    const QString value = SysProfiler::findPlistValue(path, wantedKey);
    const QStringList plutil{u"plutil"_s, u"-extract"_s, wantedKey, u"raw"_s, path};
    requireEqual("plutil is asked where XML yields nothing, and nowhere else",
                 Commands::takeCalls(),
                 expected ? QList<QStringList>() : QList<QStringList>{plutil});
    requireEqual("the value is that of the file, or plutil's", value,
                 expected.value_or(u"from plutil \u00e9"_s));
    Commands::print(path.toUtf8() + ": Could not extract value, error: No value\n");
    requireEqual("a failing plutil yields nothing", SysProfiler::findPlistValue(path, wantedKey),
                 expected.value_or(QString()));
    requireEqual("a failing plutil is asked once", Commands::takeCalls().size(),
                 qsizetype(expected ? 0 : 1));
}

/// Text of what XML allows, a carriage return excepted.
QString plainText(FuzzedDataProvider& input)
{
    static const std::array<QString, 16> parts{
        u"1"_s, u"2"_s,  u"."_s,   u" "_s,  u"("_s, u"<"_s,   u"&"_s,     u">"_s,
        u"é"_s, u"\n"_s, u"]]>"_s, u"\""_s, u"😀"_s, u"key"_s, u"&amp;"_s, u"beta"_s};
    QString text;
    for (auto left = input.ConsumeIntegralInRange<int>(0, 5); left > 0; --left) {
        text += input.PickValueInArray(parts);
    }
    return text;
}

/// Adds pairs of a dictionary to @p xml, and to @p value what they make of the wanted key's.
void addPairs(FuzzedDataProvider& input, QString& xml, QString& value, int depth)
{
    static const std::array<QString, 4> elements{u"string"_s, u"integer"_s, u"date"_s, u"data"_s};
    for (auto left = input.ConsumeIntegralInRange<int>(0, 4); left > 0; --left) {
        const bool isWanted = input.ConsumeBool();
        const QString key = isWanted ? wantedKey : "other"_L1 + plainText(input);
        xml += "<key>"_L1 + key.toHtmlEscaped() + "</key>"_L1;
        if (input.ConsumeBool()) {
            xml += "\n<!-- <key> -->"_L1;
        }
        if (!isWanted && depth < 4 && input.ConsumeBool()) {
            xml += "<dict>"_L1;
            addPairs(input, xml, value, depth + 1);
            xml += "</dict>"_L1;
            continue;
        }
        const QString element = input.PickValueInArray(elements);
        const QString text = plainText(input);
        xml += u'<' + element + u'>' + text.toHtmlEscaped() + "</"_L1 + element + u'>';
        if (isWanted) {
            value = text;
        }
    }
}

void tryDictionary(const QString& path, FuzzedDataProvider& input)
{
    QString xml;
    QString expected;
    addPairs(input, xml, expected, 0);
    writeFile(path, xmlPlist(xml.toUtf8()));
    Commands::print("from plutil");
    requireEqual("the value is the last one of its key",
                 SysProfiler::findPlistValue(path, wantedKey), expected);
    requireEqual("plutil is not asked about whole XML", Commands::takeCalls(),
                 QList<QStringList>());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString path = privateFolder() + "Info.plist"_L1;
    FuzzedDataProvider input(data, size);
    // An input that ends in a line feed is taken as it is.
    if (input.ConsumeBool()) {
        tryDictionary(path, input);
    } else {
        tryBytes(path, rest(input));
    }
    return 0;
}
