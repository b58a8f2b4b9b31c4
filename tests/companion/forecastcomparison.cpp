#include "forecastcomparison.h"

#include "app/debug.h"
#include "recordedforms.h"
#include "shownrows.h"

#include <QDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString machineName = u"mac"_s;

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
    QStringList files = {write(u"mac.log"_s, log)};
    for (const RecordedForm& form : recordedForms(machineName, m_installed)) {
        files.append(write(machineName + u'.' + form.name, form.content));
    }
    return files;
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
    // Each file is recognised by its content.
    const CsvColumns columns = readCsvColumns(recordedColumns()).value_or(CsvColumns());
    FleetReader reader(findFleetFiles({file}, std::nullopt, columns).files, columns, 1);
    QList<MachineRecord> records;
    QStringList refused;
    if (!reader.index() ||
        !reader.read(change.filter, [&] { return std::make_unique<Keeper>(records, refused); })) {
        return reader.error().reason;
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
    const QByteArray next =
        m_random.isOneIn(3) ? m_random.catalogue() : m_random.changed(published);
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
