// The companion's readers of property lists: XML and the old text form. Values that are written in
// both forms are read alike from either; whatever else comes in is read without harm, alike each
// time, with either values or a reason, and the client's version is one word. Binary lists, which
// libplist reads, are left out: that is done in a process with limits.

#include "fuzzing.h"

#include "companion/installer/propertylist.h"

#include <QMap>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray asXml(const QMap<QString, QString>& values)
{
    QString text = u"<plist><dict>"_s;
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        text += "<key>"_L1 + value.key().toHtmlEscaped() + "</key><string>"_L1 +
                value->toHtmlEscaped() + "</string>"_L1;
    }
    return (text + "</dict></plist>"_L1).toUtf8();
}

QString inQuotes(const QString& text)
{
    QString quoted = text;
    return u'"' + quoted.replace(u'\\', "\\\\"_L1).replace(u'"', "\\\""_L1) + u'"';
}

QByteArray asOldText(const QMap<QString, QString>& values)
{
    QString text = u"{"_s;
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        text += inQuotes(value.key()) + " = "_L1 + inQuotes(*value) + ';'_L1;
    }
    return (text + u'}').toUtf8();
}

/// A text of characters that both forms can hold.
QString plainText(FuzzedDataProvider& input)
{
    static const QString letters = u"ab1.0 <>&\"'\\{}=;()/*é\u2028CFU"_s;
    QString text;
    for (auto left = input.ConsumeIntegralInRange<int>(0, 12); left > 0; --left) {
        text += letters[input.ConsumeIntegralInRange<qsizetype>(0, letters.size() - 1)];
    }
    return text;
}

void requireSameValues(FuzzedDataProvider& input)
{
    static const QStringList keys = {u"CFBundleShortVersionString"_s, u"CFBundleIdentifier"_s};
    QMap<QString, QString> values;
    while (input.remaining_bytes() > 0 && values.size() < 8) {
        const QString key = input.ConsumeBool() ? keys[input.ConsumeBool()] : plainText(input);
        values.insert(key, plainText(input));
    }
    for (const QByteArray& bytes : {asXml(values), asOldText(values)}) {
        const PropertyList list = readPropertyList(bytes);
        requireEqual("what is written is read", list.error, QString());
        QMap<QString, QString> read;
        for (auto value = list.values.cbegin(); value != list.values.cend(); ++value) {
            require("each is a text", value->type == PropertyValue::Text);
            read.insert(value.key(), value->text);
        }
        requireEqual("the values are those that were written", read, values);
    }
}

void requireRead(const QByteArray& bytes)
{
    const PropertyList list = readPropertyList(bytes);
    const PropertyList again = readPropertyList(bytes);
    require("it is read alike each time", list.values == again.values && list.error == again.error);
    const KnownText version = clientVersion(bytes);
    require("the version is one word", !version.value.contains(u' '));
    require("what is not known has no value", version.isKnown() || version.value.isEmpty());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        requireSameValues(input);
        return 0;
    }
    const QByteArray bytes = rest(input);
    if (!bytes.startsWith("bplist")) {
        requireRead(bytes);
    }
    return 0;
}
