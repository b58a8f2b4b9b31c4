#include "companion/installer/installerfacts.h"

#include <QJsonArray>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonValue unknownAsJson(const QString& reason)
{
    return QJsonObject{{u"unknown"_s, reason}};
}

QString reasonIn(const QJsonValue& value)
{
    return value.toObject().value(u"unknown"_s).toString();
}

QJsonValue toJson(const KnownText& text)
{
    return text.isKnown() ? QJsonValue(text.value) : unknownAsJson(text.unknown);
}

QJsonValue toJson(const Known<QStringList>& texts)
{
    return texts.isKnown() ? QJsonValue(QJsonArray::fromStringList(texts.value))
                           : unknownAsJson(texts.unknown);
}

QJsonValue toJson(const Known<QDate>& date)
{
    return date.isKnown() ? QJsonValue(date.value.toString(Qt::ISODate))
                          : unknownAsJson(date.unknown);
}

KnownText textFrom(const QJsonValue& value)
{
    return {value.toString(), reasonIn(value)};
}

QStringList textsFrom(const QJsonValue& value)
{
    QStringList texts;
    const QJsonArray array = value.toArray();
    for (const auto& text : array) {
        texts.append(text.toString());
    }
    return texts;
}

QJsonObject toJson(const BundleFacts& bundle)
{
    return {{u"location"_s, bundle.location},
            {u"name"_s, bundle.name},
            {u"version"_s, toJson(bundle.version)},
            {u"propertyListError"_s, bundle.listError},
            {u"identifier"_s, toJson(bundle.identifier)},
            {u"minimumSystem"_s, toJson(bundle.minimumSystem)},
            {u"processors"_s, toJson(bundle.processors)},
            {u"newestFile"_s, toJson(bundle.newestFile)},
            {u"faults"_s, QJsonArray::fromStringList(bundle.faults)}};
}

BundleFacts bundleFrom(const QJsonObject& object)
{
    BundleFacts bundle;
    bundle.location = object.value(u"location"_s).toString();
    bundle.name = object.value(u"name"_s).toString();
    bundle.version = textFrom(object.value(u"version"_s));
    bundle.listError = object.value(u"propertyListError"_s).toString();
    bundle.identifier = textFrom(object.value(u"identifier"_s));
    bundle.minimumSystem = textFrom(object.value(u"minimumSystem"_s));
    const QJsonValue processors = object.value(u"processors"_s);
    bundle.processors = {textsFrom(processors), reasonIn(processors)};
    const QJsonValue date = object.value(u"newestFile"_s);
    bundle.newestFile = {QDate::fromString(date.toString(), Qt::ISODate), reasonIn(date)};
    bundle.faults = textsFrom(object.value(u"faults"_s));
    return bundle;
}

QJsonObject toJson(const InstallerItem& item)
{
    QJsonArray bundles;
    for (const BundleFacts& bundle : item.bundles) {
        bundles.append(toJson(bundle));
    }
    QJsonObject object{{u"path"_s, item.path},
                       {u"openedOn"_s, QJsonArray::fromStringList(item.openedOn)},
                       {u"kind"_s, item.kind},
                       {u"bundles"_s, bundles},
                       {u"notes"_s, QJsonArray::fromStringList(item.notes)}};
    if (!item.unknown.isEmpty()) {
        object.insert(u"unknown"_s, item.unknown);
        object.insert(u"damaged"_s, item.isDamaged);
    }
    return object;
}

InstallerItem itemFrom(const QJsonObject& object)
{
    InstallerItem item;
    item.path = object.value(u"path"_s).toString();
    item.openedOn = textsFrom(object.value(u"openedOn"_s));
    item.kind = object.value(u"kind"_s).toString();
    item.notes = textsFrom(object.value(u"notes"_s));
    item.unknown = object.value(u"unknown"_s).toString();
    item.isDamaged = object.value(u"damaged"_s).toBool();
    const QJsonArray bundles = object.value(u"bundles"_s).toArray();
    for (const auto& bundle : bundles) {
        item.bundles.append(bundleFrom(bundle.toObject()));
    }
    return item;
}

} // namespace

QJsonObject toJson(const InstallerFacts& facts)
{
    QJsonArray items;
    for (const InstallerItem& item : facts.items) {
        items.append(toJson(item));
    }
    QJsonObject object{{u"items"_s, items}};
    if (!facts.unknown.isEmpty()) {
        object.insert(u"unknown"_s, facts.unknown);
    }
    return object;
}

InstallerFacts installerFactsFrom(const QJsonObject& object)
{
    InstallerFacts facts;
    facts.unknown = object.value(u"unknown"_s).toString();
    const QJsonArray items = object.value(u"items"_s).toArray();
    for (const auto& item : items) {
        facts.items.append(itemFrom(item.toObject()));
    }
    return facts;
}
