#include "windowcomparison.h"

#include "app/debug.h"
#include "support/propertylist.h"

#include <QDir>
#include <QLabel>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList separators = {u","_s, u";"_s, u"\t"_s, u"|"_s, u"::"_s};

// Few beginnings, so that many names begin alike.
const QStringList beginnings = {u"Synth"_s,       u"S"_s, u"Basaltine"_s, u"Étude"_s,
                                u"E\u0301tude"_s, u"2"_s, u"Quillmere"_s, u"synth"_s};
const QStringList endings = {QString(),
                             QString(),
                             u" 2"_s,
                             u" 10.4"_s,
                             u"2"_s,
                             u" Pro"_s,
                             u" Pro 3"_s,
                             u"."_s,
                             u" "_s,
                             u" (beta)"_s,
                             u"' v1"_s,
                             u"' → matched 'Synth' v9"_s,
                             u"' → 2 candidates: ['S' v1] → matched 'S' v1"_s,
                             u" (/Applications/S.app)"_s,
                             u", 'Synth 2' v3"_s,
                             u" Synth"_s,
                             u"\u00a02"_s,
                             u"\""_s};
const QStringList versions = {
    u"1"_s,  u"1.0"_s,    u"1.0.1"_s,      u"2"_s,   u"2.10"_s,       u"2.9"_s,  u"10"_s,
    u"3b"_s, u"beta"_s,   u"v2"_s,         u"0"_s,   u"0.5"_s,        u"1..2"_s, u"99999999999"_s,
    u"-1"_s, u"1.0(5)"_s, u"2147483647"_s, u"١.٢"_s, u"1', 'S' v2"_s, QString()};

QByteArray infoPlist(const QString& key, const QString& version)
{
    return xmlPlist("<key>" + key.toUtf8() + "</key><string>" + version.toHtmlEscaped().toUtf8() +
                    "</string>");
}

QString colorOf(const QString& verdict)
{
    static const QHash<QString, QString> colors = {
        {u"not installed"_s, u"#d4d4d4"_s},
        {u"update available"_s, u"#ffdada"_s},
        {u"up to date"_s, u"#daffda"_s},
        {u"newer than the catalogue"_s, u"#dadaff"_s},
    };
    return colors.value(verdict, u"?"_s);
}

QString rowText(const QString& name, const QString& installed, const QString& catalogue,
                const QString& color)
{
    return QStringList{name, installed, catalogue, color}.join(u" ¦ "_s);
}

QString difference(const QString& what, const QString& window, const QString& preview)
{
    return u"%1:\n  window  %2\n  preview %3"_s.arg(what, window, preview);
}

} // namespace

QString previewedRow(const PreviewRow& row)
{
    return rowText(row.name, row.installedVersion.value_or(u"?"_s), row.catalogueVersion,
                   colorOf(row.verdict));
}

void silenceClientLog()
{
    static QtMessageHandler former = nullptr;
    former = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            if (type != QtDebugMsg) {
                former(type, context, text);
            }
        });
}

WindowComparison::WindowComparison(quint32 seed)
    : m_random(seed)
    , m_separator(separators[qsizetype(seed) % separators.size()])
{
    m_setup.configure({.csvSeparator = m_separator});
    m_setup.create();
}

QString WindowComparison::pick(const QStringList& texts)
{
    return texts[m_random.bounded(int(texts.size()))];
}

QString WindowComparison::randomName()
{
    return pick(beginnings) + (isOneIn(2) ? pick(endings) : QString());
}

QString WindowComparison::randomField(const QString& value)
{
    switch (m_random.bounded(6)) {
    case 0:
        return u'"' + value + u'"';
    case 1:
        return u"  "_s + value + u'\t';
    case 2:
        return u" \""_s + value + u"\" "_s;
    default:
        return value;
    }
}

QByteArray WindowComparison::randomCatalogue()
{
    QStringList titles = {u"Version"_s, u"Release date"_s, u"Filename"_s, u"Ignored"_s};
    std::shuffle(titles.begin(), titles.end(), m_random);
    if (isOneIn(4)) {
        titles.insert(m_random.bounded(5), pick({u"Version"_s, u"Note"_s, u" Ignored"_s}));
    }
    titles.prepend(u"Name"_s);
    const QString end = isOneIn(3) ? u"\r\n"_s : u"\n"_s;
    QString text = titles.join(m_separator) + end;
    const int records = m_random.bounded(1, 16);
    for (int record = 0; record < records; ++record) {
        QStringList fields = {randomField(isOneIn(30) ? QString() : randomName())};
        for (const QString& title : titles.sliced(1)) {
            fields.append(randomField(title == "Ignored"_L1 ? pick({u"0"_s, u"0"_s, u"0"_s, u"0"_s,
                                                                    u"1"_s, u"00"_s, QString()})
                                                            : pick(versions)));
        }
        if (isOneIn(12)) {
            fields.removeLast();
        }
        if (isOneIn(12)) {
            fields.append(u"more"_s);
        }
        text += fields.join(m_separator) + (isOneIn(15) ? end + end : end);
    }
    return text.toUtf8();
}

