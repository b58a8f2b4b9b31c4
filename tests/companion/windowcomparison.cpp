#include "windowcomparison.h"

#include "app/debug.h"
#include "shownrows.h"

#include <QDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

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

WindowComparison::WindowComparison(quint32 seed) : m_random(seed)
{
    m_setup.configure({.csvSeparator = m_random.separator()});
    m_setup.create();
}

void WindowComparison::installRandomly()
{
    QDir(m_setup.home.path() + "/Bundles"_L1).removeRecursively();
    QStringList paths;
    const int applications = m_random.number(0, 14);
    for (int i = 0; i < applications; ++i) {
        const QString name = m_random.name().remove(u'/');
        const QString bundle = u"Bundles/%1/%2.app"_s.arg(QString::number(i), name);
        if (!m_random.isOneIn(8)) {
            m_setup.home.write(
                bundle + "/Contents/Info.plist"_L1,
                randomInfoPlist(
                    m_random.pick({u"CFBundleShortVersionString"_s, u"CFBundleShortVersionString"_s,
                                   u"CFBundleLongVersionString"_s, u"Other"_s}),
                    m_random.version() + m_random.pick({QString(), u" build 7"_s})));
        }
        paths.append(m_setup.home.path() + u'/' + bundle);
        if (m_random.isOneIn(8)) {
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

QString WindowComparison::compareWithLog(const QByteArray& catalogue, const QByteArray& log)
{
    const std::optional<Inventory> inventory = loggedInventory(log);
    if (!inventory) {
        return u"the log shows no scan"_s;
    }
    const QList<PreviewRow> rows = previewRows(catalogue, m_random.separator(), *inventory);
    const QStringList shown = shownRows(*m_setup.table());
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
    if (rows != previewRows(catalogue, m_random.separator(), scannedInventory())) {
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
        previewRows(catalogue, m_random.separator(), loggedInventory(log).value_or(noInventory()));
    const QStringList shown = shownRows(*m_setup.table());
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
    const QByteArray catalogue = m_random.catalogue();
    Debug::init(); // a log of this case alone
    if (!load(catalogue)) {
        return offersNothing(catalogue) ? QString() : u"the catalogue is not loaded"_s;
    }
    if (!m_setup.scan()) {
        return "the scan does not end:\n"_L1 +
               QString::fromUtf8(PrivateHome::read(m_setup.home.logPath()));
    }
    const QByteArray log = PrivateHome::read(m_setup.home.logPath());
    if (const QString wrong = compareWithLog(catalogue, log); !wrong.isEmpty()) {
        return wrong;
    }
    const QByteArray other = m_random.catalogue();
    if (!load(other)) {
        return offersNothing(other) ? QString() : u"the other catalogue is not loaded"_s;
    }
    return compareWithForeignLog(other, log);
}

bool WindowComparison::offersNothing(const QByteArray& catalogue) const
{
    return previewRows(catalogue, m_random.separator(), noInventory()).isEmpty();
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
