#include "support/downloadbench.h"

#include "support/modalbox.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTableWidget>
#include <QTest>

#include <map>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

using Entry = DownloadBench::Entry;

const QStringList names = {u"Alpha"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s, u"Echo"_s};
const QStringList versions = {u"1.0"_s, u"2.0"_s, u"3.0"_s};

constexpr int sequencesOfAWindow = 40;

QString serverPath(const QString& name)
{
    return u"soft/%1.dmg"_s.arg(name);
}

/// What the window is expected to show.
class Model
{
public:
    struct Row
    {
        QString name;
        QString version;
        QString color;
    };

    [[nodiscard]] QStringList looks() const
    {
        QStringList all;
        for (const Row& row : rows) {
            const auto download = downloads.find(row.name);
            all.append(download == downloads.end() ? row.version + u" ⤓ "_s + row.color
                                                   : download->second);
        }
        return all;
    }

    void load(const QList<Entry>& entries)
    {
        rows.clear();
        for (const Entry& entry : entries) {
            rows.append({entry.name, entry.version, {}});
        }
        hasRecords = true;
        recolor();
        for (auto download = downloads.begin(); download != downloads.end();) {
            if (!isListed(download->first)) {
                download = downloads.erase(download);
                continue;
            }
            // The rebuilt row is painted at once.
            const QString percentage = download->second.section(u'%', 0, 0);
            download->second = u"%1% ✕ bar %1"_s.arg(percentage);
            ++download;
        }
    }

    void scan(const std::map<QString, QString>& found)
    {
        installed = found;
        if (hasRecords) {
            recolor();
        }
    }

    void start(qsizetype row)
    {
        if (hasRecords) {
            downloads[rows[row].name] = u"0% ✕ "_s + rows[row].color;
        }
    }

    void progress(const QString& name, int percentage)
    {
        downloads[name] = u"%1% ✕ bar %1"_s.arg(percentage);
    }

    [[nodiscard]] bool isListed(const QString& name) const { return rowOf(name) >= 0; }

    [[nodiscard]] int rowOf(const QString& name) const
    {
        for (qsizetype row = 0; row < rows.size(); ++row) {
            if (rows[row].name == name) {
                return int(row);
            }
        }
        return -1;
    }

    QList<Row> rows;
    std::map<QString, QString> downloads; ///< looks of the rows that download, by name
    std::map<QString, QString> installed; ///< versions by name, as of the last scan
    bool hasRecords = false;

private:
    void recolor()
    {
        for (Row& row : rows) {
            const auto found = installed.find(row.name);
            if (found == installed.end()) {
                row.color = u"#d4d4d4"_s;
            } else if (found->second == row.version) {
                row.color = u"#daffda"_s;
            } else {
                row.color = found->second < row.version ? u"#ffdada"_s : u"#dadaff"_s;
            }
        }
    }
};

} // namespace

/// Random sequences of all that can happen to rows, each step compared with a model. A failed
/// sequence can be repeated: QUILLMERE_TEST_SEED=<the printed number>.
class TestDownloadSequences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void rowsShowWhatTheModelSays_data();
    void rowsShowWhatTheModelSays();

private:
    enum DuringLoad
    {
        Nothing,
        Finish,
        Error,
        Cancel
    };

    int random(qsizetype below) { return int(m_random.bounded(int(below))); }
    [[nodiscard]] QString randomDownload();
    [[nodiscard]] QList<Entry> randomCatalogue();
    void changeInstalled();

    void step();
    void start();
    void progress();
    void cancel();
    void finish();
    void error();
    void errorClosedLate();
    void reload(DuringLoad event);
    void failedReload(DuringLoad event);
    void scan();

    /// Lets the step @p event happen to @p name while the catalogue is being loaded.
    void plan(DuringLoad event, const QString& name);
    void waitForFinish(qsizetype openedBefore);
    void compare(const char* what);

    quint32 m_seed = 0;
    QRandomGenerator m_random;
    std::map<QString, QString> m_installed; ///< on the machine
    Model m_model;
    std::optional<DownloadBench> m_bench;
    QStringList m_steps; ///< so far, for the message of a failure
};

void TestDownloadSequences::initTestCase()
{
    bool isSet = false;
    m_seed = qEnvironmentVariable("QUILLMERE_TEST_SEED").toUInt(&isSet);
    if (!isSet) {
        m_seed = QRandomGenerator::system()->generate();
    }
    m_random.seed(m_seed);
    qInfo("QUILLMERE_TEST_SEED=%u", m_seed);
}

void TestDownloadSequences::init()
{
    if (m_bench) {
        return;
    }
    m_bench.emplace(DownloadBench::Held);
    m_model = Model();
    m_installed.clear();
    const QList<Entry> entries = randomCatalogue();
    m_bench->list(entries);
    m_bench->open(DownloadBench::Hidden);
    m_model.load(entries);
}

