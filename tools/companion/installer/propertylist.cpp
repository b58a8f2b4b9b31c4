#include "companion/installer/propertylist.h"

#include "companion/installer/asciipropertylist.h"
#include "system/propertylisttext.h"
#include "system/sysprofiler.h"

#include <QBuffer>
#include <QStringDecoder>
#include <QXmlStreamReader>

#include <plist/plist.h>

#include <memory>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

struct PlistFree
{
    void operator()(void* plist) const { plist_free(plist); }
};
using Plist = std::unique_ptr<void, PlistFree>;

PropertyValue valueOf(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return {PropertyValue::Text, QString::fromUtf8(text, static_cast<qsizetype>(length))};
    }
    case PLIST_UINT: {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return {PropertyValue::Integer, QString::number(static_cast<qint64>(number))};
    }
    case PLIST_BOOLEAN: {
        std::uint8_t truth = 0;
        plist_get_bool_val(node, &truth);
        return {PropertyValue::Truth, truth ? u"true"_s : u"false"_s};
    }
    default:
        return {PropertyValue::Other, {}};
    }
}

PropertyList readBinary(const QByteArray& bytes)
{
    plist_t root = nullptr;
    plist_from_bin(bytes.constData(), static_cast<std::uint32_t>(bytes.size()), &root);
    const Plist owner(root);
    if (!root || plist_get_node_type(root) != PLIST_DICT) {
        return {{}, root ? u"it holds no dictionary"_s : u"it is no whole binary property list"_s};
    }
    PropertyList list;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(root, &iterator);
    const std::unique_ptr<void, decltype(&free)> iteratorOwner(iterator, &free);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root, iterator, &key, &value);
        const std::unique_ptr<char, decltype(&free)> keyOwner(key, &free);
        if (!key || !value) {
            return list;
        }
        list.values.insert(QString::fromUtf8(key), valueOf(value));
    }
}

/// The value whose element has just begun.
PropertyValue readXmlValue(QXmlStreamReader& xml)
{
    const QString element = xml.name().toString();
    if (element == "string"_L1) {
        return {PropertyValue::Text, xml.readElementText()};
    }
    if (element == "integer"_L1) {
        return {PropertyValue::Integer, xml.readElementText().trimmed()};
    }
    if (element == "true"_L1 || element == "false"_L1) {
        xml.skipCurrentElement();
        return {PropertyValue::Truth, element};
    }
    xml.skipCurrentElement();
    return {PropertyValue::Other, {}};
}

PropertyList readXml(const QByteArray& bytes)
{
    QXmlStreamReader xml(bytes);
    if (!xml.readNextStartElement() || xml.name() != "plist"_L1 || !xml.readNextStartElement() ||
        xml.name() != "dict"_L1) {
        return {{},
                xml.hasError() ? u"it is no well-formed XML: %1"_s.arg(xml.errorString())
                               : u"it holds no dictionary"_s};
    }
    PropertyList list;
    std::optional<QString> key;
    while (xml.readNextStartElement()) {
        if (xml.name() == "key"_L1) {
            key = xml.readElementText();
        } else {
            const PropertyValue value = readXmlValue(xml);
            if (key) {
                list.values.insert(*key, value);
            }
            key.reset();
        }
    }
    while (!xml.atEnd()) {
        xml.readNext(); // what follows the dictionary has to be whole too
    }
    if (xml.hasError()) {
        list.error = u"it is no well-formed XML: %1"_s.arg(xml.errorString());
    }
    return list;
}

/// The text of the old form: UTF-8, or UTF-16 with its mark.
QString decoded(const QByteArray& bytes)
{
    const auto encoding = QStringConverter::encodingForData(bytes);
    QStringDecoder decode(encoding.value_or(QStringConverter::Utf8));
    const QString text = decode(bytes);
    return decode.hasError() ? QString() : text;
}

} // namespace

PropertyList readPropertyList(const QByteArray& bytes)
{
    if (bytes.startsWith("bplist")) {
        return readBinary(bytes);
    }
    // Before the text is decoded: XML names its own encoding.
    if (bytes.trimmed().startsWith('<')) {
        return readXml(bytes);
    }
    const QString text = decoded(bytes);
    if (text.isEmpty()) {
        return {{}, bytes.isEmpty() ? u"it is empty"_s : u"it is no text"_s};
    }
    return text.trimmed().startsWith(u'<') ? readXml(bytes) : readAsciiPropertyList(text);
}

KnownText clientVersion(const QByteArray& infoPlist)
{
    std::optional<PropertyList> list; // read where plutil would be asked
    for (const QString& key : {u"CFBundleShortVersionString"_s, u"CFBundleLongVersionString"_s}) {
        QByteArray bytes = infoPlist;
        QBuffer file(&bytes);
        file.open(QIODevice::ReadOnly | QIODevice::Text);
        std::optional<QString> version = propertyListText(file, key);
        if (!version) {
            if (!list) {
                list = readPropertyList(infoPlist);
            }
            if (list->values.value(key).type == PropertyValue::Other) {
                return unknownText(u"the value of %1 is no text"_s.arg(key));
            }
            const KnownText told = list->text(key);
            if (!told.isKnown()) {
                return told;
            }
            version = told.value;
        }
        if (!version->isEmpty()) {
            return {SysProfiler::firstWord(*version), {}};
        }
    }
    return {};
}
