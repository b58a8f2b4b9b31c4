// The settings file. A second reading, over the reader's single tokens, must yield the same groups
// and keys. So: a group is kept only when it was read whole, of two groups of one name the later
// one counts wholesale, and a document that breaks off keeps what stood before the break. Then:
// reading the file once more changes nothing; a UTF-8 file that is cut short has no group that the
// whole one lacks (of one that is wrongly encoded the reader yields nothing before the error);
// nothing can be set that was not read; and what is saved is read back, unless a value has a
// character that XML wants escaped.

#include "fuzzing.h"

#include "config/configmanager.h"

#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

using Group = QMap<QString, QString>;
using Groups = QMap<QString, Group>;

/// What the tokens read so far stand in.
struct Place
{
    QString group;
    QString key;
    QString text;
    Group keys;
};

/// False where a document must not go on.
bool takeStart(Place& place, const QString& name)
{
    if (!place.key.isEmpty()) {
        return false; // no element stands inside a value
    }
    if (name == "root"_L1) {
        return true;
    }
    (place.group.isEmpty() ? place.group : place.key) = name;
    return true;
}

void takeEnd(Place& place, Groups& groups)
{
    if (!place.key.isEmpty()) {
        place.keys[place.key] = place.text;
        place.key.clear();
        place.text.clear();
    } else if (!place.group.isEmpty()) {
        groups[place.group] = place.keys;
        place = {};
    }
}

Groups readGroups(const QString& path)
{
    Groups groups;
    QFile file(path);
    require("the file can be read", file.open(QIODevice::ReadOnly | QIODevice::Text));
    QXmlStreamReader xml(&file);
    Place place;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (!takeStart(place, xml.name().toString())) {
                return groups;
            }
            break;
        case QXmlStreamReader::EndElement:
            takeEnd(place, groups);
            break;
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference:
            if (!place.key.isEmpty()) {
                place.text += xml.text();
            }
            break;
        case QXmlStreamReader::DTD:
            if (!place.key.isEmpty()) {
                return groups;
            }
            break;
        default:
            break;
        }
    }
    return groups;
}

QString fileText(const Groups& groups)
{
    QString text = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n"_s;
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        text += "\t<"_L1 + group.key() + ">\n"_L1;
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry) {
            text +=
                "\t\t<"_L1 + entry.key() + u'>' + entry.value() + "</"_L1 + entry.key() + ">\n"_L1;
        }
        text += "\t</"_L1 + group.key() + ">\n"_L1;
    }
    return text + "</root>"_L1;
}

bool readsBack(const Groups& groups)
{
    return std::all_of(groups.cbegin(), groups.cend(), [](const Group& group) {
        return std::all_of(group.cbegin(), group.cend(), [](const QString& value) {
            return std::none_of(value.cbegin(), value.cend(), [](QChar c) {
                // "]]>" is an end mark, and the reader turns a carriage return into a line feed.
                return c == u'<' || c == u'&' || c == u'>' || c == u'\r';
            });
        });
    });
}

/// Reads the file at @p path into an empty @p config and requires what a second reading finds.
Groups requireLoaded(ConfigManager& config, const QString& path)
{
    const Groups groups = readGroups(path);
    config.clear();
    require("a file that can be opened is loaded", config.load(path));
    requireEqual("groups and keys are those of the file", config.data2XML(), fileText(groups));
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        requireEqual("a group has its keys", config.getParameters(group.key()), group.value());
    }
    return groups;
}

void requireOnlyKnownCanBeSet(ConfigManager& config, const Groups& groups)
{
    const QString before = config.data2XML();
    require("no group is added", !config.setParameter(u"no such group"_s, u"key"_s, u"value"_s));
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        require("no key is added", !config.setParameter(group.key(), u"no such key"_s, u"value"_s));
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry) {
            require("a key can be set", config.setParameter(group.key(), entry.key(), u"value"_s));
            requireEqual("what was set is there", config.getParameter(group.key(), entry.key()),
                         u"value"_s);
            config.setParameter(group.key(), entry.key(), entry.value());
        }
    }
    requireEqual("what was set back is as before", config.data2XML(), before);
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString path = privateFolder() + "config.xml"_L1;
    // Without a default file the store is empty.
    static ConfigManager config(u"missing.xml"_s, QString());
    FuzzedDataProvider input(data, size);
    const auto cut = input.ConsumeIntegral<uint16_t>();
    const QByteArray text = rest(input);

    writeFile(path, text);
    const Groups groups = requireLoaded(config, path);
    const QString saved = config.data2XML();
    (void)config.load(path);
    requireEqual("reading again changes nothing", config.data2XML(), saved);
    requireOnlyKnownCanBeSet(config, groups);

    writeFile(path, text.left(cut % (text.size() + 1)));
    const Groups groupsOfCut = requireLoaded(config, path);
    require("a shorter file has no further group",
            !text.isValidUtf8() ||
                std::all_of(groupsOfCut.keyBegin(), groupsOfCut.keyEnd(),
                            [&groups](const QString& group) { return groups.contains(group); }));

    if (readsBack(groups)) {
        writeFile(path, saved.toUtf8());
        requireEqual("what is saved is read back", requireLoaded(config, path), groups);
    }
    return 0;
}
