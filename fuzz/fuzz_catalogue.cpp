// The catalogue. A second reading of the rules, field by field, must yield the same entries. So:
// the list has the offered names in file order, each name's fields come from one line, the last one
// of that name, no other line is stored, and every query agrees with these.

#include "fuzzing.h"

#include "web/webprofiler.h"

#include <QSet>
#include <QUrl>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

using Record = QHash<QString, QString>; ///< value by title

struct Catalogue
{
    QStringList names; ///< in file order
    QHash<QString, Record> records;
    QSet<QString> titles;
};

QStringList split(const QString& line, const QString& separator)
{
    QStringList fields{QString()};
    for (qsizetype at = 0; at < line.size();) {
        if (separator.isEmpty()) {
            fields.append(line[at++]); // each character is a field, and so are both ends
        } else if (line.mid(at, separator.size()) == separator) {
            fields.append(QString());
            at += separator.size();
        } else {
            fields.last() += line[at++];
        }
    }
    if (separator.isEmpty()) {
        fields.append(QString());
    }
    return fields;
}

QString bare(QString field)
{
    while (!field.isEmpty() && field.front().isSpace()) {
        field.remove(0, 1);
    }
    while (!field.isEmpty() && field.back().isSpace()) {
        field.chop(1);
    }
    if (field.size() > 1 && field.front() == u'"' && field.back() == u'"') {
        field = field.mid(1, field.size() - 2);
    }
    return field;
}

Catalogue readCatalogue(const QByteArray& text, const QString& separator)
{
    Catalogue catalogue;
    QStringList lines = linesOf(text);
    const QString header = lines.isEmpty() ? QString() : lines.takeFirst();
    const QStringList titles = split(header, separator);
    catalogue.titles = {titles.cbegin(), titles.cend()};
    for (const QString& line : lines) {
        const QStringList fields = split(line, separator);
        Record record;
        for (qsizetype i = 1; i < std::min(fields.size(), titles.size()); ++i) {
            record[titles[i]] = bare(fields[i]);
        }
        if (record.value(u"Ignored"_s) == "0"_L1) {
            catalogue.names.append(bare(fields[0]));
            catalogue.records[bare(fields[0])] = record;
        }
    }
    return catalogue;
}

void requireRecord(const WebProfiler& web, const Catalogue& catalogue, const QString& name)
{
    const Record record = catalogue.records[name];
    for (const QString& title : catalogue.titles) {
        requireEqual("an entry's fields are those of its line", web.getValue(name, title),
                     record.value(title));
    }
    requireEqual("a title that no column has is empty", web.getValue(name, u"\n"_s), QString());
    requireEqual("the version is a field", web.getVersion(name), record.value(u"Version"_s));
    requireEqual("the date is a field", web.getReleaseDate(name), record.value(u"Release date"_s));
    requireEqual("the file name is a field", web.getFilename(name), record.value(u"Filename"_s));
    requireEqual("the installer lies where the settings say", web.getUrlToFile(name),
                 "base/soft/"_L1 + record.value(u"Filename"_s));
    require("an entry's mark is a number", web.isIgnored(name));
    requireEqual("a name is found alone", web.find(name), QStringList{name});
}

void requireSearch(const WebProfiler& web, const Catalogue& catalogue, const QString& beginning)
{
    if (catalogue.records.contains(beginning)) {
        return;
    }
    QStringList expected;
    for (auto record = catalogue.records.cbegin(); record != catalogue.records.cend(); ++record) {
        if (record.key().startsWith(beginning)) {
            expected.append(record.key());
        }
    }
    QStringList found = web.find(beginning);
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    requireEqual("a beginning finds every name that has it", found, expected);
    requireEqual("a name that is not listed has no version", web.getVersion(beginning), QString());
    require("a name that is not listed has no mark", !web.isIgnored(beginning));
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Ten, so that an input that ends in a line feed has the first one.
    static const std::array<QString, 10> separators{u","_s, u";"_s, u"\t"_s, u""_s,   u"::"_s,
                                                    u"é"_s, u"|"_s, u"\""_s, u"aa"_s, u" "_s};
    FuzzedDataProvider input(data, size);
    const QString separator = input.PickValueInArray(separators);
    const QByteArray text = rest(input);

    const Catalogue catalogue = readCatalogue(text, separator);
    WebProfiler web(u"base/"_s, u"config.csv"_s, separator, u"soft/"_s);
    web.updateData(text);
    requireEqual("the offered names are listed in file order", web.getAppList(), catalogue.names);
    requireEqual("each name is stored once", web.size(), catalogue.records.size());
    for (auto record = catalogue.records.cbegin(); record != catalogue.records.cend(); ++record) {
        requireRecord(web, catalogue, record.key());
    }
    requireSearch(web, catalogue, catalogue.names.value(0).left(1));
    requireSearch(web, catalogue, u"\n"_s);
    return 0;
}