void WindowComparison::installRandomly()
{
    QDir(m_setup.home.path() + "/Bundles"_L1).removeRecursively();
    QStringList paths;
    const int applications = m_random.bounded(0, 14);
    for (int i = 0; i < applications; ++i) {
        const QString name = randomName().remove(u'/');
        const QString bundle = u"Bundles/%1/%2.app"_s.arg(QString::number(i), name);
        if (!isOneIn(8)) {
            m_setup.home.write(
                bundle + "/Contents/Info.plist"_L1,
                infoPlist(pick({u"CFBundleShortVersionString"_s, u"CFBundleShortVersionString"_s,
                                u"CFBundleLongVersionString"_s, u"Other"_s}),
                          pick(versions) + pick({QString(), u" build 7"_s})));
        }
        paths.append(m_setup.home.path() + u'/' + bundle);
        if (isOneIn(8)) {
            paths.append(paths.constLast() + "/Contents/Helper.app"_L1);
        }
    }
    m_setup.machine.list(paths);
}

bool WindowComparison::load(const QByteArray& catalogue)
{
    m_setup.answer({.body = catalogue});
    return m_setup.window().action_loadWebData();
}

QStringList WindowComparison::windowRows() const
{
    QStringList rows;
    const QTableWidget* table = m_setup.table();
    for (int row = 0; row < table->rowCount(); ++row) {
        QStringList colors;
        for (int column = 0; column < 3; ++column) {
            colors.append(table->item(row, column)->background().color().name());
        }
        colors.removeDuplicates();
        rows.append(rowText(table->item(row, 0)->text(), table->item(row, 1)->text(),
                            table->cellWidget(row, 2)->findChild<QLabel*>()->text(),
                            colors.join(u'/')));
    }
    return rows;
}

QString WindowComparison::compareWithLog(const QByteArray& catalogue, const QByteArray& log)
{
    const std::optional<Inventory> inventory = loggedInventory(log);
    if (!inventory) {
        return u"the log shows no scan"_s;
    }
    const QList<PreviewRow> rows = previewRows(catalogue, m_separator, *inventory);
    const QStringList shown = windowRows();
    if (rows.size() != shown.size()) {
        return difference(u"number of rows"_s, QString::number(shown.size()),
                          QString::number(rows.size()));
    }
    for (qsizetype row = 0; row < rows.size(); ++row) {
        if (shown[row] != previewedRow(rows[row])) {
            return difference(u"row %1"_s.arg(row), shown[row], previewedRow(rows[row]));
        }
        ++m_rowsByColor[shown[row].section(u" ¦ "_s, -1)];
    }
    if (rows != previewRows(catalogue, m_separator, scannedInventory())) {
        return u"the same machine by a scan and by its log"_s;
    }
    return compareMatches(rows, log);
}

/// The window logs each row's match, in the rows' order, after the scan.
QString WindowComparison::compareMatches(const QList<PreviewRow>& rows, const QByteArray& log) const
{
    QStringList lines = QString::fromUtf8(log).split(u'\n').filter(u"] Profiler - '"_s);
    lines = lines.sliced(std::max(qsizetype(0), lines.size() - rows.size()));
    for (qsizetype row = 0; row < rows.size(); ++row) {
        const QString expected = rows[row].matches.isEmpty()
                                     ? u"' → NOT FOUND in system"_s
                                     : u"matched '%1' v"_s.arg(rows[row].matches.join(u'|'));
        const QString line = lines.value(row);
        const QString begin = u"Profiler - '%1' → "_s.arg(rows[row].name);
        if (!line.contains(begin) || !line.contains(expected)) {
            return difference(u"match of row %1"_s.arg(row), line, expected);
        }
    }
    return {};
}

/// What a user's log tells of another catalogue than that user's: less perhaps, but nothing wrong.
QString WindowComparison::compareWithForeignLog(const QByteArray& catalogue, const QByteArray& log)
{
    const QList<PreviewRow> rows =
        previewRows(catalogue, m_separator, loggedInventory(log).value_or(noInventory()));
    const QStringList shown = windowRows();
    for (qsizetype row = 0; row < rows.size(); ++row) {
        if (rows[row].verdict.isEmpty()) {
            ++m_openRows;
        } else if (shown.value(row) != previewedRow(rows[row])) {
            return difference(u"row %1 by another catalogue's log"_s.arg(row), shown.value(row),
                              previewedRow(rows[row]));
        }
    }
    return {};
}

/// A catalogue that offers nothing gets a box and leaves the table as it was.
QString WindowComparison::compareOnce()
{
    installRandomly();
    const QByteArray catalogue = randomCatalogue();
    Debug::init(); // a log of this case alone
    if (!load(catalogue)) {
        return offersNothing(catalogue) ? QString() : u"the catalogue is not loaded"_s;
    }
    if (!m_setup.scan()) {
        return u"the scan does not end"_s;
    }
    const QByteArray log = PrivateHome::read(m_setup.home.logPath());
    if (const QString wrong = compareWithLog(catalogue, log); !wrong.isEmpty()) {
        return wrong;
    }
    const QByteArray other = randomCatalogue();
    if (!load(other)) {
        return offersNothing(other) ? QString() : u"the other catalogue is not loaded"_s;
    }
    return compareWithForeignLog(other, log);
}

bool WindowComparison::offersNothing(const QByteArray& catalogue) const
{
    return previewRows(catalogue, m_separator, noInventory()).isEmpty();
}

QString WindowComparison::firstDifference(int cases)
{
    for (int i = 0; i < cases; ++i) {
        if (const QString wrong = compareOnce(); !wrong.isEmpty()) {
            return u"case %1, %2"_s.arg(QString::number(i), wrong);
        }
    }
    return {};
}
