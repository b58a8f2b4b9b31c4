#include "forecastcomparison.h"

#include "app/debug.h"
#include "shownrows.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString machineName = u"mac"_s;

QJsonArray jsonRows(const QList<RecordedApplication>& applications)
{
    QJsonArray rows;
    for (const RecordedApplication& application : applications) {
        rows.append(QJsonObject{{u"path"_s, application.path},
                                {u"bundle_short_version"_s, application.version},
                                {u"bundle_identifier"_s, application.identifier}});
    }
    return rows;
}

QByteArray line(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray snapshot(const QList<RecordedApplication>& applications)
{
    return line({{u"action"_s, u"snapshot"_s},
                 {u"snapshot"_s, jsonRows(applications)},
                 {u"hostIdentifier"_s, machineName},
                 {u"unixTime"_s, u"1772359200"_s}});
}

/// All that is installed and one more, then that one's removal.
QByteArray changes(const QList<RecordedApplication>& applications)
{
    const RecordedApplication gone{u"/Applications/S 99.app"_s, u"99"_s, {}};
    QByteArray lines;
    for (const QJsonValue& row : jsonRows(QList<RecordedApplication>{gone} + applications)) {
        lines += line({{u"action"_s, u"added"_s},
                       {u"columns"_s, row},
                       {u"hostIdentifier"_s, machineName},
                       {u"unixTime"_s, 1'772'359'200},
                       {u"counter"_s, 0}});
    }
    return lines + line({{u"diffResults"_s,
                          QJsonObject{{u"added"_s, QString()}, {u"removed"_s, jsonRows({gone})}}},
                         {u"hostIdentifier"_s, machineName},
                         {u"unixTime"_s, 1'772'359'300},
                         {u"counter"_s, 1}});
}

QByteArray quoted(QString field)
{
    return '"' + field.replace(u'"', "\"\""_L1).toUtf8() + '"';
}

QByteArray table(const QList<RecordedApplication>& applications)
{
    QByteArray text = "Device,Path,Version\r\n";
    for (const RecordedApplication& application : applications) {
        text += quoted(machineName) + ',' + quoted(application.path) + ',' +
                quoted(application.version) + "\r\n";
    }
    return text;
}

/// Keeps what is read of one machine.
class Keeper : public InventoryVisitor
{
public:
    Keeper(QList<MachineRecord>& records, QStringList& refused)
        : m_records(records)
        , m_refused(refused)
    {}

    void takeMachine(const MachineRecord& record) override { m_records.append(record); }
    void takeRefusal(const QString& machine, Refusal /*reason*/) override
    {
        m_refused.append(machine);
    }
    void endPiece(qint64 /*piece*/) override {}

private:
    QList<MachineRecord>& m_records;
    QStringList& m_refused;
};

/// The row of the entry @p name in @p rows, its last one; empty for none.
QString rowNamed(const QString& name, const QStringList& rows)
{
    for (auto row = rows.crbegin(); row != rows.crend(); ++row) {
        if (row->startsWith(name + u" ¦ "_s)) {
            return *row;
        }
    }
    return {};
}

QString expectedRow(const EntryChange& entry, const std::optional<OfferedEntry>& offered,
                    RowState state, const std::optional<QString>& installed)
{
    return offered ? rowText(entry.name, installed.value_or(u"?"_s), offered->version,
                             colorOf(rowStateText(state)))
                   : QString();
}

} // namespace

ForecastComparison::ForecastComparison(quint32 seed) : m_random(seed)
{
    m_setup.configure({.csvSeparator = m_random.separator()});
    m_setup.create();
}

void ForecastComparison::installRandomly()
{
    QDir(m_setup.home.path() + "/Bundles"_L1).removeRecursively();
    m_installed.clear();
    QStringList paths;
    const int applications = m_random.number(1, 14);
    for (int i = 0; i < applications; ++i) {
        const QString bundle = u"%1/%2.app"_s.arg(QString::number(i), m_random.name().remove(u'/'));
        const QString version = m_random.version() + m_random.pick({QString(), u" build 7"_s});
        m_setup.home.write("Bundles/"_L1 + bundle + "/Contents/Info.plist"_L1,
                           randomInfoPlist(u"CFBundleShortVersionString"_s, version));
        m_installed.append({"/Applications/"_L1 + bundle, version, u"org.example"_s});
        paths.append(m_setup.home.path() + "/Bundles/"_L1 + bundle);
    }
    // What the client does not list.
    m_installed.append({u"/Applications/0/S.app/Contents/Helpers/S 7.app"_s, u"7"_s, {}});
    m_installed.append({u"/Applications/a/b/c/S 8.app"_s, u"8"_s, {}});
    m_installed.append({u"/Users/somebody/Applications/S 9.app"_s, u"9"_s, {}});
    m_setup.machine.list(paths);
}

bool ForecastComparison::load(const QByteArray& catalogue)
{
    m_setup.answer({.body = catalogue});
    return m_setup.window().action_loadWebData();
}

QString ForecastComparison::write(const QString& name, const QByteArray& content) const
{
    const QString folder = m_records.filePath(name.section(u'.', -1));
    if (!QDir().mkpath(folder)) {
        return {};
    }
    QFile file(folder + u'/' + name);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
               ? file.fileName()
               : QString();
}

QStringList ForecastComparison::record(const QByteArray& log) const
{
    return {write(u"mac.snapshot"_s, snapshot(m_installed)),
            write(u"mac.changes"_s, changes(m_installed)),
            write(u"mac.rows"_s, QJsonDocument(jsonRows(m_installed)).toJson()),
            write(u"mac.csv"_s, table(m_installed)), write(u"mac.log"_s, log)};
}

QString ForecastComparison::compareRow(const EntryChange& entry, const RowForecast& row,
                                       const QStringList& before, const QStringList& after)
{
    ++m_rowsByTurn[rowStateText(row.before) + " -> "_L1 + rowStateText(row.after)];
    const QString shownBefore = rowNamed(entry.name, before);
    const QString shownAfter = rowNamed(entry.name, after);
    if (row.before == RowState::Unknown || row.after == RowState::Unknown) {
        return row.gap == Gap::None ? u"%1: unknown without a reason"_s.arg(entry.name) : QString();
    }
    const QString foretoldBefore = expectedRow(entry, entry.before, row.before, row.version);
    const QString foretoldAfter = expectedRow(entry, entry.after, row.after, row.version);
    if (foretoldBefore != shownBefore || foretoldAfter != shownAfter) {
        return u"%1:\n  windows   %2 -> %3\n  forecast  %4 -> %5"_s.arg(
            entry.name, shownBefore, shownAfter, foretoldBefore, foretoldAfter);
    }
    return {};
}

QString ForecastComparison::compare(const CatalogueChange& change, const QString& file,
                                    const QStringList& before, const QStringList& after)
{
    const CsvColumns columns{u"Device"_s, u"Path"_s, {}, u"Version"_s, {}};
    FleetReader reader(findFleetFiles({file}, std::nullopt, true).files, columns, 1);
    QList<MachineRecord> records;
    QStringList refused;
    if (!reader.index() ||
        !reader.read(change.filter, [&] { return std::make_unique<Keeper>(records, refused); })) {
        return reader.error();
    }
    if (records.size() != 1 || records.constFirst().machine != machineName) {
        return u"%1 records, refused: %2"_s.arg(QString::number(records.size()),
                                                refused.join(u' '));
    }
    const QList<RowForecast> rows = forecastMachine(change, records.constFirst().installed);
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const QString wrong = compareRow(change.entries[i], rows[i], before, after);
        if (!wrong.isEmpty()) {
            return wrong;
        }
    }
    return {};
}

namespace {

/// A row that a forecast leaves out must not change.
QString unforeseen(const CatalogueChange& change, QStringList before, QStringList after)
{
    for (const EntryChange& entry : change.entries) {
        const auto isItsRow = [&entry](const QString& row) {
            return row.startsWith(entry.name + u" ¦ "_s);
        };
        before.removeIf(isItsRow);
        after.removeIf(isItsRow);
    }
    before.sort();
    after.sort();
    before.removeDuplicates();
    after.removeDuplicates();
    return before == after
               ? QString()
               : u"other rows change:\n%1\n->\n%2"_s.arg(before.join(u'\n'), after.join(u'\n'));
}

} // namespace

QString ForecastComparison::compareOnce()
{
    installRandomly();
    const QByteArray published = m_random.catalogue();
    const QByteArray next = m_random.catalogue();
    Debug::init(); // a log of this case alone
    if (!load(published) || !m_setup.scan()) {
        return {}; // nothing is offered
    }
    const QStringList before = shownRows(*m_setup.table());
    if (!load(next)) {
        return {};
    }
    const QStringList after = shownRows(*m_setup.table());
    const QByteArray log = PrivateHome::read(m_setup.home.logPath());
    const Offer publishedOffer = readOffer(published, m_random.separator());
    const Offer nextOffer = readOffer(next, m_random.separator());
    for (const QString& file : record(log)) {
        for (const bool everything : {false, true}) {
            const CatalogueChange change(publishedOffer, nextOffer, everything);
            QString wrong = compare(change, file, before, after);
            if (wrong.isEmpty()) {
                wrong = unforeseen(change, before, after);
            }
            if (!wrong.isEmpty()) {
                return file.section(u'/', -1) + ", "_L1 + wrong;
            }
        }
    }
    return {};
}

QString ForecastComparison::firstDifference(int cases)
{
    for (int i = 0; i < cases; ++i) {
        if (const QString wrong = compareOnce(); !wrong.isEmpty()) {
            return u"case %1, %2"_s.arg(QString::number(i), wrong);
        }
    }
    return {};
}