void TestDownloadSequences::cleanup()
{
    QFETCH(int, sequence);
    // A window serves many sequences, with whatever runs at the end of one.
    if (QTest::currentTestFailed() || sequence % sequencesOfAWindow == sequencesOfAWindow - 1) {
        m_bench.reset();
    }
}

QString TestDownloadSequences::randomDownload()
{
    if (m_model.downloads.empty()) {
        return {};
    }
    auto download = m_model.downloads.cbegin();
    std::advance(download, random(qsizetype(m_model.downloads.size())));
    return download->first;
}

QList<Entry> TestDownloadSequences::randomCatalogue()
{
    QStringList left = names;
    QList<Entry> entries;
    const int count = 1 + random(names.size());
    while (entries.size() < count) {
        const QString name = left.takeAt(random(left.size()));
        entries.append({name, versions[random(versions.size())], name + ".dmg"_L1});
    }
    return entries;
}

void TestDownloadSequences::changeInstalled()
{
    const QString& name = names[random(names.size())];
    if (random(3) == 0) {
        m_bench->machine().uninstall(name);
        m_installed.erase(name);
    } else {
        m_installed[name] = versions[random(versions.size())];
        m_bench->machine().install(name, m_installed[name]);
    }
}

void TestDownloadSequences::compare(const char* what)
{
    m_steps.append(QString::fromLatin1(what));
    const QStringList looks = m_bench->looks();
    QVERIFY2(looks == m_model.looks(),
             qUtf8Printable(u"after %1\nshown:    %2\nexpected: %3"_s.arg(
                 m_steps.join(u", "_s), looks.join(u" | "_s), m_model.looks().join(u" | "_s))));
    // A download that is over has no connection left, a running one has exactly one.
    for (const QString& name : names) {
        const qsizetype connections = m_model.downloads.contains(name) ? 1 : 0;
        QVERIFY(
            comesToHold([&] { return m_bench->held().waiting(serverPath(name)) == connections; }));
    }
}

void TestDownloadSequences::waitForFinish(qsizetype openedBefore)
{
    QVERIFY(comesToHold([&] { return m_bench->opened().size() == openedBefore + 1; }));
    QVERIFY(m_bench->waitForScan());
    m_model.scan(m_installed);
}

void TestDownloadSequences::start()
{
    const int row = random(m_model.rows.size());
    const QString path = serverPath(m_model.rows[row].name);
    const bool isNew = !m_model.downloads.contains(m_model.rows[row].name);
    m_bench->window().startDownload(row);
    if (isNew) {
        m_model.start(row);
    }
    const qsizetype connections = m_model.downloads.contains(m_model.rows[row].name) ? 1 : 0;
    QVERIFY(comesToHold([&] { return m_bench->held().waiting(path) == connections; }));
    compare("start");
}

void TestDownloadSequences::progress()
{
    if (const QString name = randomDownload(); !name.isEmpty()) {
        const int percentage = random(101);
        m_bench->window().onDownloadProgress(m_model.rowOf(name), percentage * 10'000'000'000,
                                             1'000'000'000'000);
        m_model.progress(name, percentage);
        compare("progress");
    }
}

void TestDownloadSequences::cancel()
{
    const int row = random(m_model.rows.size());
    m_bench->window().cancelDownload(row);
    m_model.downloads.erase(m_model.rows[row].name);
    compare("cancel");
}

void TestDownloadSequences::finish()
{
    if (const QString name = randomDownload(); !name.isEmpty()) {
        changeInstalled();
        const qsizetype opened = m_bench->opened().size();
        m_bench->held().answer(serverPath(name), name.toUtf8());
        waitForFinish(opened);
        m_model.downloads.erase(name);
        QCOMPARE(m_bench->opened().constLast(), m_bench->downloads() + u'/' + name + ".dmg"_L1);
        QCOMPARE(m_bench->saved(name + ".dmg"_L1), name.toUtf8());
        compare("finish");
    }
}

void TestDownloadSequences::error()
{
    if (const QString name = randomDownload(); !name.isEmpty()) {
        const BoxAnswerer answers(QMessageBox::Ok);
        m_bench->held().answer(serverPath(name), "gone", 404);
        QVERIFY(comesToHold([&] { return answers.count() == 1; }));
        QCOMPARE(answers.titles(), QStringList{u"Download Error"_s});
        m_model.downloads.erase(name);
        compare("error");
    }
}

void TestDownloadSequences::errorClosedLate()
{
    const QString name = randomDownload();
    if (name.isEmpty()) {
        return;
    }
    BoxAnswerer answers(QMessageBox::Ok);
    bool isOver = false;
    answers.inspect([&](const QMessageBox&) {
        m_model.downloads.erase(name);
        m_steps.append(u"(error shown"_s);
        // The row that failed still looks as it did, so nothing is compared before the box closes.
        const QList<Entry> entries = randomCatalogue();
        m_bench->list(entries);
        const bool isLoaded = m_bench->window().action_loadWebData();
        QVERIFY(isLoaded);
        m_model.load(entries);
        compare("reload");
        start();
        progress();
        if (random(2) == 0) {
            cancel();
        }
        isOver = true;
    });
    m_bench->held().answer(serverPath(name), "gone", 404);
    QVERIFY(comesToHold([&] { return isOver && !QApplication::activeModalWidget(); }));
    compare("error closed late)");
}

