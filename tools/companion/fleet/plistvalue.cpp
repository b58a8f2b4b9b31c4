#include "companion/fleet/plistvalue.h"

#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

namespace {

/// More than any inventory needs; what goes deeper is made to break readers.
constexpr int deepest = 64;

QVariant readValue(QXmlStreamReader& xml, int depth);

QVariant readArray(QXmlStreamReader& xml, int depth)
{
    QVariantList values;
    while (xml.readNextStartElement()) {
        values.append(readValue(xml, depth));
    }
    return values;
}

QVariant readDictionary(QXmlStreamReader& xml, int depth)
{
    QVariantMap values;
    while (xml.readNextStartElement()) {
        if (xml.name() != "key"_L1) {
            xml.raiseError(u"a value without a key"_s);
            break;
        }
        const QString key = xml.readElementText();
        if (!xml.readNextStartElement()) {
            xml.raiseError(u"a key without a value"_s);
            break;
        }
        values.insert(key, readValue(xml, depth));
    }
    return values;
}

/// The value whose element has just begun.
QVariant readValue(QXmlStreamReader& xml, int depth)
{
    if (depth > deepest) {
        xml.raiseError(u"too deep"_s);
        return {};
    }
    if (xml.name() == "array"_L1) {
        return readArray(xml, depth + 1);
    }
    return xml.name() == "dict"_L1 ? readDictionary(xml, depth + 1)
                                   : QVariant(xml.readElementText());
}

} // namespace

std::optional<QVariant> readPlistValue(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    QVariant value;
    if (reader.readNextStartElement() && reader.name() == "plist"_L1 &&
        reader.readNextStartElement()) {
        value = readValue(reader, 0);
    }
    while (!reader.atEnd()) {
        reader.readNext();
    }
    return reader.hasError() || !value.isValid() ? std::nullopt : std::optional(value);
}