void TestDownloadSequences::plan(DuringLoad event, const QString& name)
{
    if (event == Nothing || name.isEmpty()) {
        return;
    }
    auto* once = new QObject(&m_bench->server());
    connect(&m_bench->server(), &HttpServer::requested, once, [this, once, event, name] {
        delete once;
        const int row = m_model.rowOf(name);
        if (event == Cancel) {
            m_bench->window().cancelDownload(row);
            return;
        }
        m_bench->held().answer(serverPath(name), name.toUtf8(), event == Finish ? 200 : 404);
        // The last progress comes right before the end.
        QVERIFY(m_bench->waitForLook(row, u"100% ✕ bar 100"_s));
        QTest::qWait(0);
    });
}

void TestDownloadSequences::reload(DuringLoad event)
{
    const QString name = randomDownload();
    const QList<Entry> entries = randomCatalogue();
    const qsizetype opened = m_bench->opened().size();
    BoxAnswerer answers(QMessageBox::Ok);
    m_bench->list(entries);
    plan(event, name);
    QVERIFY(m_bench->window().action_loadWebData());
    m_model.load(entries);
    const bool isKnown = m_model.isListed(name) && event != Nothing;
    if (isKnown && event == Finish) {
        waitForFinish(opened);
    } else if (isKnown && event == Error) {
        QVERIFY(comesToHold([&] { return answers.titles() == QStringList{u"Download Error"_s}; }));
    }
    if (event != Nothing) {
        m_model.downloads.erase(name);
    }
    compare(event == Nothing  ? "reload"
            : event == Finish ? "reload with a finish"
            : event == Error  ? "reload with an error"
                              : "reload with a cancel");
    QCOMPARE(m_bench->opened().size(), opened + (isKnown && event == Finish ? 1 : 0));
}

void TestDownloadSequences::failedReload(DuringLoad event)
{
    const QString name = randomDownload();
    const qsizetype opened = m_bench->opened().size();
    BoxAnswerer answers(QMessageBox::Ok);
    m_bench->listNothing();
    plan(event, name);
    QVERIFY(!m_bench->window().action_loadWebData());
    m_model.hasRecords = false;
    const bool isEnded = !name.isEmpty() && event != Nothing;
    if (isEnded && event == Finish) {
        waitForFinish(opened);
    }
    QVERIFY(comesToHold([&] { return answers.count() == (isEnded && event == Error ? 2 : 1); }));
    if (isEnded) {
        m_model.downloads.erase(name);
    }
    compare(isEnded ? "failed reload with an end" : "failed reload");
    QCOMPARE(m_bench->opened().size(), opened + (isEnded && event == Finish ? 1 : 0));
}

void TestDownloadSequences::scan()
{
    changeInstalled();
    QVERIFY(m_bench->scan());
    m_model.scan(m_installed);
    compare("scan");
}

void TestDownloadSequences::step()
{
    switch (random(14)) {
    case 0:
    case 1:
    case 2:
    case 3:
        return start();
    case 4:
    case 5:
        return progress();
    case 6:
        return cancel();
    case 7:
        return finish();
    case 8:
        return error();
    case 9:
        return errorClosedLate();
    case 10:
        return reload(Nothing);
    case 11:
        return reload(DuringLoad(1 + random(3)));
    case 12:
        return failedReload(DuringLoad(random(4)));
    default:
        return scan();
    }
}

void TestDownloadSequences::rowsShowWhatTheModelSays_data()
{
    QTest::addColumn<int>("sequence");
    for (int sequence = 0; sequence < 200; ++sequence) {
        QTest::addRow("sequence %d", sequence) << sequence;
    }
}

void TestDownloadSequences::rowsShowWhatTheModelSays()
{
    QFETCH(int, sequence);
    m_steps = {u"seed %1, sequence %2"_s.arg(m_seed).arg(sequence)};
    for (int i = 0; i < 10 && !QTest::currentTestFailed(); ++i) {
        step();
    }
    if (QTest::currentTestFailed() || sequence % sequencesOfAWindow != sequencesOfAWindow - 1) {
        return;
    }
    // Whatever runs then ends with the window.
    m_bench->destroy();
    for (const QString& name : names) {
        QVERIFY(comesToHold([&] { return m_bench->held().waiting(serverPath(name)) == 0; }));
    }
}

QTEST_MAIN(TestDownloadSequences)
#include "tst_downloadsequences.moc"
